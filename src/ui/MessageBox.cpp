#include "ui/MessageBox.h"

int ShowMessage(HWND owner, const std::wstring& text, const std::wstring& title, UINT style) {
  return MessageBoxW(owner, text.c_str(), title.c_str(), style);
}
