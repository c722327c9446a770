#include "util/ProgramFolder.h"

std::wstring gProgramFolder;

std::wstring JoinPath(const std::wstring& folder, const std::wstring& name) {
  std::wstring joined = folder;
  if (!joined.empty() && joined.back() == L'\\') joined.pop_back();
  size_t start = 0;
  while (start < name.size() && name[start] == L'\\') ++start;
  return joined + L"\\" + name.substr(start);
}
