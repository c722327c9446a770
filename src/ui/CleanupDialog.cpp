#include "ui/CleanupDialog.h"
#include "util/PathText.h"

#include <algorithm>
#include <string>
#include <vector>

#include "engine/Cleanup.h"
#include "engine/Relocation.h"
#include "engine/cleanup/RunAndWait.h"
#include "runs/RunSteps.h"
#include "options/CommandIds.h"
#include "options/Settings.h"
#include "ui/controls/Dpi.h"
#include "util/win32/FileDialogs.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/PreRunSteps.h"
#include "ui/controls/Theme.h"
#include "ui/controls/DialogPlacement.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"
#include "util/win32/Win32Handle.h"

namespace {

const wchar_t* WorkingText() {
  return Text(kStrCleanupWorking, L"Eliminazione dei file temporanei in corso...");
}

enum ControlId : int {
  kHeading = 1101,
  kExplanation,
  kBuiltIn,
  kExternal,
  kPathLabel,
  kPath,
  kBrowse,
  kSwitchesLabel,
  kSwitches,
  kNeverClean,
  kStart,
  kSkip,
};

constexpr size_t kMaxPathCount = 32768;
constexpr int kExternalFields[] = {kPathLabel, kPath, kBrowse, kSwitchesLabel, kSwitches};

struct CleanupDialogState {
  bool automatic = false;
  bool useExternal = false;
  uint32_t modeOnEntry = kCleanupAsk;
  GdiObject<HFONT> headingFont;
};
CleanupDialogState gCleanupDialog;

void Refuse(HWND owner, bool quiet, const std::wstring& text) {
  if (!quiet) ShowMessageText(owner, kMsgIconError, text);
}

// The built-in cleanup: the temporary folder's contents go, unless the
// folder cannot be named, is a drive root or does not exist.
int BuiltInCleanup(HWND owner, bool quiet, HWND working) {
  gSettings.cleanupProgramPath.clear();
  gSettings.cleanupProgramSwitches.clear();
  std::vector<wchar_t> buffer(kMaxPathCount);
  const DWORD count = GetTempPathW(static_cast<DWORD>(buffer.size()), buffer.data());
  const DWORD error = GetLastError();
  if (count == 0 || count > kMaxPathCount) {
    Refuse(owner, quiet,
           FormatWithStrings(Text(kStrCleanupTempPathFailed, L"Errore della funzione GetTempPath. Codice di errore: %s."),
                             {std::to_wstring(error)}));
    return kCleanupResultCancelled;
  }
  const std::wstring folder(buffer.data(), count);
  if (IsDriveRoot(folder)) {
    Refuse(owner, quiet,
           Text(kStrCleanupTempAtRoot, L"Impossibile eliminare i file temporanei poich\u00E9 sono memorizzati nella "
                                       L"cartella principale del disco."));
    return kCleanupResultCancelled;
  }
  if (GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES) {
    Refuse(owner, quiet,
           FormatWithStrings(Text(kStrCleanupTempMissing, L"Impossibile eliminare i file temporanei poich\u00E9 il "
                                                          L"seguente percorso non esiste:\n\n%s"),
                             {folder}));
    return kCleanupResultCancelled;
  }
  if (gEngine.flags.load() & kStopRequested) return kCleanupResultCancelled;
  if (working) SetWindowTextW(working, WorkingText());
  gCleanupCount = 0;
  WindowMessagePump pump;
  DeleteFolderContents(pump, folder);
  if (gEngine.flags.load() & kStopRequested) return kCleanupResultCancelled;
  return kCleanupResultDone;
}

std::wstring ControlText(HWND dialog, int id) {
  std::vector<wchar_t> text(kMaxPathCount);
  GetDlgItemTextW(dialog, id, text.data(), static_cast<int>(text.size()));
  return text.data();
}

void EnableExternalFields(HWND dialog, bool enabled) {
  for (int id : kExternalFields) EnableWindow(GetDlgItem(dialog, id), enabled);
}

void EnableAll(HWND dialog, bool enabled) {
  for (int id : {kStart, kSkip, kBuiltIn, kExternal, kNeverClean}) EnableWindow(GetDlgItem(dialog, id), enabled);
  EnableExternalFields(dialog, enabled && gCleanupDialog.useExternal);
}

void StartCleanup(HWND dialog) {
  ShowWindow(dialog, SW_SHOW);
  UpdateWindow(dialog);
  EnableAll(dialog, false);
  if (!gCleanupDialog.useExternal) {
    // Its refusals are shown only while "show error messages" is on; the
    // run that asked for the cleanup ends either way.
    const int result =
        BuiltInCleanup(dialog, !gSettings.cleanupShowErrors, GetDlgItem(dialog, kExplanation));
    // A cancel during the walk has already ended the dialog.
    if (result == kCleanupResultCancelled && (gEngine.flags.load() & kStopRequested)) return;
    EndDialog(dialog, result);
    return;
  }
  gSettings.cleanupProgramPath = ControlText(dialog, kPath);
  gSettings.cleanupProgramSwitches = ControlText(dialog, kSwitches);
  const std::wstring& path = gSettings.cleanupProgramPath;
  if (path.empty() || GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
    if (path.empty()) {
      ShowMessageBox(dialog, kMsgIconError, kStrCleanupNoProgram, L"Nessun programma esterno specificato.");
    } else {
      ShowMessageBox(dialog, kMsgIconError, kStrCleanupProgramMissing,
                     L"Impossibile trovare l'applicazione esterna specificata.");
    }
    EnableAll(dialog, true);
    return;
  }
  // "Annulla" stays available: a cleaner that never ends must not hold the
  // run, and the window, with it.
  SetDlgItemTextW(dialog, kExplanation, WorkingText());
  WindowMessagePump pump;
  RunAndWait(pump, path, gSettings.cleanupProgramSwitches, SW_SHOWNORMAL, true);
  // A cancel during the wait has already ended the dialog.
  if (gEngine.flags.load() & kStopRequested) return;
  EndDialog(dialog, kCleanupResultDone);
}

void Browse(HWND dialog) {
  FileDialogRequest request;
  request.title = Text(kStrCleanupChooseProgram, L"Scegli il programma di pulitura");
  request.filter =
      Text(kStrCleanupProgramFilter, L"Programmi (*.exe;*.com;*.bat;*.cmd)|*.exe;*.com;*.bat;*.cmd|Tutti i file (*.*)|*.*|");
  request.initialName = ControlText(dialog, kPath);
  request.flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY;
  const std::wstring name = AskFileToOpen(dialog, request);
  if (!name.empty()) SetDlgItemTextW(dialog, kPath, name.c_str());
}

HWND MakeControl(HWND dialog, const wchar_t* className, const wchar_t* text, DWORD style, int id, DWORD exStyle = 0) {
  HWND control = CreateWindowExW(exStyle, className, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 10, 10, dialog,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
  SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(Theme::WindowFont(dialog)), FALSE);
  return control;
}

void BuildDialog(HWND dialog) {
  const UINT dpi = WindowDpi(dialog);
  auto s = [dpi](int size) { return ScaleForDpi(size, dpi); };
  SetWindowTextW(dialog, Text(kStrCleanupTitle, L"Eliminazione file temporanei"));
  HWND heading = MakeControl(dialog, L"STATIC", Text(kStrCleanupHeading, L"Pulitura disco"), SS_NOPREFIX, kHeading);
  LOGFONTW logFont{};
  GetObjectW(Theme::WindowFont(dialog), sizeof logFont, &logFont);
  logFont.lfWeight = FW_BOLD;
  gCleanupDialog.headingFont.Reset(CreateFontIndirectW(&logFont));
  SendMessageW(heading, WM_SETFONT, reinterpret_cast<WPARAM>(gCleanupDialog.headingFont.Get()), FALSE);
  MakeControl(dialog, L"STATIC",
              Text(kStrCleanupExplanation,
                   L"Prima di avviare la deframmentazione dei file, è possibile liberare spazio su disco eliminando i "
                   L"file temporanei."),
              SS_NOPREFIX, kExplanation);
  MakeControl(dialog, L"BUTTON", Text(kStrCleanupBuiltIn, L"Usa &Ordalis per eliminare i file temporanei"),
              BS_RADIOBUTTON | WS_TABSTOP | WS_GROUP, kBuiltIn);
  MakeControl(dialog, L"BUTTON",
              Text(kStrCleanupExternal, L"Usa programma &esterno per eliminare i file temporanei"),
              BS_RADIOBUTTON | WS_TABSTOP, kExternal);
  MakeControl(dialog, L"STATIC", Text(kStrCleanupPathLabel, L"Percorso:"), SS_NOPREFIX, kPathLabel);
  MakeControl(dialog, L"EDIT", gSettings.cleanupProgramPath.c_str(), ES_AUTOHSCROLL | WS_TABSTOP | WS_GROUP, kPath,
              WS_EX_CLIENTEDGE);
  MakeControl(dialog, L"BUTTON", Text(kStrCleanupBrowse, L"S&foglia..."), BS_PUSHBUTTON | WS_TABSTOP, kBrowse);
  MakeControl(dialog, L"STATIC", Text(kStrCleanupSwitchesLabel, L"Parametri aggiuntivi:"), SS_NOPREFIX,
              kSwitchesLabel);
  MakeControl(dialog, L"EDIT", gSettings.cleanupProgramSwitches.c_str(), ES_AUTOHSCROLL | WS_TABSTOP, kSwitches,
              WS_EX_CLIENTEDGE);
  MakeControl(dialog, L"BUTTON", Text(kStrCleanupNever, L"&Non eliminare i file temporanei in futuro"),
              BS_AUTOCHECKBOX | WS_TABSTOP, kNeverClean);
  MakeControl(dialog, L"BUTTON", Text(kStrCleanupStart, L"&Avvia pulitura"), BS_DEFPUSHBUTTON | WS_TABSTOP, kStart);
  MakeControl(dialog, L"BUTTON", Text(kStrCleanupSkip, L"Non a&vviare pulitura"), BS_PUSHBUTTON | WS_TABSTOP, kSkip);
  MakeControl(dialog, L"BUTTON", Text(kStrCancel, L"Annulla"), BS_PUSHBUTTON | WS_TABSTOP, IDCANCEL);
  EnableMenuItem(GetSystemMenu(dialog, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);

  const int width = s(520);
  const int margin = s(12);
  const int inner = width - 2 * margin;
  const int indent = s(28);
  // The two labels share the width of the longer one in the current language.
  int labelWidth = s(60);
  for (int id : {kPathLabel, kSwitchesLabel}) {
    HWND label = GetDlgItem(dialog, id);
    HDC dc = GetDC(label);
    HGDIOBJ previous = SelectObject(dc, Theme::WindowFont(dialog));
    const std::wstring text = ControlText(dialog, id);
    SIZE extent{};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &extent);
    SelectObject(dc, previous);
    ReleaseDC(label, dc);
    labelWidth = std::max(labelWidth, static_cast<int>(extent.cx) + s(6));
  }
  int y = margin;
  auto place = [&](int id, int x, int top, int w, int h) {
    SetWindowPos(GetDlgItem(dialog, id), nullptr, x, top, w, h, SWP_NOZORDER | SWP_NOACTIVATE);
  };
  place(kHeading, margin, y, inner, s(20));
  y += s(24);
  place(kExplanation, margin, y, inner, s(34));
  y += s(42);
  place(kBuiltIn, margin, y, inner, s(20));
  y += s(24);
  place(kExternal, margin, y, inner, s(20));
  y += s(26);
  place(kPathLabel, margin + indent, y + s(3), labelWidth, s(18));
  place(kPath, margin + indent + labelWidth + s(4), y, inner - indent - labelWidth - s(4) - s(96), s(22));
  place(kBrowse, width - margin - s(88), y - 1, s(88), s(24));
  y += s(30);
  place(kSwitchesLabel, margin + indent, y + s(3), labelWidth, s(18));
  place(kSwitches, margin + indent + labelWidth + s(4), y, inner - indent - labelWidth - s(4), s(22));
  y += s(36);
  place(kNeverClean, margin, y, inner, s(20));
  y += s(34);
  const int buttonWidth = s(140);
  place(IDCANCEL, width - margin - buttonWidth, y, buttonWidth, s(26));
  place(kSkip, width - margin - 2 * buttonWidth - s(8), y, buttonWidth, s(26));
  place(kStart, width - margin - 3 * buttonWidth - s(16), y, buttonWidth, s(26));
  y += s(26) + margin;
  SizeAndCentreDialog(dialog, width, y);

  gCleanupDialog.useExternal = !gSettings.cleanupProgramPath.empty();
  CheckDlgButton(dialog, kBuiltIn, gCleanupDialog.useExternal ? BST_UNCHECKED : BST_CHECKED);
  CheckDlgButton(dialog, kExternal, gCleanupDialog.useExternal ? BST_CHECKED : BST_UNCHECKED);
  EnableExternalFields(dialog, gCleanupDialog.useExternal);
}

void Cancel(HWND dialog) {
  gEngine.flags.fetch_or(kStopRequested);
  PumpWindowMessages();
  SetCleanupChoice(gCleanupDialog.modeOnEntry);
  gSettings.cleanupProgramPath = ControlText(dialog, kPath);
  gSettings.cleanupProgramSwitches = ControlText(dialog, kSwitches);
  if (!gCleanupDialog.useExternal) {
    gSettings.cleanupProgramPath.clear();
    gSettings.cleanupProgramSwitches.clear();
  }
  EndDialog(dialog, kCleanupResultCancelled);
}

INT_PTR CALLBACK CleanupProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      BuildDialog(dialog);
      SetDefaultButton(dialog, kStart);
      // Started at once, only the cancel button stays usable; otherwise the
      // focus waits on the default choice.
      SetFocus(GetDlgItem(dialog, gCleanupDialog.automatic ? IDCANCEL : kStart));
      if (gCleanupDialog.automatic) PostMessageW(dialog, WM_COMMAND, kStart, 0);
      return FALSE;
    case WM_COMMAND:
      switch (LOWORD(wParam)) {
        case kBuiltIn:
        case kExternal:
          gCleanupDialog.useExternal = LOWORD(wParam) == kExternal;
          CheckDlgButton(dialog, kBuiltIn, gCleanupDialog.useExternal ? BST_UNCHECKED : BST_CHECKED);
          CheckDlgButton(dialog, kExternal, gCleanupDialog.useExternal ? BST_CHECKED : BST_UNCHECKED);
          EnableExternalFields(dialog, gCleanupDialog.useExternal);
          return TRUE;
        case kBrowse:
          Browse(dialog);
          return TRUE;
        case kNeverClean:
          SetCleanupChoice(IsDlgButtonChecked(dialog, kNeverClean) ? kCleanupOff : gCleanupDialog.modeOnEntry);
          return TRUE;
        case kStart:
          StartCleanup(dialog);
          return TRUE;
        case kSkip:
          EndDialog(dialog, kCleanupResultSkipped);
          return TRUE;
        case IDOK:
          PressDefaultButton(dialog);
          return TRUE;
        case IDCANCEL:
          if (IsWindowEnabled(GetDlgItem(dialog, IDCANCEL))) Cancel(dialog);
          return TRUE;
      }
      break;
    case WM_NCDESTROY:
      gCleanupDialog.headingFont.Reset();
      return FALSE;
  }
  return FALSE;
}

}  // namespace

int RunCleanupDialog(HWND owner, bool automatic) {
  // A stop left from an earlier run must not cancel this cleanup.
  gEngine.flags.fetch_and(~kStopRequested);
  gCleanupDialog = CleanupDialogState{.automatic = automatic, .modeOnEntry = CleanupChoice()};
  return RunEmptyTemplateDialog(owner, WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, CleanupProc, 0,
                                kCleanupResultCancelled);
}

int RunCleanupUnattended() {
  gEngine.flags.fetch_and(~kStopRequested);
  const std::wstring& path = gSettings.cleanupProgramPath;
  if (path.empty()) return BuiltInCleanup(nullptr, true, nullptr);
  if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) return kCleanupResultCancelled;
  WindowMessagePump pump;
  RunAndWait(pump, path, gSettings.cleanupProgramSwitches, SW_SHOWNORMAL, true);
  return kCleanupResultDone;
}
