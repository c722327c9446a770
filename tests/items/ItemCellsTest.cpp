#include "ItemTestSupport.h"
#include "items/ItemColours.h"
#ifdef _WIN32
#include "items/win32/ShellItemTexts.h"
#endif

namespace {

class ItemCellsTest : public ItemListFixture {
 protected:
  static ItemRecord File() {
    ItemRecord record;
    record.path = L"\\\\?\\C:\\dir\\f.bin";
    record.flags = ItemFlags::kOutcomeNotProcessed;
    record.size = 1536;
    record.sizeOnDisk = 4096;
    record.percentOnDisk = 26667;
    record.typeName = L"BIN File";
    record.modifiedText = L"01/02/2023 10:11";
    record.modifiedKey = L"2023020110:11";
    record.attributes = L"RA";
    return record;
  }
};

// A file's row as shown; its counts may be markers (none yet, no clusters
// at all, unknown), and a folder has no sizes of its own.
TEST_F(ItemCellsTest, CellsOfAFileAndAFolder) {
  ItemRecord record = File();
  record.state = ItemState::FragmentedFile;
  record.fragments = 12345;
  record.clusters = 1234567;
  const wchar_t* expected[kItemColumnCount] = {L"C:\\dir\\f.bin", L"Frammentato", L"2 KB", L"4 KB", L"12,345",
                                               L"1,234,567", L"BIN File", L"266.67 %", L"01/02/2023 10:11", L"RA"};
  for (int column = 0; column < kItemColumnCount; ++column) {
    EXPECT_EQ(ItemCellText(record, static_cast<ItemColumn>(column), numbers), expected[column]) << "column " << column;
  }
  for (auto [count, text] : {std::pair{int64_t{0}, L""}, {int64_t{-3}, L"0"}, {int64_t{-2}, L"-"}}) {
    record.fragments = count;
    record.clusters = count;
    EXPECT_EQ(ItemCellText(record, ItemColumn::Fragments, numbers), text);
    EXPECT_EQ(ItemCellText(record, ItemColumn::Clusters, numbers), text);
  }
  record.state = ItemState::None;
  record.flags |= ItemFlags::kFolder | ItemFlags::kSkipped;
  for (ItemColumn column : {ItemColumn::Size, ItemColumn::SizeOnDisk, ItemColumn::PercentOnDisk}) {
    EXPECT_EQ(ItemCellText(record, column, numbers), L"");
  }
  EXPECT_EQ(ItemCellText(record, ItemColumn::State, numbers), L"Scartato");
}

// Folders before files, then the column's value in a form that sorts as text
// (numbers zero-padded, an unknown count as 0), then the path.
TEST_F(ItemCellsTest, SortKeysPerColumn) {
  ItemRecord file = File();
  file.state = ItemState::Error;
  file.fragments = -1;
  file.clusters = 77;
  const std::pair<ItemColumn, const wchar_t*> keys[] = {
      {ItemColumn::State, L"F00000001C:\\dir\\f.bin"},
      {ItemColumn::Size, L"F0000000000001536C:\\dir\\f.bin"},
      {ItemColumn::Fragments, L"F0000000000000000C:\\dir\\f.bin"},
      {ItemColumn::Clusters, L"F0000000000000077C:\\dir\\f.bin"},
      {ItemColumn::Modified, L"F2023020110:11C:\\dir\\f.bin"},
  };
  for (auto [column, key] : keys) EXPECT_EQ(ItemSortKey(file, column), key) << static_cast<int>(column);
  file.flags |= ItemFlags::kFolder;
  EXPECT_EQ(ItemSortKey(file, ItemColumn::Size), L"D0000000000001536C:\\dir\\f.bin");
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
