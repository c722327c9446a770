#include "ui/MainWindow.h"

#include <commctrl.h>
#include <shellapi.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "engine/EngineUi.h"
#include "engine/EngineThread.h"
#include "engine/Relocation.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "runs/FolderWalk.h"
#include "runs/RunDriver.h"
#include "runs/RunUi.h"
#include "runs/RunResults.h"
#include "options/Settings.h"
#include "options/CommandIds.h"
#include "ui/Commands.h"
#include "ui/controls/Dpi.h"
#include "ui/ErrorListView.h"
#include "ui/ItemCommands.h"
#include "ui/ItemListView.h"
#include "ui/MenuTexts.h"
#include "ui/ResultListView.h"
#include "ui/StatusBars.h"
#include "ui/SummaryPanel.h"
#include "ui/TaskbarProgress.h"
#include "ui/Toolbar.h"
#include "ui/controls/Controls.h"
#include "ui/controls/Theme.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/ProfileCommands.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

// Geometry at 96 dots per inch.
constexpr int kToolbarMargin = 4;
constexpr int kSplitterHeight = 7;
constexpr int kTabsHeight = 26;
constexpr int kStatusHeight = 22;
constexpr int kProgressWidth = 220;
constexpr int kMinListHeight = 60;
// Room for the tabs and the four counters beside them.
constexpr int kMinPanelHeight = 120;

struct MainWindowState {
  HWND window = nullptr;
  HWND list = nullptr;
  HWND statusUpper = nullptr;
  HWND statusLower = nullptr;
  HWND splitter = nullptr;
  HWND tabs = nullptr;
  HWND body = nullptr;
  HWND resultList = nullptr;
  HWND errorList = nullptr;
  HWND counters = nullptr;
  HWND progress = nullptr;
  bool showToolbar = true;
  bool showPanel = true;
  bool showStatus = true;
  bool running = false;
  // Imports and report saves under way (runs count through gRunState).
  int busyDepth = 0;
  // The window was asked to close while busy: it closes once the work ends.
  bool closePending = false;
  bool reportReady = false;
  uint32_t busyState = kBusyIdle;
  HWND lastFocusedList = nullptr;
  HACCEL accelerators = nullptr;
  uint32_t bottomTab = kCmdTabFragmented;
  MainWindowHost* host = nullptr;  // set while the window exists
};
MainWindowState gMain;

int Scaled(int size96) { return ScaleForDpi(size96, WindowDpi(gMain.window)); }

// The chosen tab's list, or its notice while the list is empty.
void ShowBottomTabContent() {
  if (!gMain.body) return;
  const bool errorsTab = gMain.bottomTab == kCmdTabErrors;
  const bool listEmpty = errorsTab ? gRun.errors.empty() : gRun.fragmented.empty();
  ShowWindow(gMain.resultList, !errorsTab && !listEmpty ? SW_SHOW : SW_HIDE);
  ShowWindow(gMain.errorList, errorsTab && !listEmpty ? SW_SHOW : SW_HIDE);
  SendMessageW(gMain.body, kBodySetNotice, 0, listEmpty ? reinterpret_cast<LPARAM>(EmptyListNotice(errorsTab)) : 0);
}

