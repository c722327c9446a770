#include "ui/Toolbar.h"

#include "ui/ProfileCommands.h"
#include "res/ResourceIds.h"
#include "ui/Artwork.h"
#include "options/CommandIds.h"
#include "ui/Commands.h"
#include "ui/controls/Dpi.h"
#include "ui/MenuTexts.h"
#include "ui/controls/Controls.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

struct ToolButtonLayout {
  uint32_t command;
  int icon;
  uint32_t textId;
  const wchar_t* italian;
  uint32_t tipId;
  const wchar_t* tipItalian;
  bool dropDown;
};

constexpr ToolButtonLayout kTools[] = {
    {kCmdAddFiles, IDI_TOOL_ADD, kStrToolAdd, L"Aggiungi", kStrTipAdd,
     L"Consente di aggiungere in elenco gli elementi che devono essere analizzati o deframmentati.", true},
    {kCmdRemove, IDI_TOOL_REMOVE, kStrToolRemove, L"Rimuovi", kStrTipRemove,
     L"Rimuove dall'elenco gli oggetti selezionati.", false},
    // The profiles button shows its picture alone: with a word the row no
    // longer fits the narrowest window. Its tip names it.
    {kCmdImportProfile, IDI_TOOL_PROFILES, 0, nullptr, kStrTipProfiles,
     L"Importa un profilo. Fare clic sulla freccia per scegliere uno dei profili recenti.", true},
    {kCmdAnalyzeAll, IDI_TOOL_ANALYSE, kStrToolAnalyse, L"Analizza", kStrTipAnalyse,
     L"Analizza la frammentazione degli oggetti spuntati in elenco.", false},
    {kCmdDefragAll, IDI_TOOL_DEFRAG, kStrToolDefragment, L"Deframmenta", kStrTipDefragment,
     L"Consolida i file frammentati per migliorare le prestazioni del sistema. Fare clic sulla freccia per "
     L"deframmentare solamente i file frammentati selezionati nel pannello inferiore.",
     true},
    {kCmdStop, IDI_TOOL_STOP, kStrToolStop, L"Arresta", kStrTipStop, L"Arresta l'operazione in corso.", false},
};
constexpr int kToolCount = static_cast<int>(std::size(kTools));

HWND gButtons[kToolCount] = {};

const wchar_t* ButtonText(const ToolButtonLayout& tool) { return tool.italian ? Text(tool.textId, tool.italian) : L""; }

}  // namespace

void CreateToolbar(HWND mainWindow) {
  UINT dpi = WindowDpi(mainWindow);
  for (int i = 0; i < kToolCount; ++i) {
    const ToolButtonLayout& tool = kTools[i];
    gButtons[i] = CreateToolbarButton(mainWindow, static_cast<int>(tool.command), ButtonText(tool),
                                      LoadToolbarIcon(tool.icon, dpi), tool.dropDown);
    SendMessageW(gButtons[i], WM_SETFONT, SendMessageW(mainWindow, WM_GETFONT, 0, 0), FALSE);
    SendMessageW(gButtons[i], kToolbarSetTip, 0, reinterpret_cast<LPARAM>(Text(tool.tipId, tool.tipItalian)));
  }
}

void RetextToolbar() {
  for (int i = 0; i < kToolCount; ++i) {
    if (!gButtons[i]) continue;
    const ToolButtonLayout& tool = kTools[i];
    SetWindowTextW(gButtons[i], ButtonText(tool));
    SendMessageW(gButtons[i], kToolbarSetTip, 0, reinterpret_cast<LPARAM>(Text(tool.tipId, tool.tipItalian)));
    InvalidateRect(gButtons[i], nullptr, TRUE);
  }
}

int LayoutToolbar(int left, int top) {
  if (!gButtons[0]) return 0;
  UINT dpi = WindowDpi(gButtons[0]);
  int height = ScaleForDpi(34, dpi);
  int gap = ScaleForDpi(2, dpi);
  int x = left;
  for (int i = 0; i < kToolCount; ++i) {
    // A wider gap before stop sets it apart from the commands that start work.
    if (kTools[i].command == kCmdStop) x += ScaleForDpi(10, dpi);
    int width = ToolbarButtonWidth(gButtons[i]);
    MoveWindow(gButtons[i], x, top, width, height, TRUE);
    x += width + gap;
  }
  return height;
}

void ShowToolbar(bool show) {
  for (HWND button : gButtons) ShowWindow(button, show ? SW_SHOW : SW_HIDE);
}

void RunToolbarDropDown(HWND mainWindow, HWND button) {
  const int command = GetDlgCtrlID(button);
  HMENU menu = nullptr;
  if (command == static_cast<int>(kCmdAddFiles)) {
    menu = LoadPopupMenu(IDR_ADD_MENU, MenuKind::ItemList);
  } else if (command == static_cast<int>(kCmdImportProfile)) {
    menu = LoadPopupMenu(IDR_RECENT_PROFILES_MENU, MenuKind::Main);
    if (menu) FillRecentProfilesMenu(menu);
  } else {
    menu = LoadPopupMenu(IDR_DEFRAG_MENU, MenuKind::Main);
  }
  if (!menu) return;
  ApplyCommandStates(menu);
  RECT bounds{};
  GetWindowRect(button, &bounds);
  UINT chosen = static_cast<UINT>(
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_LEFTALIGN | TPM_TOPALIGN, bounds.left, bounds.bottom, 0, mainWindow,
                     nullptr));
  DestroyMenu(menu);
  if (chosen) PostMessageW(mainWindow, WM_COMMAND, MAKEWPARAM(chosen, 0), 0);
}

void EnableToolbarCommands(bool (*allowed)(uint32_t command)) {
  for (int i = 0; i < kToolCount; ++i) {
    if (gButtons[i]) EnableWindow(gButtons[i], allowed(kTools[i].command));
  }
}
