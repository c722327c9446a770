#include "ui/DiskCheckDialog.h"

#include <commctrl.h>
#include <shellapi.h>
#include <shlwapi.h>

#include <algorithm>
#include <string>
#include <vector>

#include "engine/diskcheck/DiskCheck.h"
#include "items/ItemList.h"
#include "runs/RunSteps.h"
#include "options/Settings.h"
#include "ui/controls/Dpi.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/PreRunSteps.h"
#include "ui/controls/DialogPlacement.h"
#include "ui/controls/Theme.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/win32/Win32Handle.h"

namespace {

enum ControlId : int {
  kHeading = 1001,
  kExplanation,
  kDriveList,
  kOutputLabel,
  kOutput,
  kProgressLabel,
  kProgress,
  kAutoContinue,
  kNeverCheck,
  kCheckButton,
  kSkipButton,
};

constexpr int kErrorsFound = 4;
constexpr int kAutoContinueValue = 8;
constexpr UINT kStartCheckMessage = WM_APP + 1;

struct DiskCheckDialogState {
  bool automatic = false;
  uint32_t modeOnEntry = kDiskCheckAsk;
  int errors = 0;
  int autoContinue = kAutoContinueValue;
  bool done = false;
  bool checking = false;
  GdiObject<HFONT> headingFont;
  SIZE minimum{};
};
DiskCheckDialogState gDiskDialog;

// Letters used by the listed items, upper or lower case.
std::vector<wchar_t> DriveTable() {
  bool used[26] = {};
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    const std::wstring& path = node->record.path;
    if (path.empty()) continue;
    const wchar_t c = path[0];
    if (c >= L'A' && c <= L'Z') used[c - L'A'] = true;
    if (c >= L'a' && c <= L'z') used[c - L'a'] = true;
  }
  std::vector<wchar_t> letters;
  for (int i = 0; i < 26; ++i) {
    if (used[i]) letters.push_back(wchar_t(L'A' + i));
  }
  return letters;
}

std::wstring RootOf(wchar_t letter) { return std::wstring(1, letter) + L":\\"; }

const wchar_t* TypeName(UINT type) {
  switch (type) {
    case DRIVE_REMOVABLE: return Text(kStrDriveRemovable, L"Disco rimovibile");
    case DRIVE_FIXED: return Text(kStrDriveFixed, L"Disco locale");
    case DRIVE_REMOTE: return Text(kStrDriveRemote, L"Unit\u00E0 di rete");
    case DRIVE_CDROM: return Text(kStrDriveOptical, L"Disco ottico");
    case DRIVE_RAMDISK: return Text(kStrDriveRam, L"Disco RAM");
    default: return Text(kStrDriveUnknown, L"Unit\u00E0 sconosciuta");
  }
}

// A drive the checker may be given: network and optical drives are refused.
bool RefusedDrive(HWND owner, UINT type, bool quiet) {
  if (type == DRIVE_REMOTE) {
    if (!quiet) {
      ShowMessageBox(owner, kMsgIconWarning, kStrDiskCheckRemoteRefused,
                     L"Impossibile verificare un disco connesso attraverso la rete.");
    }
    return true;
  }
  if (type == DRIVE_CDROM) {
    if (!quiet) {
      ShowMessageBox(owner, kMsgIconWarning, kStrDiskCheckOpticalRefused,
                     L"Impossibile eseguire il controllo del disco su unità CD-ROM e DVD-ROM.");
    }
    return true;
  }
  return false;
}

std::wstring FileSystemOf(const std::wstring& root, std::wstring* label) {
  wchar_t name[MAX_PATH + 1] = L"";
  wchar_t fileSystem[MAX_PATH + 1] = L"";
  GetVolumeInformationW(root.c_str(), name, MAX_PATH + 1, nullptr, nullptr, nullptr, fileSystem, MAX_PATH + 1);
  if (label) *label = name;
  return fileSystem;
}

void SetCell(HWND list, int row, int column, const std::wstring& text) {
  ListView_SetItemText(list, row, column, const_cast<wchar_t*>(text.c_str()));
}

std::wstring ByteSize(uint64_t bytes) {
  wchar_t buffer[64] = L"";
  StrFormatByteSizeW(static_cast<LONGLONG>(bytes), buffer, 64);
  return buffer;
}

