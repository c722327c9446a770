#pragma once
// Command numbers of the main window, shared by menus, toolbar, accelerators
// and the stored choices that double as command numbers.
#include <cstdint>

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
constexpr uint32_t kCmdFullRow = 9014;
constexpr uint32_t kCmdCloseAfterDefrag = 9015;
constexpr uint32_t kCmdFollowItem = 9018;
constexpr uint32_t kCmdConfirmPrompts = 9019;
constexpr uint32_t kCmdOpen = 9020;
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
constexpr uint32_t kCmdAnalyzeSelected = 9075;
constexpr uint32_t kCmdDefragSelected = 9076;
constexpr uint32_t kCmdOpenFromKeyboard = 8000;
constexpr uint32_t kCmdToggleDefragMark = 8001;


// Column menus of the two lists: one command per column of the item list,
// the fragmented-file list sharing those of its columns; then the default set.
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
constexpr uint32_t kCmdColumnsDefault = 9044;
// Drop-downs of the toolbar's defragment button.
constexpr uint32_t kCmdDefragAllFiles = 9061;
constexpr uint32_t kCmdDefragSelectedFiles = 9062;
// Bottom tabs.
constexpr uint32_t kCmdTabFragmented = 5001;
constexpr uint32_t kCmdTabSummary = 5002;
