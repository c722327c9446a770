#include "items/ItemCells.h"

#include "util/Numbers.h"
#include "util/PathText.h"
#include "options/StringIds.h"
#include "util/Text.h"

std::wstring GroupedCount(const NumberFormat& numbers, uint64_t count) {
  return numbers.GroupDigits(static_cast<int64_t>(count));
}

namespace {

bool IsFolder(const ItemRecord& record) { return (record.flags & ItemFlags::kFolder) != 0; }

std::wstring CountText(int64_t count, const NumberFormat& numbers) {
  if (count == 0) return std::wstring();
  if (count == kCountNoClusters) return L"0";
  if (count == -1 || count == -2) return L"-";
  return numbers.GroupDigits(count);
}

// Negative markers sort as 0.
int64_t CountKey(int64_t count) { return count < 0 ? 0 : count; }

}  // namespace

std::wstring PortableNumberFormat::KBSize(uint64_t bytes) const { return FormatKBSizeFixed(bytes); }
std::wstring PortableNumberFormat::GroupDigits(int64_t value) const { return ::GroupDigits(value); }
std::wstring PortableNumberFormat::Percent(uint32_t hundredths) const { return FormatHundredths(hundredths) + L" %"; }

std::wstring ItemCellText(const ItemRecord& record, ItemColumn column, const NumberFormat& numbers) {
  switch (column) {
    case ItemColumn::Name: return std::wstring(DisplayPath(record.path));
    case ItemColumn::State: return ItemStateText(record.state, record.flags);
    case ItemColumn::Size:
      return IsFolder(record) ? std::wstring() : numbers.KBSize(record.size);
    case ItemColumn::SizeOnDisk:
      return IsFolder(record) ? std::wstring() : numbers.KBSize(record.sizeOnDisk);
    case ItemColumn::Fragments: return CountText(record.fragments, numbers);
    case ItemColumn::Clusters: return CountText(record.clusters, numbers);
    case ItemColumn::Type:
      if ((record.flags & ItemFlags::kDriveRoot) != 0) return Text(kStrRootFolder, L"Cartella principale");
      return record.typeName;
    case ItemColumn::PercentOnDisk:
      return IsFolder(record) ? std::wstring() : numbers.Percent(record.percentOnDisk);
    case ItemColumn::Modified: return record.modifiedText;
    case ItemColumn::Attributes: return record.attributes;
  }
  return std::wstring();
}

std::wstring ItemSortKey(const ItemRecord& record, ItemColumn column) {
  std::wstring key(IsFolder(record) ? L"D" : L"F");
  switch (column) {
    case ItemColumn::Name: break;
    case ItemColumn::State: key += ZeroPadded(static_cast<int32_t>(record.state), 8); break;
    case ItemColumn::Size: key += ZeroPadded(static_cast<int64_t>(record.size), 16); break;
    case ItemColumn::SizeOnDisk: key += ZeroPadded(static_cast<int64_t>(record.sizeOnDisk), 16); break;
    case ItemColumn::Fragments: key += ZeroPadded(CountKey(record.fragments), 16); break;
    case ItemColumn::Clusters: key += ZeroPadded(CountKey(record.clusters), 16); break;
    case ItemColumn::Type: key += record.typeName; break;
    case ItemColumn::PercentOnDisk: key += ZeroPadded(static_cast<int32_t>(record.percentOnDisk), 16); break;
    case ItemColumn::Modified: key += record.modifiedKey; break;
    case ItemColumn::Attributes: key += record.attributes; break;
  }
  key += DisplayPath(record.path);
  return key;
}

void BuildSortKeys(ItemColumn column) {
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    node->record.sortKey = ItemSortKey(node->record, column);
  }
}
