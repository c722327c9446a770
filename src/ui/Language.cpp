#include "ui/Language.h"

#include <richedit.h>

#include <vector>

#include "options/RunFlags.h"
#include "res/ResourceIds.h"
#include "options/LanguageFile.h"
#include "options/Settings.h"
#include "ui/MenuTexts.h"
#include "options/CommandIds.h"
#include "ui/controls/DialogPlacement.h"
#include "ui/controls/Dpi.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "util/PathText.h"
#include "util/ProgramFolder.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"
#include "util/win32/Win32Handle.h"

namespace {

constexpr size_t kViewerMaxChars = 200000;
// The main window's minimum height at 96 dots per inch.
constexpr int kMainMinHeight96 = 300;

std::vector<LanguageEntry> gLanguages;

// The first bytes of a file, where its display name stands.
std::vector<uint8_t> FileStart(const std::wstring& path, size_t length) {
  std::vector<uint8_t> bytes(length);
  UniqueHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD read = 0;
  if (!file.Valid() || !ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(length), &read, nullptr)) {
    read = 0;
  }
  bytes.resize(read);
  return bytes;
}

HMENU FindSubMenu(HMENU menu, UINT id) {
  int count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position) {
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_ID | MIIM_SUBMENU;
    if (!GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info) || !info.hSubMenu) continue;
    if (info.wID == id) return info.hSubMenu;
    if (HMENU found = FindSubMenu(info.hSubMenu, id)) return found;
  }
  return nullptr;
}

void MarkLanguage(const std::wstring& code) {
  HMENU menu = GetMenu(MainWindowHandle());
  for (const LanguageEntry& entry : gLanguages) {
    if (EqualNoCase(entry.code, code)) {
      CheckMenuRadioItem(menu, kCmdFirstLanguage, kCmdFirstLanguage + static_cast<UINT>(gLanguages.size()) - 1,
                         entry.command, MF_BYCOMMAND);
    }
  }
}

void FillLanguageMenu() {
  HMENU languages = FindSubMenu(GetMenu(MainWindowHandle()), kMenuLanguage);
  if (!languages) return;
  while (GetMenuItemCount(languages) > 0) DeleteMenu(languages, 0, MF_BYPOSITION);
  for (const LanguageEntry& entry : gLanguages) {
    MENUITEMINFOW item{};
    item.cbSize = sizeof item;
    item.fMask = MIIM_ID | MIIM_STRING | MIIM_FTYPE;
    item.fType = MFT_RADIOCHECK;
    item.wID = entry.command;
    item.dwTypeData = const_cast<wchar_t*>(entry.name.c_str());
    InsertMenuItemW(languages, static_cast<UINT>(GetMenuItemCount(languages)), TRUE, &item);
  }
  MarkLanguage(gSettings.language);
}

void GrowToMinimumHeight(HWND window) {
  RECT frame{};
  if (!window || !GetWindowRect(window, &frame)) return;
  int minimum = ScaleForDpi(kMainMinHeight96, WindowDpi(window));
  if (frame.bottom - frame.top < minimum) {
    SetWindowPos(window, nullptr, 0, 0, frame.right - frame.left, minimum + 10,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
}

void RetextInterface() {
  HWND window = MainWindowHandle();
  if (HMENU menu = GetMenu(window)) {
    RetextMenu(menu, MenuKind::Main);
    DrawMenuBar(window);
  }
  RetextMainWindow();
}

INT_PTR CALLBACK ViewerProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG: {
      SetWindowTextW(dialog, Text(kStrLanguageViewerTitle, L"File di lingua"));
      SetDlgItemTextW(dialog, IDOK, Text(kStrHelpClose, L"Chiudi"));
      const auto* text = reinterpret_cast<const std::wstring*>(lParam);
      HWND box = GetDlgItem(dialog, IDC_LANGUAGE_TEXT);
      SendMessageW(box, EM_EXLIMITTEXT, 0, static_cast<LPARAM>(kViewerMaxChars));
      SetWindowTextW(box, text->c_str());
      // Start at the top, nothing selected, the button ready for Enter.
      SendMessageW(box, EM_SETSEL, 0, 0);
      SetFocus(GetDlgItem(dialog, IDOK));
      return FALSE;
    }
    case WM_SIZE: {
      RECT client{};
      GetClientRect(dialog, &client);
      int scale = static_cast<int>(WindowDpi(dialog));
      int margin = ScaleForDpi(10, static_cast<UINT>(scale));
      int buttonWidth = ScaleForDpi(90, static_cast<UINT>(scale));
      int buttonHeight = ScaleForDpi(26, static_cast<UINT>(scale));
      MoveWindow(GetDlgItem(dialog, IDC_LANGUAGE_TEXT), margin, margin, client.right - 2 * margin,
                 client.bottom - 3 * margin - buttonHeight, TRUE);
      MoveWindow(GetDlgItem(dialog, IDOK), client.right - margin - buttonWidth,
                 client.bottom - margin - buttonHeight, buttonWidth, buttonHeight, TRUE);
      return TRUE;
    }
  }
  return EndsOnClose(dialog, message, wParam);
}

