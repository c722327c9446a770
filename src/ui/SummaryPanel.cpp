#include "ui/SummaryPanel.h"

#include <algorithm>
#include <string>

#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "runs/RunResults.h"
#include "ui/StatusBars.h"
#include "ui/controls/Dpi.h"
#include "ui/controls/Controls.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/win32/Win32Handle.h"

namespace {

constexpr int kCounterCount = 4;

struct CounterLabel {
  uint32_t textId;
  const wchar_t* italian;
};
constexpr CounterLabel kCounterLabels[kCounterCount] = {
    {kStrCounterFragmented, L"Frammentati:"},
    {kStrCounterContiguous, L"Non frammentati:"},
    {kStrCounterDefragmented, L"Deframmentati:"},
    {kStrCounterErrors, L"Errori:"},
};

// Geometry at 96 dots per inch. The labels are as wide as the widest of
// them plus a gap, or this wide with the built-in texts.
constexpr int kBuiltInLabelWidth = 140;
constexpr int kLabelGap = 10;
constexpr int kValueWidth = 70;
constexpr int kPadding = 12;
constexpr int kTopPadding = 8;
constexpr int kLineHeight = 20;

struct SummaryState {
  HWND box = nullptr;
  HWND labels[kCounterCount] = {};
  HWND values[kCounterCount] = {};
  std::wstring labelsShown[kCounterCount];
  std::wstring valuesShown[kCounterCount];
};
SummaryState gSummary;

int Scaled(int size96) { return ScaleForDpi(size96, WindowDpi(gSummary.box)); }

HWND MakeStatic(HWND parent, int id, DWORD align) {
  HWND control = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE | SS_NOPREFIX | align, 0, 0, 10, 10,
                                 parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                 GetModuleHandleW(nullptr), nullptr);
  SendMessageW(control, WM_SETFONT, SendMessageW(GetParent(parent), WM_GETFONT, 0, 0), FALSE);
  return control;
}

int LabelWidth() {
  if (BuiltInTexts()) return Scaled(kBuiltInLabelWidth);
  const WindowDc dc(gSummary.box);
  const DcSelection font(dc.Get(), reinterpret_cast<HGDIOBJ>(SendMessageW(gSummary.labels[0], WM_GETFONT, 0, 0)));
  int widest = 0;
  for (const CounterLabel& label : kCounterLabels) {
    const wchar_t* text = Text(label.textId, label.italian);
    SIZE extent{};
    GetTextExtentPoint32W(dc.Get(), text, lstrlenW(text), &extent);
    widest = std::max(widest, static_cast<int>(extent.cx));
  }
  return widest + Scaled(kLabelGap);
}

}  // namespace

HWND CreateSummaryPanel(HWND window) {
  gSummary = SummaryState{};
  gSummary.box = CreateBottomTabBody(window, IDC_COUNTERS_PANEL);
  SendMessageW(gSummary.box, WM_SETFONT, SendMessageW(window, WM_GETFONT, 0, 0), FALSE);
  for (int i = 0; i < kCounterCount; ++i) {
    gSummary.labels[i] = MakeStatic(gSummary.box, IDC_SUMMARY_LABEL_FIRST + i, SS_LEFT);
    gSummary.values[i] = MakeStatic(gSummary.box, IDC_SUMMARY_VALUE_FIRST + i, SS_RIGHT);
  }
  UpdateSummaryPanel();
  return gSummary.box;
}

int SummaryPanelWidth() {
  if (!gSummary.box) return 0;
  return 2 * Scaled(kPadding) + LabelWidth() + Scaled(kValueWidth);
}

void LayoutSummaryPanel(const RECT& bounds) {
  if (!gSummary.box) return;
  MoveWindow(gSummary.box, bounds.left, bounds.top, bounds.right - bounds.left, bounds.bottom - bounds.top, TRUE);
  const int line = Scaled(kLineHeight);
  const int labelWidth = LabelWidth();
  const int left = Scaled(kPadding);
  const int valueLeft =
      std::max(left + labelWidth, static_cast<int>(bounds.right - bounds.left) - Scaled(kPadding) - Scaled(kValueWidth));
  for (int i = 0; i < kCounterCount; ++i) {
    const int y = Scaled(kTopPadding) + i * line;
    MoveWindow(gSummary.labels[i], left, y, labelWidth, line, FALSE);
    MoveWindow(gSummary.values[i], valueLeft, y, Scaled(kValueWidth), line, FALSE);
  }
  InvalidateRect(gSummary.box, nullptr, TRUE);
}

void ShowSummaryPanel(bool show) { ShowWindow(gSummary.box, show ? SW_SHOW : SW_HIDE); }

void UpdateSummaryPanel() {
  if (!gSummary.box) return;
  // The same figures as the summary dialog and the console summary; with the
  // errors they add up to the files processed.
  const uint64_t values[kCounterCount] = {gRun.counters.fragmented, gRun.counters.notFragmented,
                                          gRun.counters.filesMoved, gRun.errors.size()};
  for (int i = 0; i < kCounterCount; ++i) {
    SetTextPaintedLater(gSummary.labels[i], WM_SETTEXT, 0, Text(kCounterLabels[i].textId, kCounterLabels[i].italian),
                        gSummary.labelsShown[i]);
    SetTextPaintedLater(gSummary.values[i], WM_SETTEXT, 0, GroupedCount(LocaleNumbers(), values[i]), gSummary.valuesShown[i]);
  }
}

const wchar_t* EmptyListNotice(bool errorsTab) {
  if (ItemCount() == 0) return Text(kStrNoticeEmptyList, L"Aggiungere in elenco i file da deframmentare.");
  // Only after a run that looked at files does "none" say something.
  if (gRun.counters.filesSeen > 0) {
    return errorsTab ? Text(kStrNoticeNoUnprocessed, L"Non sono presenti file non elaborati.")
                     : Text(kStrNoticeNoFragmented, L"Non sono presenti file frammentati.");
  }
  return Text(kStrNoFiles, L"Nessun file");
}
