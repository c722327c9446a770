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

void SetDefaultButton(HWND dialog, int id) {
  const LRESULT previous = SendMessageW(dialog, DM_GETDEFID, 0, 0);
  if (HIWORD(previous) == DC_HASDEFID && LOWORD(previous) != id) {
    SendDlgItemMessageW(dialog, LOWORD(previous), BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
  }
  SendMessageW(dialog, DM_SETDEFID, static_cast<WPARAM>(id), 0);
  SendDlgItemMessageW(dialog, id, BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
}

void PressDefaultButton(HWND dialog) {
  const LRESULT current = SendMessageW(dialog, DM_GETDEFID, 0, 0);
  if (HIWORD(current) != DC_HASDEFID || LOWORD(current) == IDOK) return;
  HWND button = GetDlgItem(dialog, LOWORD(current));
  if (!button || !IsWindowEnabled(button)) return;
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(LOWORD(current), BN_CLICKED), reinterpret_cast<LPARAM>(button));
}