void LayoutChildren() {
  if (!gMain.list) return;
  RECT client{};
  GetClientRect(gMain.window, &client);
  const int width = client.right;
  int top = 0;
  if (gMain.showToolbar) {
    top = Scaled(kToolbarMargin) + LayoutToolbar(Scaled(kToolbarMargin), Scaled(kToolbarMargin)) +
          Scaled(kToolbarMargin);
  }
  int bottom = client.bottom;
  if (gMain.showStatus) {
    int statusHeight = Scaled(kStatusHeight);
    MoveWindow(gMain.statusLower, 0, bottom - statusHeight, width, statusHeight, TRUE);
    MoveWindow(gMain.statusUpper, 0, bottom - 2 * statusHeight, width, statusHeight, TRUE);
    int upperParts[] = {width - Scaled(260), -1};
    SendMessageW(gMain.statusUpper, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(upperParts));
    // A bar that grows repaints only the strip it gained: the lower bar's
    // one part would keep its old right edge drawn in the middle of the bar
    // (the upper bar is repainted whole by its new parts).
    InvalidateRect(gMain.statusLower, nullptr, TRUE);
    int progressWidth = Scaled(kProgressWidth);
    MoveWindow(gMain.progress, width - progressWidth - Scaled(22), Scaled(4), progressWidth,
               statusHeight - Scaled(8), TRUE);
    bottom -= 2 * statusHeight;
  }
  if (!gMain.showPanel) {
    MoveWindow(gMain.list, 0, top, width, bottom - top, TRUE);
    return;
  }
  int splitterHeight = Scaled(kSplitterHeight);
  int lowest = bottom - Scaled(kMinPanelHeight) - splitterHeight;
  int highest = top + Scaled(kMinListHeight);
  int splitterTop = gSettings.splitterPosition >= 0 ? gSettings.splitterPosition
                                                    : top + (bottom - top) * 3 / 5;
  if (splitterTop > lowest) splitterTop = lowest;
  if (splitterTop < highest) splitterTop = highest;
  MoveWindow(gMain.list, 0, top, width, splitterTop - top, TRUE);
  MoveWindow(gMain.splitter, 0, splitterTop, width, splitterHeight, TRUE);
  int tabsTop = splitterTop + splitterHeight;
  int tabsHeight = Scaled(kTabsHeight);
  MoveWindow(gMain.tabs, 0, tabsTop, width, tabsHeight, TRUE);
  // The counters stand at the right of the lists, under the same line of
  // tabs; the two frames share their dividing line.
  const int bodyTop = tabsTop + tabsHeight;
  const int countersWidth = SummaryPanelWidth();
  const int bodyWidth = width - countersWidth + 1;
  MoveWindow(gMain.body, 0, bodyTop, bodyWidth, bottom - bodyTop, TRUE);
  LayoutSummaryPanel({bodyWidth - 1, bodyTop, width, bottom});
  RECT inside{};
  SendMessageW(gMain.body, kBodyInnerRect, 0, reinterpret_cast<LPARAM>(&inside));
  for (HWND list : {gMain.resultList, gMain.errorList}) {
    MoveWindow(list, inside.left, inside.top, inside.right - inside.left, inside.bottom - inside.top, TRUE);
  }
}

void OnSplitterMoved() {
  gSettings.splitterPosition = static_cast<int>(SendMessageW(gMain.splitter, kSplitterGetPosition, 0, 0));
  LayoutChildren();
  // The clamped position is what is kept.
  RECT bounds{};
  GetWindowRect(gMain.splitter, &bounds);
  MapWindowPoints(nullptr, gMain.window, reinterpret_cast<POINT*>(&bounds), 2);
  gSettings.splitterPosition = bounds.top;
}

bool PointInHeader(HWND list, POINT screen) {
  HWND header = ListView_GetHeader(list);
  RECT bounds{};
  return header && IsWindowVisible(header) && GetWindowRect(header, &bounds) && PtInRect(&bounds, screen);
}

// The column table and the visible flags of one of the three lists.
struct ListColumnsOf {
  const ColumnTable* table;
  std::vector<uint8_t>* visible;
};
ListColumnsOf ColumnsOf(HWND list) {
  if (list == gMain.list) return {&kItemColumnTable, &gSettings.itemColumnVisible};
  if (list == gMain.errorList) return {&kErrorColumnTable, &gSettings.errorColumnVisible};
  return {&kResultColumnTable, &gSettings.resultColumnVisible};
}

// The context menu of a list, greyed by the command rules; its choice goes
// to the window like a menu bar's.
void RunListMenu(HWND list, POINT at) {
  const int resource = list == gMain.list         ? IDR_ITEM_LIST_MENU
                       : list == gMain.resultList ? IDR_FILE_LIST_MENU
                                                  : IDR_ERROR_LIST_MENU;
  const MenuKind kind = list == gMain.list ? MenuKind::ItemList : MenuKind::FileList;
  HMENU menu = LoadPopupMenu(resource, kind);
  if (!menu) return;
  gMain.lastFocusedList = list;
  // "Sc&orri elenco" takes its mark from the settings, as on the menu bar.
  ApplyCommandStates(menu);
  TrackPopupMenu(menu, TPM_RIGHTBUTTON, at.x, at.y, 0, gMain.window, nullptr);
  DestroyMenu(menu);
}

// Where a menu asked for with the keyboard (Shift+F10, the menu key) opens:
// beside the focused row when it is in view, else at the list's corner.
POINT KeyboardMenuPoint(HWND list) {
  RECT bounds{};
  GetWindowRect(list, &bounds);
  POINT at{bounds.left + 8, bounds.top + 8};
  const int row = ListView_GetNextItem(list, -1, LVNI_FOCUSED);
  RECT item{};
  if (row >= 0 && ListView_GetItemRect(list, row, &item, LVIR_LABEL)) {
    POINT corner{item.left + 8, item.bottom};
    ClientToScreen(list, &corner);
    if (PtInRect(&bounds, corner)) at = corner;
  }
  return at;
}