std::wstring CurrentLanguageFilePath() {
  return JoinPath(LanguageFolder(), LanguageFileName(gSettings.language));
}

}  // namespace

std::wstring LanguageFolder() {
  std::wstring folder = JoinPath(gProgramFolder, L"lang");
  DWORD attributes = GetFileAttributesW(folder.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) return folder;
  return gProgramFolder;
}

void BuildLanguageList() {
  std::vector<FoundLanguageFile> found;
  std::wstring folder = LanguageFolder();
  WIN32_FIND_DATAW data{};
  const UniqueFindHandle search(FindFirstFileW(JoinPath(folder, kLanguageFilePattern).c_str(), &data));
  if (search) {
    do {
      if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
      std::wstring code = LanguageCodeOfFile(data.cFileName);
      if (code.empty() || EqualNoCase(code, kBuiltInLanguageCode)) continue;
      std::vector<uint8_t> start = FileStart(JoinPath(folder, data.cFileName), kLanguageNameWindowBytes);
      found.push_back({code, LanguageDisplayName(start.data(), start.size())});
    } while (FindNextFileW(search.Get(), &data));
  }
  gLanguages = MakeLanguageList(found);
  FillLanguageMenu();
}

int LoadLanguageFile(const std::wstring& path) {
  UnicodeTextReader reader;
  if (!reader.Open(path, true, kLineLimitFilters)) return kLanguageFileMissing;
  ReadLanguageFile(reader);
  return 0;
}

void ApplyLanguage(const std::wstring& code) {
  GrowToMinimumHeight(MainWindowHandle());
  SetBuiltInTexts(false);
  gSettings.language = code;
  if (EqualNoCase(code, kBuiltInLanguageCode)) {
    SetBuiltInTexts(true);
  } else {
    std::wstring path = JoinPath(LanguageFolder(), LanguageFileName(code));
    if (LoadLanguageFile(path) == 0) {
      PadLanguageTextsForLayout();
    } else {
      if (!(gApp.runFlags & kRunNoGui)) {
        ShowMessage(MainWindowHandle(),
                    FormatWithStrings(L"Cannot load the language file:\n\n %s.", {path}), L"Ordalis",
                    MB_OK | MB_ICONEXCLAMATION);
      }
      gSettings.language = kBuiltInLanguageCode;
      SetBuiltInTexts(true);
    }
  }
  MarkLanguage(gSettings.language);
  RetextInterface();
}

std::wstring LanguageFromLocale() {
  using GetLocaleInfoExFn = int(WINAPI*)(LPCWSTR, LCTYPE, LPWSTR, int);
  auto getLocaleInfoEx = reinterpret_cast<GetLocaleInfoExFn>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetLocaleInfoEx")));
  wchar_t locale[16] = {};
  if (getLocaleInfoEx) {
    getLocaleInfoEx(nullptr, LOCALE_ILANGUAGE, locale, ARRAYSIZE(locale));
  } else {
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_ILANGUAGE, locale, ARRAYSIZE(locale));
  }
  return LanguageCodeForLocale(locale);
}

bool ChooseLanguageCommand(unsigned command) {
  for (const LanguageEntry& entry : gLanguages) {
    if (entry.command != command) continue;
    // A language picked from the menu is the user's choice, kept even when
    // the command line chose another one for this run.
    gSettings.languageFromCommandLine = false;
    ApplyLanguage(entry.code);
    return true;
  }
  return false;
}

void ShowLanguageFileViewer(HWND owner) {
  std::wstring path = CurrentLanguageFilePath();
  UnicodeTextReader reader;
  if (!reader.Open(path, false, kLineLimitFilters)) {
    ShowMessage(owner, FormatWithStrings(L"Cannot load the language file '%s'.", {path}), L"Ordalis",
                MB_OK | MB_ICONEXCLAMATION);
    return;
  }
  std::wstring text;
  std::wstring line;
  while (text.size() < kViewerMaxChars && reader.NextLine(line)) text += line + L"\r\n";
  if (text.size() > kViewerMaxChars) text.resize(kViewerMaxChars);
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_LANGUAGE_VIEWER), owner, ViewerProc,
                  reinterpret_cast<LPARAM>(&text));
}
