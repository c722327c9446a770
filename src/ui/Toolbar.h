#pragma once
// The main window's toolbar: add (with a drop-down for files or a folder),
// remove, analyse, defragment (with a drop-down for all or selected files)
// and stop. Each button sends its command to the main window.
#include <windows.h>

#include <cstdint>

void CreateToolbar(HWND mainWindow);
// Lays the buttons out in a row starting at (left, top); returns the height used.
int LayoutToolbar(int left, int top);
void ShowToolbar(bool show);
// Sets the buttons' texts and tips again after the language changed.
void RetextToolbar();
// A drop-down arrow was clicked: shows the button's menu under it and sends
// the chosen command to the main window.
void RunToolbarDropDown(HWND mainWindow, HWND button);
// Enables each button whose command the rule allows.
void EnableToolbarCommands(bool (*allowed)(uint32_t command));