void OnContextMenu(HWND target, POINT at) {
  for (HWND list : {gMain.list, gMain.resultList, gMain.errorList}) {
    if (target != list && GetParent(target) != list) continue;
    if (at.x == -1 && at.y == -1) {
      at = KeyboardMenuPoint(list);
    } else if (PointInHeader(list, at)) {
      ListColumnsOf columns = ColumnsOf(list);
      RunColumnMenu(gMain.window, list, *columns.table, *columns.visible, at, !MainWindowBusy());
      return;
    }
    RunListMenu(list, at);
    return;
  }
}

// A click on a row's box in the fragmented-file list flips its mark.
void OnResultListClick(NMITEMACTIVATE* click) {
  LVHITTESTINFO hit{};
  hit.pt = click->ptAction;
  const int row = ListView_SubItemHitTest(gMain.resultList, &hit);
  if (row < 0 || !(hit.flags & LVHT_ONITEMSTATEICON) || MainWindowBusy()) return;
  if (static_cast<size_t>(row) >= gRun.fragmented.size()) return;
  gRun.fragmented[static_cast<size_t>(row)].marked = !gRun.fragmented[static_cast<size_t>(row)].marked;
  RefreshResultList();
}

LRESULT OnNotify(NMHDR* header) {
  LRESULT result = 0;
  const bool fromList =
      header->hwndFrom == gMain.list || header->hwndFrom == gMain.resultList || header->hwndFrom == gMain.errorList;
  if (fromList && header->code == NM_SETFOCUS) gMain.lastFocusedList = header->hwndFrom;
  // A double click on a row: a fragmented file shows its fragments, an item
  // opens as Enter opens it.
  if (header->code == NM_DBLCLK && reinterpret_cast<NMITEMACTIVATE*>(header)->iItem >= 0) {
    if (header->hwndFrom == gMain.resultList) DispatchCommand({gMain.window, kCmdFragmentDetails});
    if (header->hwndFrom == gMain.list) DispatchCommand({gMain.window, kCmdOpen});
  }
  if (fromList && (header->code == NM_CLICK || header->code == LVN_ITEMCHANGED || header->code == NM_SETFOCUS)) {
    RefreshCommandStates();
  }
  if (header->hwndFrom == gMain.resultList && header->code == NM_CLICK) {
    OnResultListClick(reinterpret_cast<NMITEMACTIVATE*>(header));
  }
  if (header->hwndFrom == gMain.list) {
    if (OnItemListNotify(gMain.list, header, result)) return result;
  } else if (header->hwndFrom == gMain.resultList) {
    if (OnResultListNotify(gMain.resultList, header, result)) return result;
  } else if (header->hwndFrom == gMain.errorList) {
    if (OnErrorListNotify(gMain.errorList, header, result)) return result;
  } else if (header->code == HDN_BEGINTRACKW || header->code == HDN_BEGINTRACKA) {
    // A hidden column stays hidden: its divider cannot be dragged open.
    int column = reinterpret_cast<NMHEADERW*>(header)->iItem;
    for (HWND list : {gMain.list, gMain.resultList, gMain.errorList}) {
      if (header->hwndFrom == ListView_GetHeader(list)) return ColumnHidden(*ColumnsOf(list).visible, column);
    }
  }
  return 0;
}

bool OnCommand(WPARAM wParam, LPARAM lParam) {
  const uint32_t command = LOWORD(wParam);
  const WORD code = HIWORD(wParam);
  if (command == IDC_SPLITTER && code == kSplitterMovedCode) {
    OnSplitterMoved();
    return true;
  }
  if (code == kToolbarDropDownCode) {
    RunToolbarDropDown(gMain.window, reinterpret_cast<HWND>(lParam));
    return true;
  }
  // Menus (0), accelerators (1) and buttons (BN_CLICKED is 0) carry commands;
  // the other codes are notifications of controls.
  if (code != 0 && code != 1) return false;
  DispatchCommand({gMain.window, command});
  return true;
}

// A virtual report list of the bottom panel, hosted in the tab body.
HWND CreatePanelList(HWND window, int id) {
  HWND list = CreateWindowExW(0, WC_LISTVIEWW, L"",
                              WS_CHILD | WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS |
                                  LVS_SHAREIMAGELISTS,
                              0, 0, 10, 10, gMain.body, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                              GetModuleHandleW(nullptr), nullptr);
  SendMessageW(list, WM_SETFONT, SendMessageW(window, WM_GETFONT, 0, 0), FALSE);
  return list;
}

