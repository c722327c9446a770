#pragma once
// The window side of the runs: the window's RunUi (its status bars, list
// view, dialogs and task-bar button), the options its runs are given, and
// the run commands.
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "runs/RunDriver.h"

// What the window's runs need from the program around the window.
class RunWindowHost {
 public:
  virtual ~RunWindowHost() = default;
  // Ends the program with the code once the window may close.
  virtual void RequestExit(uint32_t code) = 0;
  // Powers the machine off (the shell's seam; tests never power off).
  virtual void PowerOff() = 0;
  // The process priority of a priority command.
  virtual void SetPriority(uint32_t command) = 0;
  // Writes console text of the unattended mode.
  virtual void ConsoleWrite(const std::wstring& text) = 0;
};

// Ties the runs to this main window and its shell; `host` must outlive the
// window.
void InstallRunWindow(HWND mainWindow, RunWindowHost& host);

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
