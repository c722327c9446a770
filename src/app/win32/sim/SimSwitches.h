#pragma once
// What the environment may change in the simulating variant, and only there:
// the shipped program is built without these sources, so nothing that can set
// the environment of the elevated program can redirect what it does.
#include <windows.h>

#include <string>

// With ORDALIS_POWEROFF_LOG naming a file, powering off appends a line to
// that file instead ("power off <flags> <reason>").
void InstallSimPowerOffLog();

// With ORDALIS_SIM_REFUSE_PANELS set, the main window cannot make its
// splitter, as when the system is out of resources, so that the window's
// own handling of that failure runs. Call before the main window exists.
void InstallSimPanelRefusal();

// Another process cannot read this program's menus: the simulating variant
// answers the registered message "Ordalis.MenuItemState" (wParam a command
// number) with 1 when the menu bar's item is enabled, 0 when greyed and -1
// when there is none, so that tests can see what a person would see.
void InstallSimMenuProbe(HWND mainWindow);

// With ORDALIS_SIM_FAULT_TAG set to a number, the program faults the moment
// its TAG takes that value, on the thread that sets it; a number below the
// neutral TAG is taken as the TAG before the first checkpoint and faults at
// once. ORDALIS_SIM_FAULT_KIND chooses the fault: "write" (the default, an
// access violation writing at 0x10), "memory" (out of memory thrown as the
// standard library throws it, so it escapes the thread procedure; for a TAG
// that a scope sets on entry) or "stack" (the thread's stack overflows).
// Call after the crash report is installed.
void InstallSimFault();

// With ORDALIS_SIM_CRASH_REPORT naming a file, the crash report's rich text
// is written to it as the report box receives it.
void InstallSimCrashReportCopy();

// The disk checker's double lies beside the simulating program, which loads
// it from there by its full path (the shipped program takes the checker from
// the system folder only).
std::wstring SimCheckerPath();
