#pragma once
// The task-bar button's progress during a run: the task-bar list is made on
// first use, initialised before its first call, kept while the window lives
// and released when the main window goes.
#include <windows.h>
#include <shobjidl.h>

// Busy shows the indeterminate progress, not busy removes it.
void SetTaskbarBusy(HWND window, bool busy);
// Releases the task-bar list; the next use makes a new one.
void ReleaseTaskbar();

// How the task-bar list is made; null when the system has none. Tests put in
// their own; null restores the system's.
using TaskbarMaker = ITaskbarList3* (*)();
void SetTaskbarMaker(TaskbarMaker maker);
