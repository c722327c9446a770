#pragma once
// The texts of the item list view's cells and the sort keys of its columns.
// The list view asks for a cell when it paints; everything comes from the
// record, nothing from the file system.
#include <cstdint>
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

// How numbers are written in the cells, the status bars and the details.
class NumberFormat {
 public:
  virtual ~NumberFormat() = default;
  // Bytes as kilobytes with digit grouping and " KB".
  virtual std::wstring KBSize(uint64_t bytes) const = 0;
  // A whole number with digit grouping.
  virtual std::wstring GroupDigits(int64_t value) const = 0;
  // A per cent given in hundredths: two decimals and a per-cent sign.
  virtual std::wstring Percent(uint32_t hundredths) const = 0;
};

// Fixed formats: "1,234 KB", "1,234", "12.34 %". (The window writes the
// user's locale: LocaleNumbers() in items/win32/ShellItemTexts.h.)
class PortableNumberFormat final : public NumberFormat {
 public:
  std::wstring KBSize(uint64_t bytes) const override;
  std::wstring GroupDigits(int64_t value) const override;
  std::wstring Percent(uint32_t hundredths) const override;
};

// A count with digit grouping, as the status bars and summaries show it.
std::wstring GroupedCount(const NumberFormat& numbers, uint64_t count);

// The text of one cell; an empty text for an empty cell.
std::wstring ItemCellText(const ItemRecord& record, ItemColumn column, const NumberFormat& numbers);
// "D" for a folder or "F" for a file, the column's key, the display path.
std::wstring ItemSortKey(const ItemRecord& record, ItemColumn column);
// Fills every item's sortKey for a column (before SortItemList).
void BuildSortKeys(ItemColumn column);
