#pragma once
// Command numbers of the main window, shared by menus, toolbar, accelerators
// and the stored choices that double as command numbers.
#include <cstdint>

#include "settings/StoredCommands.h"

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
// Recent profiles; the placeholder stands alone while the list is empty.
constexpr uint32_t kCmdRecentProfilesEmpty = 4500;

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
