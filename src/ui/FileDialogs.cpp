#include "ui/FileDialogs.h"

#include <commdlg.h>

#include <cwchar>

#include "filters/win32/FileDialogFilter.h"
#include "util/PathText.h"

std::vector<std::wstring> AskFilesToOpen(HWND owner, const wchar_t* title, const wchar_t* filterText) {
  std::wstring filter = FileDialogFilter(filterText);
  std::vector<wchar_t> names(65536, L'\0');
  OPENFILENAMEW open{};
  open.lStructSize = sizeof open;
  open.hwndOwner = owner;
  open.lpstrFilter = filter.c_str();
  open.lpstrFile = names.data();
  open.nMaxFile = static_cast<DWORD>(names.size());
  open.lpstrTitle = title;
  open.Flags = OFN_ALLOWMULTISELECT | OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY;
  std::vector<std::wstring> paths;
  if (!GetOpenFileNameW(&open)) return paths;
  // One name: the full path. Several: the folder, then the names, each
  // ended by a zero.
  std::wstring first = names.data();
  const wchar_t* next = names.data() + first.size() + 1;
  if (*next == L'\0') {
    paths.push_back(first);
  } else {
    for (; *next; next += wcslen(next) + 1) paths.push_back(JoinPath(first, next));
  }
  return paths;
}