void FillDriveList(HWND dialog, HWND list) {
  for (wchar_t letter : DriveTable()) {
    const std::wstring root = RootOf(letter);
    const UINT type = GetDriveTypeW(root.c_str());
    if (RefusedDrive(dialog, type, false)) continue;
    std::wstring label;
    const std::wstring fileSystem = FileSystemOf(root, &label);
    const std::wstring volume = (label.empty() ? std::wstring(TypeName(type)) : label) + L" (" + letter + L":)";
    SHFILEINFOW info{};
    SHGetFileInfoW(root.c_str(), 0, &info, sizeof info, SHGFI_SYSICONINDEX | SHGFI_SMALLICON);
    LVITEMW item{};
    item.mask = LVIF_TEXT | LVIF_IMAGE;
    item.iItem = ListView_GetItemCount(list);
    item.pszText = const_cast<wchar_t*>(volume.c_str());
    item.iImage = info.iIcon;
    const int row = ListView_InsertItem(list, &item);
    SetCell(list, row, 2, fileSystem);
    DWORD sectorsPerCluster = 0, bytesPerSector = 0, freeClusters = 0, totalClusters = 0;
    if (GetDiskFreeSpaceW(root.c_str(), &sectorsPerCluster, &bytesPerSector, &freeClusters, &totalClusters)) {
      const uint64_t clusterBytes = uint64_t(bytesPerSector) * sectorsPerCluster;
      const uint64_t capacity = clusterBytes * totalClusters;
      const uint64_t freeBytes = clusterBytes * freeClusters;
      SetCell(list, row, 3, ByteSize(capacity));
      SetCell(list, row, 4, ByteSize(freeBytes));
      const float percent = capacity ? float(freeBytes) / float(capacity) * 100.0f : 0.0f;
      wchar_t text[16];
      wsprintfW(text, L"%d%%", static_cast<int>(percent));
      SetCell(list, row, 5, text);
    }
    ListView_SetCheckState(list, row, TRUE);
  }
}

bool AnyRowTicked(HWND list) {
  const int count = ListView_GetItemCount(list);
  for (int row = 0; row < count; ++row) {
    if (ListView_GetCheckState(list, row)) return true;
  }
  return count == 0;  // an empty list still lets a check run (it checks nothing)
}

void EnableButtons(HWND dialog, bool enabled) {
  EnableWindow(GetDlgItem(dialog, kCheckButton), enabled);
  EnableWindow(GetDlgItem(dialog, kSkipButton), enabled);
  EnableWindow(GetDlgItem(dialog, IDCANCEL), enabled);
}

void SaveSize(HWND dialog) {
  RECT frame{};
  GetWindowRect(dialog, &frame);
  gSettings.diskCheckWidth = frame.right - frame.left;
  gSettings.diskCheckHeight = frame.bottom - frame.top;
}

void EndWith(HWND dialog, int result) {
  SaveSize(dialog);
  EndDialog(dialog, result);
}

// The check of the ticked rows. Row i stands for the i-th letter of the
// drive table, refused letters included.
void RunCheck(HWND dialog) {
  HWND list = GetDlgItem(dialog, kDriveList);
  // Started at once on opening, the check must not run before the dialog
  // is on the screen.
  ShowWindow(dialog, SW_SHOW);
  UpdateWindow(dialog);
  gDiskDialog.checking = true;
  EnableButtons(dialog, false);
  // "Annulla" stays available: a checker that never ends must not hold the
  // run, and the window, with it.
  EnableWindow(GetDlgItem(dialog, IDCANCEL), TRUE);
  SetDlgItemTextW(dialog, kOutput, L"");
  DiskCheckSink sink{GetDlgItem(dialog, kOutput), GetDlgItem(dialog, kProgress)};
  int row = 0;
  for (wchar_t letter : DriveTable()) {
    const int thisRow = row++;
    if (!ListView_GetCheckState(list, thisRow)) continue;
    SetCell(list, thisRow, 1, Text(kStrDiskCheckRunning, L"In analisi..."));
    ChkdskRequest request;
    wchar_t fileSystem[64] = L"";
    ListView_GetItemText(list, thisRow, 2, fileSystem, 64);
    request.fileSystem = fileSystem;
    request.root = RootOf(letter);
    bool abandoned = false;
    WindowMessagePump pump;
    if (CheckVolume(pump, request, sink, abandoned)) gDiskDialog.errors = kErrorsFound;
    // Cancelled, or the program is closing: the dialog is already ending.
    if (abandoned) return;
    SetCell(list, thisRow, 1, Text(kStrDiskCheckDone, L"Completato"));
  }
  gDiskDialog.checking = false;
  gDiskDialog.done = true;
  EnableWindow(GetDlgItem(dialog, IDCANCEL), TRUE);
  SetDlgItemTextW(dialog, IDCANCEL, Text(kStrDiskCheckClose, L"C&hiudi"));
  // Once checked, Enter closes the dialog as its only button does.
  SetDefaultButton(dialog, IDCANCEL);
  if (gDiskDialog.errors) {
    SetDlgItemTextW(dialog, kHeading, Text(kStrDiskCheckErrorHeading, L"Errore disco"));
    SetDlgItemTextW(dialog, kExplanation,
                    Text(kStrDiskCheckErrorText,
                         L"Sono stati rilevati problemi sul disco. Si consiglia di chiudere Ordalis e correggere gli "
                         L"errori presenti sul disco."));
    return;
  }
  if (gDiskDialog.autoContinue) {
    EndWith(dialog, 1 + gDiskDialog.autoContinue);
    return;
  }
  SetDlgItemTextW(dialog, kHeading, Text(kStrDiskCheckCompleted, L"Analisi del disco completata"));
}

