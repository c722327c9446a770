#pragma once
// The command numbers that double as stored choices: the menu marks the
// settings file reads and writes, the radio groups it keeps as an index, the
// languages of the "Lingua" menu and the marks a run reads when it ends. They
// live below the window so that the settings and the runs need no window
// header; the main window's other commands are in ui/CommandIds.h.
#include <cstdint>

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
// Languages of the "Lingua" menu: the built-in one, then one per file found.
constexpr uint32_t kCmdFirstLanguage = 4000;
constexpr uint32_t kCmdLastLanguage = 4499;
