#pragma once
// The texts of the item list view's cells and the sort keys of its columns.
// The list view asks for a cell when it paints; everything comes from the
// record, nothing from the file system.
#include <cstdint>
#include <functional>
#include <string>

#include "items/ItemList.h"

enum class ItemColumn : int {
  Name = 0,
  State = 1,
  Size = 2,
  SizeOnDisk = 3,
  Fragments = 4,
  Clusters = 5,
  Type = 6,
  PercentOnDisk = 7,
  Modified = 8,
  Attributes = 9,
};
constexpr int kItemColumnCount = 10;

// Number texts in the user's locale.
struct NumberFormatHooks {
  // Bytes as kilobytes with the locale's grouping and " KB".
  std::function<std::wstring(uint64_t bytes)> kbSize;
  // A whole number with the locale's digit grouping.
  std::function<std::wstring(int64_t value)> groupDigits;
  // A per cent given in hundredths: two decimals and a per-cent sign.
  std::function<std::wstring(uint32_t hundredths)> percent;
};

// Fixed formats: "1,234 KB", "1,234", "12.34 %".
NumberFormatHooks PortableNumberFormatHooks();
// The user's locale on Windows (the shell's KB formatter, the locale's
// number format with a blank before "%"); the fixed formats elsewhere.
NumberFormatHooks PlatformNumberFormatHooks();

struct ItemCellSettings {
  NumberFormatHooks numbers = PlatformNumberFormatHooks();
};
extern ItemCellSettings gItemCellSettings;

// A count with the user's digit grouping, as the status bars and summaries show it.
std::wstring GroupedCount(uint64_t count);

// The text of one cell; an empty text for an empty cell.
std::wstring ItemCellText(const ItemRecord& record, ItemColumn column);
// "D" for a folder or "F" for a file, the column's key, the display path.
std::wstring ItemSortKey(const ItemRecord& record, ItemColumn column);
// Fills every item's sortKey for a column (before SortItemList).
void BuildSortKeys(ItemColumn column);
