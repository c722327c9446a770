#include "ui/ItemListView.h"

#include <algorithm>
#include <string>

#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "items/ItemColours.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "options/Settings.h"
#include "ui/Artwork.h"
#include "options/CommandIds.h"
#include "ui/controls/Dpi.h"
#include "options/StringIds.h"
#include "util/win32/SystemLibrary.h"

namespace {

constexpr int kNameColumn = 0;
constexpr int kStateColumn = 1;

constexpr ColumnLayout kItemColumns[] = {
    {kStrColumnName, L"Nome", 400, LVCFMT_LEFT, kCmdColumnName},
    {kStrColumnState, L"Stato", 118, LVCFMT_LEFT, kCmdColumnState},
    kColumnSize,
    kColumnSizeOnDisk,
    kColumnFragments,
    kColumnClusters,
    {kStrColumnType, L"Tipo", 300, LVCFMT_LEFT, kCmdColumnType},
    kColumnPercentOnDisk,
    kColumnModified,
    kColumnAttributes,
};

struct ItemViewState {
  int sortColumn = -1;
  int sortDirection = 1;
  bool running = false;
  std::wstring cellBuffer;  // the text handed to the list lives here until the next request
  RowColours rowColours;    // of the row being painted
};
ItemViewState gView;

// Columns 1 to 9 read quieter than the name: a fixed grey with the themed
// look of the newer systems, black with the older themed look, and the
// system's window-text colour without themes.
COLORREF DetailTextColour() {
  using IsAppThemedFn = BOOL(WINAPI*)();
  static const IsAppThemedFn isAppThemed = SystemProcedure<IsAppThemedFn>(L"uxtheme.dll", "IsAppThemed");
  if (!isAppThemed || !isAppThemed()) return GetSysColor(COLOR_WINDOWTEXT);
  static const bool newerSystem =
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetTickCount64") != nullptr;
  return newerSystem ? RGB(110, 110, 110) : RGB(0, 0, 0);
}

void AnswerCell(NMLVDISPINFOW* info) {
  LVITEMW& item = info->item;
  if (item.iItem < 0 || static_cast<uint64_t>(item.iItem) >= ItemCount()) return;
  const ItemRecord* record = ItemAtRow(static_cast<uint64_t>(item.iItem));
  if (!record) return;
  if ((item.mask & LVIF_TEXT) && item.pszText && item.cchTextMax > 0) {
    gView.cellBuffer = ItemCellText(*record, static_cast<ItemColumn>(item.iSubItem), LocaleNumbers());
    lstrcpynW(item.pszText, gView.cellBuffer.c_str(), item.cchTextMax);
  }
  // The box of column 0: the tick plus 1 (1 empty, 2 ticked).
  if ((item.mask & LVIF_STATE) && item.iSubItem == 0) {
    item.state = (item.state & ~LVIS_STATEIMAGEMASK) | INDEXTOSTATEIMAGEMASK(record->checked ? 2 : 1);
    item.stateMask |= LVIS_STATEIMAGEMASK;
  }
  // With the shell's icons beside the names, the state pictures go beside
  // the states, so that both options show.
  if ((item.mask & LVIF_IMAGE) && item.iSubItem > 0) {
    const bool besideState = item.iSubItem == kStateColumn && gSettings.showSystemIcons && gSettings.showStateIcons;
    item.iImage = besideState ? StateImageIndex(record->stateImage) : I_IMAGENONE;
  }
  if ((item.mask & LVIF_IMAGE) && item.iSubItem == 0) {
    if (gSettings.showSystemIcons) {
      item.iImage = ShellImageIndex(record->path, (record->flags & ItemFlags::kFolder) != 0);
    } else if (gSettings.showStateIcons) {
      item.iImage = StateImageIndex(record->stateImage);
    } else {
      item.iImage = I_IMAGENONE;
    }
  }
}

LRESULT CustomDraw(NMLVCUSTOMDRAW* draw) {
  switch (draw->nmcd.dwDrawStage) {
    case CDDS_PREPAINT:
      return CDRF_NOTIFYITEMDRAW;
    case CDDS_ITEMPREPAINT: {
      const ItemRecord* record = ItemAtRow(static_cast<uint64_t>(draw->nmcd.dwItemSpec));
      HighlightChoice choice{gSettings.itemTextColour, gSettings.itemTextColourEnabled,
                             gSettings.itemTextColourFullRow};
      gView.rowColours = ItemRowColours(record ? record->flags : 0, choice, DetailTextColour());
      return CDRF_NOTIFYSUBITEMDRAW;
    }
    case CDDS_ITEMPREPAINT | CDDS_SUBITEM: {
      uint32_t colour = draw->iSubItem == 0 ? gView.rowColours.name : gView.rowColours.details;
      draw->clrText = colour == kListDefaultColour ? GetSysColor(COLOR_WINDOWTEXT) : colour;
      return CDRF_DODEFAULT;
    }
  }
  return CDRF_DODEFAULT;
}

// Every item ticked (an empty list counts as not).
bool AllItemsChecked() {
  if (ItemListHead() == nullptr) return false;
  for (ItemNode* node = ItemListHead(); node; node = node->next) {
    if (!node->record.checked) return false;
  }
  return true;
}

// The select-all box sits in the name column's header, drawn with the
// list's own box pictures: index 0 empty, 1 ticked.
void ShowCheckAllBox(HWND list) {
  HWND header = ListView_GetHeader(list);
  if (!header) return;
  HDITEMW item{};
  item.mask = HDI_FORMAT;
  if (!Header_GetItem(header, kNameColumn, &item)) return;
  item.mask = HDI_FORMAT | HDI_IMAGE;
  item.fmt |= HDF_IMAGE;
  item.iImage = AllItemsChecked() ? 1 : 0;
  Header_SetItem(header, kNameColumn, &item);
}

// True when a header click at the cursor fell on the select-all box.
bool ClickOnCheckAllBox(HWND list) {
  HWND header = ListView_GetHeader(list);
  RECT bounds{};
  if (!header || !Header_GetItemRect(header, kNameColumn, &bounds)) return false;
  const DWORD position = GetMessagePos();
  POINT at{static_cast<short>(LOWORD(position)), static_cast<short>(HIWORD(position))};
  ScreenToClient(header, &at);
  int boxWidth = 0, boxHeight = 0;
  ImageList_GetIconSize(ListView_GetImageList(list, LVSIL_STATE), &boxWidth, &boxHeight);
  // The header draws its picture after a margin of about three edges.
  const int right = bounds.left + boxWidth + 6 * GetSystemMetrics(SM_CXEDGE);
  return at.x >= bounds.left && at.x < right;
}

void SetAllItemsChecked(HWND list, bool checked) {
  for (ItemNode* node = ItemListHead(); node; node = node->next) node->record.checked = checked;
  RefreshItemRows(list);
}

// A click on a row's box flips its tick.
void OnItemClick(HWND list, const NMITEMACTIVATE* click) {
  LVHITTESTINFO hit{};
  hit.pt = click->ptAction;
  const int row = ListView_SubItemHitTest(list, &hit);
  if (row < 0 || !(hit.flags & LVHT_ONITEMSTATEICON) || gView.running) return;
  ToggleItemChecks(list, {row});
}

}  // namespace

