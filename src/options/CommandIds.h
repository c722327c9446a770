#pragma once
// Every command number of the program, in one place: the main window's
// menus, toolbar, accelerators and context menus, the sub-menus (whose texts
// a language replaces like those of the commands), the languages and the
// recent profiles. Several double as stored choices: the menu marks the
// settings file reads and writes, the radio groups it keeps as an index and
// the marks a run reads when it ends. They live below the window so that the
// settings, the profiles and the runs need no window header.
#include <cstdint>

// Commands of the menus, the toolbar and the keys.
constexpr uint32_t kCmdAddFiles = 9001;
constexpr uint32_t kCmdAddFolder = 9002;
constexpr uint32_t kCmdExit = 9003;
constexpr uint32_t kCmdAbout = 9004;
constexpr uint32_t kCmdRemove = 9005;
constexpr uint32_t kCmdImportProfile = 9007;
constexpr uint32_t kCmdSaveProfile = 9008;
constexpr uint32_t kCmdAnalyzeAll = 9009;
constexpr uint32_t kCmdDefragAll = 9010;
constexpr uint32_t kCmdStop = 9011;
constexpr uint32_t kCmdSelectAll = 9013;
constexpr uint32_t kCmdOpen = 9020;
constexpr uint32_t kCmdAnalyzeSelected = 9075;
constexpr uint32_t kCmdDefragSelected = 9076;
constexpr uint32_t kCmdOpenFromKeyboard = 8000;
constexpr uint32_t kCmdToggleDefragMark = 8001;

// The rest of the main menu, the context menus and the option commands.
constexpr uint32_t kCmdWarrantyDisclaimer = 9017;
constexpr uint32_t kCmdCommandLineHelp = 9021;
constexpr uint32_t kCmdProperties = 9029;
constexpr uint32_t kCmdFirstColumn = 9034;  // 9034..9043: show or hide one column
constexpr uint32_t kCmdLastColumn = 9043;
constexpr uint32_t kCmdDefaultColumns = 9044;
constexpr uint32_t kCmdFragmentDetails = 9045;
constexpr uint32_t kCmdDefragAllFiles = 9061;
constexpr uint32_t kCmdDefragSelectedFiles = 9062;
constexpr uint32_t kCmdSelectFiles = 9063;
constexpr uint32_t kCmdDeselectFiles = 9064;
constexpr uint32_t kCmdInvertSelection = 9065;
constexpr uint32_t kCmdExcludeSelected = 9066;
constexpr uint32_t kCmdHighlightDialog = 9067;
constexpr uint32_t kCmdSaveReport = 9068;
constexpr uint32_t kCmdFilterDialog = 9069;
constexpr uint32_t kCmdRecentProfilesDialog = 9077;
constexpr uint32_t kCmdOpenItemFolder = 9080;
constexpr uint32_t kCmdViewLanguageFile = 9081;

// Sub-menus carry numbers of their own, so that their texts can be replaced
// by a language like those of the commands.
constexpr uint32_t kMenuFile = 9300;
constexpr uint32_t kMenuProfiles = 9301;
constexpr uint32_t kMenuActions = 9302;
constexpr uint32_t kMenuView = 9303;
constexpr uint32_t kMenuTools = 9304;
constexpr uint32_t kMenuOptions = 9305;
constexpr uint32_t kMenuHelp = 9306;
constexpr uint32_t kMenuAdd = 9307;
constexpr uint32_t kMenuStrategy = 9308;
constexpr uint32_t kMenuDiskCheck = 9309;
constexpr uint32_t kMenuCleanup = 9310;
constexpr uint32_t kMenuPriority = 9311;
constexpr uint32_t kMenuLanguage = 9312;
constexpr uint32_t kMenuSolidState = 9313;
constexpr uint32_t kMenuColumns = 9314;
constexpr uint32_t kMenuRecentProfiles = 9315;

// Column menus of the two lists: one command per column of the item list,
// the fragmented-file list sharing those of its columns.
constexpr uint32_t kCmdColumnName = 9034;
constexpr uint32_t kCmdColumnState = 9035;
constexpr uint32_t kCmdColumnFragments = 9036;
constexpr uint32_t kCmdColumnClusters = 9037;
constexpr uint32_t kCmdColumnSize = 9038;
constexpr uint32_t kCmdColumnType = 9039;
constexpr uint32_t kCmdColumnSizeOnDisk = 9040;
constexpr uint32_t kCmdColumnPercentOnDisk = 9041;
constexpr uint32_t kCmdColumnModified = 9042;
constexpr uint32_t kCmdColumnAttributes = 9043;
// The error text of the "Errori" list, which shares the name column's command.
constexpr uint32_t kCmdColumnErrorText = 9046;
// Bottom tabs.
constexpr uint32_t kCmdTabFragmented = 5001;
constexpr uint32_t kCmdTabErrors = 5002;

// Options: marks and radio groups the settings file keeps.
constexpr uint32_t kCmdFullRow = 9014;
constexpr uint32_t kCmdCloseAfterDefrag = 9015;
constexpr uint32_t kCmdFollowItem = 9018;
constexpr uint32_t kCmdConfirmPrompts = 9019;
constexpr uint32_t kCmdQuickStrategy = 9030;
constexpr uint32_t kCmdSmartStrategy = 9031;
constexpr uint32_t kCmdPriorityHigh = 9047;
constexpr uint32_t kCmdPriorityAboveNormal = 9048;
constexpr uint32_t kCmdPriorityNormal = 9049;
constexpr uint32_t kCmdPriorityBelowNormal = 9050;
constexpr uint32_t kCmdPriorityIdle = 9051;
constexpr uint32_t kCmdCleanupAuto = 9053;
constexpr uint32_t kCmdCleanupOff = 9054;
constexpr uint32_t kCmdCleanupAsk = 9055;
constexpr uint32_t kCmdDiskCheckAuto = 9057;
constexpr uint32_t kCmdDiskCheckOff = 9058;
constexpr uint32_t kCmdDiskCheckAsk = 9059;
constexpr uint32_t kCmdOnTop = 9012;
constexpr uint32_t kCmdShutdownAfterDefrag = 9016;
constexpr uint32_t kCmdSkipSolidState = 9070;
constexpr uint32_t kCmdNoSolidStateDetection = 9071;
constexpr uint32_t kCmdShowInfoPanel = 9072;
constexpr uint32_t kCmdShowStatusBar = 9073;
constexpr uint32_t kCmdShowToolbar = 9074;
constexpr uint32_t kCmdShowStateIcons = 9078;
constexpr uint32_t kCmdShowSystemIcons = 9079;
constexpr uint32_t kCmdCleanupShowErrors = 9082;

// Paths brought from outside the window: dropped on it, or handed over by a
// second start of the program.
constexpr uint32_t kCmdAddPaths = 8002;

// Languages of the "Lingua" menu: the built-in one, then one per file found.
constexpr uint32_t kCmdFirstLanguage = 4000;
constexpr uint32_t kCmdLastLanguage = 4499;

// The recent profiles. The greyed placeholder of an empty list has a number
// of its own, so that it never stands for a profile; each entry's number is
// 4501 plus a counter that grows at every insertion, below 5001 and 5002,
// the commands of the bottom tabs.
constexpr uint32_t kRecentProfilesPlaceholderId = 4500;
constexpr uint32_t kFirstRecentProfileId = 4501;
constexpr uint32_t kLastRecentProfileId = 4999;
