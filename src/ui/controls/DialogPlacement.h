#pragma once
// Where a dialog that lays out its own controls goes: at the size its client
// area needs, centred over its owner, or over the screen's work area when the
// owner is hidden, minimised or absent.
#include <windows.h>

// Runs a modal dialog made from an empty template in the program's font; the
// dialog makes its own controls at initialisation and places itself with
// SizeAndCentreDialog. Returns the dialog's result, or `whenNotMade` when the
// system could not make the dialog at all.
int RunEmptyTemplateDialog(HWND owner, DWORD style, DLGPROC proc, LPARAM param, int whenNotMade,
                           const wchar_t* title = L"", DWORD extendedStyle = 0);

void SizeAndCentreDialog(HWND dialog, int clientWidth, int clientHeight);

// A dialog that only shows something ends on OK, Cancel (Esc) and its close
// box, with that command as its result. True when `message` ended it.
bool EndsOnClose(HWND dialog, UINT message, WPARAM wParam);

// The default push button of a dialog built from an empty template: Enter
// does what it says. The previous default loses its thick frame.
void SetDefaultButton(HWND dialog, int id);
// What Enter does when the dialog manager hands it over as IDOK: the default
// button's command when that button is enabled, otherwise nothing.
void PressDefaultButton(HWND dialog);
