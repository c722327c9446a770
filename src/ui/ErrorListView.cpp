#include "ui/ErrorListView.h"

#include <string>

#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "runs/RunResults.h"
#include "options/Settings.h"
#include "ui/Artwork.h"
#include "options/CommandIds.h"
#include "ui/controls/Dpi.h"
#include "ui/PanelListView.h"
#include "options/StringIds.h"

namespace {

enum ErrorColumn { kName, kErrorText };

constexpr ColumnLayout kErrorColumns[] = {
    {kStrResultColumnName, L"      Nome", 400, LVCFMT_LEFT, kCmdColumnName},
    {kStrErrorColumnText, L"Errore", 500, LVCFMT_LEFT, kCmdColumnErrorText},
};

std::wstring gErrorCellBuffer;

void AnswerCell(NMLVDISPINFOW* info) {
  LVITEMW& item = info->item;
  if (item.iItem < 0 || static_cast<size_t>(item.iItem) >= gRun.errors.size()) return;
  const ErrorEntry& entry = gRun.errors[static_cast<size_t>(item.iItem)];
  if ((item.mask & LVIF_TEXT) && item.pszText && item.cchTextMax > 0) {
    gErrorCellBuffer = item.iSubItem == kName ? entry.displayPath
                       : item.iSubItem == kErrorText ? entry.message
                                                     : std::wstring();
    lstrcpynW(item.pszText, gErrorCellBuffer.c_str(), item.cchTextMax);
  }
  if ((item.mask & LVIF_IMAGE) && item.iSubItem == kName) {
    item.iImage = gSettings.showSystemIcons ? ShellImageIndex(entry.displayPath, false)
                                            : StateImageIndex(ItemStateImage::kError);
  }
}

}  // namespace

const ColumnTable kErrorColumnTable{kErrorColumns, static_cast<int>(std::size(kErrorColumns)), IDR_ERROR_COLUMNS_MENU};

void InitErrorListView(HWND list) { InitPanelListView(list, kErrorColumnTable, gSettings.errorColumnVisible); }

void RefreshErrorRows(HWND list) { SetPanelRowCount(list, gRun.errors.size()); }

bool OnErrorListNotify(HWND, NMHDR* header, LRESULT& result) {
  return OnPanelListNotify(header, result, AnswerCell);
}
