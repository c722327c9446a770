#include "ui/StatusBars.h"

#include <commctrl.h>

#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "items/ItemList.h"
#include "runs/RunResults.h"
#include "ui/Artwork.h"
#include "ui/controls/Dpi.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/win32/Win32Handle.h"

namespace {

struct StatusBarsState {
  HWND upper = nullptr;
  HWND lower = nullptr;
  UniqueIcon workingIcon;
  // The texts the parts show: the upper bar's two, the lower bar's one.
  std::wstring upperShown[2];
  std::wstring lowerShown;
};
StatusBarsState gStatus;

// With the locale's digit grouping, as the list's cells.

void SetLower(const std::wstring& text) { SetTextPaintedLater(gStatus.lower, SB_SETTEXTW, 0, text, gStatus.lowerShown); }

}  // namespace

void SetTextPaintedLater(HWND control, UINT message, WPARAM wParam, const std::wstring& text,
                         std::wstring& shown) {
  if (!control || text == shown) return;
  shown = text;
  // Drawing back on would show a hidden control.
  const bool visible = (GetWindowLongW(control, GWL_STYLE) & WS_VISIBLE) != 0;
  if (visible) SendMessageW(control, WM_SETREDRAW, FALSE, 0);
  SendMessageW(control, message, wParam, reinterpret_cast<LPARAM>(text.c_str()));
  if (!visible) return;
  SendMessageW(control, WM_SETREDRAW, TRUE, 0);
  InvalidateRect(control, nullptr, TRUE);
}

void InitStatusBars(HWND upper, HWND lower) {
  gStatus.upper = upper;
  gStatus.lower = lower;
  for (std::wstring& shown : gStatus.upperShown) shown.clear();
  gStatus.lowerShown.clear();
  gStatus.workingIcon.Reset(LoadStateIcon(1, WindowDpi(upper)));
}

void SetUpperStatusPart(int part, const std::wstring& text) {
  if (!gStatus.upper || part < 0 || part > 1) return;
  SetTextPaintedLater(gStatus.upper, SB_SETTEXTW, static_cast<WPARAM>(part), text, gStatus.upperShown[part]);
}

void SetLowerStatusIcon(bool working) {
  if (!gStatus.lower) return;
  SendMessageW(gStatus.lower, SB_SETICON, 0, reinterpret_cast<LPARAM>(working ? gStatus.workingIcon.Get() : nullptr));
}

void UpdateStatus(uint32_t flags, const std::wstring& text) {
  if (!gStatus.upper) return;
  if (flags & kStatusRunStarting) {
    SetUpperStatusPart(0, Text(kStrAnalysing, L"Analisi in corso..."));
    SetLowerStatusIcon(true);
    SetLower(Text(kStrProcessing, L"In elaborazione..."));
    return;
  }
  if (flags & kStatusText) {
    SetUpperStatusPart(1, text);
    return;
  }
  if (flags & kStatusItemCount) {
    SetUpperStatusPart(0, Text(kStrItemsInList, L"Oggetti totali in elenco: ") + GroupedCount(LocaleNumbers(), ItemCount()));
  }
  if (flags & kStatusWaiting) {
    SetLowerStatusIcon(false);
    SetLower(Text(kStrWaiting, L"In attesa"));
  }
  if (flags & kStatusProcessedCount) {
    SetUpperStatusPart(1, Text(kStrFilesProcessed, L"Totale file elaborati: ") +
                              GroupedCount(LocaleNumbers(), gRun.counters.filesSeen));
  }
  if (flags & kStatusPleaseWait) {
    SetLower(Text(kStrWaitForStop, L"Attendere che l'operazione in corso sia terminata..."));
  }
}
