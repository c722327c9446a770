#pragma once
// What a run is told to do, built by its caller from the settings and the
// command line. A run reads these and nothing else: no menu mark, no control
// of the window, no command-line word.
#include <cstdint>

#include "runs/RunSteps.h"

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
  // The options "close after defragmenting", "shut down after" and "follow
  // the item being processed". The window's may change during a run.
  bool closeAfterDefrag = false;
  bool shutdownAfterDefrag = false;
  bool followItem = false;
  // The choices of the steps before a defragmentation, for this run.
  uint32_t diskCheck = kDiskCheckOff;
  uint32_t cleanup = kCleanupOff;
  // The solid-state flags (kSolidStateSkip, ...).
  uint32_t solidStateFlags = 0;
  // A stopped analysis ends the command line's runs before its
  // defragmentation (ordalis-ntfs: a stop signal means the user wants out).
  // The window's command line goes on to the defragmentation.
  bool stoppedAnalysisEndsRuns = false;
};
