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
#define IDC_ERROR_LIST 1008
#define IDC_COUNTERS_PANEL 1009
#define IDC_SUMMARY_LABEL_FIRST 1011   // four labels, 1011..1014
#define IDC_SUMMARY_VALUE_FIRST 1015   // four values, 1015..1018
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
#define IDR_ERROR_COLUMNS_MENU 3010
#define IDR_ERROR_LIST_MENU 3011

// The language-file viewer.
#define IDD_LANGUAGE_VIEWER 60
#define IDC_LANGUAGE_TEXT 6001

// ---- Filters and profiles: dialogs and their controls ----
#define IDD_FILTER 40
#define IDD_MASK_INPUT 41
#define IDD_CHOICE 42
#define IDD_MISSING_ITEMS 43
#define IDD_RECENT_PROFILES 44
#define IDC_FILTER_TABS 4001
#define IDC_FILTER_EXCLUDED 4002
#define IDC_FILTER_INCLUDED 4003
#define IDC_FILTER_ADD_FILES 4004
#define IDC_FILTER_ADD_MASKS 4005
#define IDC_FILTER_REMOVE 4006
#define IDC_FILTER_MASK_LABEL 4007
#define IDC_FILTER_MASK 4008
#define IDC_FILTER_ADD_INCLUDED 4009
#define IDC_FILTER_SIZE_CHECK 4010
#define IDC_FILTER_SIZE 4011
#define IDC_FILTER_SIZE_SPIN 4012
#define IDC_FILTER_SIZE_BYTES 4013
#define IDC_MASK_INPUT_LABEL 4020
#define IDC_MASK_INPUT 4021
#define IDC_CHOICE_TEXT 4030
#define IDC_CHOICE_NOTE 4031
#define IDC_CHOICE_FIRST 4032
#define IDC_CHOICE_SECOND 4033
#define IDC_CHOICE_THIRD 4034
#define IDC_MISSING_LABEL 4040
#define IDC_MISSING_LIST 4041
#define IDC_RECENT_COUNT_LABEL 4050
#define IDC_RECENT_COUNT 4051
#define IDC_RECENT_COUNT_SPIN 4052
#define IDC_RECENT_REMOVE_MISSING 4053

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
#define IDI_TOOL_PROFILES 12605

// State pictures beside the item names, in ItemStateImage order.
#define IDI_STATE_FIRST 12610

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

// ---- Fragment details, highlighting and the information dialogs ----
#define IDD_FRAGMENTS 75
#define IDD_HIGHLIGHT 76
#define IDD_INFO 77
#define IDC_FRAG_TABS 7500
#define IDC_FRAG_ICON 7501
#define IDC_FRAG_NAME_LABEL 7502
#define IDC_FRAG_NAME 7503
#define IDC_FRAG_PATH_LABEL 7504
#define IDC_FRAG_PATH 7505
#define IDC_FRAG_SEPARATOR 7506
#define IDC_FRAG_TYPE_LABEL 7507   // five label and value pairs, 7507..7516
#define IDC_FRAG_TYPE 7508
#define IDC_FRAG_SIZE_LABEL 7509
#define IDC_FRAG_SIZE 7510
#define IDC_FRAG_DISK_LABEL 7511
#define IDC_FRAG_DISK 7512
#define IDC_FRAG_COUNT_LABEL 7513
#define IDC_FRAG_COUNT 7514
#define IDC_FRAG_CLUSTERS_LABEL 7515
#define IDC_FRAG_CLUSTERS 7516
#define IDC_FRAG_TABLE_LABEL 7517
#define IDC_FRAG_TABLE 7518
#define IDC_FRAG_NOTICE 7519
#define IDC_FRAG_PREVIOUS 7520
#define IDC_FRAG_NEXT 7521
#define IDC_HIGHLIGHT_CHECK_FIRST 7600   // five check boxes, 7600..7604
#define IDC_HIGHLIGHT_COLOUR_FIRST 7610  // five colour buttons, 7610..7614
#define IDC_HIGHLIGHT_FULL_ROW 7620
#define IDC_INFO_ICON 7700
#define IDC_INFO_HEADING 7701
#define IDC_INFO_TEXT 7702
