#pragma once
// The window side of the runs: the window's RunUi (its status bars, list
// view, dialogs and task-bar button), the options its runs are given, and
// the run commands.
#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "runs/RunDriver.h"

struct RunWindowSetup {
  std::function<void(uint32_t code)> requestExit;
  // Powers the machine off (the shell's seam; tests never power off).
  std::function<uint32_t()> powerOff;
  std::function<void(uint32_t command)> setPriority;
  // Writes console text of the unattended mode.
  std::function<void(const std::wstring& text)> consoleWrite;
};

// Ties the runs to this main window and its shell.
void InstallRunWindow(HWND mainWindow, const RunWindowSetup& setup);

// The options a running run reads as they change (follow the item, close
// and shut down after defragmenting) take their menu marks again.
void FollowRunOptionMarks();

// The run commands: a run of the window (analyse, defragment, all or
// selected) keeps it busy until it ends; Stop asks the run under way to
// stop; saving the report keeps the window busy meanwhile.
void StartWindowRun(RunMode mode);
void StopWindowRun();
void SaveWindowReport(HWND mainWindow);

// The command line's runs, once the items are in the list. In the
// unattended mode it writes each run's console summary as the run ends and
// ends the program with its exit code.
void RunCommandLineRuns(HWND mainWindow);

// The summary dialog (resource 18) and the power-off countdown (resource 19).
void ShowRunSummary(HWND owner);
// True when the countdown ran out and the machine was told to power off.
bool RunShutdownCountdown(HWND owner);
