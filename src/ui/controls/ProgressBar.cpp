#include "ui/controls/Controls.h"
#include "ui/controls/Theme.h"

namespace {

struct ProgressState {
  uint64_t last = 100;
  uint64_t position = 0;
};

void Paint(HWND window, const ProgressState& state) {
  Theme::BufferedPaint paint(window);
  HDC dc = paint.Dc();
  RECT client = paint.Client();
  Theme::FillSolid(dc, client, Theme::kFace);
  RECT track = client;
  Theme::FillGradient(dc, track, RGB(226, 231, 238), RGB(244, 246, 249));
  Theme::DrawSoftFrame(dc, track, Theme::kBorder);
  int inner = client.right - 2;
  uint64_t position = state.position > state.last ? state.last : state.position;
  int filled = state.last ? static_cast<int>((static_cast<double>(position) / state.last) * (inner - 1)) : 0;
  if (filled > 0) {
    RECT bar{1, 1, 1 + filled, client.bottom - 1};
    Theme::FillGradient(dc, bar, Theme::kAccentLight, Theme::kAccent);
    RECT gloss{1, 1, 1 + filled, 1 + (client.bottom - 2) / 2};
    Theme::FillGradient(dc, gloss, RGB(150, 200, 248), Theme::kAccentLight);
  }
}

LRESULT CALLBACK ProgressProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = Theme::ControlState<ProgressState>(window, message);
  switch (message) {
    case kProgressSetRange:
      state->last = static_cast<uint64_t>(lParam);
      state->position = 0;
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case kProgressSetPosition:
      state->position = static_cast<uint64_t>(lParam);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
  }
  return Theme::DrawnControlDefault(window, message, wParam, lParam, [&] { Paint(window, *state); });
}

}  // namespace

HWND CreateProgressBar(HWND parent, int id) {
  return Theme::CreateControl({kProgressBarClass, ProgressProc}, parent, id, 0);
}