HWND MakeControl(HWND dialog, const wchar_t* className, const wchar_t* text, DWORD style, int id, DWORD exStyle = 0) {
  HWND control = CreateWindowExW(exStyle, className, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 10, 10, dialog,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
  SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(Theme::WindowFont(dialog)), FALSE);
  return control;
}

void Layout(HWND dialog) {
  const UINT dpi = WindowDpi(dialog);
  auto s = [dpi](int size) { return ScaleForDpi(size, dpi); };
  RECT client{};
  GetClientRect(dialog, &client);
  const int margin = s(12);
  const int width = client.right - 2 * margin;
  const int buttonHeight = s(26);
  const int buttonWidth = s(120);
  int y = margin;
  auto place = [&](int id, int x, int top, int w, int h) {
    SetWindowPos(GetDlgItem(dialog, id), nullptr, x, top, w, h, SWP_NOZORDER | SWP_NOACTIVATE);
  };
  place(kHeading, margin, y, width, s(20));
  y += s(22);
  place(kExplanation, margin, y, width, s(48));
  y += s(52);
  const int bottom = client.bottom - margin - buttonHeight;
  const int boxesTop = bottom - s(48);
  const int progressTop = boxesTop - s(40);
  const int free = progressTop - y - s(20);
  const int listHeight = std::max(s(60), free / 2);
  place(kDriveList, margin, y, width, listHeight);
  y += listHeight + s(6);
  place(kOutputLabel, margin, y, width, s(16));
  y += s(18);
  place(kOutput, margin, y, width, std::max(s(30), progressTop - y - s(4)));
  place(kProgressLabel, margin, progressTop, width, s(16));
  place(kProgress, margin, progressTop + s(18), width, s(16));
  place(kAutoContinue, margin, boxesTop, width, s(20));
  place(kNeverCheck, margin, boxesTop + s(22), width, s(20));
  place(IDCANCEL, client.right - margin - buttonWidth, bottom, buttonWidth, buttonHeight);
  place(kSkipButton, client.right - margin - 2 * buttonWidth - s(8), bottom, buttonWidth, buttonHeight);
  place(kCheckButton, client.right - margin - 3 * buttonWidth - s(16), bottom, buttonWidth, buttonHeight);
}

