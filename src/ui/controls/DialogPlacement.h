#pragma once
// Where a dialog that lays out its own controls goes: at the size its client
// area needs, centred over its owner, or over the screen's work area when the
// owner is hidden, minimised or absent.
#include <windows.h>

void SizeAndCentreDialog(HWND dialog, int clientWidth, int clientHeight);
