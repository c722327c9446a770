// The fragment details of listed files on a simulated volume: the table is
// the file's fragments as the volume holds them now, one row each, and every
// item that cannot show one gets the notice that says why.
#include "RunTestSupport.h"
#include "engine/Analysis.h"
#include "items/ItemCells.h"
#include "runs/FragmentDetails.h"
#include "util/WideString.h"

namespace {

const char* kVolume =
    "volume letter=Z clusters=1000 clusterSize=4096\n"
    "file \"Z:\\three.bin\" size=36864 runs=100:2,200:1,300:6\n"
    "file \"Z:\\moved.bin\" size=8192 runs=400:1,410:1\n"
    "file \"Z:\\empty.bin\" size=0\n"
    "file \"Z:\\locked.bin\" size=8192 runs=500:1,510:1\n"
    "file \"Z:\\gone.bin\" size=4096 runs=520:1\n"
    "file \"Z:\\data\\inner.bin\" size=16384 runs=600:3,700:1\n"
    "fault \"Z:\\locked.bin\" control=open call=2 status=0xC0000043\n";

class FragmentDetailsTest : public RunFixture {
 protected:
  void SetUp() override {
    RunFixture::SetUp();
    Volume(kVolume);
    for (const wchar_t* file : {L"Z:\\three.bin", L"Z:\\moved.bin", L"Z:\\empty.bin", L"Z:\\locked.bin", L"Z:\\gone.bin"}) {
      ASSERT_EQ(AddItem(items_, false, file), kAddOk) << WideToUtf8(file);
    }
    ASSERT_EQ(AddItem(items_, true, L"Z:\\data"), kAddOk);
  }
};

// The table is read afresh from the volume, one row per fragment: the record
// may say what an older run found. A file found only inside a listed folder
// comes from the fragmented-files list. The details may be opened while a
// move thread works from the shared extent list: reading them leaves that
// list as the move left it.
TEST_F(FragmentDetailsTest, AnAnalysedFileShowsOneRowPerFragmentOfTheVolume) {
  Run(RunMode::AnalyseAll);
  FsHandle file = Va().OpenFileForMoving(L"\\\\?\\Z:\\moved.bin");
  ASSERT_NE(file, kInvalidHandle);
  FileAnalysis analysis;
  ASSERT_TRUE(BuildExtentList(file, analysis));
  Va().Close(file);
  const Extent* head = gExtentList.Head();

  FragmentDetails details = ReadFragmentDetails(items_, L"Z:\\three.bin");
  EXPECT_EQ(details.notice, FragmentNotice::None);
  std::vector<std::vector<std::wstring>> table;
  for (size_t i = 0; i < details.rows.size(); ++i) table.push_back(FragmentRowCells(details.rows[i], i + 1, numbers_));
  EXPECT_EQ(table, (std::vector<std::vector<std::wstring>>{
                       {L"1", L"2", L"100", L"101", L"8,192", L"22.22 %"},
                       {L"2", L"1", L"200", L"200", L"4,096", L"11.11 %"},
                       {L"3", L"6", L"300", L"305", L"24,576", L"66.67 %"},
                   }));
  // The general data are the listed record's; the long prefix is not shown.
  EXPECT_EQ(DetailsName(details.record), L"three.bin");
  EXPECT_EQ(DetailsFolder(details.record), L"Z:\\");
  EXPECT_EQ(DetailsSize(details.record, details.record.size, numbers_), L"36 KB (36,864 byte)");
  EXPECT_EQ(ReadFragmentDetails(items_, L"\\\\?\\Z:\\three.bin").rows.size(), 3u);

  ApplyFileAnalysis(*ItemByPath(L"Z:\\moved.bin"), true, 7, 12);
  details = ReadFragmentDetails(items_, L"Z:\\moved.bin");
  EXPECT_EQ(details.record.fragments, 7);
  EXPECT_EQ(details.rows.size(), 2u);

  ASSERT_EQ(ItemByPath(L"Z:\\data\\inner.bin"), nullptr);
  details = ReadFragmentDetails(items_, L"Z:\\data\\inner.bin");
  EXPECT_EQ(details.rows.size(), Fragments(L"Z:\\data\\inner.bin"));
  EXPECT_EQ(std::make_pair(details.record.fragments, details.record.clusters), std::make_pair(int64_t{2}, int64_t{4}));
  EXPECT_EQ(DetailsFolder(details.record), L"Z:\\data");
  EXPECT_EQ(details.record.typeName, L"BIN File");
  EXPECT_EQ(gExtentList.Count(), 2u);
  EXPECT_EQ(gExtentList.Head(), head);
  EXPECT_EQ(head->lcn, 400);
}

TEST_F(FragmentDetailsTest, ItemsWithoutATableGetTheNoticeThatSaysWhy) {
  // Before any analysis.
  EXPECT_EQ(FragmentNoticeText(ReadFragmentDetails(items_, L"Z:\\three.bin")), L"Il file non \u00E8 stato ancora analizzato");
  Run(RunMode::AnalyseAll);
  EXPECT_EQ(FragmentNoticeText(ReadFragmentDetails(items_, L"Z:\\empty.bin")), L"Il file non occupa alcun cluster");
  EXPECT_EQ(FragmentNoticeText(ReadFragmentDetails(items_, L"Z:\\data")), L"L'oggetto non \u00E8 un file");

  ItemRecord* failed = ItemByPath(L"Z:\\gone.bin");
  ApplyFileAnalysis(*failed, false, -1, -1);
  EXPECT_EQ(FragmentNoticeText(ReadFragmentDetails(items_, L"Z:\\gone.bin")),
            L"Si \u00E8 verificato un errore durante l'analisi");
  // Existence is asked again: a file deleted since the run is gone.
  files_.fake.Remove(L"Z:\\gone.bin");
  EXPECT_EQ(FragmentNoticeText(ReadFragmentDetails(items_, L"Z:\\gone.bin")), L"L'oggetto non esiste");
  EXPECT_EQ(FragmentNoticeText(ReadFragmentDetails(items_, L"Z:\\never-listed.bin")), L"L'oggetto non esiste");

  // The file was analysed, but now another program holds it.
  FragmentDetails locked = ReadFragmentDetails(items_, L"Z:\\locked.bin");
  EXPECT_EQ(locked.notice, FragmentNotice::CannotRead);
  EXPECT_EQ(FragmentNoticeText(locked),
            L"The process cannot access the file because it is being used by another process.");
  // A file read whole leaves no handle behind.
  ReadFragmentDetails(items_, L"Z:\\three.bin");
  EXPECT_EQ(volume_->OpenHandleCount(), 0u);
}

}  // namespace
