#include "ItemTestSupport.h"

namespace {

ItemRecord FileRecord() {
  ItemRecord record;
  record.flags = ItemFlags::kOutcomeNotProcessed;
  return record;
}

ItemRecord FolderRecord() {
  ItemRecord record;
  record.flags = ItemFlags::kOutcomeNotProcessed | ItemFlags::kFolder;
  record.iconIndex = ItemIcon::kPlainFolder;
  return record;
}

uint32_t Outcome(const ItemRecord& record) { return record.flags & ItemFlags::kOutcomeMask; }

// Two fragments is the least that counts as fragmented.
TEST(ItemRecordTest, AFileIsFragmentedFromTwoFragmentsAndAFailedAnalysisIsAnError) {
  const std::pair<int64_t, ItemState> cases[] = {
      {2, ItemState::FragmentedFile}, {1, ItemState::NotFragmentedFile}, {0, ItemState::NotFragmentedFile}};
  for (auto [fragments, state] : cases) {
    ItemRecord record = FileRecord();
    ApplyFileAnalysis(record, true, fragments, 40);
    EXPECT_EQ(record.state, state) << fragments;
  }
  ItemRecord record = FileRecord();
  ApplyFileAnalysis(record, false, -1, -1);
  EXPECT_EQ(Outcome(record), ItemFlags::kOutcomeError);
}

TEST(ItemRecordTest, FileMoveResultOutcomes) {
  struct Case {
    const wchar_t* result;
    int64_t fragmentsBefore;
    ItemState state;
    uint32_t outcome;
    int64_t fragments;
    int64_t clusters;
  };
  const Case cases[] = {
      {L"", 7, ItemState::DefragmentedFile, ItemFlags::kOutcomeDefragmented, 1, 50},
      {L"AC", 1, ItemState::NotFragmentedFile, ItemFlags::kOutcomeNotFragmented, 1, 50},
      {L"AC", 0, ItemState::NotFragmentedFile, ItemFlags::kOutcomeNotFragmented, -3, -3},
      {L"ST", 7, ItemState::Aborted, ItemFlags::kOutcomeAborted, -1, -1},
      {L"NF", 7, ItemState::FragmentedFile, ItemFlags::kOutcomeFragmented, 7, 50},
      {L"PD", 7, ItemState::FragmentedFile, ItemFlags::kOutcomeFragmented, 7, 50},
      {L"NR", 7, ItemState::FragmentedFile, ItemFlags::kOutcomeFragmented, 7, 50},
      {L"PM", 7, ItemState::FragmentedFile, ItemFlags::kOutcomeFragmented, 7, 50},
      {L"Accesso negato.\r\n", 7, ItemState::Error, ItemFlags::kOutcomeError, -1, -1},
      {L"ac", 7, ItemState::Error, ItemFlags::kOutcomeError, -1, -1},
  };
  for (const Case& c : cases) {
    ItemRecord record = FileRecord();
    record.flags |= ItemFlags::kToProcess;
    MarkItemProcessing(record);
    record.fragments = c.fragmentsBefore;
    record.clusters = 50;
    ApplyFileMoveResult(record, c.result);
    SCOPED_TRACE(::testing::Message() << "result of length " << std::wstring(c.result).size()
                                      << ", fragments before " << c.fragmentsBefore);
    EXPECT_EQ(record.state, c.state);
    EXPECT_EQ(record.flags, ItemFlags::kToProcess | c.outcome);
    EXPECT_EQ(record.fragments, c.fragments);
    EXPECT_EQ(record.clusters, c.clusters);
  }
}

// A folder is defragmented when every fragmented file in it moved, and not
// fragmented when the run's list did not grow; a file left keeps it
// fragmented.
TEST(ItemRecordTest, FolderOutcomes) {
  ItemRecord folder = FolderRecord();
  ApplyFolderAborted(folder);
  EXPECT_EQ(folder.flags, ItemFlags::kFolder | ItemFlags::kOutcomeAborted);
  ApplyFolderAnalysis(folder, true);
  EXPECT_EQ(folder.state, ItemState::FragmentedFolder);
  ApplyFolderAnalysis(folder, false);
  EXPECT_EQ(Outcome(folder), ItemFlags::kOutcomeNotFragmented);
  const struct {
    uint64_t fragmented, moved;
    bool grew;
    ItemState state;
  } cases[] = {{5, 4, true, ItemState::FragmentedFolder},
               {5, 4, false, ItemState::FragmentedFolder},
               {5, 5, true, ItemState::DefragmentedFolder},
               {5, 5, false, ItemState::NotFragmentedFolder}};
  for (const auto& c : cases) {
    ApplyFolderDefragmentation(folder, c.fragmented, c.moved, c.grew);
    EXPECT_EQ(folder.state, c.state) << c.moved << " of " << c.fragmented << (c.grew ? ", grew" : "");
  }
  // The next run starts it afresh: no outcome left to colour the row.
  ResetItemForRun(folder);
  EXPECT_EQ(folder.flags, ItemFlags::kFolder);
  EXPECT_EQ(folder.state, ItemState::None);
}

// Rounded up to whole clusters; a compressed file's compressed size counts,
// and only its low 32 bits, in 32-bit arithmetic that may wrap.
TEST(ItemRecordTest, SizeOnDiskRoundsUpToClusters) {
  const struct {
    uint32_t attributes;
    uint64_t size, compressed, onDisk;
  } cases[] = {
      {kAttrArchive, 0, 0, 0},
      {kAttrArchive, 1, 0, 4096},
      {kAttrArchive, 4096, 0, 4096},
      {kAttrArchive, 4097, 0, 8192},
      {kAttrArchive, (5ull << 30) + 1, 0, (5ull << 30) + 4096},
      {kAttrArchive, 0xFFFFFF00u, 0, 0x100000000u},
      {kAttrCompressed, 100000, 5000, 8192},
      {kAttrCompressed, 6ull << 30, (5ull << 30) + 100, (1ull << 30) + 4096},
      {kAttrCompressed, 6ull << 30, 0xFFFFFF00u, 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SizeOnDisk(c.attributes, c.size, c.compressed, 4096), c.onDisk)
        << c.size << " compressed to " << c.compressed;
  }
}

class PercentOnDiskTest : public ItemListFixture {};

TEST_F(PercentOnDiskTest, SinglePrecisionAndLastDigitFiveRoundsDown) {
  EXPECT_EQ(PercentOnDisk(4096, 0), 0u);
  EXPECT_EQ(PercentOnDisk(0, 100), 0u);
  EXPECT_EQ(PercentOnDisk(4096, 4096), 10000u);
  // 4096/60 × 100000 = 6826666.6…: digit 6 rounds up.
  EXPECT_EQ(PercentOnDisk(4096, 60), 682667u);
  // 4096/54 × 100000 = 7585185.1…: digit 5 rounds down.
  EXPECT_EQ(PercentOnDisk(4096, 54), 758518u);
  // 4096/3 in single precision gives 136533344 (double: 136533333).
  EXPECT_EQ(PercentOnDisk(4096, 3), 13653334u);
  // 12288/5: single precision 245760016 (double: 245760000).
  EXPECT_EQ(PercentOnDisk(12288, 5), 24576002u);
}

TEST_F(PercentOnDiskTest, AboveFiveHundredPercentAsksTheAnalysis) {
  const std::wstring tiny = L"\\\\?\\C:\\tiny";
  items.noClusters = true;
  EXPECT_EQ(PercentOnDiskOfFile(items, tiny, 5000, 1000), 50000u);
  EXPECT_TRUE(items.askedForClusters.empty());
  EXPECT_EQ(PercentOnDiskOfFile(items, tiny, 5001, 1000), 0u);
  EXPECT_EQ(items.askedForClusters, std::vector<std::wstring>{tiny});
  items.noClusters = false;
  EXPECT_EQ(PercentOnDiskOfFile(items, tiny, 4096, 81), 505679u);
  EXPECT_EQ(items.askedForClusters.size(), 2u);
}

TEST_F(PercentOnDiskTest, AddingATinyFileAsksAboutItsClusters) {
  fs.fake.AddFile(L"C:\\tiny.ini", 20);
  fs.fake.AddFile(L"C:\\empty.ini", 0);
  items.noClusters = true;
  ASSERT_EQ(AddItem(items, false, L"C:\\tiny.ini"), kAddOk);
  ASSERT_EQ(AddItem(items, false, L"C:\\empty.ini"), kAddOk);
  EXPECT_EQ(ItemByPath(L"C:\\tiny.ini")->percentOnDisk, 0u);
  EXPECT_EQ(ItemByPath(L"C:\\tiny.ini")->sizeOnDisk, 4096u);
  EXPECT_EQ(ItemByPath(L"C:\\empty.ini")->percentOnDisk, 0u);
  EXPECT_EQ(items.askedForClusters, std::vector<std::wstring>{L"\\\\?\\C:\\tiny.ini"});
}

}  // namespace
