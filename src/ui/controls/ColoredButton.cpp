#include <string>

#include "ui/controls/Dpi.h"
#include "ui/controls/Controls.h"
#include "ui/controls/Theme.h"

namespace {

struct ColourState {
  COLORREF colour = 0;
  bool hot = false;
  bool pressed = false;
};

void Paint(HWND window, const ColourState& state) {
  Theme::BufferedPaint paint(window);
  HDC dc = paint.Dc();
  RECT client = paint.Client();
  bool enabled = IsWindowEnabled(window);
  Theme::FillSolid(dc, client, Theme::kFace);
  if (state.pressed && state.hot) Theme::FillGradient(dc, client, Theme::kPressedTop, Theme::kPressedBottom);
  else if (state.hot) Theme::FillGradient(dc, client, Theme::kHotTop, Theme::kHotBottom);
  else Theme::FillGradient(dc, client, Theme::kFaceTop, Theme::kFaceBottom);
  Theme::DrawSoftFrame(dc, client, state.hot ? Theme::kHotBorder : Theme::kBorder);
  UINT dpi = WindowDpi(window);
  int margin = ScaleForDpi(4, dpi);
  int side = client.bottom - 2 * margin;
  RECT swatch{margin, margin, margin + side, margin + side};
  Theme::FillSolid(dc, swatch, enabled ? state.colour : RGB(220, 222, 226));
  Theme::DrawSoftFrame(dc, swatch, RGB(90, 98, 110));
  if (GetFocus() == window) {
    RECT focus = client;
    InflateRect(&focus, -2, -2);
    DrawFocusRect(dc, &focus);
  }
  wchar_t text[256] = {};
  GetWindowTextW(window, text, 256);
  RECT label{swatch.right + margin * 2, 0, client.right - margin, client.bottom};
  SetTextColor(dc, enabled ? Theme::kText : Theme::kDisabledText);
  DrawTextW(dc, text, -1, &label, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS);
}

void Clicked(HWND window) {
  SendMessageW(GetParent(window), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(window), BN_CLICKED),
               reinterpret_cast<LPARAM>(window));
}

LRESULT CALLBACK ColourProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = Theme::ControlState<ColourState>(window, message);
  switch (message) {
    case kColourSet:
      state->colour = static_cast<COLORREF>(wParam);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case kColourGet:
      return state->colour;
    case WM_GETDLGCODE:
      return DLGC_BUTTON;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_ENABLE:
    case WM_SETTEXT: {
      LRESULT result = DefWindowProcW(window, message, wParam, lParam);
      InvalidateRect(window, nullptr, FALSE);
      return result;
    }
    case WM_KEYUP:
      if (wParam == VK_SPACE) Clicked(window);
      return 0;
    case WM_MOUSEMOVE:
      if (!state->hot) {
        state->hot = true;
        TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, window, 0};
        TrackMouseEvent(&track);
        InvalidateRect(window, nullptr, FALSE);
      }
      return 0;
    case WM_MOUSELEAVE:
      state->hot = false;
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_LBUTTONDOWN:
      state->pressed = true;
      SetFocus(window);
      SetCapture(window);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_LBUTTONUP: {
      bool wasPressed = state->pressed;
      state->pressed = false;
      ReleaseCapture();
      InvalidateRect(window, nullptr, FALSE);
      RECT client{};
      GetClientRect(window, &client);
      POINT point{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
      if (wasPressed && PtInRect(&client, point)) Clicked(window);
      return 0;
    }
  }
  return Theme::DrawnControlDefault(window, message, wParam, lParam, [&] { Paint(window, *state); });
}

}  // namespace

HWND CreateColoredButton(HWND parent, int id, const wchar_t* text, COLORREF colour) {
  HWND button = Theme::CreateControl({kColoredButtonClass, ColourProc}, parent, id, WS_VISIBLE | WS_TABSTOP, text);
  if (button) SendMessageW(button, kColourSet, colour, 0);
  return button;
}
