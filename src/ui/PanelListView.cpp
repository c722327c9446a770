#include "ui/PanelListView.h"

#include "ui/Artwork.h"
#include "ui/controls/Dpi.h"

void InitPanelListView(HWND list, const ColumnTable& table, const std::vector<uint8_t>& visible) {
  ListView_SetExtendedListViewStyle(list, LVS_EX_DOUBLEBUFFER | LVS_EX_HEADERDRAGDROP | LVS_EX_LABELTIP);
  ListView_SetImageList(list, ItemImageList(WindowDpi(list)), LVSIL_SMALL);
  BuildListColumns(list, table);
  ApplyColumnVisibility(list, table, visible);
}

void SetPanelRowCount(HWND list, size_t rows) {
  ListView_SetItemCountEx(list, static_cast<int>(rows), LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
  InvalidateRect(list, nullptr, FALSE);
}

bool OnPanelListNotify(NMHDR* header, LRESULT& result, void (*answerCell)(NMLVDISPINFOW* info)) {
  switch (header->code) {
    case LVN_GETDISPINFOW:
      answerCell(reinterpret_cast<NMLVDISPINFOW*>(header));
      result = TRUE;
      return true;
    case LVN_MARQUEEBEGIN:
      result = 1;
      return true;
    case LVN_BEGINDRAG:
      result = TRUE;
      return true;
  }
  return false;
}
