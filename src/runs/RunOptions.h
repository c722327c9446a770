#pragma once
// What a run is told to do, built by its caller from the settings and the
// command line. A run reads these and nothing else: no menu mark, no control
// of the window, no command-line word.
#include <cstdint>

#include "options/Settings.h"
#include "runs/RunFilters.h"
#include "runs/RunSteps.h"

// Follow-ups that are all off, for runs that nobody can change meanwhile.
inline constexpr RunFollowUps kNoFollowUps{false, false, false};

struct RunOptions {
  // No user to ask: every question takes its unattended answer.
  bool unattended = false;
  // The command line's runs: an analysis, a defragmentation, or the
  // analysis first and then the defragmentation.
  bool analyse = false;
  bool defragment = false;
  // The command line's "/CLOSE", "/CLOSEIFOK", "/SHUTDOWN", "/SHOWREPORT"
  // and "/ALLOWABORT".
  bool close = false;
  bool closeIfOk = false;
  bool shutdown = false;
  bool showReport = false;
  bool allowAbort = false;
  // The options "follow the item being processed", "close after
  // defragmenting" and "shut down after", read here each time the run needs
  // them: the window's runs point at the settings, which the user may change
  // during the run.
  const RunFollowUps* followUps = &kNoFollowUps;
  // The choices of the steps before a defragmentation, for this run.
  uint32_t diskCheck = kDiskCheckOff;
  uint32_t cleanup = kCleanupOff;
  // The solid-state flags (kSolidStateSkip, ...).
  uint32_t solidStateFlags = 0;
  // A stopped analysis ends the command line's runs before its
  // defragmentation (ordalis-ntfs: a stop signal means the user wants out).
  // The window's command line goes on to the defragmentation.
  bool stoppedAnalysisEndsRuns = false;
  // What the run leaves out; never null.
  const RunFilter* filter = &ListFilter();
};

// The options of the runs the window starts: the command line's switches
// (the kRun* flags of `runFlags`) and the settings, whose follow-ups the run
// reads as it goes.
RunOptions RunOptionsFrom(const Settings& settings, uint32_t runFlags);
