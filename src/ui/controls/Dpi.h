#pragma once
// Sizes are designed at 96 dots per inch and scaled by the screen's factor.
#include <windows.h>

// Dots per inch of the monitor the window is on (the system's when the
// per-window query does not exist, as before Windows 10).
UINT WindowDpi(HWND window);
int ScaleForDpi(int size96, UINT dpi);
