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
#define IDC_SPLITTER 1003
#define IDC_BOTTOM_TABS 1004
#define IDC_TAB_BODY 1005
#define IDC_RESULT_LIST 1006
#define IDC_PROGRESS 1007
#define IDC_SUMMARY_NOTICE 1010
#define IDC_SUMMARY_LABEL_FIRST 1011   // four labels, 1011..1014
#define IDC_SUMMARY_VALUE_FIRST 1015   // four values, 1015..1018
// Hidden status field: runs leave marker texts here for the command line.
#define IDC_HIDDEN_STATUS 50

// Help window controls.
#define IDC_HELP_TEXT 2301

// The program's icon.
#define IDI_ORDALIS 100

// Message-box icons: question, information, warning, error.
#define IDI_MSG_QUESTION 12500
#define IDI_MSG_INFORMATION 12501
#define IDI_MSG_WARNING 12502
#define IDI_MSG_ERROR 12503

// Toolbar images: add, remove, analyse, defragment, stop.
#define IDI_TOOL_ADD 12600
#define IDI_TOOL_REMOVE 12601
#define IDI_TOOL_ANALYSE 12602
#define IDI_TOOL_DEFRAG 12603
#define IDI_TOOL_STOP 12604

// State pictures beside the item names, in ItemStateImage order.
#define IDI_STATE_FIRST 12610
