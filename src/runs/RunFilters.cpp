#include "runs/RunFilters.h"

#include "selection/Filters.h"

// The include and exclude lists decide; tests put their own rules here.
RunFilterTests gRunFilters{
    [](const std::wstring& path) { return IsFileExcluded(path) != 0; },
    [](const std::wstring& path) { return IsFolderExcluded(path) != 0; },
};

bool FileLeftOut(const std::wstring& path) {
  return gRunFilters.fileExcluded && gRunFilters.fileExcluded(path);
}

bool FolderLeftOut(const std::wstring& path) {
  return gRunFilters.folderExcluded && gRunFilters.folderExcluded(path);
}
