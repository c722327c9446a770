#pragma once
// What the environment may change in the simulating variant, and only there:
// the shipped program is built without these sources, so nothing that can set
// the environment of the elevated program can redirect what it does.
#include <windows.h>


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

// With ORDALIS_SIM_REPORT_HOOKS set, writes "missing hooks:" and the names of
// the hooks the program left empty (none: nothing follows) as one line on
// standard output, once the start-up is done.
void ReportMissingHooksFromEnvironment();
