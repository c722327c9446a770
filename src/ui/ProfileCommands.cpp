#include "ui/ProfileCommands.h"

#include <commctrl.h>
#include <shlwapi.h>

#include <unordered_map>
#include <vector>

#include "selection/Filters.h"
#include "ui/dialogs/ChoiceDialog.h"
#include "ui/dialogs/FilterDialog.h"
#include "engine/Relocation.h"
#include "items/ItemList.h"
#include "selection/RecentProfiles.h"
#include "res/ResourceIds.h"
#include "options/Settings.h"
#include "options/CommandIds.h"
#include "ui/controls/DialogPlacement.h"
#include "ui/controls/Dpi.h"
#include "util/win32/FileDialogs.h"
#include "ui/ItemCommands.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"
#include "util/win32/Win32Handle.h"

namespace {

std::wstring AskProfilePath(HWND owner, bool save) {
  FileDialogRequest request;
  request.filter = Text(kStrProfileFilter, L"Profilo di Ordalis (*.olp)|*.olp|Tutti i file (*.*)|*.*|");
  request.initialFolder = gSettings.profileFolder.empty() ? nullptr : gSettings.profileFolder.c_str();
  request.defaultExtension = L"olp";
  if (save) {
    request.title = Text(kStrSaveProfile, L"Salva profilo");
    request.flags = OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST;
    return AskFileToSave(owner, request);
  }
  request.title = Text(kStrOpenProfile, L"Apri profilo");
  request.flags = OFN_FILEMUSTEXIST | OFN_HIDEREADONLY;
  return AskFileToOpen(owner, request);
}

// A path shortened for a menu with the window system's path ellipsis: the
// width shrinks by one pixel until the text is short enough. Drawn into a
// memory context, so nothing shows on the screen.
std::wstring ShortenForMenu(const std::wstring& path) {
  HWND window = MainWindowHandle();
  const WindowDc screen(window);
  const MemoryDc dc(CreateCompatibleDC(screen.Get()));
  const GdiObject<HBITMAP> bitmap(CreateCompatibleBitmap(screen.Get(), 1, 1));
  const DcSelection selectedBitmap(dc.Get(), bitmap.Get());
  const DcSelection selectedFont(dc.Get(), GetStockObject(DEFAULT_GUI_FONT));
  std::wstring text = path;
  std::vector<wchar_t> buffer;
  for (int width = ScaleForDpi(1000, WindowDpi(window)); width > 0 && text.size() > kRecentProfileMenuChars;
       --width) {
    buffer.assign(path.begin(), path.end());
    buffer.resize(path.size() + 8, L'\0');  // room for the ellipsis
    RECT rect{0, 0, width, 100};
    DrawTextW(dc.Get(), buffer.data(), -1, &rect, DT_PATH_ELLIPSIS | DT_MODIFYSTRING | DT_SINGLELINE | DT_NOPREFIX);
    text = buffer.data();
  }
  return text;
}

// Shortening draws the path many times, so each path is shortened once, the
// first time a menu shows it.
const std::wstring& MenuTextOf(const std::wstring& path) {
  static std::unordered_map<std::wstring, std::wstring> shortened;
  auto found = shortened.find(path);
  if (found == shortened.end()) found = shortened.emplace(path, ShortenForMenu(path)).first;
  return found->second;
}

// The progress of a long import in the lower status bar.
struct ImportProgress {
  HWND bar = nullptr;
  HWND status = nullptr;
};
ImportProgress gProgress;

void BeginProgress(uint64_t total) {
  if (total <= kProfileProgressThreshold) return;
  HWND main = MainWindowHandle();
  gProgress.status = GetDlgItem(main, IDC_STATUS_LOWER);
  if (!gProgress.status) return;
  RECT part{};
  GetClientRect(gProgress.status, &part);
  int left = ScaleForDpi(24, WindowDpi(main));
  gProgress.bar = CreateWindowExW(0, PROGRESS_CLASSW, L"", WS_CHILD | WS_VISIBLE, left, 2,
                                  (part.right - left) / 2, part.bottom - 4, gProgress.status, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
  SendMessageW(gProgress.bar, PBM_SETRANGE32, 0, static_cast<LPARAM>(total));
  SendMessageW(gProgress.status, SB_SETICON, 0, reinterpret_cast<LPARAM>(LoadIconW(nullptr, IDI_INFORMATION)));
}

void EndProgress() {
  if (gProgress.bar) DestroyWindow(gProgress.bar);
  if (gProgress.status) {
    SendMessageW(gProgress.status, SB_SETICON, 0, 0);
    InvalidateRect(gProgress.status, nullptr, TRUE);
  }
  gProgress = ImportProgress{};
}

INT_PTR CALLBACK MissingProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG: {
      const auto& missing = *reinterpret_cast<const std::vector<MissingItem>*>(lParam);
      SetWindowTextW(dialog, Text(kStrMissingTitle, L"Elementi non trovati"));
      SetDlgItemTextW(dialog, IDC_MISSING_LABEL,
                      Text(kStrMissingLabel, L"I seguenti elementi del profilo non esistono più:"));
      HWND list = GetDlgItem(dialog, IDC_MISSING_LIST);
      ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT);
      UINT dpi = WindowDpi(dialog);
      LVCOLUMNW column{};
      column.mask = LVCF_TEXT | LVCF_WIDTH;
      column.cx = ScaleForDpi(80, dpi);
      column.pszText = const_cast<wchar_t*>(Text(kStrKindColumn, L"Tipo"));
      ListView_InsertColumn(list, 0, &column);
      column.cx = ScaleForDpi(360, dpi);
      column.pszText = const_cast<wchar_t*>(Text(kStrPathColumn, L"Percorso"));
      ListView_InsertColumn(list, 1, &column);
      // A list of any length fills at once: the rows are asked for as they
      // are drawn.
      SetWindowLongPtrW(dialog, DWLP_USER, lParam);
      ListView_SetItemCountEx(list, static_cast<int>(missing.size()), 0);
      ListView_SetColumnWidth(list, 1, ScaleForDpi(600, dpi));
      return TRUE;
    }
    case WM_NOTIFY: {
      auto* info = reinterpret_cast<NMLVDISPINFOW*>(lParam);
      if (info->hdr.code != LVN_GETDISPINFOW || !(info->item.mask & LVIF_TEXT)) return FALSE;
      const auto& missing = *reinterpret_cast<const std::vector<MissingItem>*>(GetWindowLongPtrW(dialog, DWLP_USER));
      size_t row = static_cast<size_t>(info->item.iItem);
      if (row >= missing.size()) return FALSE;
      const wchar_t* text = info->item.iSubItem == 0
                                ? (missing[row].kind == L'D' ? Text(kStrKindFolder, L"Cartella") : Text(kStrKindFile, L"File"))
                                : missing[row].path.c_str();
      lstrcpynW(info->item.pszText, text, info->item.cchTextMax);
      return TRUE;
    }
  }
  return EndsOnClose(dialog, message, wParam);
}

