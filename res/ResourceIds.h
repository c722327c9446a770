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

// Runs: the summary after a defragmentation and the countdown before the
// machine is powered off.
#define IDD_RUN_SUMMARY 18
#define IDD_SHUTDOWN 19
#define IDC_SUMMARY_PROCESSED_LABEL 1801
#define IDC_SUMMARY_FRAGMENTED_LABEL 1802
#define IDC_SUMMARY_NOT_FRAGMENTED_LABEL 1803
#define IDC_SUMMARY_DEFRAGMENTED_LABEL 1804
#define IDC_SUMMARY_ERRORS_LABEL 1805
#define IDC_SUMMARY_PROCESSED 1811
#define IDC_SUMMARY_FRAGMENTED 1812
#define IDC_SUMMARY_NOT_FRAGMENTED 1813
#define IDC_SUMMARY_DEFRAGMENTED 1814
#define IDC_SUMMARY_ERRORS 1815
#define IDC_SHUTDOWN_TEXT 1901
#define IDC_SHUTDOWN_PROGRESS 1902
