#pragma once
// The analysis and defragmentation runs over the item list, driven from the
// window thread: the reset and selection, the steps before a
// defragmentation, the items one by one (a folder analysed by the folder
// worker while this thread keeps the window alive), the result lists and
// the follow-ups.
#include <cstdint>

class RunUi;
struct RunOptions;

enum class RunMode : uint32_t {
  DefragmentAll = 0,
  AnalyseAll = 1,
  DefragmentSelected = 2,
  AnalyseSelected = 4,
  // The files marked in the fragmented-file list of the last analysis.
  DefragmentMarkedFiles = 8,
};

// How a run ended, for the unattended mode that decides the exit itself.
enum class RunEnd : uint32_t {
  NotStarted,  // every item skipped, or a step before it said stop
  Completed,
  Stopped,
};

struct RunState {
  bool running = false;
  RunEnd lastEnd = RunEnd::NotStarted;
  // The disk check before the last run found errors, and the run was not
  // started for them.
  bool diskErrors = false;
  // A priority command asked during the run, or all ones.
  uint32_t pendingPriority = 0xFFFFFFFF;
};
extern RunState gRunState;

// The only entry: returns when the run and its follow-ups are over. The run
// talks to its user through `ui`; a run that closes "if it went well" turns
// `options.closeIfOk` into `options.close` for the runs after it.
void StartRun(RunMode mode, RunOptions& options, RunUi& ui);

// Moves the folder worker's staged results into the run's lists.
void FlushPending(RunUi& ui);

// Sorts both result lists by path and keeps only the first of equal paths.
void SortAndDeduplicateResults();

// Whether a status refresh is due at this processed-files count while a
// folder is walked: thinner as the count grows.
bool StatusRefreshDue(uint64_t count);