// False when a panel could not be made (the system is out of resources).
bool CreatePanels(HWND window) {
  CreateToolbar(window);
  gMain.splitter = CreateSplitter(window, IDC_SPLITTER);
  gMain.tabs = CreateBottomTabs(window, IDC_BOTTOM_TABS);
  gMain.body = CreateBottomTabBody(window, IDC_TAB_BODY);
  SendMessageW(gMain.tabs, WM_SETFONT, SendMessageW(window, WM_GETFONT, 0, 0), FALSE);
  SendMessageW(gMain.body, WM_SETFONT, SendMessageW(window, WM_GETFONT, 0, 0), FALSE);
  SendMessageW(gMain.tabs, kTabsAdd, kCmdTabFragmented,
               reinterpret_cast<LPARAM>(Text(kStrTabFragmented, L"File frammentati")));
  SendMessageW(gMain.tabs, kTabsAdd, kCmdTabErrors, reinterpret_cast<LPARAM>(Text(kStrTabErrors, L"Errori")));
  gMain.resultList = CreatePanelList(window, IDC_RESULT_LIST);
  InitResultListView(gMain.resultList);
  gMain.errorList = CreatePanelList(window, IDC_ERROR_LIST);
  InitErrorListView(gMain.errorList);
  gMain.counters = CreateSummaryPanel(window);
  gMain.progress = CreateProgressBar(gMain.statusLower, IDC_PROGRESS);
  return gMain.splitter && gMain.tabs && gMain.body && gMain.resultList && gMain.errorList &&
         gMain.counters && gMain.progress;
}

// The program's icon in the title bar and the taskbar, each at the size the
// system draws it.
void SetProgramIcons(HWND window) {
  HINSTANCE instance = GetModuleHandleW(nullptr);
  for (auto [kind, width, height] : {std::tuple{ICON_BIG, SM_CXICON, SM_CYICON},
                                     std::tuple{ICON_SMALL, SM_CXSMICON, SM_CYSMICON}}) {
    auto icon = static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(IDI_ORDALIS), IMAGE_ICON,
                                              GetSystemMetrics(width), GetSystemMetrics(height), LR_SHARED));
    if (icon) SendMessageW(window, WM_SETICON, kind, reinterpret_cast<LPARAM>(icon));
  }
}

void OnInitDialog(HWND window) {
  gMain.window = window;
  gMain.list = GetDlgItem(window, IDC_ITEM_LIST);
  gMain.statusUpper = GetDlgItem(window, IDC_STATUS_UPPER);
  gMain.statusLower = GetDlgItem(window, IDC_STATUS_LOWER);
  SetProgramIcons(window);
  // The default window size, before the settings may replace it.
  UINT dpi = WindowDpi(window);
  gSettings.mainWidth = ScaleForDpi(600, dpi);
  gSettings.mainHeight = ScaleForDpi(360, dpi);
  gMain.host->StartupChecks(window);
  // A window without its panels or its menu is of no use: it goes again
  // before the settings are read, and says why.
  if (!CreatePanels(window) || !GetMenu(window)) {
    gMain.host->PanelsFailed(window);
    return;
  }
  InitStatusBars(gMain.statusUpper, gMain.statusLower);
  LayoutChildren();
  InitItemListView(gMain.list);
  UpdateMainStatus(kStatusItemCount | kStatusWaiting);
  ShowBottomTabContent();
  RefreshCommandStates();
  gMain.host->AfterLayout(window);
}

void RememberWindowSize() {
  WINDOWPLACEMENT placement{sizeof placement};
  if (GetWindowPlacement(gMain.window, &placement)) {
    gSettings.mainWidth = placement.rcNormalPosition.right - placement.rcNormalPosition.left;
    gSettings.mainHeight = placement.rcNormalPosition.bottom - placement.rcNormalPosition.top;
  }
  gSettings.maximized = IsZoomed(gMain.window) != FALSE;
}

