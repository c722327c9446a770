#include "util/win32/FileDialogs.h"

#include <commdlg.h>

#include <algorithm>
#include <cwchar>

#include "util/win32/FileDialogFilter.h"
#include "util/PathText.h"

namespace {

// Long enough for a long path, or for many names chosen at once.
constexpr size_t kNameCapacity = 65536;

// Runs the open (or save) dialog; `names` receives what the dialog wrote.
bool RunFileDialog(HWND owner, const FileDialogRequest& request, bool save, std::vector<wchar_t>& names) {
  const std::wstring filter = FileDialogFilter(request.filter ? request.filter : L"");
  names.assign(kNameCapacity, L'\0');
  request.initialName.copy(names.data(), std::min(request.initialName.size(), names.size() - 1));
  OPENFILENAMEW dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.hwndOwner = owner;
  dialog.lpstrFilter = request.filter ? filter.c_str() : nullptr;
  dialog.lpstrFile = names.data();
  dialog.nMaxFile = static_cast<DWORD>(names.size());
  dialog.lpstrTitle = request.title;
  dialog.lpstrInitialDir = request.initialFolder;
  dialog.lpstrDefExt = request.defaultExtension;
  dialog.Flags = OFN_EXPLORER | request.flags;
  return save ? GetSaveFileNameW(&dialog) != FALSE : GetOpenFileNameW(&dialog) != FALSE;
}

}  // namespace

std::wstring AskFileToOpen(HWND owner, const FileDialogRequest& request) {
  std::vector<wchar_t> names;
  return RunFileDialog(owner, request, false, names) ? std::wstring(names.data()) : std::wstring();
}

std::wstring AskFileToSave(HWND owner, const FileDialogRequest& request) {
  std::vector<wchar_t> names;
  return RunFileDialog(owner, request, true, names) ? std::wstring(names.data()) : std::wstring();
}

std::vector<std::wstring> AskFilesToOpen(HWND owner, const wchar_t* title, const wchar_t* filterText) {
  FileDialogRequest request;
  request.title = title;
  request.filter = filterText;
  request.flags = OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY;
  std::vector<wchar_t> names;
  std::vector<std::wstring> paths;
  if (!RunFileDialog(owner, request, false, names)) return paths;
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
