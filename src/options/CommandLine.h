#pragma once
// The command line: options into RunFlags and choices, their interactions,
// the console banner of the unattended mode, and the path arguments that put
// items into the list. Platform calls go through the file-query seam and the
// hooks, so the whole parser runs in the host tests.
#include <cstdint>
#include <string>
#include <vector>

// What the options choose besides RunFlags.
struct CommandLineChoices {
  uint32_t diskCheckCommand = 0;  // 9057..9059, 0 when not chosen
  uint32_t cleanupCommand = 0;    // 9053..9055, 0 when not chosen
  std::wstring languageCode;      // two letters, or "AUTO"
  std::wstring profilePath;
};

// Replaces every backslash with two, so that the platform's argument splitter
// cannot read a quoted path ending in a backslash as an escaped quote.
std::wstring DoubleBackslashes(const std::wstring& text);
// Replaces every pair of backslashes with one.
std::wstring UndoubleBackslashes(const std::wstring& text);

// First pass: every argument beginning with "/" is compared with the options.
// The arguments are as split, with the backslash doubling already undone.
// Returns the RunFlags bits found; fills the choices.
uint32_t ParseOptions(const std::vector<std::wstring>& args, CommandLineChoices& choices);

// The interactions between options that only change flags, in their order:
// "/CLOSE" over "/CLOSEIFOK", "/SHUTDOWN" over both, "/NOGUI" implying
// "/CLOSE" unless "/CLOSEIFOK" remains, "/SHOWREPORT" only with "/NOGUI".
uint32_t ApplyOptionInteractions(uint32_t flags);

// The lines the unattended mode writes before anything else.
std::wstring ConsoleBanner();

// Where the command line's paths go and what their user is told.
class PathArgumentsUi {
 public:
  virtual ~PathArgumentsUi() = default;
  // Text for the console of the unattended mode.
  virtual void ConsoleText(const std::wstring& text) = 0;
  // A message for the user of the window.
  virtual void ShowMessage(const std::wstring& text) = 0;
  // After each path argument, found or not: refresh, re-sort, status.
  virtual void AfterPath() = 0;
  // A file or folder the argument names, as a full drive-letter path.
  virtual void AddPath(bool isFolder, const std::wstring& path) = 0;
};

// Second pass: every argument not beginning with "/" is a path to add.
// Returns true when at least one path was given.
bool AddPathArguments(const std::vector<std::wstring>& args, uint32_t runFlags, PathArgumentsUi& ui);
