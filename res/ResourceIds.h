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

// Menus: the main menu and the context and drop-down menus.
#define IDR_MAIN_MENU 3001
#define IDR_ITEM_LIST_MENU 3002
#define IDR_FILE_LIST_MENU 3003
#define IDR_ADD_MENU 3004
#define IDR_DEFRAG_MENU 3005
#define IDR_RECENT_PROFILES_MENU 3007
#define IDR_ITEM_COLUMNS_MENU 3008
#define IDR_FILE_COLUMNS_MENU 3009

// The language-file viewer.
#define IDD_LANGUAGE_VIEWER 40
#define IDC_LANGUAGE_TEXT 4001
