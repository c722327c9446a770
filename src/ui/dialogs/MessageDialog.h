#pragma once
// The dialog behind the program's message box (see ui/MessageBox.h).
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

int RunMessageDialog(HWND owner, uint32_t flags, const std::wstring& text, int customIcon,
                     const std::wstring& title);

// A button of its own: the result it ends the box with and its text.
struct MessageButton {
  int result;
  std::wstring text;
};

// The box with the caller's buttons (in order, the first the default; Escape
// and the close button are refused) and width at 96 dots per inch.
int RunMessageDialogWithButtons(HWND owner, uint32_t flags, const std::wstring& text, const std::wstring& title,
                                const std::vector<MessageButton>& buttons, int width);