struct RecentDialogState {
  int64_t savedMax = 0;
  bool savedRemoveMissing = false;
  bool correcting = false;
};
RecentDialogState gRecent;

void CorrectRecentCount(HWND dialog) {
  if (gRecent.correcting) return;
  gRecent.correcting = true;
  wchar_t text[16] = {};
  GetDlgItemTextW(dialog, IDC_RECENT_COUNT, text, 16);
  std::wstring value = text;
  std::wstring corrected;
  bool number = !value.empty() && value.find_first_not_of(L"-0123456789") == std::wstring::npos &&
                value.find(L'-', 1) == std::wstring::npos && value != L"-";
  if (!number || value[0] == L'-') {
    corrected = L"0";
  } else if (value.size() > 2 || _wtoi(value.c_str()) > kMaxRecentProfilesLimit) {
    corrected = L"10";
  }
  if (!corrected.empty() && corrected != value) {
    SetDlgItemTextW(dialog, IDC_RECENT_COUNT, corrected.c_str());
    SendDlgItemMessageW(dialog, IDC_RECENT_COUNT, EM_SETSEL, corrected.size(), corrected.size());
  }
  gRecent.correcting = false;
}

INT_PTR CALLBACK RecentProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      gRecent = RecentDialogState{gSettings.maxRecentProfiles, gSettings.removeMissingRecentProfiles, false};
      SetWindowTextW(dialog, Text(kStrRecentTitle, L"Elenco profili recenti"));
      SetDlgItemTextW(dialog, IDC_RECENT_COUNT_LABEL, Text(kStrRecentCount, L"Numero massimo di profili recenti:"));
      SetDlgItemTextW(dialog, IDC_RECENT_REMOVE_MISSING,
                      Text(kStrRecentRemoveMissing, L"Rimuovi dall'elenco i profili che non esistono più"));
      SetDlgItemTextW(dialog, IDOK, Text(kStrDialogOk, L"OK"));
      SetDlgItemTextW(dialog, IDCANCEL, Text(kStrDialogCancel, L"Annulla"));
      SendDlgItemMessageW(dialog, IDC_RECENT_COUNT_SPIN, UDM_SETRANGE32, 0, kMaxRecentProfilesLimit);
      SetDlgItemTextW(dialog, IDC_RECENT_COUNT, std::to_wstring(gSettings.maxRecentProfiles).c_str());
      CheckDlgButton(dialog, IDC_RECENT_REMOVE_MISSING,
                     gSettings.removeMissingRecentProfiles ? BST_CHECKED : BST_UNCHECKED);
      return TRUE;
    case WM_COMMAND:
      switch (LOWORD(wParam)) {
        case IDC_RECENT_COUNT:
          if (HIWORD(wParam) == EN_CHANGE) CorrectRecentCount(dialog);
          return TRUE;
        case IDC_RECENT_REMOVE_MISSING:
          gSettings.removeMissingRecentProfiles = IsDlgButtonChecked(dialog, IDC_RECENT_REMOVE_MISSING) == BST_CHECKED;
          return TRUE;
        case IDOK: {
          wchar_t text[16] = {};
          GetDlgItemTextW(dialog, IDC_RECENT_COUNT, text, 16);
          int64_t count = _wtoi(text);
          gSettings.maxRecentProfiles = count;
          if (static_cast<uint64_t>(count) < gRecentProfiles.count) {
            TrimRecentProfiles(gRecentProfiles.count - static_cast<uint64_t>(count));
          }
          EndDialog(dialog, IDOK);
          return TRUE;
        }
        case IDCANCEL:
          gSettings.maxRecentProfiles = gRecent.savedMax;
          gSettings.removeMissingRecentProfiles = gRecent.savedRemoveMissing;
          EndDialog(dialog, IDCANCEL);
          return TRUE;
      }
      return FALSE;
  }
  return FALSE;
}

}  // namespace

