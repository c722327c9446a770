#include "runs/RunDriver.h"

#include <algorithm>
#include <mutex>
#include <functional>
#include <string>
#include <vector>

#include "app/RunFlags.h"
#include "engine/EngineHooks.h"
#include "engine/EngineThread.h"
#include "engine/Relocation.h"
#include "items/ItemList.h"
#include "runs/FolderWalk.h"
#include "runs/RunFilters.h"
#include "runs/RunHooks.h"
#include "runs/RunResults.h"
#include "runs/RunSteps.h"
#include "settings/Settings.h"
#include "settings/CommandIds.h"
#include "util/SharedLock.h"
#include "util/Tag.h"
#include "util/WideString.h"

RunState gRunState;

namespace {

constexpr uint32_t kNoPriority = 0xFFFFFFFF;
// More staged files than this are moved into the run's lists at once.
constexpr size_t kFlushBatch = 32;
constexpr uint64_t kNothingRefreshed = ~0ull;

template <typename Hook, typename... Args>
void Call(const Hook& hook, Args&&... args) {
  if (hook) hook(std::forward<Args>(args)...);
}

bool OptionChecked(uint32_t command) {
  return gRunHooks.optionChecked && gRunHooks.optionChecked(command);
}

bool Unattended() { return (gApp.runFlags & kRunNoGui) != 0; }

bool IsDefragmentation(RunMode mode) {
  return mode == RunMode::DefragmentAll || mode == RunMode::DefragmentSelected ||
         mode == RunMode::DefragmentMarkedFiles;
}

bool IsProcessed(const ItemRecord& record) {
  return (record.flags & ItemFlags::kToProcess) && !(record.flags & ItemFlags::kSkipped);
}

// Reset and selection: the ticked items, of them the selected ones when the
// run is for the selection. Returns the number of items considered and the
// number the filters skipped.
void SelectItems(RunMode mode, uint64_t& considered, uint64_t& skipped) {
  const bool selectedOnly = mode == RunMode::DefragmentSelected || mode == RunMode::AnalyseSelected;
  considered = skipped = 0;
  uint64_t row = 0;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next, ++row) {
    ItemRecord& record = node->record;
    ResetItemForRun(record);
    if (!record.checked) continue;
    if (selectedOnly && !(gRunHooks.rowSelected && gRunHooks.rowSelected(row))) continue;
    ++considered;
    const bool folder = (record.flags & ItemFlags::kFolder) != 0;
    const bool excluded = folder ? FolderLeftOut(record.path) : FileLeftOut(record.path);
    if (excluded) {
      ReportFileOutcome(record.longPath, FileFate::LeftOut, std::wstring(), nullptr);
      record.flags = (record.flags | ItemFlags::kSkipped) & ~ItemFlags::kToProcess;
      ++skipped;
    } else {
      record.flags |= ItemFlags::kToProcess;
    }
  }
}

// The steps before a defragmentation; false when one of them ends the run.
bool PrepareDefragmentation(uint64_t considered, uint64_t filterSkipped) {
  const bool skipSolidState = (gSettings.solidStateFlags & kSolidStateSkip) != 0;
  bool detected = false;
  uint64_t onSolidState = 0;
  {
    TagScope tag(kTagCheckingDrives);
    onSolidState = MarkItemsOnSolidStateDrives(detected);
  }
  const uint64_t leftOut = filterSkipped + onSolidState;
  if (leftOut > 0) {
    if (skipSolidState && leftOut == considered) return false;
    if (AskSolidStateWarning(detected)) return false;
  }
  const DefragSteps steps = StepsForThisRun();
  if (!RunDiskCheckStep(steps.diskCheck)) return false;
  if (!RunCleanupStep(steps.cleanup)) return false;
  Call(gRunHooks.runLayout, true, true);
  return true;
}

void ApplyPendingPriority() {
  if (gRunState.pendingPriority == kNoPriority) return;
  Call(gRunHooks.applyPriority, gRunState.pendingPriority);
  gRunState.pendingPriority = kNoPriority;
}

void RefreshCountersAndStatus() {
  Call(gRunHooks.refreshCounters);
  Call(gRunHooks.updateStatus, kStatusProcessedCount);
}

// Every 32nd position: follow the item, refresh, keep the window alive.
void EveryThirtySecond(uint64_t row) {
  if (row % 32 != 0) return;
  if (OptionChecked(kCmdFollowItem)) Call(gRunHooks.scrollToRow, row);
  RefreshCountersAndStatus();
  PumpMessages();
}

void BeginItem(ItemRecord& record, uint64_t row) {
  MarkItemProcessing(record);
  Call(gRunHooks.redrawRow, row);
  EveryThirtySecond(row);
  gCurrentClusterSize = record.clusterSize;
}

