#pragma once
// Where a dialog that lays out its own controls goes: at the size its client
// area needs, centred over its owner, or over the screen's work area when the
// owner is hidden, minimised or absent.
#include <windows.h>

void SizeAndCentreDialog(HWND dialog, int clientWidth, int clientHeight);

// The default push button of a dialog built from an empty template: Enter
// does what it says. The previous default loses its thick frame.
void SetDefaultButton(HWND dialog, int id);
// What Enter does when the dialog manager hands it over as IDOK: the default
// button's command when that button is enabled, otherwise nothing.
void PressDefaultButton(HWND dialog);
