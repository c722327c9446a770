#pragma once
#include <windows.h>

// Shows the command-line help modally; returns when the user closes it.
void ShowHelpDialog(HWND owner);