INT_PTR CALLBACK MainDialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      OnInitDialog(window);
      return TRUE;
    case WM_SIZE:
      LayoutChildren();
      return TRUE;
    case WM_GETMINMAXINFO: {
      auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
      UINT dpi = WindowDpi(window);
      limits->ptMinTrackSize.x = ScaleForDpi(600, dpi);
      limits->ptMinTrackSize.y = ScaleForDpi(360, dpi);
      return TRUE;
    }
    case WM_NOTIFY:
      SetWindowLongPtrW(window, DWLP_MSGRESULT, OnNotify(reinterpret_cast<NMHDR*>(lParam)));
      return TRUE;
    case WM_CONTEXTMENU:
      OnContextMenu(reinterpret_cast<HWND>(wParam),
                    POINT{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))});
      return TRUE;
    case WM_COMMAND:
      return OnCommand(wParam, lParam) ? TRUE : FALSE;
    case WM_COPYDATA: {
      auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
      const bool understood = gMain.host->CopyData(window, data);
      SetWindowLongPtrW(window, DWLP_MSGRESULT, understood ? TRUE : FALSE);
      return TRUE;
    }
    case WM_INITMENUPOPUP:
      ApplyCommandStates(reinterpret_cast<HMENU>(wParam));
      return TRUE;
    case WM_DROPFILES: {
      // A run walks the list: what is dropped meanwhile is refused, not queued.
      const std::vector<std::wstring> paths = DroppedPaths(reinterpret_cast<HDROP>(wParam));
      DispatchCommand({window, kCmdAddPaths, &paths});
      return TRUE;
    }
    case WM_QUERYENDSESSION:
      // The session waits while a run stops; the window then closes itself.
      if (MainWindowBusy()) {
        CloseMainWindow(window);
        SetWindowLongPtrW(window, DWLP_MSGRESULT, FALSE);
        return TRUE;
      }
      SetWindowLongPtrW(window, DWLP_MSGRESULT, TRUE);
      return TRUE;
    case WM_ENDSESSION:
      // Ending regardless: at least no further file is started.
      if (wParam && MainWindowBusy()) RequestStop();
      return TRUE;
    case WM_CTLCOLORDLG: {
      // The window's face matches the program's own controls.
      static HBRUSH face = CreateSolidBrush(Theme::kFace);
      return reinterpret_cast<INT_PTR>(face);
    }
    case WM_CLOSE:
      // A person closing during a run is asked first; not once the run is
      // stopping anyway (Stop was chosen, or this close already asked).
      if ((gRunState.running || gMain.running) && !gMain.closePending &&
          !(gEngine.flags.load() & kStopRequested) &&
          ShowMessageBox(window, kMsgIconQuestion | kMsgYesNo, kStrCloseDuringRun,
                         L"\u00C8 in corso un'analisi o una deframmentazione. Arrestarla e chiudere Ordalis?") !=
              kMsgResultYes) {
        return TRUE;
      }
      CloseMainWindow(window);
      return TRUE;
    case WM_DESTROY:
      RememberWindowSize();
      ReleaseTaskbar();
      gMain.host->BeforeDestroy(window);
      PostQuitMessage(gMain.host->ExitCode());
      return TRUE;
    case WM_NCDESTROY:
      gMain = MainWindowState{};
      return FALSE;
  }
  return FALSE;
}

}  // namespace

namespace {

// While a run goes on the window is repainted at most this often. Every
// file moved changes the status texts, the progress bar and the counters;
// painting each change as it comes would cost more than moving the file.
// Input and every other message are still handled as they come.
constexpr DWORD kRunPaintIntervalMs = 100;
DWORD gLastRunPaint = 0;

// 0 when the window may paint now, else how long until it may.
DWORD PaintWait() {
  if (!gRunState.running) return 0;
  const DWORD since = GetTickCount() - gLastRunPaint;
  return since >= kRunPaintIntervalMs ? 0 : kRunPaintIntervalMs - since;
}

}  // namespace

// Removes and dispatches the queued messages; false when a quit message came.
bool PumpWindowMessages() {
  const UINT filter =
      PaintWait() == 0 ? PM_REMOVE : PM_REMOVE | PM_QS_INPUT | PM_QS_POSTMESSAGE | PM_QS_SENDMESSAGE;
  bool painted = false;
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, filter)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return false;
    }
    painted = painted || message.message == WM_PAINT;
    if (!TranslateMainWindowMessage(message)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
  if (painted) gLastRunPaint = GetTickCount();
  return true;
}