void BuildDialog(HWND dialog) {
  const UINT dpi = WindowDpi(dialog);
  SetWindowTextW(dialog, Text(kStrDiskCheckTitle, L"Controllo disco"));
  HWND heading = MakeControl(dialog, L"STATIC", Text(kStrDiskCheckHeading, L"Analisi del disco"), SS_NOPREFIX, kHeading);
  LOGFONTW logFont{};
  GetObjectW(Theme::WindowFont(dialog), sizeof logFont, &logFont);
  logFont.lfWeight = FW_BOLD;
  gDiskDialog.headingFont.Reset(CreateFontIndirectW(&logFont));
  SendMessageW(heading, WM_SETFONT, reinterpret_cast<WPARAM>(gDiskDialog.headingFont.Get()), FALSE);
  MakeControl(dialog, L"STATIC",
              Text(kStrDiskCheckExplanation,
                   L"Prima di avviare la deframmentazione dei file, è possibile verificare il disco per rilevare la "
                   L"presenza di problemi. Si consiglia di controllare sempre l'integrità dei file memorizzati su "
                   L"disco prima di effettuare la deframmentazione dei file. Per visualizzare le proprietà di un "
                   L"disco, fare doppio clic sulla relativa icona."),
              SS_NOPREFIX, kExplanation);
  HWND list = MakeControl(dialog, WC_LISTVIEWW, L"", LVS_REPORT | LVS_SHOWSELALWAYS | LVS_SHAREIMAGELISTS | WS_TABSTOP,
                          kDriveList, WS_EX_CLIENTEDGE);
  ListView_SetExtendedListViewStyle(list, LVS_EX_CHECKBOXES | LVS_EX_FULLROWSELECT);
  SHFILEINFOW info{};
  auto images = reinterpret_cast<HIMAGELIST>(
      SHGetFileInfoW(L"C:\\", 0, &info, sizeof info, SHGFI_SYSICONINDEX | SHGFI_SMALLICON));
  if (images) ListView_SetImageList(list, images, LVSIL_SMALL);
  struct Column {
    uint32_t textId;
    const wchar_t* title;
    int width;
    int format;
  };
  const Column columns[] = {{kStrDiskColumnVolume, L"Volume", 150, LVCFMT_LEFT},
                            {kStrDiskColumnState, L"Stato sessione", 150, LVCFMT_LEFT},
                            {kStrDiskColumnFileSystem, L"File system", 100, LVCFMT_LEFT},
                            {kStrDiskColumnCapacity, L"Capacit\u00E0", 100, LVCFMT_RIGHT},
                            {kStrDiskColumnFree, L"Spazio libero", 100, LVCFMT_RIGHT},
                            {kStrDiskColumnFreePercent, L"% spazio libero", 100, LVCFMT_RIGHT}};
  for (int i = 0; i < 6; ++i) {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
    column.pszText = const_cast<wchar_t*>(Text(columns[i].textId, columns[i].title));
    column.cx = ScaleForDpi(columns[i].width, dpi);
    column.fmt = columns[i].format;
    ListView_InsertColumn(list, i, &column);
  }
  MakeControl(dialog, L"STATIC", Text(kStrDiskCheckOutputLabel, L"Dettaglio analisi:"), SS_NOPREFIX, kOutputLabel);
  MakeControl(dialog, L"EDIT", Text(kStrDiskCheckNotYet, L"Il disco non è stato ancora analizzato."),
              ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_TABSTOP, kOutput, WS_EX_CLIENTEDGE);
  MakeControl(dialog, L"STATIC", Text(kStrDiskCheckProgressLabel, L"Avanzamento fase:"), SS_NOPREFIX, kProgressLabel);
  HWND progress = MakeControl(dialog, PROGRESS_CLASSW, L"", 0, kProgress);
  SendMessageW(progress, PBM_SETRANGE32, 0, 100);
  MakeControl(dialog, L"BUTTON",
              Text(kStrDiskCheckAutoContinue,
                   L"&Avvia automaticamente la deframmentazione dei file se non vengono rilevati errori"),
              BS_AUTOCHECKBOX | WS_TABSTOP, kAutoContinue);
  CheckDlgButton(dialog, kAutoContinue, BST_CHECKED);
  MakeControl(dialog, L"BUTTON", Text(kStrDiskCheckNever, L"&Non controllare i dischi in futuro"),
              BS_AUTOCHECKBOX | WS_TABSTOP, kNeverCheck);
  MakeControl(dialog, L"BUTTON", Text(kStrDiskCheckButton, L"Cont&rolla disco"), BS_DEFPUSHBUTTON | WS_TABSTOP,
              kCheckButton);
  MakeControl(dialog, L"BUTTON", Text(kStrDiskCheckSkip, L"Non contr&ollare"), BS_PUSHBUTTON | WS_TABSTOP,
              kSkipButton);
  MakeControl(dialog, L"BUTTON", Text(kStrCancel, L"Annulla"), BS_PUSHBUTTON | WS_TABSTOP, IDCANCEL);
  EnableMenuItem(GetSystemMenu(dialog, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);

  // The stored size (never below the opening size), centred on the screen.
  const int width = std::max(gSettings.diskCheckWidth, gSettings.diskCheckMinWidth);
  const int height = std::max(gSettings.diskCheckHeight, gSettings.diskCheckMinHeight);
  gDiskDialog.minimum = {gSettings.diskCheckMinWidth, gSettings.diskCheckMinHeight};
  RECT work{};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  SetWindowPos(dialog, nullptr, work.left + (work.right - work.left - width) / 2,
               work.top + (work.bottom - work.top - height) / 2, width, height, SWP_NOZORDER);
  Layout(dialog);
  FillDriveList(dialog, list);
  EnableWindow(GetDlgItem(dialog, kCheckButton), AnyRowTicked(list));
}

INT_PTR CALLBACK DiskCheckProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      BuildDialog(dialog);
      if (gDiskDialog.automatic) PostMessageW(dialog, kStartCheckMessage, 0, 0);
      SetDefaultButton(dialog, kCheckButton);
      SetFocus(GetDlgItem(dialog, gDiskDialog.automatic ? IDCANCEL : kCheckButton));
      return FALSE;
    case kStartCheckMessage:
      RunCheck(dialog);
      return TRUE;
    case WM_SIZE:
      Layout(dialog);
      InvalidateRect(dialog, nullptr, TRUE);
      return TRUE;
    case WM_GETMINMAXINFO: {
      auto* info = reinterpret_cast<MINMAXINFO*>(lParam);
      if (gDiskDialog.minimum.cx) info->ptMinTrackSize = {gDiskDialog.minimum.cx, gDiskDialog.minimum.cy};
      return TRUE;
    }
    case WM_NOTIFY: {
      const auto* header = reinterpret_cast<const NMHDR*>(lParam);
      if (header->idFrom != kDriveList) break;
      if (header->code == LVN_ITEMCHANGED) {
        const auto* change = reinterpret_cast<const NMLISTVIEW*>(lParam);
        if ((change->uChanged & LVIF_STATE) && !gDiskDialog.checking && !gDiskDialog.done) {
          EnableWindow(GetDlgItem(dialog, kCheckButton), AnyRowTicked(header->hwndFrom));
        }
      } else if (header->code == NM_DBLCLK) {
        const auto* activate = reinterpret_cast<const NMITEMACTIVATE*>(lParam);
        std::vector<wchar_t> letters = DriveTable();
        if (activate->iItem >= 0 && activate->iItem < static_cast<int>(letters.size())) {
          const std::wstring root = RootOf(letters[activate->iItem]);
          SHELLEXECUTEINFOW properties{};
          properties.cbSize = sizeof properties;
          properties.fMask = SEE_MASK_INVOKEIDLIST;
          properties.hwnd = dialog;
          properties.lpVerb = L"properties";
          properties.lpFile = root.c_str();
          properties.nShow = SW_SHOW;
          ShellExecuteExW(&properties);
        }
      }
      return TRUE;
    }
    case WM_COMMAND:
      switch (LOWORD(wParam)) {
        case kCheckButton:
          RunCheck(dialog);
          return TRUE;
        case kSkipButton:
          EndWith(dialog, kDiskCheckResultSkipped);
          return TRUE;
        case kAutoContinue:
          gDiskDialog.autoContinue = IsDlgButtonChecked(dialog, kAutoContinue) ? kAutoContinueValue : 0;
          return TRUE;
        case kNeverCheck:
          SetDiskCheckChoice(IsDlgButtonChecked(dialog, kNeverCheck) ? kDiskCheckOff : gDiskDialog.modeOnEntry);
          return TRUE;
        case IDOK:
          // Enter: what the default button says, never the cancel.
          if (!gDiskDialog.checking) PressDefaultButton(dialog);
          return TRUE;
        case IDCANCEL:
          if (gDiskDialog.checking) {
            // The check is abandoned unfinished: the run is not started.
            AbandonVolumeCheck();
            SetDiskCheckChoice(gDiskDialog.modeOnEntry);
            EndWith(dialog, kDiskCheckResultCancelled);
            return TRUE;
          }
          if (gDiskDialog.done || gDiskDialog.errors) {
            EndWith(dialog, 1 + gDiskDialog.errors + gDiskDialog.autoContinue);
          } else {
            SetDiskCheckChoice(gDiskDialog.modeOnEntry);
            EndWith(dialog, kDiskCheckResultCancelled);
          }
          return TRUE;
      }
      break;
    case WM_NCDESTROY:
      gDiskDialog.headingFont.Reset();
      return FALSE;
  }
  return FALSE;
}

}  // namespace

int RunDiskCheckDialog(HWND owner, bool automatic) {
  gDiskDialog = DiskCheckDialogState{.automatic = automatic, .modeOnEntry = DiskCheckChoice()};
  return RunEmptyTemplateDialog(owner, WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | DS_MODALFRAME,
                                DiskCheckProc, 0, kDiskCheckResultCancelled);
}

int RunDiskCheckUnattended() {
  int errors = 0;
  for (wchar_t letter : DriveTable()) {
    const std::wstring root = RootOf(letter);
    if (RefusedDrive(nullptr, GetDriveTypeW(root.c_str()), true)) continue;
    ChkdskRequest request;
    request.fileSystem = FileSystemOf(root, nullptr);
    request.root = root;
    bool abandoned = false;
    WindowMessagePump pump;
    if (CheckVolume(pump, request, DiskCheckSink{}, abandoned)) errors = kErrorsFound;
    if (abandoned) break;
  }
  return 1 + errors + kAutoContinueValue;
}
