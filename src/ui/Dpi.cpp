#include "ui/Dpi.h"

UINT WindowDpi(HWND window) {
  using GetDpiForWindowFn = UINT(WINAPI*)(HWND);
  static const auto getDpiForWindow = reinterpret_cast<GetDpiForWindowFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
  if (getDpiForWindow && window) {
    if (UINT dpi = getDpiForWindow(window)) return dpi;
  }
  HDC screen = GetDC(nullptr);
  UINT dpi = screen ? static_cast<UINT>(GetDeviceCaps(screen, LOGPIXELSX)) : 96;
  if (screen) ReleaseDC(nullptr, screen);
  return dpi ? dpi : 96;
}

int ScaleForDpi(int size96, UINT dpi) { return MulDiv(size96, static_cast<int>(dpi), 96); }
