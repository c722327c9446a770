#include <windows.h>
#include <commctrl.h>

#include <string>

#include "ui/controls/Dpi.h"
#include "ui/controls/Controls.h"
#include "ui/controls/Theme.h"
#include "util/win32/Win32Handle.h"

namespace {

struct ButtonState {
  UniqueIcon icon;
  bool dropDown = false;
  bool hot = false;
  bool hotArrow = false;
  int pressed = 0;  // 1 body, 2 arrow
  HWND tip = nullptr;
  std::wstring tipText;
};

int ArrowWidth(HWND window) { return ScaleForDpi(16, WindowDpi(window)); }
int IconSize(HWND window) { return ScaleForDpi(24, WindowDpi(window)); }

bool InArrow(HWND window, const ButtonState& state, POINT point) {
  RECT client{};
  GetClientRect(window, &client);
  return state.dropDown && point.x >= client.right - ArrowWidth(window);
}

void Paint(HWND window, const ButtonState& state) {
  Theme::BufferedPaint paint(window);
  HDC dc = paint.Dc();
  RECT client = paint.Client();
  bool enabled = IsWindowEnabled(window);
  Theme::FillSolid(dc, client, Theme::kFace);
  if (enabled && (state.hot || state.pressed)) {
    bool pressedHere = state.pressed != 0 && state.hot;
    Theme::FillGradient(dc, client, pressedHere ? Theme::kPressedTop : Theme::kHotTop,
                        pressedHere ? Theme::kPressedBottom : Theme::kHotBottom);
    Theme::DrawSoftFrame(dc, client, Theme::kHotBorder);
    if (state.dropDown) {
      int x = client.right - ArrowWidth(window);
      Theme::FillSolid(dc, {x, client.top + 3, x + 1, client.bottom - 3}, Theme::kHotBorder);
      if (state.pressed == 2 || (state.hotArrow && !state.pressed)) {
        RECT arrowPart{x + 1, client.top + 1, client.right - 1, client.bottom - 1};
        Theme::FillGradient(dc, arrowPart, state.pressed == 2 ? Theme::kPressedTop : Theme::kHotBottom,
                            state.pressed == 2 ? Theme::kPressedBottom : Theme::kHotTop);
      }
    }
  }
  // Reached with Tab, the button shows that Space or Enter would press it.
  if (GetFocus() == window) {
    RECT focus{client.left + 2, client.top + 2, client.right - 2, client.bottom - 2};
    DrawFocusRect(dc, &focus);
  }
  UINT dpi = WindowDpi(window);
  int pad = ScaleForDpi(6, dpi);
  int iconSize = IconSize(window);
  int shift = state.pressed == 1 && state.hot ? 1 : 0;
  int iconTop = (client.bottom - iconSize) / 2 + shift;
  if (state.icon) {
    DrawIconEx(dc, pad + shift, iconTop, state.icon.Get(), iconSize, iconSize, 0, nullptr, DI_NORMAL);
    if (!enabled) {
      // A disabled command keeps its picture, faded into the face colour.
      const MemoryDc face(CreateCompatibleDC(dc));
      const GdiObject<HBITMAP> pixel(CreateCompatibleBitmap(dc, 1, 1));
      const DcSelection selected(face.Get(), pixel.Get());
      SetPixel(face.Get(), 0, 0, Theme::kFace);
      BLENDFUNCTION blend{AC_SRC_OVER, 0, 170, 0};
      GdiAlphaBlend(dc, pad + shift, iconTop, iconSize, iconSize, face.Get(), 0, 0, 1, 1, blend);
    }
  }
  wchar_t text[128] = {};
  GetWindowTextW(window, text, 128);
  RECT label{pad + iconSize + pad / 2 + shift, shift,
             client.right - (state.dropDown ? ArrowWidth(window) : 0) - pad / 2, client.bottom + shift};
  SetTextColor(dc, enabled ? Theme::kText : Theme::kDisabledText);
  DrawTextW(dc, text, -1, &label, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_HIDEPREFIX);
  if (state.dropDown) {
    // A small solid triangle pointing down.
    int middleX = client.right - ArrowWidth(window) / 2;
    int middleY = client.bottom / 2;
    int half = ScaleForDpi(3, dpi);
    for (int row = 0; row <= half; ++row) {
      Theme::FillSolid(dc, {middleX - half + row, middleY - half / 2 + row, middleX + half - row + 1,
                            middleY - half / 2 + row + 1},
                       enabled ? Theme::kText : Theme::kDisabledText);
    }
  }
}

void Notify(HWND window, WORD code) {
  SendMessageW(GetParent(window), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(window), code),
               reinterpret_cast<LPARAM>(window));
}

