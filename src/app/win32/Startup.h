#pragma once
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

// Stores the exit code and sends the main window the Exit command; the
// message loop ends with that code once the window is gone.
void RequestExit(uint32_t code);

// Suppresses the platform's critical-error boxes; RestoreErrorMode undoes it.
void SuppressCriticalErrorBoxes();
void RestoreErrorMode();

// The checks that the platform offers what the engine needs. A failing check
// shows its message and ends the process with code 0.
void RunStartupChecks(HWND mainWindow);

// The main window could not make its panels or menu: the out-of-memory
// message, then the end with code 6, leaving the settings file as it was.
void FailWindowPanels(HWND mainWindow);

// The command line, once the main window exists.
void RunCommandLine(HWND mainWindow);

// The program's arguments (its own name left out), split as the command
// line's paths need: a quoted path ending in a backslash stays one argument.
std::vector<std::wstring> CommandLineArguments();

// Adds the path arguments among args to the list, as the command line does,
// with its messages for paths that cannot be added. True when a path was given.
bool AddPathsToList(HWND mainWindow, const std::vector<std::wstring>& args);
