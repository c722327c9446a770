#include "ui/controls/Theme.h"

namespace Theme {

void FillGradient(HDC dc, const RECT& rect, COLORREF top, COLORREF bottom) {
  TRIVERTEX corners[2] = {
      {rect.left, rect.top, static_cast<COLOR16>(GetRValue(top) << 8),
       static_cast<COLOR16>(GetGValue(top) << 8), static_cast<COLOR16>(GetBValue(top) << 8), 0},
      {rect.right, rect.bottom, static_cast<COLOR16>(GetRValue(bottom) << 8),
       static_cast<COLOR16>(GetGValue(bottom) << 8), static_cast<COLOR16>(GetBValue(bottom) << 8), 0},
  };
  GRADIENT_RECT span{0, 1};
  GdiGradientFill(dc, corners, 2, &span, 1, GRADIENT_FILL_RECT_V);
}

void FillSolid(HDC dc, const RECT& rect, COLORREF colour) {
  COLORREF previous = SetBkColor(dc, colour);
  ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &rect, nullptr, 0, nullptr);
  SetBkColor(dc, previous);
}

void DrawSoftFrame(HDC dc, const RECT& rect, COLORREF colour) {
  if (rect.right - rect.left < 3 || rect.bottom - rect.top < 3) return;
  FillSolid(dc, {rect.left + 1, rect.top, rect.right - 1, rect.top + 1}, colour);
  FillSolid(dc, {rect.left + 1, rect.bottom - 1, rect.right - 1, rect.bottom}, colour);
  FillSolid(dc, {rect.left, rect.top + 1, rect.left + 1, rect.bottom - 1}, colour);
  FillSolid(dc, {rect.right - 1, rect.top + 1, rect.right, rect.bottom - 1}, colour);
}

HFONT WindowFont(HWND window) {
  auto font = reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0));
  if (!font && GetParent(window)) {
    font = reinterpret_cast<HFONT>(SendMessageW(GetParent(window), WM_GETFONT, 0, 0));
  }
  return font ? font : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

bool RegisterControlClass(const wchar_t* className, WNDPROC procedure, UINT style) {
  HINSTANCE instance = GetModuleHandleW(nullptr);
  WNDCLASSEXW existing{sizeof existing};
  if (GetClassInfoExW(instance, className, &existing)) return true;
  WNDCLASSEXW windowClass{sizeof windowClass};
  windowClass.style = style;
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = instance;
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.lpszClassName = className;
  return RegisterClassExW(&windowClass) != 0;
}

BufferedPaint::BufferedPaint(HWND window) : window_(window) {
  screen_ = BeginPaint(window, &paint_);
  GetClientRect(window, &client_);
  memory_.Reset(CreateCompatibleDC(screen_));
  bitmap_.Reset(CreateCompatibleBitmap(screen_, client_.right > 0 ? client_.right : 1,
                                       client_.bottom > 0 ? client_.bottom : 1));
  previous_ = SelectObject(memory_.Get(), bitmap_.Get());
  SelectObject(memory_.Get(), WindowFont(window));
  SetBkMode(memory_.Get(), TRANSPARENT);
}

// The picture goes to the screen, the context gives back the bitmap; the
// owners then delete both.
BufferedPaint::~BufferedPaint() {
  BitBlt(screen_, 0, 0, client_.right, client_.bottom, memory_.Get(), 0, 0, SRCCOPY);
  SelectObject(memory_.Get(), previous_);
  EndPaint(window_, &paint_);
}

HWND CreateControl(const ControlClass& kind, HWND parent, int id, DWORD style, const wchar_t* text, DWORD exStyle) {
  if (!RegisterControlClass(kind.name, kind.procedure, kind.style)) return nullptr;
  return CreateWindowExW(exStyle, kind.name, text, WS_CHILD | style, 0, 0, 10, 10, parent,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
}

}  // namespace Theme