namespace {
// The menu key and Shift+F10 open the focused list's menu, whatever the
// system's default handling does with them; their releases are swallowed so
// that the menu does not open twice.
bool OnContextMenuKey(const MSG& message) {
  const bool down = message.message == WM_KEYDOWN || message.message == WM_SYSKEYDOWN;
  const bool up = message.message == WM_KEYUP || message.message == WM_SYSKEYUP;
  if (!down && !up) return false;
  const bool shift = (GetKeyState(VK_SHIFT) & 0x8000) != 0;
  if (message.wParam != VK_APPS && !(message.wParam == VK_F10 && shift)) return false;
  for (HWND list : {gMain.list, gMain.resultList, gMain.errorList}) {
    if (!list || message.hwnd != list) continue;
    if (down) OnContextMenu(list, POINT{-1, -1});
    return true;
  }
  return false;
}

// Ctrl+Tab and Ctrl+Shift+Tab switch the bottom tabs from anywhere in the
// window, as in any window with tabs.
bool OnSwitchTabKey(const MSG& message) {
  if (message.message != WM_KEYDOWN || message.wParam != VK_TAB || !(GetKeyState(VK_CONTROL) & 0x8000)) return false;
  if (!IsChild(gMain.window, message.hwnd)) return false;
  const LRESULT selected = SendMessageW(gMain.tabs, kTabsGetSelected, 0, 0);
  DispatchCommand({gMain.window, selected == 0 ? kCmdTabErrors : kCmdTabFragmented});
  return true;
}

// Space and Enter belong to a focused button or tab; the lists' keys act
// only while no such control has the focus.
bool KeyOfFocusedControl(const MSG& message) {
  if (message.message != WM_KEYDOWN || (message.wParam != VK_SPACE && message.wParam != VK_RETURN)) return false;
  HWND focus = GetFocus();
  if (!focus || focus == gMain.window) return false;
  for (HWND list : {gMain.list, gMain.resultList, gMain.errorList}) {
    if (focus == list) return false;
  }
  return true;
}
}  // namespace

bool TranslateMainWindowMessage(MSG& message) {
  if (!gMain.window) return false;
  if (OnContextMenuKey(message) || OnSwitchTabKey(message)) return true;
  if (gMain.accelerators && !KeyOfFocusedControl(message) &&
      TranslateAcceleratorW(gMain.window, gMain.accelerators, &message)) {
    return true;
  }
  return IsDialogMessageW(gMain.window, &message) != FALSE;
}

void SetMainAccelerators(HACCEL accelerators) { gMain.accelerators = accelerators; }

// Blocks until the worker ends or nudges, or input for this thread arrives
// (also input already seen but not yet removed), then handles the messages.
// The window thread sleeps meanwhile, so the worker has the processor.
bool WaitForWorkerWithMessages(WorkerThread& worker) {
  const HANDLE handles[] = {worker.EndHandle(), worker.NudgeHandle()};
  const DWORD count = handles[1] ? 2 : 1;
  // A paint not yet due wakes this thread only once it is.
  const DWORD paintWait = PaintWait();
  const DWORD wake = paintWait == 0 ? QS_ALLINPUT : QS_ALLINPUT & ~QS_PAINT;
  if (MsgWaitForMultipleObjectsEx(count, handles, paintWait == 0 ? INFINITE : paintWait, wake,
                                  MWMO_INPUTAVAILABLE) == WAIT_FAILED) {
    // Not expected with handles of our own; blocking without messages still
    // ends with the worker, where retrying at once would spin.
    worker.WaitEndedOrNudged();
  }
  return PumpWindowMessages();
}

bool WindowMessagePump::PumpMessages() { return PumpWindowMessages(); }
bool WindowMessagePump::WaitForWorker(WorkerThread& worker) { return WaitForWorkerWithMessages(worker); }

void ShowMainProgress(uint64_t last) {
  SendMessageW(gMain.progress, kProgressSetRange, 0, static_cast<LPARAM>(last));
  ShowWindow(gMain.progress, SW_SHOW);
}

void SetMainProgress(uint64_t position) {
  PostMessageW(gMain.progress, kProgressSetPosition, 0, static_cast<LPARAM>(position));
}

void HideMainProgress() { ShowWindow(gMain.progress, SW_HIDE); }

void RedrawMainItemRows() {
  if (gMain.list) RedrawShownItemRows(gMain.list);
}

HWND CreateMainWindow(HINSTANCE instance, MainWindowHost& host) {
  gMain.host = &host;
  HWND window = CreateDialogParamW(instance, MAKEINTRESOURCEW(IDD_MAIN), nullptr, MainDialogProc, 0);
  return window && IsWindow(window) ? window : nullptr;
}

HWND MainWindowHandle() { return gMain.window; }
HWND MainItemListView() { return gMain.list; }
HWND MainResultListView() { return gMain.resultList; }
HWND MainErrorListView() { return gMain.errorList; }