void ToggleItemChecks(HWND list, const std::vector<int>& rows) {
  for (int row : rows) {
    if (ItemRecord* record = row >= 0 ? ItemAtRow(static_cast<uint64_t>(row)) : nullptr) {
      record->checked = !record->checked;
    }
  }
  RefreshItemRows(list);
}

const ColumnTable kItemColumnTable{kItemColumns, static_cast<int>(std::size(kItemColumns)), IDR_ITEM_COLUMNS_MENU};

void InitItemListView(HWND list) {
  ListView_SetExtendedListViewStyle(
      list, LVS_EX_DOUBLEBUFFER | LVS_EX_HEADERDRAGDROP | LVS_EX_LABELTIP | LVS_EX_CHECKBOXES | LVS_EX_SUBITEMIMAGES);
  // Each item's box is asked for like a cell.
  ListView_SetCallbackMask(list, LVIS_STATEIMAGEMASK);
  UINT dpi = WindowDpi(list);
  ListView_SetImageList(list, ItemImageList(dpi), LVSIL_SMALL);
  BuildListColumns(list, kItemColumnTable);
  ApplyColumnVisibility(list, kItemColumnTable, gSettings.itemColumnVisible);
  if (HWND header = ListView_GetHeader(list)) Header_SetImageList(header, ListView_GetImageList(list, LVSIL_STATE));
  ShowCheckAllBox(list);
}

