#pragma once
#include <windows.h>

// Shows the command-line help modally; returns when the user closes it. The
// title is the help's own unless another is given.
void ShowHelpDialog(HWND owner, const wchar_t* title = nullptr);
