#pragma once
// Which files and folders a run leaves out. The walk and the run driver ask
// the filter their options carry: the include and exclude lists', unless the
// caller chose another.
#include <string>

class RunFilter {
 public:
  virtual ~RunFilter() = default;
  // The file's full path without the long prefix; true leaves the file out.
  virtual bool FileLeftOut(const std::wstring& path) const = 0;
  // The folder's full path as the walk built it; true means do not enter it.
  virtual bool FolderLeftOut(const std::wstring& path) const = 0;
};

// The include and exclude lists' answers.
const RunFilter& ListFilter();
