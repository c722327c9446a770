#include "ui/ResultListView.h"

#include <string>

#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "res/ResourceIds.h"
#include "runs/RunResults.h"
#include "options/Settings.h"
#include "ui/Artwork.h"
#include "options/CommandIds.h"
#include "ui/controls/Dpi.h"
#include "ui/PanelListView.h"
#include "options/StringIds.h"

namespace {

enum ResultColumn { kName, kFragments, kClusters, kSize, kSizeOnDisk, kPercent, kModified, kAttributes };

constexpr ColumnLayout kResultColumns[] = {
    {kStrResultColumnName, L"      Nome", 400, LVCFMT_LEFT, kCmdColumnName},
    kColumnFragments,
    kColumnClusters,
    kColumnSize,
    kColumnSizeOnDisk,
    kColumnPercentOnDisk,
    kColumnModified,
    kColumnAttributes,
};

std::wstring gResultCellBuffer;

std::wstring ResultCellText(const FragmentedFileRecord& record, int column) {
  const NumberFormat& numbers = LocaleNumbers();
  switch (column) {
    case kName: return record.path;
    case kFragments: return numbers.GroupDigits(static_cast<int64_t>(record.fragments));
    case kClusters: return numbers.GroupDigits(static_cast<int64_t>(record.clusters));
    case kSize: return numbers.KBSize(record.size);
    case kSizeOnDisk: return numbers.KBSize(record.sizeOnDisk);
    case kPercent: return numbers.Percent(record.percentOnDisk);
    case kModified:
      return record.modifiedTime.empty() ? record.modifiedDate : record.modifiedDate + L" " + record.modifiedTime;
    case kAttributes: return record.attributes;
  }
  return std::wstring();
}

void AnswerCell(NMLVDISPINFOW* info) {
  LVITEMW& item = info->item;
  if (item.iItem < 0 || static_cast<size_t>(item.iItem) >= gRun.fragmented.size()) return;
  const FragmentedFileRecord& record = gRun.fragmented[static_cast<size_t>(item.iItem)];
  if ((item.mask & LVIF_TEXT) && item.pszText && item.cchTextMax > 0) {
    gResultCellBuffer = ResultCellText(record, item.iSubItem);
    lstrcpynW(item.pszText, gResultCellBuffer.c_str(), item.cchTextMax);
  }
  if ((item.mask & LVIF_IMAGE) && item.iSubItem == 0) {
    item.iImage = gSettings.showSystemIcons ? ShellImageIndex(record.path, false) : StateImageIndex(2);
  }
  // The box of column 0: the mark plus 1 (1 empty, 2 ticked).
  if ((item.mask & LVIF_STATE) && item.iSubItem == 0) {
    item.state = (item.state & ~LVIS_STATEIMAGEMASK) | INDEXTOSTATEIMAGEMASK(record.marked ? 2 : 1);
    item.stateMask |= LVIS_STATEIMAGEMASK;
  }
}

}  // namespace

const ColumnTable kResultColumnTable{kResultColumns, static_cast<int>(std::size(kResultColumns)), IDR_FILE_COLUMNS_MENU};

void InitResultListView(HWND list) {
  InitPanelListView(list, kResultColumnTable, gSettings.resultColumnVisible);
  // Each file has a box for its mark; the list asks for its state like a cell.
  ListView_SetExtendedListViewStyleEx(list, LVS_EX_CHECKBOXES, LVS_EX_CHECKBOXES);
  ListView_SetCallbackMask(list, LVIS_STATEIMAGEMASK);
}

void RefreshResultRows(HWND list) { SetPanelRowCount(list, gRun.fragmented.size()); }

bool OnResultListNotify(HWND, NMHDR* header, LRESULT& result) {
  return OnPanelListNotify(header, result, AnswerCell);
}
