#pragma once
// The dialog behind the program's message box (see ui/MessageBox.h).
#include <windows.h>

#include <cstdint>
#include <string>

int RunMessageDialog(HWND owner, uint32_t flags, const std::wstring& text, int customIcon,
                     const std::wstring& title);