void SaveProfileCommand(HWND owner) {
  std::wstring chosen = AskProfilePath(owner, true);
  if (chosen.empty()) return;
  std::wstring path = ProfileFileName(chosen);
  if (!WriteProfile(path)) return;
  ShowMessage(owner, Text(kStrProfileSaved, L"Profilo salvato correttamente."), L"Ordalis",
              MB_OK | MB_ICONINFORMATION);
  AddRecentProfile(path);
  RefreshRecentMenus();
}

namespace {

// An import into the main window: the add-or-replace question (unless
// unattended, which adds), the progress bar and a list that redraws only at
// each progress step.
class WindowImportUi final : public ProfileImportUi {
 public:
  WindowImportUi(HWND owner, bool noGui)
      : owner_(owner), noGui_(noGui), list_(GetDlgItem(owner, IDC_ITEM_LIST)),
        style_(GetWindowLongPtrW(owner, GWL_STYLE)) {}

  ImportChoice AskAddOrReplace() override {
    if (noGui_) return ImportChoice::Add;
    int answer = AskChoice(
        owner_, Text(kStrImportTitle, L"Importazione profilo"),
        Text(kStrImportListNotEmpty, L"L'elenco dei file non è vuoto"),
        Text(kStrImportNote,
             L"Fare clic su Aggiungi per aggiungere ai file in elenco i file memorizzati nel profilo. Scegliere "
             L"Sostituisci per sostituire i file in elenco con i file memorizzati nel profilo."),
        {Text(kStrImportAdd, L"Aggi&ungi"), Text(kStrImportReplace, L"&Sostituisci"), Text(kStrDialogCancel, L"Annulla")},
        2);
    return answer == 0 ? ImportChoice::Add : answer == 1 ? ImportChoice::Replace : ImportChoice::Cancel;
  }
  void ListCleared() override { RefreshItemList(); }
  void Begin(uint64_t total) override {
    BeginProgress(total);
    SetWindowLongPtrW(owner_, GWL_STYLE, style_ | WS_CLIPCHILDREN);
    if (list_) SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
  }
  void Progress(uint64_t done) override {
    if (gProgress.bar) SendMessageW(gProgress.bar, PBM_SETPOS, static_cast<WPARAM>(done), 0);
    if (list_) {
      SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
      RefreshItemList();
      SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
    }
    // A quit message stays queued for the message loop and ends the import.
    if (!PumpWindowMessages()) gEngine.flags.fetch_or(kStopRequested);
  }
  bool StopRequested() override { return (gEngine.flags.load() & kStopRequested) != 0; }
  void End() override {
    SetWindowLongPtrW(owner_, GWL_STYLE, style_);
    if (list_) SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
    EndProgress();
    RefreshItemList();
  }

