#pragma once
// The system's open and save dialogs, filled in one place: a title, a filter
// written with "|" as a language file holds it ("Tutti i file (*.*)|*.*|"),
// a starting name or folder and a default extension. Each returns the full
// path chosen, or nothing when the user cancelled.
#include <windows.h>
#include <commdlg.h>

#include <string>
#include <vector>

struct FileDialogRequest {
  const wchar_t* title = nullptr;   // the system's own title when null
  const wchar_t* filter = nullptr;  // "|"-separated pairs of description and pattern
  std::wstring initialName;         // shown in the name box when the dialog opens
  const wchar_t* initialFolder = nullptr;
  const wchar_t* defaultExtension = nullptr;
  DWORD flags = OFN_HIDEREADONLY;   // OFN_* beyond the dialog's kind
};

std::wstring AskFileToOpen(HWND owner, const FileDialogRequest& request);
std::wstring AskFileToSave(HWND owner, const FileDialogRequest& request);
// Several files at once: the full paths chosen, none when cancelled.
std::vector<std::wstring> AskFilesToOpen(HWND owner, const wchar_t* title, const wchar_t* filterText);
