#include "ui/ListColumns.h"

#include <commctrl.h>

#include <string>

#include "res/ResourceIds.h"
#include "options/CommandIds.h"
#include "ui/controls/Dpi.h"
#include "ui/MenuTexts.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

void EnsureSize(std::vector<uint8_t>& visible, int count) {
  if (static_cast<int>(visible.size()) < count) visible.resize(count, 1);
}

int DefaultWidth(HWND list, const ColumnLayout& layout) { return ScaleForDpi(layout.width96, WindowDpi(list)); }


}  // namespace

bool ColumnHidden(const std::vector<uint8_t>& visible, int column) {
  return column >= 0 && column < static_cast<int>(visible.size()) && visible[column] == 0;
}

void BuildListColumns(HWND list, const ColumnTable& table) {
  for (int index = 0; index < table.count; ++index) {
    const ColumnLayout& layout = table.columns[index];
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT | LVCF_SUBITEM;
    column.fmt = layout.format;
    column.cx = DefaultWidth(list, layout);
    column.pszText = const_cast<wchar_t*>(Text(layout.textId, layout.italian));
    column.iSubItem = index;
    ListView_InsertColumn(list, index, &column);
  }
}

void RetextListColumns(HWND list, const ColumnTable& table) {
  if (!list) return;
  for (int index = 0; index < table.count; ++index) {
    const ColumnLayout& layout = table.columns[index];
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT;
    column.pszText = const_cast<wchar_t*>(Text(layout.textId, layout.italian));
    ListView_SetColumn(list, index, &column);
  }
}

void ApplyColumnVisibility(HWND list, const ColumnTable& table, const std::vector<uint8_t>& visible) {
  for (int index = 0; index < table.count; ++index) {
    if (ColumnHidden(visible, index)) ListView_SetColumnWidth(list, index, 0);
  }
}

bool ApplyColumnCommand(HWND list, const ColumnTable& table, std::vector<uint8_t>& visible, uint32_t command) {
  if (command == 9044) {
    visible.assign(table.count, 1);
    std::vector<int> order(table.count);
    for (int index = 0; index < table.count; ++index) {
      order[index] = index;
      ListView_SetColumnWidth(list, index, DefaultWidth(list, table.columns[index]));
    }
    ListView_SetColumnOrderArray(list, table.count, order.data());
    InvalidateRect(list, nullptr, TRUE);
    return true;
  }
  for (int index = 0; index < table.count; ++index) {
    if (table.columns[index].command != command) continue;
    EnsureSize(visible, table.count);
    visible[index] = visible[index] ? 0 : 1;
    ListView_SetColumnWidth(list, index, visible[index] ? DefaultWidth(list, table.columns[index]) : 0);
    return true;
  }
  return false;
}

void RunColumnMenu(HWND owner, HWND list, const ColumnTable& table, std::vector<uint8_t>& visible, POINT at,
                   bool enabled) {
  HMENU menu = LoadPopupMenu(table.menuResource, MenuKind::Columns);
  if (!menu) return;
  for (int index = 0; index < table.count; ++index) {
    const UINT command = table.columns[index].command;
    CheckMenuItem(menu, command, MF_BYCOMMAND | (ColumnHidden(visible, index) ? MF_UNCHECKED : MF_CHECKED));
    // The name column carries the row's picture and selection: it always stays.
    if (index == 0 || !enabled) EnableMenuItem(menu, command, MF_BYCOMMAND | MF_GRAYED);
  }
  if (!enabled) EnableMenuItem(menu, kCmdDefaultColumns, MF_BYCOMMAND | MF_GRAYED);
  UINT chosen = static_cast<UINT>(
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON | TPM_NONOTIFY, at.x, at.y, 0, owner, nullptr));
  DestroyMenu(menu);
  if (chosen) ApplyColumnCommand(list, table, visible, chosen);
}

void SetSortArrow(HWND list, int column, int direction) {
  HWND header = ListView_GetHeader(list);
  int count = Header_GetItemCount(header);
  for (int index = 0; index < count; ++index) {
    HDITEMW item{};
    item.mask = HDI_FORMAT;
    Header_GetItem(header, index, &item);
    item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
    if (index == column) item.fmt |= direction > 0 ? HDF_SORTUP : HDF_SORTDOWN;
    Header_SetItem(header, index, &item);
  }
}
