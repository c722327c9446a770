#pragma once
// "ordalis.ini" beside the program, read into the main window once it exists
// and written back when it closes.

// Sets the scaled size defaults, then reads the settings file (when there is
// one and "/NOINI" was not given) into gSettings and the list views, applies
// the options it holds, and gives the main window its stored size.
void LoadSettings();

// Takes the main window's size and writes the settings file, unless "/NOINI"
// forbids it or the window has no menu. Failures stay silent.
void SaveSettings();
