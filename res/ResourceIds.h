// Numbers of the program's resources and of the controls inside them. Shared
// by the resource script and the code.
#pragma once

// Dialogs.
#define IDD_MAIN 30
#define IDD_HELP 23

// Accelerators of the main window.
#define IDR_ACCELERATORS 3006

// Main window controls.
#define IDC_ITEM_LIST 1000
#define IDC_STATUS_UPPER 1001
#define IDC_STATUS_LOWER 1002
// Hidden status field: runs leave marker texts here for the command line.
#define IDC_HIDDEN_STATUS 50

// Help window controls.
#define IDC_HELP_TEXT 2301

// The program's icon.
#define IDI_ORDALIS 100
