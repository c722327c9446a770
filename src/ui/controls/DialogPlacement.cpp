#include "ui/controls/DialogPlacement.h"

#include <vector>

int RunEmptyTemplateDialog(HWND owner, DWORD style, DLGPROC proc, LPARAM param, int whenNotMade,
                           const wchar_t* title, DWORD extendedStyle) {
  std::vector<WORD> words(sizeof(DLGTEMPLATE) / sizeof(WORD), 0);
  auto* header = reinterpret_cast<DLGTEMPLATE*>(words.data());
  header->style = style | DS_SETFONT;
  header->dwExtendedStyle = extendedStyle;
  header->cx = 300;
  header->cy = 200;
  words.push_back(0);  // no menu
  words.push_back(0);  // the dialog class
  for (const wchar_t* c = title; *c; ++c) words.push_back(*c);
  words.push_back(0);
  words.push_back(9);  // point size
  for (const wchar_t* c = L"Segoe UI"; *c; ++c) words.push_back(*c);
  words.push_back(0);
  const INT_PTR result = DialogBoxIndirectParamW(GetModuleHandleW(nullptr),
                                                 reinterpret_cast<DLGTEMPLATE*>(words.data()), owner, proc, param);
  return result < 0 ? whenNotMade : static_cast<int>(result);
}

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

bool EndsOnClose(HWND dialog, UINT message, WPARAM wParam) {
  int command = 0;
  if (message == WM_CLOSE) {
    command = IDCANCEL;
  } else if (message == WM_COMMAND && (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL)) {
    command = LOWORD(wParam);
  }
  if (command == 0) return false;
  EndDialog(dialog, command);
  return true;
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