namespace {

// The first start's size: wide enough for every shown column of the item
// list (the columns give up width, the name and type columns first, when the
// work area is narrower), and about two thirds of the work area's height.
SIZE FirstStartSize(const RECT& work) {
  HWND list = gMain.list;
  HWND header = ListView_GetHeader(list);
  const int columns = header ? Header_GetItemCount(header) : 0;
  int columnsWidth = 0;
  for (int column = 0; column < columns; ++column) columnsWidth += ListView_GetColumnWidth(list, column);
  RECT client{}, listFrame{}, frame{};
  GetClientRect(gMain.window, &client);
  GetWindowRect(list, &listFrame);
  GetWindowRect(gMain.window, &frame);
  // What the window needs around the list's columns: its own frame, the
  // list's margins and border, and room for the vertical scroll bar.
  const int listClientWidth = [&] {
    RECT inside{};
    GetClientRect(list, &inside);
    return static_cast<int>(inside.right);
  }();
  const int around = (frame.right - frame.left) - listClientWidth + GetSystemMetrics(SM_CXVSCROLL) + 4;
  const int available = (work.right - work.left) - around;
  if (columnsWidth > available && columns > 0) {
    // Name and type share what is missing, each keeping at least a third.
    int missing = columnsWidth - available;
    for (int column : {0, 6}) {
      if (column >= columns || missing <= 0) continue;
      const int width = ListView_GetColumnWidth(list, column);
      const int given = std::min(missing, width - width / 3);
      ListView_SetColumnWidth(list, column, width - given);
      missing -= given;
      columnsWidth -= given;
    }
  }
  const UINT dpi = WindowDpi(gMain.window);
  SIZE size{};
  size.cx = std::min<LONG>(work.right - work.left, columnsWidth + around);
  size.cx = std::max<LONG>(size.cx, ScaleForDpi(600, dpi));
  size.cy = std::max<LONG>(ScaleForDpi(360, dpi), (work.bottom - work.top) * 2 / 3);
  size.cy = std::min<LONG>(size.cy, work.bottom - work.top);
  return size;
}

}  // namespace

void ShowMainWindow(bool maximized) {
  if (!gMain.window) return;
  int width = gSettings.mainWidth;
  int height = gSettings.mainHeight;
  int screenWidth = GetSystemMetrics(SM_CXSCREEN);
  int screenHeight = GetSystemMetrics(SM_CYSCREEN);
  RECT work{0, 0, screenWidth, screenHeight};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  if (!gSettings.mainSizeSaved) {
    const SIZE size = FirstStartSize(work);
    width = size.cx;
    height = size.cy;
    screenWidth = work.right - work.left;
    screenHeight = work.bottom - work.top;
  } else if (width > screenWidth) {
    width = screenWidth - 100;
    height = screenHeight - 200;
  }
  if (width > 0 && height > 0) {
    SetWindowPos(gMain.window, nullptr, work.left + (screenWidth - width) / 2, work.top + (screenHeight - height) / 2,
                 width, height, SWP_NOZORDER | SWP_NOACTIVATE);
  }
  ShowWindow(gMain.window, maximized ? SW_SHOWMAXIMIZED : SW_SHOW);
  UpdateWindow(gMain.window);
}

void RefreshItemList() {
  if (!gMain.list) return;
  RefreshItemRows(gMain.list);
  UpdateMainStatus(kStatusItemCount);
  RefreshCounters();
  if (!gMain.running) RefreshCommandStates();
}

void RefreshResultList() {
  if (!gMain.resultList) return;
  RefreshResultRows(gMain.resultList);
  ShowBottomTabContent();
}

void RefreshErrorList() {
  if (!gMain.errorList) return;
  RefreshErrorRows(gMain.errorList);
  ShowBottomTabContent();
}

void RefreshCounters() { UpdateSummaryPanel(); }

void SetDefragmentationLayout(bool running) {
  if (!gMain.tabs) return;
  // While files are moved the fragmented-file list would only go stale: its
  // tab rests and the files that fail come into view as they fail.
  SendMessageW(gMain.tabs, kTabsEnable, 0, running ? FALSE : TRUE);
  if (running) SelectBottomTab(kCmdTabErrors);
}

void UpdateMainStatus(uint32_t flags, const std::wstring& text) { UpdateStatus(flags, text); }

namespace {
// Sorting waits while the window is busy; a close asked for meanwhile
// happens once it is idle again.
void BusyChanged() {
  const bool busy = MainWindowBusy();
  SetItemListRunning(busy);
  RefreshCommandStates();
  if (!busy && gMain.closePending && gMain.window) PostMessageW(gMain.window, WM_CLOSE, 0, 0);
}
}  // namespace

void SetRunInProgress(bool running) {
  gMain.running = running;
  BusyChanged();
}

void RefreshCommandStates() {
  if (!gMain.window) return;
  EnableToolbarCommands([](uint32_t command) { return CommandEnabled(command); });
  ApplyCommandStates(GetMenu(gMain.window));
  DrawMenuBar(gMain.window);
}

