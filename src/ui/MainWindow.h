#pragma once
// The main window: a modeless dialog holding the item list view and the two
// status bars. The application shell hands in the steps of its start-up that
// must run inside the window's initialisation.
#include <windows.h>

#include <functional>

struct MainWindowSetup {
  // The checks that the platform offers what the program needs; they end the
  // process themselves when something is missing.
  std::function<void(HWND)> startupChecks;
  // Settings, filters, language and the command line, once the window exists.
  std::function<void(HWND)> afterLayout;
  // Last words before the window goes: restore what start-up changed.
  std::function<void(HWND)> beforeDestroy;
  // Commands handled outside the window (the runs); true when handled.
  std::function<bool(HWND, UINT command)> command;
  // The code the message loop ends with.
  std::function<int()> exitCode;
};

// Creates the main dialog (hidden). Returns null when it could not be created
// or when it was closed during its own initialisation.
HWND CreateMainWindow(HINSTANCE instance, const MainWindowSetup& setup);
HWND MainWindowHandle();

// Shows the window (maximised when asked).
void ShowMainWindow(bool maximized);

// Makes the list view show the item list again after items were added or
// removed, and re-sorts it on the current sort column.
void RefreshItemList();

// Selection and highlighting of whole rows in the lists.
void SetFullRowSelect(bool fullRow);
