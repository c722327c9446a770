#include "ItemTestSupport.h"
#include "items/ItemColours.h"
#ifdef _WIN32
#include "items/win32/ShellItemTexts.h"
#endif

namespace {

using Paths = std::vector<std::wstring>;

TEST_F(ItemListTest, ResultCodesOfValidation) {
  fs.fake.AddFile(L"C:\\data\\a.txt", 10);
  fs.fake.AddFolder(L"C:\\locked");
  fs.fake.InjectError(L"C:\\locked", kErrAccessDenied);
  // A file whose entry cannot be read passes the check but is not added.
  fs.fake.AddFile(L"C:\\hidden.txt");
  fs.fake.InjectError(L"C:\\hidden.txt", kErrAccessDenied);
  EXPECT_EQ(ValidateItemPath(items, false, L"C:\\hidden.txt"), kAddOk);
  EXPECT_EQ(AddItem(items, false, L"C:\\hidden.txt"), kAddFileMissing);

  EXPECT_EQ(AddItem(items, false, L"\\\\server\\share\\a.txt"), kAddNotDriveLetter);
  EXPECT_EQ(AddItem(items, false, L"C"), kAddNotDriveLetter);
  EXPECT_EQ(AddItem(items, false, L"C:\\data\\missing.txt"), kAddFileMissing);
  EXPECT_EQ(AddItem(items, true, L"C:\\nowhere"), kAddFolderMissing);
  EXPECT_EQ(AddItem(items, true, L"C:\\locked"), kAddAccessShown);
  ASSERT_EQ(items.messages.size(), 1u);
  EXPECT_EQ(items.messages[0], L"Impossibile accedere a C:\\locked.\r\n\r\nAccess is denied.\r\n");

  items.unattended = true;
  EXPECT_EQ(AddItem(items, true, L"C:\\locked"), kAddAccessSilent);
  EXPECT_EQ(items.messages.size(), 1u);

  EXPECT_EQ(AddItem(items, false, L"C:\\data\\a.txt"), kAddOk);
  EXPECT_EQ(AddItem(items, false, L"c:\\DATA\\A.TXT"), kAddDuplicate);
  EXPECT_EQ(AddItem(items, true, L"C:\\data"), kAddOk);
  EXPECT_EQ(ItemCount(), 2u);
  EXPECT_EQ(items.iconPaths, (Paths{L"C:\\data\\a.txt", L"C:\\data"}));
}

// A file's row shows its path as given and what its entry and its drive say,
// its counts once analysed or as markers (none yet, no clusters at all,
// unknown). A folder has no sizes of its own and a drive's root no entry: no
// type, date or attributes. Far more on disk than the size means the file may
// live inside its directory record, which only the analysis can tell: adding
// asks with the long path. Each drive has its own cluster size. Sort keys put
// folders first and pad numbers.
TEST_F(ItemListTest, RowsShowWhatTheEntriesSayAndARootHasNone) {
  fs.fake.AddDrive(L'E', 4096);
  DirEntry& entry = fs.fake.AddFile(L"E:\\Docs\\report.final.doc", 10000,
                                    kAttrReadOnly | kAttrHidden | kAttrSystem | kAttrArchive);
  entry.lastWriteTime = 133536856790000000ull;  // 2024-02-29 13:07:59 UTC
  fs.fake.AddDrive(L'C', 65536);
  fs.fake.AddFolder(L"C:\\Work", kAttrDirectory | kAttrCompressed);
  fs.fake.AddFile(L"C:\\tiny.ini", 20);
  items.noClusters = true;
  ASSERT_EQ(AddItem(items, false, L"e:\\docs\\Report.final.doc"), kAddOk);
  ASSERT_EQ(AddItem(items, true, L"C:\\Work"), kAddOk);
  ASSERT_EQ(AddItem(items, true, L"C:\\"), kAddOk);
  ASSERT_EQ(AddItem(items, false, L"C:\\tiny.ini"), kAddOk);
  auto cells = [this](const std::wstring& path) {
    std::vector<std::wstring> texts;
    for (int column = 0; column < kItemColumnCount; ++column) {
      texts.push_back(ItemCellText(*ItemByPath(path), static_cast<ItemColumn>(column), numbers));
    }
    return texts;
  };
  ItemRecord& file = *ItemByPath(L"E:\\Docs\\report.final.doc");
  file.state = ItemState::FragmentedFile;
  file.fragments = 12345;
  file.clusters = 1234567;
  EXPECT_EQ(cells(file.path), (Paths{L"e:\\docs\\Report.final.doc", L"Frammentato", L"10 KB", L"12 KB", L"12,345",
                                     L"1,234,567", L"DOC File", L"122.88 %", L"29/02/2024 13:07", L"RHSA"}));
  EXPECT_EQ(ItemSortKey(file, ItemColumn::Modified), L"F2024022913:07e:\\docs\\Report.final.doc");
  for (auto [count, text] : {std::pair{int64_t{0}, L""}, {int64_t{-3}, L"0"}, {int64_t{-2}, L"-"}}) {
    file.fragments = count;
    file.clusters = count;
    EXPECT_EQ(ItemCellText(file, ItemColumn::Fragments, numbers), text);
    EXPECT_EQ(ItemCellText(file, ItemColumn::Clusters, numbers), text);
  }
  EXPECT_EQ(ItemSortKey(file, ItemColumn::Fragments), L"F0000000000000000e:\\docs\\Report.final.doc");
  EXPECT_EQ(ItemSortKey(*ItemByPath(L"C:\\Work"), ItemColumn::Size), L"D0000000000000000C:\\Work");
  ItemByPath(L"C:\\Work")->flags |= ItemFlags::kSkipped;
  EXPECT_EQ(cells(L"C:\\Work"),
            (Paths{L"C:\\Work", L"Scartato", L"", L"", L"", L"", L"File folder", L"", L"01/01/2020 00:00", L"C"}));
  EXPECT_EQ(cells(L"C:\\"), (Paths{L"C:\\", L"", L"", L"", L"", L"", L"Cartella principale", L"", L"", L""}));
  EXPECT_EQ(cells(L"C:\\tiny.ini")[3], L"64 KB");
  EXPECT_EQ(cells(L"C:\\tiny.ini")[7], L"0.00 %");
  EXPECT_EQ(items.askedForClusters, Paths{L"\\\\?\\C:\\tiny.ini"});
}

// Whole clusters, in 64 bits for an ordinary file; a compressed file counts
// the low 32 bits of its compressed size, in 32-bit arithmetic that may wrap.
// The share on disk is worked out in single precision and a last digit of 5
// rounds down, as the shown hundredths always were.
TEST(ItemSizesTest, SizeOnDiskAndItsShareKeepTheirShownRounding) {
  EXPECT_EQ(SizeOnDisk(kAttrArchive, (5ull << 30) + 1, 0, 4096), (5ull << 30) + 4096);
  EXPECT_EQ(SizeOnDisk(kAttrCompressed, 100000, 5000, 4096), 8192u);
  EXPECT_EQ(SizeOnDisk(kAttrCompressed, 6ull << 30, (5ull << 30) + 100, 4096), (1ull << 30) + 4096);
  EXPECT_EQ(SizeOnDisk(kAttrCompressed, 6ull << 30, 0xFFFFFF00u, 4096), 0u);
  EXPECT_EQ(PercentOnDisk(4096, 60), 682667u);
  EXPECT_EQ(PercentOnDisk(4096, 54), 758518u);
  EXPECT_EQ(PercentOnDisk(4096, 3), 13653334u);  // double precision: 13653333
}

// Two fragments is the least that counts as fragmented; the next run starts
// the item afresh, with no outcome left to colour its row.
TEST(ItemOutcomesTest, TwoFragmentsCountAsFragmentedUntilTheNextRun) {
  ItemRecord record;
  ApplyFileAnalysis(record, true, 2, 40);
  EXPECT_EQ(record.state, ItemState::FragmentedFile);
  ResetItemForRun(record);
  EXPECT_EQ(record.state, ItemState::None);
  EXPECT_EQ(record.flags, 0u);
  ApplyFileAnalysis(record, true, 1, 40);
  EXPECT_EQ(record.state, ItemState::NotFragmentedFile);
}

// The newest item comes first; rows, links and the path index stay in step.
TEST_F(ItemListTest, RemoveKeepsLinksRowsAndPathIndexInStep) {
  AddFiles({L"C:\\a", L"C:\\b", L"C:\\c", L"C:\\d", L"C:\\e"});
  EXPECT_EQ(ListedPaths(), (Paths{L"C:\\e", L"C:\\d", L"C:\\c", L"C:\\b", L"C:\\a"}));
  ASSERT_TRUE(RemoveItem(ItemByPath(L"c:\\E")));  // head
  ASSERT_TRUE(RemoveItem(ItemByPath(L"C:\\c")));  // middle
  ASSERT_TRUE(RemoveItem(ItemByPath(L"C:\\a")));  // tail
  EXPECT_EQ(ListedPaths(), (Paths{L"C:\\d", L"C:\\b"}));
  EXPECT_FALSE(FindItemByPath(L"C:\\c"));
  EXPECT_TRUE(FindItemByPath(L"C:\\B"));
  // A record that only shares a listed path is not the listed one.
  ItemRecord stranger;
  stranger.path = L"C:\\b";
  EXPECT_FALSE(RemoveItem(&stranger));

  // A removed path can be added again, at the front.
  ASSERT_EQ(AddItem(items, false, L"C:\\c"), kAddOk);
  EXPECT_EQ(ListedPaths(), (Paths{L"C:\\c", L"C:\\d", L"C:\\b"}));
  EXPECT_EQ(RemoveItemsIf([](const ItemRecord& r) { return r.path != L"C:\\d"; }), 2u);
  EXPECT_EQ(ListedPaths(), Paths{L"C:\\d"});
  EXPECT_FALSE(FindItemByPath(L"C:\\b"));
  ClearItemList();

  // Enough paths for the index to grow and its probe runs to meet: every
  // other one removed, one at a time and then in one pass, the rest still
  // found in any case.
  Paths many;
  for (int i = 0; i < 3000; ++i) many.push_back(L"C:\\f" + std::to_wstring(i));
  AddFiles(many);
  for (int i = 0; i < 3000; i += 4) ASSERT_TRUE(RemoveItem(ItemByPath(many[size_t(i)])));
  EXPECT_EQ(RemoveItemsIf([](const ItemRecord& r) { return std::stoi(r.path.substr(4)) % 4 == 2; }), 750u);
  for (int i = 0; i < 3000; ++i) {
    std::wstring upper = many[size_t(i)];
    upper[3] = L'F';
    EXPECT_EQ(FindItemByPath(upper), i % 2 == 1) << i;
  }
  EXPECT_EQ(ItemCount(), 1500u);
}

TEST_F(ItemListTest, SortIsStableInBothDirections) {
  // Rows: e d c b a; keys with ties that differ only in case.
  AddFiles({L"C:\\a", L"C:\\b", L"C:\\c", L"C:\\d", L"C:\\e"});
  const std::pair<const wchar_t*, const wchar_t*> keys[] = {
      {L"C:\\a", L"k2"}, {L"C:\\b", L"K1"}, {L"C:\\c", L"k2"}, {L"C:\\d", L"k1"}, {L"C:\\e", L"K2"}};
  for (auto [path, key] : keys) ItemByPath(path)->sortKey = key;

  SortItemList(+1);
  EXPECT_EQ(ListedPaths(), (Paths{L"C:\\d", L"C:\\b", L"C:\\e", L"C:\\c", L"C:\\a"}));
  SortItemList(-1);
  EXPECT_EQ(ListedPaths(), (Paths{L"C:\\e", L"C:\\c", L"C:\\a", L"C:\\d", L"C:\\b"}));
  EXPECT_TRUE(FindItemByPath(L"C:\\a"));
}

// The first enabled highlight category the row has colours its name (order:
// fragmented, not fragmented, defragmented, errors, skipped); the other
// columns take that colour only with full-row highlighting.
TEST(ItemColours, FirstEnabledCategoryColoursTheNameAndWithFullRowTheDetails) {
  constexpr uint32_t kGrey = 0x6E6E6E;
  const uint32_t colours[kHighlightCategoryCount] = {0x0000FF, 0x00FF00, 0xFF0000, 0x00FFFF, 0xFF00FF};
  bool enabled[kHighlightCategoryCount] = {true, true, true, true, true};
  const RowColours fragmentedSkipped = ItemRowColours(0x800 | 0x8, {colours, enabled, false}, kGrey);
  EXPECT_EQ(fragmentedSkipped.name, colours[0]);
  EXPECT_EQ(fragmentedSkipped.details, kGrey);
  const RowColours fullRow = ItemRowColours(0x2000 | 0x1000, {colours, enabled, true}, kGrey);
  EXPECT_EQ(fullRow.name, colours[1]);
  EXPECT_EQ(fullRow.details, colours[1]);
  enabled[0] = false;
  EXPECT_EQ(ItemRowColours(0x800 | 0x8, {colours, enabled, false}, kGrey).name, colours[4]);
}

}  // namespace