bool MainWindowBusy() { return gMain.busyDepth > 0 || gRunState.running || gMain.running; }


void SetWindowBusy(bool busy) {
  gMain.busyDepth += busy ? 1 : -1;
  BusyChanged();
}

WindowBusyScope::WindowBusyScope() { SetWindowBusy(true); }
WindowBusyScope::~WindowBusyScope() { SetWindowBusy(false); }

bool MainWindowClosing() { return gMain.closePending; }

void CloseMainWindow(HWND window) {
  if (!MainWindowBusy()) {
    DestroyWindow(window);
    return;
  }
  // The work under way stops first; the file being moved finishes or
  // stops cleanly, and nothing is moved once the window is gone.
  gMain.closePending = true;
  RequestStop();
  UpdateMainStatus(kStatusPleaseWait);
}

bool ApplyMainColumnCommand(uint32_t command) {
  HWND list = gMain.lastFocusedList ? gMain.lastFocusedList : gMain.list;
  ListColumnsOf columns = ColumnsOf(list);
  return ApplyColumnCommand(list, *columns.table, *columns.visible, command);
}

HWND LastFocusedList() {
  HWND focus = GetFocus();
  for (HWND list : {gMain.list, gMain.resultList, gMain.errorList}) {
    if (list && focus == list) return list;
  }
  return gMain.lastFocusedList;
}

void SetMainBusyState(uint32_t state) {
  gMain.busyState = state;
  // Checking drives or adding many items can take a while: the cursor says so.
  SetCursor(LoadCursorW(nullptr, state == kBusyIdle ? IDC_ARROW : IDC_WAIT));
}
uint32_t MainBusyState() { return gMain.busyState; }

bool MainReportReady() { return gMain.reportReady; }
void SetMainReportReady(bool ready) {
  gMain.reportReady = ready;
  RefreshCommandStates();
}

void SetFullRowSelect(bool fullRow) {
  for (HWND list : {gMain.list, gMain.resultList, gMain.errorList}) {
    if (list) ListView_SetExtendedListViewStyleEx(list, LVS_EX_FULLROWSELECT, fullRow ? LVS_EX_FULLROWSELECT : 0);
  }
}

void ShowMainPanels(bool toolbar, bool infoPanel, bool statusBars) {
  if (!gMain.window) return;
  gMain.showToolbar = toolbar;
  gMain.showPanel = infoPanel;
  gMain.showStatus = statusBars;
  ShowToolbar(toolbar);
  for (HWND panel : {gMain.splitter, gMain.tabs, gMain.body, gMain.counters}) ShowWindow(panel, infoPanel ? SW_SHOW : SW_HIDE);
  for (HWND bar : {gMain.statusUpper, gMain.statusLower}) ShowWindow(bar, statusBars ? SW_SHOW : SW_HIDE);
  LayoutChildren();
  InvalidateRect(gMain.window, nullptr, TRUE);
}

void SelectBottomTab(uint32_t command) {
  if (!gMain.tabs) return;
  gMain.bottomTab = command == kCmdTabErrors ? kCmdTabErrors : kCmdTabFragmented;
  SendMessageW(gMain.tabs, kTabsSelect, gMain.bottomTab == kCmdTabErrors ? 1 : 0, 0);
  ShowBottomTabContent();
}

void SetStateIconsShown(bool shown) {
  gSettings.showStateIcons = shown;
  if (gMain.list) RefreshItemRows(gMain.list);
}

void RetextMainWindow() {
  if (!gMain.window) return;
  RetextListColumns(gMain.list, kItemColumnTable);
  RetextListColumns(gMain.resultList, kResultColumnTable);
  RetextListColumns(gMain.errorList, kErrorColumnTable);
  SendMessageW(gMain.tabs, kTabsSetText, 0, reinterpret_cast<LPARAM>(Text(kStrTabFragmented, L"File frammentati")));
  SendMessageW(gMain.tabs, kTabsSetText, 1, reinterpret_cast<LPARAM>(Text(kStrTabErrors, L"Errori")));
  RetextToolbar();
  // The empty list's placeholder is written by the recent-profiles menu.
  RefreshRecentMenus();
  // The buttons' widths follow their new words.
  LayoutChildren();
  RefreshCounters();
  // The cells are asked for as they paint: the states take the new words.
  RefreshItemRows(gMain.list);
  // Between runs the lower bar only says the program is waiting; during a
  // run the run's next update writes it in the new language.
  UpdateMainStatus(gMain.running ? kStatusItemCount : kStatusItemCount | kStatusWaiting);
  RefreshResultList();
  RefreshErrorList();
}
