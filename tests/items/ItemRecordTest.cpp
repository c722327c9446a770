#include "ItemTestSupport.h"

namespace {

// Two fragments is the least that counts as fragmented; a failed analysis is
// an error. A move's result decides the file's outcome: anything but the
// known codes is an error text.
TEST(ItemRecordTest, FileOutcomesOfAnalysisAndMoves) {
  const std::pair<int64_t, ItemState> analyses[] = {
      {2, ItemState::FragmentedFile}, {1, ItemState::NotFragmentedFile}, {-1, ItemState::Error}};
  for (auto [fragments, state] : analyses) {
    ItemRecord record;
    ApplyFileAnalysis(record, fragments >= 0, fragments, 40);
    EXPECT_EQ(record.state, state) << fragments;
  }
  const std::pair<const wchar_t*, ItemState> moves[] = {
      {L"", ItemState::DefragmentedFile}, {L"AC", ItemState::NotFragmentedFile}, {L"ST", ItemState::Aborted},
      {L"PM", ItemState::FragmentedFile}, {L"ac", ItemState::Error}};
  for (auto [result, state] : moves) {
    ItemRecord record;
    MarkItemProcessing(record);
    ApplyFileMoveResult(record, result);
    EXPECT_EQ(record.state, state) << testing::PrintToString(std::wstring(result));
  }
}

// A folder is defragmented when every fragmented file in it moved, and not
// fragmented when the run's list did not grow; a file left keeps it
// fragmented.
TEST(ItemRecordTest, FolderOutcomes) {
  ItemRecord folder;
  folder.flags = ItemFlags::kOutcomeNotProcessed | ItemFlags::kFolder;
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
  // 4096/60 × 100000 = 6826666.6…: digit 6 rounds up.
  EXPECT_EQ(PercentOnDisk(4096, 60), 682667u);
  // 4096/54 × 100000 = 7585185.1…: digit 5 rounds down.
  EXPECT_EQ(PercentOnDisk(4096, 54), 758518u);
  // 4096/3 in single precision gives 136533344 (double: 136533333).
  EXPECT_EQ(PercentOnDisk(4096, 3), 13653334u);
  // 12288/5: single precision 245760016 (double: 245760000).
  EXPECT_EQ(PercentOnDisk(12288, 5), 24576002u);
}

// Far more on disk than the size: the file may live inside its directory
// record, which only the analysis can tell; adding asks with the long path.
TEST_F(PercentOnDiskTest, AboveFiveHundredPercentAsksWhetherTheFileHasClusters) {
  items.noClusters = true;
  EXPECT_EQ(PercentOnDiskOfFile(items, L"\\\\?\\C:\\x", 5000, 1000), 50000u);
  EXPECT_TRUE(items.askedForClusters.empty());
  fs.fake.AddFile(L"C:\\tiny.ini", 20);
  fs.fake.AddFile(L"C:\\empty.ini", 0);
  ASSERT_EQ(AddItem(items, false, L"C:\\tiny.ini"), kAddOk);
  ASSERT_EQ(AddItem(items, false, L"C:\\empty.ini"), kAddOk);
  EXPECT_EQ(ItemByPath(L"C:\\tiny.ini")->percentOnDisk, 0u);
  EXPECT_EQ(ItemByPath(L"C:\\tiny.ini")->sizeOnDisk, 4096u);
  EXPECT_EQ(items.askedForClusters, std::vector<std::wstring>{L"\\\\?\\C:\\tiny.ini"});
  items.noClusters = false;
  EXPECT_EQ(PercentOnDiskOfFile(items, L"\\\\?\\C:\\x", 4096, 81), 505679u);
}

}  // namespace