void SetItemListRunning(bool running) { gView.running = running; }
bool ItemListRunning() { return gView.running; }

void RedrawShownItemRows(HWND list) {
  const int count = static_cast<int>(ItemCount());
  const int top = ListView_GetTopIndex(list);
  const int last = std::min(count, top + ListView_GetCountPerPage(list) + 1) - 1;
  if (last >= top) ListView_RedrawItems(list, top, last);
}

void RefreshItemRows(HWND list) {
  ListView_SetItemCountEx(list, static_cast<int>(ItemCount()), LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
  InvalidateRect(list, nullptr, FALSE);
  ShowCheckAllBox(list);
}

void SortItemsOnColumnClick(HWND list, int column) {
  if (ItemCount() == 0 || gView.running || column < 0 || column >= kItemColumnCount) return;
  gView.sortDirection = column == gView.sortColumn ? -gView.sortDirection : 1;
  gView.sortColumn = column;

  // The selection travels with the items: mark them, sort, select them again.
  for (int row = ListView_GetNextItem(list, -1, LVNI_SELECTED); row >= 0;
       row = ListView_GetNextItem(list, row, LVNI_SELECTED)) {
    if (ItemRecord* record = ItemAtRow(static_cast<uint64_t>(row))) record->flags |= ItemFlags::kSelected;
  }
  HCURSOR previous = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  BuildSortKeys(static_cast<ItemColumn>(column));
  SortItemList(gView.sortDirection);
  ListView_SetItemState(list, -1, 0, LVIS_SELECTED);
  int row = 0;
  for (ItemNode* node = ItemListHead(); node; node = node->next, ++row) {
    if (node->record.flags & ItemFlags::kSelected) {
      node->record.flags &= ~ItemFlags::kSelected;
      ListView_SetItemState(list, row, LVIS_SELECTED, LVIS_SELECTED);
    }
    // The keys are only needed by the sort; their memory is given back.
    std::wstring().swap(node->record.sortKey);
  }
  SetCursor(previous);
  SetSortArrow(list, column, gView.sortDirection);
  RefreshItemRows(list);
}

bool OnItemListNotify(HWND list, NMHDR* header, LRESULT& result) {
  switch (header->code) {
    case LVN_GETDISPINFOW:
      AnswerCell(reinterpret_cast<NMLVDISPINFOW*>(header));
      result = TRUE;
      return true;
    case NM_CUSTOMDRAW:
      result = CustomDraw(reinterpret_cast<NMLVCUSTOMDRAW*>(header));
      return true;
    case LVN_COLUMNCLICK: {
      const int column = reinterpret_cast<NMLISTVIEW*>(header)->iSubItem;
      if (column == kNameColumn && ClickOnCheckAllBox(list)) {
        if (!gView.running) SetAllItemsChecked(list, !AllItemsChecked());
      } else {
        SortItemsOnColumnClick(list, column);
      }
      result = 0;
      return true;
    }
    case NM_CLICK:
      OnItemClick(list, reinterpret_cast<NMITEMACTIVATE*>(header));
      return false;
    case LVN_MARQUEEBEGIN:
      result = 1;  // no rubber-band selection
      return true;
    case LVN_BEGINDRAG:
      result = TRUE;
      return true;
  }
  return false;
}
