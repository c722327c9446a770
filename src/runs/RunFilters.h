#pragma once
// Which files and folders a run leaves out. The walk and the run driver ask
// through this pair, which asks the include and exclude lists unless a test
// has put rules of its own in their place.
#include <functional>
#include <string>

struct RunFilterTests {
  // The file's full path without the long prefix; true leaves the file out.
  std::function<bool(const std::wstring& path)> fileExcluded;
  // The folder's full path as the walk built it; true means do not enter it.
  std::function<bool(const std::wstring& path)> folderExcluded;
};
extern RunFilterTests gRunFilters;

bool FileLeftOut(const std::wstring& path);
bool FolderLeftOut(const std::wstring& path);