 private:
  HWND owner_;
  bool noGui_;
  HWND list_;
  LONG_PTR style_;
};

}  // namespace

ImportResult ImportProfile(HWND owner, const std::wstring& givenPath, bool noGui) {
  std::wstring path = givenPath;
  if (path.empty()) {
    path = AskProfilePath(owner, false);
    if (path.empty()) return ImportResult::Cancelled;
  }
  gEngine.flags.fetch_and(~kStopRequested);
  // A hidden window comes up as the settings left it; a shown one keeps its
  // size and state (a maximised window stays maximised).
  if (!noGui && !IsWindowVisible(MainWindowHandle())) ShowMainWindow(gSettings.maximized);

  WindowImportUi ui(owner, noGui);
  std::vector<MissingItem> missing;
  ImportResult result = ReadProfile(path, WindowItems(), ui, missing);
  if (result == ImportResult::CannotOpen) {
    const wchar_t* text = Text(kStrProfileMissing, L"Il profilo specificato sulla riga di comando non esiste.");
    if (!noGui) ShowMessage(owner, text, L"Ordalis", MB_OK | MB_ICONSTOP);
    return result;
  }
  if (result == ImportResult::NotProfile) {
    if (!noGui) {
      ShowMessage(owner,
                  FormatWithStrings(Text(kStrNotAProfile, L"Il file '%s' non è un profilo di Ordalis valido."), {path}),
                  L"Ordalis", MB_OK | MB_ICONSTOP);
    }
    return result;
  }
  if (result == ImportResult::Cancelled) return result;
  if (!missing.empty() && !noGui) {
    DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_MISSING_ITEMS), owner, MissingProc,
                    reinterpret_cast<LPARAM>(&missing));
  }
  AddRecentProfile(path);
  RefreshRecentMenus();
  size_t slash = path.find_last_of(L'\\');
  if (slash != std::wstring::npos) gSettings.profileFolder = path.substr(0, slash);
  return result;
}

void ShowRecentProfilesDialog(HWND owner) {
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_RECENT_PROFILES), owner, RecentProc, 0);
  RefreshRecentMenus();
}

// Both places that list the recent profiles: the "Profili" menu and the
// drop-down, where they exist.
void RefreshRecentMenus() {
  if (HMENU bar = GetMenu(MainWindowHandle())) {
    for (int i = 0, count = GetMenuItemCount(bar); i < count; ++i) {
      HMENU popup = GetSubMenu(bar, i);
      if (popup && GetMenuState(popup, kRecentProfilesPlaceholderId, MF_BYCOMMAND) != static_cast<UINT>(-1)) {
        FillRecentProfilesMenu(popup);
      }
      for (const RecentProfile* entry = gRecentProfiles.head; popup && entry; entry = entry->next) {
        if (GetMenuState(popup, entry->menuId, MF_BYCOMMAND) != static_cast<UINT>(-1)) {
          FillRecentProfilesMenu(popup);
          break;
        }
      }
    }
  }
}

void FillRecentProfilesMenu(HMENU menu) {
  for (int i = GetMenuItemCount(menu) - 1; i >= 0; --i) {
    UINT id = GetMenuItemID(menu, i);
    if (id >= kRecentProfilesPlaceholderId && id <= kLastRecentProfileId) DeleteMenu(menu, i, MF_BYPOSITION);
  }
  if (!gRecentProfiles.head) {
    AppendMenuW(menu, MF_STRING | MF_GRAYED, kRecentProfilesPlaceholderId,
                Text(kStrMenuRecentProfilesEmpty, L"<vuoto>"));
    return;
  }
  for (const RecentProfile* entry = gRecentProfiles.head; entry; entry = entry->next) {
    AppendMenuW(menu, MF_STRING, entry->menuId, MenuTextOf(entry->path).c_str());
  }
}

void ImportRecentProfile(HWND owner, uint32_t command) {
  if (const RecentProfile* entry = RecentProfileById(command)) {
    std::wstring path = entry->path;  // the entry is replaced while importing
    ImportProfile(owner, path, false);
  }
}

void LoadSelectionState() {
  LoadFilterLists();
  LoadRecentProfilesFromSettings();
  RefreshRecentMenus();
}
