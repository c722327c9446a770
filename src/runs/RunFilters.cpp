#include "runs/RunFilters.h"

RunFilterTests gRunFilters;

bool FileLeftOut(const std::wstring& path) {
  return gRunFilters.fileExcluded && gRunFilters.fileExcluded(path);
}

bool FolderLeftOut(const std::wstring& path) {
  return gRunFilters.folderExcluded && gRunFilters.folderExcluded(path);
}
