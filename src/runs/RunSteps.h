#pragma once
// The steps before a defragmentation: the solid-state drive count and its
// warning, the disk check and the cleanup. Their questions go to the run's
// user through its RunUi.
#include <cstdint>
#include <vector>

#include "runs/RunResults.h"

class RunUi;
struct RunOptions;

constexpr uint32_t kBusyCheckingDrives = 9001;

constexpr uint32_t kDiskCheckAuto = 9057;
constexpr uint32_t kDiskCheckOff = 9058;
constexpr uint32_t kDiskCheckAsk = 9059;
constexpr uint32_t kCleanupAuto = 9053;
constexpr uint32_t kCleanupOff = 9054;
constexpr uint32_t kCleanupAsk = 9055;

// Asks each drive letter the items use, once, whether it is a solid-state
// drive, and counts the to-be-processed items on those drives whose paths
// begin with the upper-case letter; with "SKIPSSD=" on they are marked
// skipped. `detected` tells whether any drive was one. Nothing is asked, and
// 0 returned, while detection is off.
uint64_t MarkItemsOnSolidStateDrives(RunUi& ui, const RunOptions& options, bool& detected);

// The same for the files of a run of the marked files, file by file (the
// drive letter in either case): the count of those on solid-state drives,
// which are taken out of `files` when "SKIPSSD=" is on.
uint64_t DropFilesOnSolidStateDrives(RunUi& ui, const RunOptions& options, std::vector<FragmentedFileRecord>& files,
                                     bool& detected);

// True when the user chose not to defragment after the warning. Asked only
// when the warning is on, skipping is off, detection is on, a drive was
// detected and there is a user to ask: unattended, the settings decide.
bool AskSolidStateWarning(RunUi& ui, const RunOptions& options, bool detected);

struct DefragSteps {
  uint32_t diskCheck = kDiskCheckOff;
  uint32_t cleanup = kCleanupOff;
};
// The choices for a run: the stored ones, except that the unattended mode
// takes a choice not given on its command line as none (the stored choice
// itself is left alone).
DefragSteps StepsForThisRun(const DefragSteps& stored, bool unattended, bool diskCheckGiven, bool cleanupGiven);

enum class StepEnd {
  GoOn,
  Stop,
  // The disk check found errors and the run closes for them.
  StopForDiskErrors,
};
StepEnd RunDiskCheckStep(RunUi& ui, const RunOptions& options);
// False when the cleanup ends the run.
bool RunCleanupStep(RunUi& ui, const RunOptions& options);
