#include "runs/RunResults.h"

#include <algorithm>

#include "items/ItemList.h"
#include "util/WideString.h"

RunResults gRun;

bool PathWithinItem(const std::wstring& itemPath, bool itemIsFolder, const std::wstring& path) {
  // The item itself (an error about a folder is about its own path) ...
  if (EqualNoCase(itemPath, path)) return true;
  if (!itemIsFolder) return false;
  // ... or below the folder. A drive's root ends with its backslash already;
  // a folder's path does not.
  const bool endsWithSeparator = !itemPath.empty() && itemPath.back() == L'\\';
  const size_t prefix = itemPath.size() + (endsWithSeparator ? 0 : 1);
  if (path.size() <= prefix) return false;
  return EqualNoCase(std::wstring_view(path).substr(0, itemPath.size()), itemPath) &&
         (endsWithSeparator || path[itemPath.size()] == L'\\');
}

namespace {

bool CoveredByAnItem(const std::wstring& path) {
  for (const ItemNode* node = ItemListHead(); node; node = node->next) {
    const ItemRecord& item = node->record;
    if (PathWithinItem(item.path, (item.flags & ItemFlags::kFolder) != 0, path)) return true;
  }
  return false;
}

template <typename Record, typename PathOf>
size_t DropUncovered(std::vector<Record>& records, const PathOf& pathOf) {
  const auto end = std::remove_if(records.begin(), records.end(),
                                  [&](const Record& record) { return !CoveredByAnItem(pathOf(record)); });
  const size_t dropped = static_cast<size_t>(records.end() - end);
  records.erase(end, records.end());
  return dropped;
}

}  // namespace

size_t DropResultsOfRemovedItems() {
  size_t dropped = DropUncovered(gRun.fragmented, [](const FragmentedFileRecord& record) { return record.path; });
  dropped += DropUncovered(gRun.errors, [](const ErrorEntry& entry) { return entry.displayPath; });
  if (ItemCount() == 0) gRun.counters = RunCounters{};
  return dropped;
}