// The next count at or after which the status is due, after `count` (none
// refreshed yet: every count is due).
uint64_t NextStatusRefresh(uint64_t count) {
  if (count == kNothingRefreshed) return 0;
  if (count < 32) return 32;
  if (count < 64) return 64;
  if (count < 128) return 128;
  return (count / 256 + 1) * 256;
}

// The folder worker runs while this thread keeps the window alive and takes
// its results over in batches whenever the worker nudges it.
void AnalyseFolderItem(ItemRecord& record) {
  Call(gRunHooks.redrawItems);
  {
    std::lock_guard lock(SharedLock());
    gRun.pendingFragmented.clear();
    gRun.pendingErrors.clear();
  }
  const size_t fragmentedBefore = gRun.fragmented.size();
  static std::wstring workerFolder;  // outlives the worker
  workerFolder = record.longPath;
  gEngine.doneFlags[kDoneFolderWorker].store(0, std::memory_order_release);
  if (!gFolderWorker.Start(AnalyseFolderWorker, &workerFolder)) {
    gEngine.doneFlags[kDoneFolderWorker].store(1, std::memory_order_release);
  }
  uint64_t lastRefreshed = kNothingRefreshed;
  bool waitShown = false;
  auto showProgress = [&] {
    size_t staged = 0;
    uint64_t processed = 0;
    {
      std::lock_guard lock(SharedLock());
      staged = gRun.pendingFragmented.size();
      processed = gRun.counters.filesSeen;
    }
    if (staged > kFlushBatch) FlushPending();
    // The worker may have gone past a refresh point while this thread slept.
    if (processed != lastRefreshed && processed >= NextStatusRefresh(lastRefreshed)) {
      lastRefreshed = processed;
      Call(gRunHooks.updateStatus, kStatusProcessedCount);
    }
    if (StopRequested() && !waitShown) {
      waitShown = true;
      Call(gRunHooks.updateStatus, kStatusPleaseWait);
    }
  };
  showProgress();
  if (!WaitForWorker(gFolderWorker, showProgress)) {
    // The program is ending: the walk must still end before its lists go.
    RequestStop();
    gFolderWorker.Join();
  }
  FlushPending();
  if (gEngine.doneFlags[kDoneFolderWorker].load(std::memory_order_acquire) == 0) {
    // The worker's thread ended before its walk did: what it staged is
    // kept, the folder itself is an error.
    gEngine.doneFlags[kDoneFolderWorker].store(1, std::memory_order_release);
    const std::wstring code = FailureText(kErrorThreadEnded);
    gRun.errors.push_back(MakeErrorEntry(record.longPath, code));
    Call(gRunHooks.refreshErrors);
    SetItemOutcome(record, ItemState::Error, ItemFlags::kOutcomeError);
  } else if (StopRequested()) {
    ApplyFolderAborted(record);
  } else {
    ApplyFolderAnalysis(record, gRun.fragmented.size() > fragmentedBefore);
  }
}

// The outcome of one relocated file in the run's counters and errors.
void CountMoveResult(const std::wstring& longPath, const std::wstring& code) {
  ++gRun.counters.filesSeen;
  if (code.empty()) {
    ++gRun.counters.filesMoved;
  } else if (code == kMoveAlreadyContiguous) {
    ++gRun.counters.notFragmented;
  } else if (code != kMoveStopped) {
    gRun.errors.push_back(MakeErrorEntry(longPath, code));
    Call(gRunHooks.refreshErrors);
  }
}

// The item's counts become those the relocation's own analysis found, so a
// file shows its state after the move rather than before it.
void DefragmentFileItem(ItemRecord& record) {
  FileAnalysis counts;
  DefragmentFile(record.path, &counts);
  record.fragments = static_cast<int64_t>(counts.fragments);
  record.clusters = static_cast<int64_t>(counts.clusters);
  const std::wstring code = gEngine.moveResultCode;
  ReportMoveOutcome(record.longPath, code, counts);
  ApplyFileMoveResult(record, code);
  CountMoveResult(record.longPath, code);
}

// The marked files one by one; a file that is also an item of the list gets
// its state and counts there.
void DefragmentMarkedFiles(const std::vector<FragmentedFileRecord>& files) {
  for (const FragmentedFileRecord& file : files) {
    const std::wstring& path = file.path;
    gCurrentClusterSize = file.clusterSize;
    if (ItemRecord* record = ItemByPath(path); record && !(record->flags & ItemFlags::kFolder)) {
      MarkItemProcessing(*record);
      Call(gRunHooks.redrawItems);
      DefragmentFileItem(*record);
    } else {
      FileAnalysis counts;
      DefragmentFile(path, &counts);
      ReportMoveOutcome(path, gEngine.moveResultCode, counts);
      CountMoveResult(path, gEngine.moveResultCode);
    }
    Call(gRunHooks.redrawItems);
    RefreshCountersAndStatus();
    if (StopRequested()) break;
    ApplyPendingPriority();
  }
  Call(gRunHooks.redrawItems);
}

