#include "ui/SummaryPanel.h"

#include <string>

#include "items/ItemCells.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "runs/RunResults.h"
#include "ui/Dpi.h"
#include "util/StringIds.h"
#include "util/Text.h"

namespace {

constexpr int kCounterCount = 4;

struct CounterLabel {
  uint32_t textId;
  const wchar_t* italian;
};
constexpr CounterLabel kCounterLabels[kCounterCount] = {
    {kStrCounterSeen, L"File esaminati:"},
    {kStrCounterNotFragmented, L"File non frammentati:"},
    {kStrCounterTried, L"File elaborati:"},
    {kStrCounterMoved, L"File deframmentati:"},
};

struct SummaryState {
  HWND body = nullptr;
  HWND notice = nullptr;
  HWND labels[kCounterCount] = {};
  HWND values[kCounterCount] = {};
};
SummaryState gSummary;

HWND MakeStatic(HWND parent, int id, DWORD align) {
  HWND control = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | SS_NOPREFIX | align, 0, 0, 10, 10, parent,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
  SendMessageW(control, WM_SETFONT, SendMessageW(GetParent(parent), WM_GETFONT, 0, 0), FALSE);
  return control;
}

// Which notice the panel shows after the last change.
const wchar_t* NoticeText() {
  const RunCounters& counters = gRun.counters;
  if (ItemCount() == 0) return Text(kStrNoticeEmptyList, L"Aggiungere in elenco i file da deframmentare.");
  if (counters.filesTried > 0 && counters.filesMoved >= counters.filesTried) {
    return Text(kStrNoticeNoUnprocessed, L"Non sono presenti file non elaborati.");
  }
  if (counters.filesSeen > 0 && gRun.fragmented.empty()) {
    return Text(kStrNoticeNoFragmented, L"Non sono presenti file frammentati.");
  }
  return L"";
}

}  // namespace

void CreateSummaryPanel(HWND body) {
  gSummary.body = body;
  gSummary.notice = MakeStatic(body, IDC_SUMMARY_NOTICE, SS_LEFT);
  for (int i = 0; i < kCounterCount; ++i) {
    gSummary.labels[i] = MakeStatic(body, IDC_SUMMARY_LABEL_FIRST + i, SS_LEFT);
    gSummary.values[i] = MakeStatic(body, IDC_SUMMARY_VALUE_FIRST + i, SS_RIGHT);
  }
  UpdateSummaryPanel();
}

void LayoutSummaryPanel(const RECT& inside) {
  if (!gSummary.body) return;
  UINT dpi = WindowDpi(gSummary.body);
  auto scaled = [dpi](int size) { return ScaleForDpi(size, dpi); };
  // The counters in two columns of two, the notice under them.
  const int line = scaled(18);
  const int labelWidth = scaled(150);
  const int valueWidth = scaled(80);
  const int columnWidth = labelWidth + valueWidth + scaled(40);
  const int left = inside.left + scaled(14);
  const int top = inside.top + scaled(6);
  for (int i = 0; i < kCounterCount; ++i) {
    int x = left + (i / 2) * columnWidth;
    int y = top + (i % 2) * line;
    MoveWindow(gSummary.labels[i], x, y, labelWidth, line, FALSE);
    MoveWindow(gSummary.values[i], x + labelWidth, y, valueWidth, line, FALSE);
  }
  MoveWindow(gSummary.notice, left, top + 2 * line + scaled(2), inside.right - left - scaled(14), line, FALSE);
  InvalidateRect(gSummary.body, nullptr, FALSE);
}

void ShowSummaryPanel(bool show) {
  int command = show ? SW_SHOW : SW_HIDE;
  ShowWindow(gSummary.notice, command);
  for (int i = 0; i < kCounterCount; ++i) {
    ShowWindow(gSummary.labels[i], command);
    ShowWindow(gSummary.values[i], command);
  }
}

void UpdateSummaryPanel() {
  if (!gSummary.body) return;
  const RunCounters& counters = gRun.counters;
  const uint64_t values[kCounterCount] = {counters.filesSeen, counters.notFragmented, counters.filesTried,
                                          counters.filesMoved};
  for (int i = 0; i < kCounterCount; ++i) {
    SetWindowTextW(gSummary.labels[i], Text(kCounterLabels[i].textId, kCounterLabels[i].italian));
    SetWindowTextW(gSummary.values[i],
                   GroupedCount(values[i]).c_str());
  }
  SetWindowTextW(gSummary.notice, NoticeText());
}
