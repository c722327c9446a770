#pragma once
// The main window's table of commands: one entry per command number (or
// range of numbers) with its handler and the rule that says when it may be
// used. The menu bar, the context menus, the toolbar and its drop-downs, the
// accelerators, the drops and the paths handed over by a second start all go
// through it: a command that its rule refuses does nothing wherever it comes
// from, and its menu items and buttons are greyed. A number the table does
// not know is reported at once.
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

// When a command may be used; the bits combine (all must hold).
struct CommandRule {
  static constexpr uint32_t kAlways = 0;
  // Refused while the window is busy: a run, a profile import or a report
  // being saved. Everything that changes the item list, the filters, the
  // language or the settings carries it.
  static constexpr uint32_t kIdle = 0x1;
  static constexpr uint32_t kBusy = 0x2;            // only while busy (Stop)
  static constexpr uint32_t kItems = 0x4;           // the item list is not empty
  static constexpr uint32_t kItemSelection = 0x8;   // rows selected in the item list
  static constexpr uint32_t kFocusSelection = 0x10; // rows selected in the focused list
  static constexpr uint32_t kFocusNotErrors = 0x20; // the focused list is not the error list
  static constexpr uint32_t kFragmented = 0x40;     // the fragmented-file list has rows
  static constexpr uint32_t kMarked = 0x80;         // fragmented files marked for defragmenting
  static constexpr uint32_t kReport = 0x100;        // an analysis left a report to save
  static constexpr uint32_t kSolidStateDetection = 0x200;  // detection of solid-state drives is on
  static constexpr uint32_t kNever = 0x400;         // a placeholder item
};

// What the window is doing, as the rules read it.
struct CommandContext {
  bool busy = false;
  uint64_t items = 0;
  int itemSelection = 0;
  // The list with the keyboard focus: 0 none, 1 items, 2 fragmented files, 3 errors.
  int focusList = 0;
  int focusSelection = 0;
  size_t fragmented = 0;
  size_t marked = 0;
  bool reportReady = false;
  bool solidStateDetection = true;
};

// One command as it comes: from a menu, a key or a button, or with the paths
// that were dropped on the window or handed over by a second start.
struct CommandCall {
  HWND window = nullptr;
  uint32_t command = 0;
  const std::vector<std::wstring>* paths = nullptr;
  // How the paths are read: null for paths of the shell (dropped files and
  // folders), or the command line's reading of a second start's arguments.
  void (*addPaths)(HWND window, const std::vector<std::wstring>& paths) = nullptr;
};

using CommandHandler = void (*)(const CommandCall& call);
// Whether an option's menu item shows its check or radio mark, read from the
// settings each time a menu is drawn.
using CommandMark = bool (*)(uint32_t command);

struct CommandEntry {
  uint32_t first;
  uint32_t last;
  uint32_t rule;
  CommandHandler handler;
  // Null for a command that is not an option: its marks are left alone.
  CommandMark marked = nullptr;
};

// The entry of a command number, or null.
const CommandEntry* FindCommand(uint32_t command);
// Every entry, for the check that each menu item has one.
const std::vector<CommandEntry>& CommandTable();

bool CommandAllowed(const CommandEntry& entry, const CommandContext& context);
// The window's state as the rules read it.
CommandContext CurrentCommandContext();
bool CommandEnabled(uint32_t command);

// Carries out a command from any source; false when the rule refused it.
// An unknown number is reported in a message box.
bool DispatchCommand(const CommandCall& call);

// Greys or enables every item of a menu (and its sub-menus) by the rules, and
// gives the options' items their marks from the settings.
void ApplyCommandStates(HMENU menu);
