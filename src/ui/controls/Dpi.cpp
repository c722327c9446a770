#include "ui/controls/Dpi.h"

#include "util/win32/Win32Handle.h"

UINT WindowDpi(HWND window) {
  using GetDpiForWindowFn = UINT(WINAPI*)(HWND);
  static const auto getDpiForWindow = reinterpret_cast<GetDpiForWindowFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
  if (getDpiForWindow && window) {
    if (UINT dpi = getDpiForWindow(window)) return dpi;
  }
  const WindowDc screen(nullptr);
  const UINT dpi = screen.Get() ? static_cast<UINT>(GetDeviceCaps(screen.Get(), LOGPIXELSX)) : 96;
  return dpi ? dpi : 96;
}

int ScaleForDpi(int size96, UINT dpi) { return MulDiv(size96, static_cast<int>(dpi), 96); }
