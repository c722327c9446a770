#include "runs/RunFilters.h"

#include "selection/Filters.h"

namespace {

class ListRunFilter final : public RunFilter {
 public:
  bool FileLeftOut(const std::wstring& path) const override { return IsFileExcluded(path) != 0; }
  bool FolderLeftOut(const std::wstring& path) const override { return IsFolderExcluded(path) != 0; }
};

}  // namespace

const RunFilter& ListFilter() {
  static const ListRunFilter filter;
  return filter;
}
