#include "ui/controls/DialogPlacement.h"

void SizeAndCentreDialog(HWND dialog, int clientWidth, int clientHeight) {
  RECT frame{0, 0, clientWidth, clientHeight};
  AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_STYLE)), FALSE,
                     static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_EXSTYLE)));
  RECT over{};
  HWND owner = GetWindow(dialog, GW_OWNER);
  if (!owner || !IsWindowVisible(owner) || IsIconic(owner) || !GetWindowRect(owner, &over)) {
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &over, 0);
  }
  const int width = frame.right - frame.left, height = frame.bottom - frame.top;
  SetWindowPos(dialog, nullptr, over.left + (over.right - over.left - width) / 2,
               over.top + (over.bottom - over.top - height) / 2, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}
