#include "ui/MainWindow.h"

#include <commctrl.h>

#include <string>

#include "items/ItemCells.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "ui/CommandIds.h"
#include "ui/Dpi.h"
#include "util/StringIds.h"
#include "util/Text.h"

namespace {

struct ColumnLayout {
  uint32_t textId;
  const wchar_t* italian;
  int width96;
  int format;
};

// The ten columns of the item list, in their default order.
constexpr ColumnLayout kItemColumns[] = {
    {kStrColumnName, L"Nome", 400, LVCFMT_LEFT},
    {kStrColumnState, L"Stato", 118, LVCFMT_LEFT},
    {kStrColumnSize, L"Dimensione", 120, LVCFMT_RIGHT},
    {kStrColumnSizeOnDisk, L"Dimensione su disco", 120, LVCFMT_RIGHT},
    {kStrColumnFragments, L"Frammenti", 100, LVCFMT_RIGHT},
    {kStrColumnClusters, L"Cluster", 100, LVCFMT_RIGHT},
    {kStrColumnType, L"Tipo", 300, LVCFMT_LEFT},
    {kStrColumnPercentOnDisk, L"% su disco", 100, LVCFMT_RIGHT},
    {kStrColumnModified, L"Data ultima modifica", 140, LVCFMT_LEFT},
    {kStrColumnAttributes, L"Attributi", 80, LVCFMT_LEFT},
};

struct MainWindowState {
  HWND window = nullptr;
  HWND list = nullptr;
  HWND statusUpper = nullptr;
  HWND statusLower = nullptr;
  MainWindowSetup setup;
  std::wstring cellBuffer;  // the text handed to the list view lives here until the next request
};
MainWindowState gMain;

void BuildColumns() {
  UINT dpi = WindowDpi(gMain.window);
  int index = 0;
  for (const ColumnLayout& layout : kItemColumns) {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT | LVCF_SUBITEM;
    column.fmt = layout.format;
    column.cx = ScaleForDpi(layout.width96, dpi);
    column.pszText = const_cast<wchar_t*>(Text(layout.textId, layout.italian));
    column.iSubItem = index;
    ListView_InsertColumn(gMain.list, index, &column);
    ++index;
  }
}

void LayoutChildren() {
  RECT client{};
  GetClientRect(gMain.window, &client);
  UINT dpi = WindowDpi(gMain.window);
  int statusHeight = ScaleForDpi(22, dpi);
  int width = client.right - client.left;
  int bottom = client.bottom;
  MoveWindow(gMain.statusLower, 0, bottom - statusHeight, width, statusHeight, TRUE);
  MoveWindow(gMain.statusUpper, 0, bottom - 2 * statusHeight, width, statusHeight, TRUE);
  int upperParts[] = {width - ScaleForDpi(260, dpi), -1};
  SendMessageW(gMain.statusUpper, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(upperParts));
  MoveWindow(gMain.list, 0, 0, width, bottom - 2 * statusHeight, TRUE);
}

// The list view asks for the cells it paints; the rows are the item list's
// records in list order, found through its row index.
void AnswerCellRequest(NMLVDISPINFOW* info) {
  LVITEMW& item = info->item;
  if (item.iItem < 0 || static_cast<uint64_t>(item.iItem) >= ItemCount()) return;
  const ItemRecord* record = ItemAtRow(static_cast<size_t>(item.iItem));
  if (!record) return;
  if (item.mask & LVIF_TEXT) {
    gMain.cellBuffer = ItemCellText(*record, static_cast<ItemColumn>(item.iSubItem));
    lstrcpynW(item.pszText, gMain.cellBuffer.c_str(), item.cchTextMax);
  }
}

INT_PTR OnNotify(NMHDR* header) {
  if (header->hwndFrom == gMain.list) {
    switch (header->code) {
      case LVN_GETDISPINFOW:
        AnswerCellRequest(reinterpret_cast<NMLVDISPINFOW*>(header));
        return TRUE;
      case LVN_BEGINDRAG:
        return TRUE;
    }
  }
  return FALSE;
}

void OnInitDialog(HWND window) {
  gMain.window = window;
  gMain.list = GetDlgItem(window, IDC_ITEM_LIST);
  gMain.statusUpper = GetDlgItem(window, IDC_STATUS_UPPER);
  gMain.statusLower = GetDlgItem(window, IDC_STATUS_LOWER);
  ListView_SetExtendedListViewStyle(gMain.list, LVS_EX_DOUBLEBUFFER | LVS_EX_HEADERDRAGDROP |
                                                    LVS_EX_LABELTIP);
  LayoutChildren();
  if (gMain.setup.startupChecks) gMain.setup.startupChecks(window);
  BuildColumns();
  if (gMain.setup.afterLayout) gMain.setup.afterLayout(window);
}

INT_PTR CALLBACK MainDialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      OnInitDialog(window);
      return TRUE;
    case WM_SIZE:
      if (gMain.list) LayoutChildren();
      return TRUE;
    case WM_GETMINMAXINFO: {
      auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
      UINT dpi = WindowDpi(window);
      limits->ptMinTrackSize.x = ScaleForDpi(480, dpi);
      limits->ptMinTrackSize.y = ScaleForDpi(300, dpi);
      return TRUE;
    }
    case WM_NOTIFY:
      SetWindowLongPtrW(window, DWLP_MSGRESULT, OnNotify(reinterpret_cast<NMHDR*>(lParam)));
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) == kCmdExit) {
        DestroyWindow(window);
        return TRUE;
      }
      if (gMain.setup.command && gMain.setup.command(window, LOWORD(wParam))) return TRUE;
      return FALSE;
    case WM_CLOSE:
      DestroyWindow(window);
      return TRUE;
    case WM_DESTROY:
      if (gMain.setup.beforeDestroy) gMain.setup.beforeDestroy(window);
      PostQuitMessage(gMain.setup.exitCode ? gMain.setup.exitCode() : 0);
      return TRUE;
    case WM_NCDESTROY:
      gMain.window = gMain.list = gMain.statusUpper = gMain.statusLower = nullptr;
      return FALSE;
  }
  return FALSE;
}

}  // namespace

HWND CreateMainWindow(HINSTANCE instance, const MainWindowSetup& setup) {
  gMain.setup = setup;
  HWND window = CreateDialogParamW(instance, MAKEINTRESOURCEW(IDD_MAIN), nullptr, MainDialogProc, 0);
  return window && IsWindow(window) ? window : nullptr;
}

HWND MainWindowHandle() { return gMain.window; }

void ShowMainWindow(bool maximized) {
  if (!gMain.window) return;
  ShowWindow(gMain.window, maximized ? SW_SHOWMAXIMIZED : SW_SHOW);
  UpdateWindow(gMain.window);
}

void RefreshItemList() {
  if (!gMain.list) return;
  ListView_SetItemCountEx(gMain.list, static_cast<int>(ItemCount()),
                          LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
  InvalidateRect(gMain.list, nullptr, FALSE);
}

void SetFullRowSelect(bool fullRow) {
  if (!gMain.list) return;
  ListView_SetExtendedListViewStyleEx(gMain.list, LVS_EX_FULLROWSELECT,
                                      fullRow ? LVS_EX_FULLROWSELECT : 0);
}