// The folder's state compares the files that needed a move with the files
// moved during its walk.
void DefragmentFolderItem(ItemRecord& record) {
  const uint64_t triedBefore = gRun.counters.filesTried;
  const uint64_t movedBefore = gRun.counters.filesMoved;
  WalkFolder(record.longPath, WalkKind::Defragmentation);
  if (StopRequested()) {
    ApplyFolderAborted(record);
  } else {
    const uint64_t moved = gRun.counters.filesMoved - movedBefore;
    ApplyFolderDefragmentation(record, gRun.counters.filesTried - triedBefore, moved, moved > 0);
  }
}

// Scrolling, redrawing and counters after the last item.
void FinishItems(uint64_t lastRow) {
  if (!StopRequested() && OptionChecked(kCmdFollowItem) && ItemCount() > 0) {
    Call(gRunHooks.scrollToRow, lastRow);
  }
  Call(gRunHooks.redrawItems);
}

// Each item the run processes, in list order: begun, worked on, redrawn;
// a stop asked for during an item ends the loop after it.
template <typename Work>
void ProcessItems(const Work& work) {
  uint64_t row = 0;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next, ++row) {
    ItemRecord& record = node->record;
    if (!IsProcessed(record)) continue;
    BeginItem(record, row);
    work(record);
    Call(gRunHooks.redrawRow, row);
    if (StopRequested()) break;
    ApplyPendingPriority();
  }
  FinishItems(ItemCount() - 1);
}

void AnalysisRun() {
  ProcessItems([](ItemRecord& record) {
    if (record.flags & ItemFlags::kFolder) {
      AnalyseFolderItem(record);
    } else {
      AnalyseListedFile(record);
      ++gRun.counters.filesSeen;
    }
  });
  SortAndDeduplicateResults();
  RefreshCountersAndStatus();
  Call(gRunHooks.enableSaveReport, true);
  Call(gRunHooks.updateStatus, kStatusItemCount | kStatusWaiting);
}

void DefragRun(const std::vector<FragmentedFileRecord>* markedFiles) {
  if (markedFiles) {
    DefragmentMarkedFiles(*markedFiles);
  } else {
    ProcessItems([](ItemRecord& record) {
      if (record.flags & ItemFlags::kFolder) {
        DefragmentFolderItem(record);
      } else {
        DefragmentFileItem(record);
      }
    });
  }
  RefreshCountersAndStatus();
  Call(gRunHooks.taskbarProgress, false);

  const bool stopped = StopRequested();
  const uint32_t flags = gApp.runFlags;
  const bool abortAllowed = (flags & kRunAllowAbort) != 0;
  // Powering off follows only a run the user stopped; the unattended mode
  // decides for itself once the command line's work is done.
  if (!Unattended() && stopped && !abortAllowed &&
      ((flags & kRunShutdown) || OptionChecked(kCmdShutdownAfterDefrag))) {
    Call(gRunHooks.shutdownDialog);
  }
  Call(gRunHooks.enableSaveReport, false);
  Call(gRunHooks.runLayout, false, true);
  if (!stopped && !Unattended()) {
    Call(gRunHooks.bringToFront);
    const bool closeIfOk = (flags & kRunCloseIfOk) != 0;
    const bool close = (flags & kRunClose) || OptionChecked(kCmdCloseAfterDefrag);
    if ((closeIfOk && !gRun.errors.empty()) || (!closeIfOk && !close) || (flags & kRunShowReport)) {
      Call(gRunHooks.showSummary);
    }
    if (closeIfOk && gRun.errors.empty()) gApp.runFlags |= kRunClose;
  }
  // The count shown afterwards, in the summary and on the console, is 0.
  gRun.fragmented.clear();
}

void ClearRunResults() {
  std::lock_guard lock(SharedLock());
  gRun.counters = RunCounters{};
  gRun.fragmented.clear();
  gRun.errors.clear();
  gRun.pendingFragmented.clear();
  gRun.pendingErrors.clear();
}

// The engine counts the files that reach the volume step.
struct CountTriedFiles {
  std::function<void()> previous = gEngineHooks.fileTried;
  CountTriedFiles() {
    gEngineHooks.fileTried = [this] {
      ++gRun.counters.filesTried;
      if (previous) previous();
    };
  }
  ~CountTriedFiles() { gEngineHooks.fileTried = previous; }
};

}  // namespace

