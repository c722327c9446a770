#include "ui/controls/Controls.h"
#include "ui/controls/Theme.h"

namespace {

struct SplitterState {
  bool dragging = false;
  int grabOffset = 0;  // where in the bar the mouse took hold
  int wantedTop = 0;   // in the parent's client coordinates
  bool hot = false;
};

void Paint(HWND window, const SplitterState& state) {
  Theme::BufferedPaint paint(window);
  HDC dc = paint.Dc();
  RECT client = paint.Client();
  Theme::FillGradient(dc, client, state.hot || state.dragging ? Theme::kHotTop : Theme::kFaceTop,
                      state.hot || state.dragging ? Theme::kHotBottom : Theme::kFaceBottom);
  // A grip of three dots in the middle.
  int middleX = client.right / 2;
  int middleY = client.bottom / 2;
  int dot = client.bottom >= 8 ? 2 : 1;
  for (int i = -1; i <= 1; ++i) {
    RECT grip{middleX + i * 6 * dot - dot, middleY - dot / 2 - 1, middleX + i * 6 * dot + dot, middleY + dot - dot / 2};
    Theme::FillSolid(dc, grip, state.dragging ? Theme::kAccent : Theme::kBorder);
  }
}

LRESULT CALLBACK SplitterProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = Theme::ControlState<SplitterState>(window, message);
  switch (message) {
    case WM_SETCURSOR:
      SetCursor(LoadCursorW(nullptr, IDC_SIZENS));
      return TRUE;
    case WM_LBUTTONDOWN:
      state->dragging = true;
      state->grabOffset = static_cast<short>(HIWORD(lParam));
      SetCapture(window);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_MOUSEMOVE: {
      if (!state->hot) {
        state->hot = true;
        TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, window, 0};
        TrackMouseEvent(&track);
        InvalidateRect(window, nullptr, FALSE);
      }
      if (!state->dragging) return 0;
      POINT point{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
      MapWindowPoints(window, GetParent(window), &point, 1);
      state->wantedTop = point.y - state->grabOffset;
      SendMessageW(GetParent(window), WM_COMMAND,
                   MAKEWPARAM(GetDlgCtrlID(window), kSplitterMovedCode), reinterpret_cast<LPARAM>(window));
      return 0;
    }
    case WM_MOUSELEAVE:
      state->hot = false;
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_LBUTTONUP:
    case WM_CAPTURECHANGED:
      if (state->dragging) {
        state->dragging = false;
        if (message == WM_LBUTTONUP) ReleaseCapture();
        InvalidateRect(window, nullptr, FALSE);
      }
      return 0;
    case kSplitterGetPosition:
      return state->wantedTop;
  }
  return Theme::DrawnControlDefault(window, message, wParam, lParam, [&] { Paint(window, *state); });
}

}  // namespace

HWND CreateSplitter(HWND parent, int id) {
  return Theme::CreateControl({kSplitterClass, SplitterProc}, parent, id, WS_VISIBLE);
}
