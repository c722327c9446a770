#pragma once
// The program-wide preferences. They are loaded from "ordalis.ini" at
// start-up, read by the modules that use them, changed by the option
// commands and the dialogs that edit them, and written back when the main
// window closes. The main menu's check and radio marks show them: a menu
// takes its marks from here whenever it is drawn, never the other way.
#include <cstdint>
#include <string>
#include <vector>

#include "options/CommandIds.h"

// Bits of `Settings::solidStateFlags`.
constexpr uint32_t kSolidStateSkip = 0x1;           // leave files on solid-state drives alone
constexpr uint32_t kSolidStateNoDetection = 0x2;    // do not look for solid-state drives at all
constexpr uint32_t kSolidStateWarn = 0x4;           // warn before defragmenting one

constexpr int kItemColourCount = 5;  // item states that can be highlighted

// The options a run under way reads each time it needs them: the user may
// change them from the menu while it runs.
struct RunFollowUps {
  bool followItem = true;  // keep the item being processed in view
  bool closeAfterDefrag = false;
  bool shutdownAfterDefrag = false;
};

struct Settings {
  // The options of the main menu; the defaults are its marks as it is built.
  bool onTop = false, fullRow = false;
  bool showToolbar = true, showInfoPanel = true, showStatusBar = true;
  bool confirmPrompts = true, cleanupShowErrors = true, smartStrategy = true;
  // The chosen item of each radio group, as its command number: the disk
  // check and the cleanup automatic, off or ask; the process priority, which
  // changes only once the system took it.
  uint32_t diskCheck = kCmdDiskCheckAsk;
  uint32_t cleanup = kCmdCleanupAsk;
  uint32_t priority = kCmdPriorityNormal;
  RunFollowUps followUps;

  uint32_t solidStateFlags = kSolidStateSkip;
  std::wstring language;               // two letters; empty until start-up decides
  std::wstring languageInFile;         // what the file held, written back after "/LANG:"
  bool languageFromCommandLine = false;

  // Dialog and window sizes in pixels; the defaults are set at start-up,
  // scaled for the screen.
  int fragmentDetailsWidth = 400, fragmentDetailsHeight = 390;
  int filterWidth = 480, filterHeight = 420;
  int diskCheckWidth = 670, diskCheckHeight = 470;
  // The disk-check dialog is never smaller than this; a smaller size in the
  // settings file is raised to it.
  int diskCheckMinWidth = 670, diskCheckMinHeight = 470;
  int mainWidth = 600, mainHeight = 360;
  // False until a settings file gave the window's size: the first start
  // chooses one that shows every column of the item list.
  bool mainSizeSaved = false;
  int splitterPosition = -1;
  bool maximized = false;

  std::wstring profileFolder;  // last folder of the profile file dialogs
  std::wstring fileFolder;     // last folder files were chosen from

  std::wstring cleanupProgramPath;
  std::wstring cleanupProgramSwitches;

  bool excludeBySize = false;
  int64_t maxFileSizeKiB = 0;

  uint32_t itemTextColour[kItemColourCount] = {};  // 0x00BBGGRR
  bool itemTextColourEnabled[kItemColourCount] = {};
  bool itemTextColourFullRow = false;

  bool removeMissingRecentProfiles = true;
  int64_t maxRecentProfiles = 5;
  std::vector<std::wstring> recentProfiles;  // most recent first

  bool showSystemIcons = true;
  bool showStateIcons = true;  // state pictures beside the names when system icons are off

  // Visibility of each column of the item list, of the fragmented-file list
  // and of the error list, by column index; empty means all visible.
  std::vector<uint8_t> itemColumnVisible;
  std::vector<uint8_t> resultColumnVisible;
  std::vector<uint8_t> errorColumnVisible;
};

extern Settings gSettings;