bool StatusRefreshDue(uint64_t count) {
  if (count <= 32) return count % 32 == 0;
  if (count <= 64) return count % 64 == 0;
  if (count <= 128) return count % 128 == 0;
  return count % 256 == 0;
}

void FlushPending() {
  {
    std::lock_guard lock(SharedLock());
    for (FragmentedFileRecord& record : gRun.pendingFragmented) {
      Call(gRunHooks.cacheIcon, record.path);
      gRun.fragmented.push_back(std::move(record));
    }
    for (ErrorEntry& entry : gRun.pendingErrors) gRun.errors.push_back(std::move(entry));
    gRun.pendingFragmented.clear();
    gRun.pendingErrors.clear();
  }
  Call(gRunHooks.refreshCounters);
}

void SortAndDeduplicateResults() {
  auto byPath = [](const auto& a, const auto& b) { return CompareNoCase(a.path, b.path) < 0; };
  auto samePath = [](const auto& a, const auto& b) { return EqualNoCase(a.path, b.path); };
  std::stable_sort(gRun.fragmented.begin(), gRun.fragmented.end(), byPath);
  gRun.fragmented.erase(std::unique(gRun.fragmented.begin(), gRun.fragmented.end(), samePath),
                        gRun.fragmented.end());
  auto errorsByPath = [](const ErrorEntry& a, const ErrorEntry& b) {
    return CompareNoCase(a.displayPath, b.displayPath) < 0;
  };
  auto sameErrorPath = [](const ErrorEntry& a, const ErrorEntry& b) {
    return EqualNoCase(a.displayPath, b.displayPath);
  };
  std::stable_sort(gRun.errors.begin(), gRun.errors.end(), errorsByPath);
  gRun.errors.erase(std::unique(gRun.errors.begin(), gRun.errors.end(), sameErrorPath),
                    gRun.errors.end());
}

void StartRun(RunMode mode) {
  gRunState.lastEnd = RunEnd::NotStarted;
  uint64_t considered = 0;
  uint64_t skipped = 0;
  // The marked files are taken before the run empties the result lists;
  // their cluster size is that of the analysis that listed them.
  std::vector<FragmentedFileRecord> markedFiles;
  const bool marked = mode == RunMode::DefragmentMarkedFiles;
  if (marked) {
    for (const FragmentedFileRecord& record : gRun.fragmented) {
      if (!record.marked) continue;
      if (FileLeftOut(record.path)) {
        ++skipped;
      } else {
        markedFiles.push_back(record);
      }
      ++considered;
    }
    if (markedFiles.empty()) return;
  } else {
    SelectItems(mode, considered, skipped);
  }
  const bool defragmenting = IsDefragmentation(mode);
  if (defragmenting && !PrepareDefragmentation(considered, skipped)) return;

  gRunState.running = true;
  ClearRunResults();
  {
    std::lock_guard lock(SharedLock());
    gEngine.flags.fetch_and(~kStopRequested);
  }
  Call(gRunHooks.setHiddenStatus, std::wstring());
  Call(gRunHooks.enableRunMenus, true);
  Call(gRunHooks.updateStatus, kStatusRunStarting);
  Call(gRunHooks.clipChildren, true);
  if (!Unattended()) Call(gRunHooks.taskbarProgress, true);

  CountTriedFiles countTried;
  if (defragmenting) {
    DefragRun(marked ? &markedFiles : nullptr);
  } else {
    AnalysisRun();
  }
  EndOfRunRelease();
  const bool stopped = StopRequested();
  gRunState.lastEnd = stopped ? RunEnd::Stopped : RunEnd::Completed;

  Call(gRunHooks.taskbarProgress, false);
  Call(gRunHooks.enableResultTabs);
  Call(gRunHooks.updateStatus, kStatusWaiting | kStatusProcessedCount);
  Call(gRunHooks.redrawItems);
  {
    std::lock_guard lock(SharedLock());
    gRun.pendingErrors.clear();
  }
  Call(gRunHooks.clipChildren, false);
  Call(gRunHooks.enableRunMenus, false);
  gRunState.running = false;

  // Closing follows only a defragmentation the user stopped.
  const uint32_t flags = gApp.runFlags;
  if (defragmenting && !Unattended() && stopped && !(flags & kRunAllowAbort) &&
      ((flags & kRunClose) || OptionChecked(kCmdCloseAfterDefrag))) {
    Call(gRunHooks.requestExit, gRun.errors.empty() ? 0u : 3u);
  }
}
