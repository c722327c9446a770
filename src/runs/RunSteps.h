#pragma once
// The steps before a defragmentation: the solid-state drive count and its
// warning, the disk check and the cleanup. Their dialogs come through the
// run hooks; without them each step takes its "nothing to do" path.
#include <cstdint>

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
uint64_t MarkItemsOnSolidStateDrives(bool& detected);

// True when the user chose not to defragment after the warning (never asked
// when skipping is on, nothing was detected or detection is off).
bool AskSolidStateWarning(bool detected);

struct DefragSteps {
  uint32_t diskCheck = kDiskCheckOff;
  uint32_t cleanup = kCleanupOff;
};
// The choices for this run: the stored ones, except that the unattended mode
// takes a choice not given on its command line as none (the stored choice
// itself is left alone).
DefragSteps StepsForThisRun();

// False when the step ends the run. A disk check that found errors leaves
// "FQ" in the hidden status field when it ends the run.
bool RunDiskCheckStep(uint32_t choice);
bool RunCleanupStep(uint32_t choice);
