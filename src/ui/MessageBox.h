#pragma once
// The program's message box. Every message the program shows goes through
// here, so the look can change in one place.
#include <windows.h>

#include <string>

int ShowMessage(HWND owner, const std::wstring& text, const std::wstring& title, UINT style);
