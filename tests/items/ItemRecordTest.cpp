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

TEST(ItemRecordTest, ResetForRunClearsRunAndOutcomeBitsOnly) {
  ItemRecord record = FolderRecord();
  record.flags = 0x1 | 0x2 | 0x4 | 0x8 | 0x10 | 0x20 | 0x40 | 0x10000 | 0x80000000u;
  record.state = ItemState::Error;
  record.stateImage = ItemStateImage::kError;
  record.iconIndex = 7;
  record.fragments = 5;
  record.clusters = -1;
  record.size = 123;
  ResetItemForRun(record);
  EXPECT_EQ(record.flags, 0x1u | 0x40u | 0x80000000u);
  EXPECT_EQ(record.state, ItemState::None);
  EXPECT_EQ(record.stateImage, ItemStateImage::kWaiting);
  EXPECT_EQ(record.iconIndex, ItemIcon::kPlainFolder);
  EXPECT_EQ(record.fragments, 0);
  EXPECT_EQ(record.clusters, 0);
  EXPECT_EQ(record.size, 123u);

  ItemRecord file = FileRecord();
  file.iconIndex = 9;
  ResetItemForRun(file);
  EXPECT_EQ(file.iconIndex, ItemIcon::kPlainFile);
  EXPECT_EQ(file.flags, 0u);
}

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

TEST(ItemRecordTest, FolderOutcomes) {
  ItemRecord folder = FolderRecord();
  ApplyFolderAborted(folder);
  EXPECT_EQ(folder.state, ItemState::Aborted);
  EXPECT_EQ(folder.flags, ItemFlags::kFolder | ItemFlags::kOutcomeAborted);

  ApplyFolderAnalysis(folder, true);
  EXPECT_EQ(folder.state, ItemState::FragmentedFolder);
  EXPECT_EQ(Outcome(folder), ItemFlags::kOutcomeFragmented);
  ApplyFolderAnalysis(folder, false);
  EXPECT_EQ(folder.state, ItemState::NotFragmentedFolder);
  EXPECT_EQ(Outcome(folder), ItemFlags::kOutcomeNotFragmented);

  // Some fragmented files were not moved: still fragmented, grown or not.
  ApplyFolderDefragmentation(folder, 5, 4, true);
  EXPECT_EQ(folder.state, ItemState::FragmentedFolder);
  ApplyFolderDefragmentation(folder, 5, 4, false);
  EXPECT_EQ(folder.state, ItemState::FragmentedFolder);
  ApplyFolderDefragmentation(folder, 5, 5, true);
  EXPECT_EQ(folder.state, ItemState::DefragmentedFolder);
  EXPECT_EQ(Outcome(folder), ItemFlags::kOutcomeDefragmented);
  ApplyFolderDefragmentation(folder, 5, 5, false);
  EXPECT_EQ(folder.state, ItemState::NotFragmentedFolder);
  EXPECT_EQ(folder.flags, ItemFlags::kFolder | ItemFlags::kOutcomeNotFragmented);
}

TEST(ItemRecordTest, SizeOnDiskRoundsUpToClusters) {
  EXPECT_EQ(SizeOnDisk(kAttrArchive, 0, 0, 4096), 0u);
  EXPECT_EQ(SizeOnDisk(kAttrArchive, 1, 0, 4096), 4096u);
  EXPECT_EQ(SizeOnDisk(kAttrArchive, 4096, 0, 4096), 4096u);
  EXPECT_EQ(SizeOnDisk(kAttrArchive, 4097, 0, 4096), 8192u);
  EXPECT_EQ(SizeOnDisk(kAttrArchive, (5ull << 30) + 1, 0, 4096), (5ull << 30) + 4096);
  // Compressed: the compressed size, not the size.
  EXPECT_EQ(SizeOnDisk(kAttrCompressed, 100000, 5000, 4096), 8192u);
}

TEST(ItemRecordTest, CompressedSizeOnDiskKeepsOnlyThirtyTwoBits) {
  // 5 GiB + 100 bytes compressed: only the low word (1 GiB + 100) counts.
  EXPECT_EQ(SizeOnDisk(kAttrCompressed, 6ull << 30, (5ull << 30) + 100, 4096), (1ull << 30) + 4096);
  // Rounding up wraps around in 32 bits.
  EXPECT_EQ(SizeOnDisk(kAttrCompressed, 6ull << 30, 0xFFFFFF00u, 4096), 0u);
  // The same sizes uncompressed are right.
  EXPECT_EQ(SizeOnDisk(kAttrArchive, 0xFFFFFF00u, 0, 4096), 0x100000000u);
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