#ifdef _WIN32
namespace {

// The Windows texts come from the shell and the user's locale; their exact
// texts depend on the system, their shape does not.
TEST(PlatformTextsTest, ShellAndLocaleTexts) {
  EXPECT_FALSE(ShellTypeName(L"C:\\no such folder\\x.txt", false).empty());
  EXPECT_FALSE(ShellTypeName(L"C:\\no such folder", true).empty());

  std::wstring text, key;
  LocalDateTexts(133536856790000000ull, text, key);  // 2024-02-29 13:07:59 UTC
  ASSERT_GT(key.size(), 8u);
  EXPECT_EQ(key.substr(0, 6), L"202402");
  // The key ends with the same time text as the shown text.
  std::wstring time = key.substr(8);
  ASSERT_GE(text.size(), time.size() + 1);
  EXPECT_EQ(text.substr(text.size() - time.size() - 1), L" " + time);

  const NumberFormat& numbers = LocaleNumbers();
  EXPECT_EQ(numbers.GroupDigits(7), L"7");
  std::wstring percent = numbers.Percent(26667);
  EXPECT_EQ(percent.substr(0, 3), L"266");
  EXPECT_EQ(percent.substr(percent.size() - 2), L" %");
  EXPECT_NE(percent.find(L"67"), std::wstring::npos);
}

}  // namespace
#endif
