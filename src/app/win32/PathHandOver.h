#pragma once
// A second start of the program with paths on its command line (the
// Explorer entries start one per choice) hands those paths to the window of
// the instance that runs, which adds them to its list unless a run is going
// on. The second start then ends as it always does.
#include <windows.h>

#include <string>
#include <vector>

// The second start's side: sends the path arguments among args, each made
// full against this process's current folder, to the other instance's main
// window. Nothing is sent when there are no paths.
void HandPathsToRunningInstance(HWND other, const std::vector<std::wstring>& args);

// The running instance's side, for the main window's WM_COPYDATA: true when
// the message carried paths. The sender is released at once; the paths are
// added afterwards, or, during a run, the user is told why they were not.
bool ReceiveHandedPaths(HWND mainWindow, const COPYDATASTRUCT* data);