LRESULT CALLBACK ButtonProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = Theme::ControlState<ButtonState>(window, message);
  POINT point{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
  switch (message) {
    case kToolbarSetTip: {
      state->tipText = lParam ? reinterpret_cast<const wchar_t*>(lParam) : L"";
      if (!state->tip) {
        state->tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP,
                                     CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, window,
                                     nullptr, GetModuleHandleW(nullptr), nullptr);
        SendMessageW(state->tip, TTM_SETMAXTIPWIDTH, 0, ScaleForDpi(320, WindowDpi(window)));
        TTTOOLINFOW tool{sizeof tool};
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = window;
        tool.uId = reinterpret_cast<UINT_PTR>(window);
        tool.lpszText = state->tipText.data();
        SendMessageW(state->tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
      } else {
        TTTOOLINFOW tool{sizeof tool};
        tool.hwnd = window;
        tool.uId = reinterpret_cast<UINT_PTR>(window);
        tool.lpszText = state->tipText.data();
        SendMessageW(state->tip, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
      }
      return 0;
    }
    case WM_GETDLGCODE: {
      // Enter presses the focused button rather than the window's default.
      const MSG* key = reinterpret_cast<const MSG*>(lParam);
      if (key && key->message == WM_KEYDOWN && key->wParam == VK_RETURN) return DLGC_WANTMESSAGE;
      return DLGC_WANTARROWS;
    }
    case WM_KEYDOWN:
      if (wParam == VK_SPACE || wParam == VK_RETURN) {
        Notify(window, BN_CLICKED);
        return 0;
      }
      // The arrow down opens the drop-down, as a click on the arrow does.
      if (wParam == VK_DOWN && state->dropDown) {
        Notify(window, kToolbarDropDownCode);
        return 0;
      }
      break;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_ENABLE:
    case WM_SETTEXT: {
      LRESULT result = DefWindowProcW(window, message, wParam, lParam);
      InvalidateRect(window, nullptr, FALSE);
      return result;
    }
    case WM_MOUSEMOVE: {
      bool arrow = InArrow(window, *state, point);
      RECT client{};
      GetClientRect(window, &client);
      bool inside = PtInRect(&client, point) != FALSE;
      if (!state->hot && inside) {
        TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, window, 0};
        TrackMouseEvent(&track);
      }
      if (inside != state->hot || arrow != state->hotArrow) {
        state->hot = inside;
        state->hotArrow = arrow;
        InvalidateRect(window, nullptr, FALSE);
      }
      return 0;
    }
    case WM_MOUSELEAVE:
      state->hot = state->hotArrow = false;
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      if (InArrow(window, *state, point)) {
        // The drop-down menu runs its own loop: show the pressed arrow meanwhile.
        // The tip would cover the menu's items: silent until the menu ends.
        state->pressed = 2;
        InvalidateRect(window, nullptr, FALSE);
        UpdateWindow(window);
        if (state->tip) {
          SendMessageW(state->tip, TTM_POP, 0, 0);
          SendMessageW(state->tip, TTM_ACTIVATE, FALSE, 0);
        }
        Notify(window, kToolbarDropDownCode);
        if (state->tip) SendMessageW(state->tip, TTM_ACTIVATE, TRUE, 0);
        state->pressed = 0;
        state->hot = state->hotArrow = false;
        InvalidateRect(window, nullptr, FALSE);
        return 0;
      }
      state->pressed = 1;
      SetCapture(window);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_LBUTTONUP: {
      bool clicked = state->pressed == 1 && state->hot;
      state->pressed = 0;
      ReleaseCapture();
      InvalidateRect(window, nullptr, FALSE);
      if (clicked) Notify(window, BN_CLICKED);
      return 0;
    }
  }
  return Theme::DrawnControlDefault(window, message, wParam, lParam, [&] { Paint(window, *state); });
}

}  // namespace

HWND CreateToolbarButton(HWND parent, int id, const wchar_t* text, HICON icon, bool dropDown) {
  HWND button = Theme::CreateControl({kToolbarButtonClass, ButtonProc, CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS}, parent,
                                      id, WS_VISIBLE | WS_TABSTOP, text);
  if (!button) return nullptr;
  auto* state = reinterpret_cast<ButtonState*>(GetWindowLongPtrW(button, GWLP_USERDATA));
  state->icon.Reset(icon);
  state->dropDown = dropDown;
  return button;
}

int ToolbarButtonWidth(HWND button) {
  auto* state = reinterpret_cast<ButtonState*>(GetWindowLongPtrW(button, GWLP_USERDATA));
  wchar_t text[128] = {};
  GetWindowTextW(button, text, 128);
  RECT extent{};
  {
    const WindowDc dc(button);
    const DcSelection font(dc.Get(), Theme::WindowFont(button));
    DrawTextW(dc.Get(), text, -1, &extent, DT_CALCRECT | DT_SINGLELINE | DT_HIDEPREFIX);
  }
  UINT dpi = WindowDpi(button);
  int pad = ScaleForDpi(6, dpi);
  return pad + IconSize(button) + pad / 2 + extent.right + pad +
         (state && state->dropDown ? ArrowWidth(button) : 0);
}
