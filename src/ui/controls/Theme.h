#pragma once
// The look shared by the program's own controls: one palette, vertical
// gradients, and registration of a window class on its first use.
#include <windows.h>

#include "util/win32/Win32Handle.h"

namespace Theme {

// Palette (0x00BBGGRR).
constexpr COLORREF kFace = RGB(246, 248, 251);        // panel background
constexpr COLORREF kFaceTop = RGB(255, 255, 255);     // resting gradient, top
constexpr COLORREF kFaceBottom = RGB(233, 237, 243);  // resting gradient, bottom
constexpr COLORREF kHotTop = RGB(236, 245, 255);
constexpr COLORREF kHotBottom = RGB(206, 226, 250);
constexpr COLORREF kPressedTop = RGB(190, 214, 244);
constexpr COLORREF kPressedBottom = RGB(216, 232, 252);
constexpr COLORREF kBorder = RGB(173, 184, 199);
constexpr COLORREF kHotBorder = RGB(88, 146, 222);
constexpr COLORREF kAccent = RGB(38, 110, 205);
constexpr COLORREF kAccentLight = RGB(94, 168, 240);
constexpr COLORREF kText = RGB(32, 38, 46);
constexpr COLORREF kDisabledText = RGB(150, 156, 164);

void FillGradient(HDC dc, const RECT& rect, COLORREF top, COLORREF bottom);
// A one-pixel frame with the corners cut, which reads as slightly rounded.
void DrawSoftFrame(HDC dc, const RECT& rect, COLORREF colour);
void FillSolid(HDC dc, const RECT& rect, COLORREF colour);
// The window's font (the dialog's), or the GUI font when it has none.
HFONT WindowFont(HWND window);

// A control's state lives behind its window: made as the window is created
// (WM_NCCREATE), freed as it goes (WM_NCDESTROY). Called first in the window
// procedure with each message; answers the state, null once it is freed.
template <typename State>
State* ControlState(HWND window, UINT message) {
  if (message == WM_NCCREATE) {
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(new State));
  } else if (message == WM_NCDESTROY) {
    delete reinterpret_cast<State*>(SetWindowLongPtrW(window, GWLP_USERDATA, 0));
    return nullptr;
  }
  return reinterpret_cast<State*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

// Registers the class once per process; false when registration failed.
bool RegisterControlClass(const wchar_t* className, WNDPROC procedure, UINT style = CS_HREDRAW | CS_VREDRAW);

// A child window of one of the program's own classes (registered on first
// use), placed later by its parent; null when it cannot be made.
struct ControlClass {
  const wchar_t* name;
  WNDPROC procedure;
  UINT style = CS_HREDRAW | CS_VREDRAW;
};
HWND CreateControl(const ControlClass& kind, HWND parent, int id, DWORD style, const wchar_t* text = L"",
                   DWORD exStyle = 0);

// The end of every drawn control's window procedure: the background is never
// erased (the painter covers every pixel, through a memory bitmap), WM_PAINT
// goes to the control's painter, anything else to the system.
template <typename Painter>
LRESULT DrawnControlDefault(HWND window, UINT message, WPARAM wParam, LPARAM lParam, Painter paint) {
  switch (message) {
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT:
      paint();
      return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

// Paints through a memory bitmap so that a control never flickers.
class BufferedPaint {
public:
  explicit BufferedPaint(HWND window);
  ~BufferedPaint();
  HDC Dc() const { return memory_.Get(); }
  const RECT& Client() const { return client_; }

private:
  HWND window_;
  PAINTSTRUCT paint_{};
  HDC screen_ = nullptr;
  MemoryDc memory_;
  GdiObject<HBITMAP> bitmap_;
  HGDIOBJ previous_ = nullptr;
  RECT client_{};
};

}  // namespace Theme
