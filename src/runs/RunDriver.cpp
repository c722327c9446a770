#include "runs/RunDriver.h"

#include <algorithm>
#include <mutex>
#include <functional>
#include <string>
#include <vector>

#include "engine/EngineThread.h"
#include "engine/Relocation.h"
#include "items/ItemList.h"
#include "runs/FolderWalk.h"
#include "runs/RunFilters.h"
#include "runs/RunOptions.h"
#include "runs/RunResults.h"
#include "runs/RunSteps.h"
#include "runs/RunUi.h"
#include "options/Settings.h"
#include "util/SharedLock.h"
#include "util/Tag.h"
#include "util/WideString.h"

RunState gRunState;

namespace {

constexpr uint32_t kNoPriority = 0xFFFFFFFF;
// More staged files than this are moved into the run's lists at once.
constexpr size_t kFlushBatch = 32;
constexpr uint64_t kNothingRefreshed = ~0ull;

bool IsDefragmentation(RunMode mode) {
  return mode == RunMode::DefragmentAll || mode == RunMode::DefragmentSelected ||
         mode == RunMode::DefragmentMarkedFiles;
}

bool IsProcessed(const ItemRecord& record) {
  return (record.flags & ItemFlags::kToProcess) && !(record.flags & ItemFlags::kSkipped);
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

void ClearRunResults() {
  std::lock_guard lock(SharedLock());
  gRun.counters = RunCounters{};
  gRun.fragmented.clear();
  gRun.errors.clear();
  gRun.pendingFragmented.clear();
  gRun.pendingErrors.clear();
}

// One run, with whom it talks to and what it was told.
class Run {
 public:
  Run(RunOptions& options, RunUi& ui) : options_(options), ui_(ui) {}
  RunEnd Start(RunMode mode);

 private:
  bool Unattended() const { return options_.unattended; }
  void SelectItems(RunMode mode, uint64_t& considered, uint64_t& skipped);
  std::vector<std::wstring> OverlappingItems() const;
  bool PrepareDefragmentation(uint64_t considered, uint64_t filterSkipped,
                              std::vector<FragmentedFileRecord>* markedFiles);
  void ApplyPendingPriority();
  void RefreshCountersAndStatus();
  void EveryThirtySecond(uint64_t row);
  void BeginItem(ItemRecord& record, uint64_t row);
  void AnalyseFolderItem(ItemRecord& record);
  void DefragmentFileItem(ItemRecord& record);
  void DefragmentMarkedFiles(const std::vector<FragmentedFileRecord>& files);
  void DefragmentFolderItem(ItemRecord& record);
  void FinishItems(uint64_t lastRow);
  template <typename Work>
  void ProcessItems(const Work& work);
  void AnalysisRun();
  void DefragRun(const std::vector<FragmentedFileRecord>* markedFiles);
  void KeepStillFragmented();
  void FollowDefragmentation();

  RunOptions& options_;
  RunUi& ui_;
  bool diskErrors_ = false;
  // A question before the run (solid-state warning, disk check, cleanup)
  // ended it.
  bool answeredStop_ = false;
  // Files the filters left out before the run began (items, marked files).
  uint64_t filesLeftOut_ = 0;
};

}  // namespace

// Reset and selection: the ticked items, of them the selected ones when the
// run is for the selection. Returns the number of items considered and the
// number the filters skipped.
void Run::SelectItems(RunMode mode, uint64_t& considered, uint64_t& skipped) {
  const bool selectedOnly = mode == RunMode::DefragmentSelected || mode == RunMode::AnalyseSelected;
  considered = skipped = 0;
  uint64_t row = 0;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next, ++row) {
    ItemRecord& record = node->record;
    ResetItemForRun(record);
    if (!record.checked) continue;
    if (selectedOnly && !ui_.RowSelected(row)) continue;
    ++considered;
    const bool folder = (record.flags & ItemFlags::kFolder) != 0;
    const bool excluded =
        folder ? options_.filter->FolderLeftOut(record.path) : options_.filter->FileLeftOut(record.path);
    if (excluded) {
      ReportFileOutcome(ui_, record.longPath, FileFate::LeftOut, std::wstring(), nullptr);
      record.flags = (record.flags | ItemFlags::kSkipped) & ~ItemFlags::kToProcess;
      ++skipped;
      if (!folder) ++filesLeftOut_;
    } else {
      record.flags |= ItemFlags::kToProcess;
    }
  }
}

// The items to be processed that lie inside a folder item to be processed:
// their files could be reached twice.
std::vector<std::wstring> Run::OverlappingItems() const {
  std::vector<std::wstring> folders;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    const ItemRecord& record = node->record;
    if (IsProcessed(record) && (record.flags & ItemFlags::kFolder)) folders.push_back(UpperCase(record.path));
  }
  std::vector<std::wstring> overlaps;
  if (folders.empty()) return overlaps;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    const ItemRecord& record = node->record;
    if (!IsProcessed(record)) continue;
    const std::wstring upper = UpperCase(record.path);
    for (const std::wstring& folder : folders) {
      if (upper.size() <= folder.size() || upper.compare(0, folder.size(), folder) != 0) continue;
      if (folder.back() == L'\\' || upper[folder.size()] == L'\\') {
        overlaps.push_back(record.path);
        break;
      }
    }
  }
  return overlaps;
}

// The item fields a run resets, kept so that a run its steps end before it
// begins leaves the list as the last run left it.
struct ItemShown {
  uint32_t flags;
  uint32_t stateImage;
  uint32_t iconIndex;
  ItemState state;
  int64_t fragments;
  int64_t clusters;
};

std::vector<ItemShown> ItemsShown() {
  std::vector<ItemShown> shown;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    const ItemRecord& r = node->record;
    shown.push_back(ItemShown{r.flags, r.stateImage, r.iconIndex, r.state, r.fragments, r.clusters});
  }
  return shown;
}

void ShowItemsAgain(const std::vector<ItemShown>& shown) {
  size_t i = 0;
  for (ItemNode* node = ItemListHead(); node != nullptr && i < shown.size(); node = node->next, ++i) {
    ItemRecord& r = node->record;
    r.flags = shown[i].flags;
    r.stateImage = shown[i].stateImage;
    r.iconIndex = shown[i].iconIndex;
    r.state = shown[i].state;
    r.fragments = shown[i].fragments;
    r.clusters = shown[i].clusters;
  }
}

// The steps before a defragmentation; false when one of them ends the run.
// The run of the marked files weighs each file, the others each item.
bool Run::PrepareDefragmentation(uint64_t considered, uint64_t filterSkipped,
                                 std::vector<FragmentedFileRecord>* markedFiles) {
  const bool skipSolidState = (options_.solidStateFlags & kSolidStateSkip) != 0;
  bool detected = false;
  uint64_t onSolidState = 0;
  {
    TagScope tag(kTagCheckingDrives);
    onSolidState = markedFiles ? DropFilesOnSolidStateDrives(ui_, options_, *markedFiles, detected)
                               : MarkItemsOnSolidStateDrives(ui_, options_, detected);
  }
  if (markedFiles && skipSolidState && onSolidState > 0) ui_.SolidStateLeftOut(onSolidState);
  const uint64_t leftOut = filterSkipped + onSolidState;
  if (leftOut > 0) {
    if (skipSolidState && leftOut == considered) return false;
    answeredStop_ = AskSolidStateWarning(ui_, options_, detected);
    if (answeredStop_) return false;
  }
  const StepEnd diskCheck = RunDiskCheckStep(ui_, options_);
  if (diskCheck != StepEnd::GoOn) {
    diskErrors_ = diskCheck == StepEnd::StopForDiskErrors;
    answeredStop_ = true;
    return false;
  }
  if (!RunCleanupStep(ui_, options_)) {
    answeredStop_ = true;
    return false;
  }
  ui_.RunLayout(true, true);
  return true;
}

void Run::ApplyPendingPriority() {
  if (gRunState.pendingPriority == kNoPriority) return;
  ui_.ApplyPriority(gRunState.pendingPriority);
  gRunState.pendingPriority = kNoPriority;
}

void Run::RefreshCountersAndStatus() {
  ui_.RefreshCounters();
  ui_.UpdateStatus(kStatusProcessedCount);
}

// Every 32nd position: follow the item, refresh, keep the window alive.
void Run::EveryThirtySecond(uint64_t row) {
  if (row % 32 != 0) return;
  if (options_.followUps->followItem) ui_.ScrollToRow(row);
  RefreshCountersAndStatus();
  ui_.PumpMessages();
}

void Run::BeginItem(ItemRecord& record, uint64_t row) {
  MarkItemProcessing(record);
  ui_.RedrawRow(row);
  EveryThirtySecond(row);
  gCurrentClusterSize = record.clusterSize;
}

// The folder worker runs while this thread keeps the window alive and takes
// its results over in batches whenever the worker nudges it.
void Run::AnalyseFolderItem(ItemRecord& record) {
  ui_.RedrawItems();
  {
    std::lock_guard lock(SharedLock());
    gRun.pendingFragmented.clear();
    gRun.pendingErrors.clear();
  }
  const size_t fragmentedBefore = gRun.fragmented.size();
  static FolderJob workerJob;  // outlives the worker
  workerJob = FolderJob{record.longPath, &ui_, options_.filter};
  gEngine.doneFlags[kDoneFolderWorker].store(0, std::memory_order_release);
  if (!gFolderWorker.Start(AnalyseFolderWorker, &workerJob)) {
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
    if (staged > kFlushBatch) FlushPending(ui_);
    // The worker may have gone past a refresh point while this thread slept.
    if (processed != lastRefreshed && processed >= NextStatusRefresh(lastRefreshed)) {
      lastRefreshed = processed;
      ui_.UpdateStatus(kStatusProcessedCount);
    }
    if (StopRequested() && !waitShown) {
      waitShown = true;
      ui_.UpdateStatus(kStatusPleaseWait);
    }
  };
  showProgress();
  if (!WaitForWorker(ui_, gFolderWorker, showProgress)) {
    // The program is ending: the walk must still end before its lists go.
    RequestStop();
    gFolderWorker.Join();
  }
  FlushPending(ui_);
  if (gEngine.doneFlags[kDoneFolderWorker].load(std::memory_order_acquire) == 0) {
    // The worker's thread ended before its walk did: what it staged is
    // kept, the folder itself is an error.
    gEngine.doneFlags[kDoneFolderWorker].store(1, std::memory_order_release);
    const std::wstring code = FailureText(kErrorThreadEnded);
    gRun.errors.push_back(MakeErrorEntry(record.longPath, code));
    ui_.RefreshErrors();
    SetItemOutcome(record, ItemState::Error, ItemFlags::kOutcomeError);
  } else if (StopRequested()) {
    ApplyFolderAborted(record);
  } else {
    ApplyFolderAnalysis(record, gRun.fragmented.size() > fragmentedBefore);
  }
}

// The item's counts become those the relocation's own analysis found, so a
// file shows its state after the move rather than before it.
// A file reached before in this run (inside a listed folder) is not moved
// or counted again: it shows what its first move gave.
void Run::DefragmentFileItem(ItemRecord& record) {
  FileAnalysis counts;
  std::wstring code;
  const bool first = FirstVisit(record.path, &code);
  if (first) {
    DefragmentRunFile(ui_, record.path, &counts);
    code = gEngine.moveResultCode;
  } else {
    AnalyseFile(record.longPath, counts);
  }
  record.fragments = static_cast<int64_t>(counts.fragments);
  record.clusters = static_cast<int64_t>(counts.clusters);
  ApplyFileMoveResult(record, code);
  if (!first) return;
  ReportMoveOutcome(ui_, record.longPath, code, counts);
  CountMoveOutcome(ui_, record.longPath, code);
  ++gRun.counters.filesSeen;
}

// The marked files one by one; a file that is also an item of the list gets
// its state and counts there.
void Run::DefragmentMarkedFiles(const std::vector<FragmentedFileRecord>& files) {
  for (const FragmentedFileRecord& file : files) {
    const std::wstring& path = file.path;
    gCurrentClusterSize = file.clusterSize;
    if (ItemRecord* record = ItemByPath(path); record && !(record->flags & ItemFlags::kFolder)) {
      MarkItemProcessing(*record);
      ui_.RedrawItems();
      DefragmentFileItem(*record);
    } else if (FirstVisit(path)) {
      FileAnalysis counts;
      DefragmentRunFile(ui_, path, &counts);
      ReportMoveOutcome(ui_, path, gEngine.moveResultCode, counts);
      CountMoveOutcome(ui_, path, gEngine.moveResultCode);
      ++gRun.counters.filesSeen;
    }
    ui_.RedrawItems();
    RefreshCountersAndStatus();
    if (StopRequested()) break;
    ApplyPendingPriority();
  }
  ui_.RedrawItems();
}

// The folder's state compares the files that needed a move with the files
// moved during its walk.
void Run::DefragmentFolderItem(ItemRecord& record) {
  const uint64_t triedBefore = gRun.counters.filesTried;
  const uint64_t movedBefore = gRun.counters.filesMoved;
  WalkFolder(ui_, *options_.filter, record.longPath, WalkKind::Defragmentation);
  if (StopRequested()) {
    ApplyFolderAborted(record);
  } else {
    const uint64_t moved = gRun.counters.filesMoved - movedBefore;
    ApplyFolderDefragmentation(record, gRun.counters.filesTried - triedBefore, moved, moved > 0);
  }
}

// Scrolling, redrawing and counters after the last item.
void Run::FinishItems(uint64_t lastRow) {
  if (!StopRequested() && options_.followUps->followItem && ItemCount() > 0) {
    ui_.ScrollToRow(lastRow);
  }
  ui_.RedrawItems();
}

// Each item the run processes, in list order: begun, worked on, redrawn;
// a stop asked for during an item ends the loop after it.
template <typename Work>
void Run::ProcessItems(const Work& work) {
  uint64_t row = 0;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next, ++row) {
    ItemRecord& record = node->record;
    if (!IsProcessed(record)) continue;
    BeginItem(record, row);
    work(record);
    ui_.RedrawRow(row);
    if (StopRequested()) break;
    ApplyPendingPriority();
  }
  FinishItems(ItemCount() - 1);
}

void Run::AnalysisRun() {
  ProcessItems([this](ItemRecord& record) {
    if (record.flags & ItemFlags::kFolder) {
      AnalyseFolderItem(record);
    } else {
      AnalyseListedFile(ui_, record);
    }
  });
  SortAndDeduplicateResults();
  RefreshCountersAndStatus();
  ui_.EnableSaveReport(true);
}

void Run::DefragRun(const std::vector<FragmentedFileRecord>* markedFiles) {
  if (markedFiles) {
    DefragmentMarkedFiles(*markedFiles);
  } else {
    ProcessItems([this](ItemRecord& record) {
      if (record.flags & ItemFlags::kFolder) {
        DefragmentFolderItem(record);
      } else {
        DefragmentFileItem(record);
      }
    });
  }
  RefreshCountersAndStatus();
  ui_.TaskbarProgress(false);
  ui_.EnableSaveReport(false);
  ui_.RunLayout(false, true);
  KeepStillFragmented();
}

// A finished defragmentation leaves no fragmented file listed (those it
// could not make contiguous are among the errors). A stopped one lists the
// files still in pieces: the one whose move was stopped, and those known
// fragmented before the run that it did not reach.
void Run::KeepStillFragmented() {
  if (!StopRequested()) {
    gRun.fragmented.clear();
    return;
  }
  // Their ticks stay, so the run can be taken up again where it stopped.
  for (FragmentedFileRecord& record : UnreachedFragmented()) gRun.fragmented.push_back(std::move(record));
  SortAndDeduplicateResults();
}

// What follows a defragmentation once the window shows it has ended: the
// power-off countdown after a stop, the summary after a stopped run as
// after a finished one, and the closing rules.
void Run::FollowDefragmentation() {
  const bool stopped = StopRequested();
  // Powering off follows only a run the user stopped; the unattended mode
  // decides for itself once the command line's work is done.
  if (!Unattended() && stopped && !options_.allowAbort &&
      (options_.shutdown || options_.followUps->shutdownAfterDefrag)) {
    ui_.ShutdownCountdown();
  }
  if (Unattended()) return;
  const bool closeIfOk = options_.closeIfOk;
  const bool close = options_.close || options_.followUps->closeAfterDefrag;
  if (!stopped) ui_.BringToFront();
  if ((closeIfOk && !gRun.errors.empty()) || (!closeIfOk && !close) || options_.showReport) {
    ui_.ShowSummary();
  }
  // A run that ended without errors turns "close if it went well" into
  // "close" for the runs that follow.
  if (!stopped && closeIfOk && gRun.errors.empty()) options_.close = true;
}

bool StatusRefreshDue(uint64_t count) {
  if (count <= 32) return count % 32 == 0;
  if (count <= 64) return count % 64 == 0;
  if (count <= 128) return count % 128 == 0;
  return count % 256 == 0;
}

void FlushPending(RunUi& ui) {
  {
    std::lock_guard lock(SharedLock());
    for (FragmentedFileRecord& record : gRun.pendingFragmented) {
      ui.CacheIcon(record.path);
      gRun.fragmented.push_back(std::move(record));
    }
    for (ErrorEntry& entry : gRun.pendingErrors) gRun.errors.push_back(std::move(entry));
    gRun.pendingFragmented.clear();
    gRun.pendingErrors.clear();
  }
  ui.RefreshCounters();
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

void StartRun(RunMode mode, RunOptions& options, RunUi& ui) {
  Run run(options, ui);
  gRunState.lastEnd = RunEnd::NotStarted;
  gRunState.diskErrors = false;
  gRunState.lastEnd = run.Start(mode);
}

RunEnd Run::Start(RunMode mode) {
  uint64_t considered = 0;
  uint64_t skipped = 0;
  // The marked files are taken before the run empties the result lists;
  // their cluster size is that of the analysis that listed them.
  std::vector<FragmentedFileRecord> markedFiles;
  const bool marked = mode == RunMode::DefragmentMarkedFiles;
  const bool defragmenting = IsDefragmentation(mode);
  const std::vector<ItemShown> shownBefore = defragmenting && !marked ? ItemsShown() : std::vector<ItemShown>{};
  if (marked) {
    for (const FragmentedFileRecord& record : gRun.fragmented) {
      if (!record.marked) continue;
      if (options_.filter->FileLeftOut(record.path)) {
        ++skipped;
        ++filesLeftOut_;
      } else {
        markedFiles.push_back(record);
      }
      ++considered;
    }
    if (markedFiles.empty()) return RunEnd::NotStarted;
  } else {
    SelectItems(mode, considered, skipped);
  }
  if (defragmenting && !PrepareDefragmentation(considered, skipped, marked ? &markedFiles : nullptr)) {
    gRunState.diskErrors = diskErrors_;
    // Ended by the user's answer before it began: the list shows the last
    // run's results again.
    if (answeredStop_) {
      ShowItemsAgain(shownBefore);
      ui_.RedrawItems();
    }
    return RunEnd::NotStarted;
  }

  gRunState.running = true;
  // A defragmentation keeps the fragmented files known so far, to list
  // again those a stop leaves unreached.
  std::vector<FragmentedFileRecord> earlier;
  if (defragmenting) earlier = gRun.fragmented;
  ClearRunResults();
  gRun.counters.leftOut = filesLeftOut_;
  BeginRunVisits(marked ? std::vector<std::wstring>{} : OverlappingItems(), std::move(earlier));
  {
    std::lock_guard lock(SharedLock());
    gEngine.flags.fetch_and(~kStopRequested);
  }
  ui_.EnableRunMenus(true);
  ui_.UpdateStatus(kStatusRunStarting);
  ui_.ClipChildren(true);
  if (!Unattended()) ui_.TaskbarProgress(true);

  if (defragmenting) {
    DefragRun(marked ? &markedFiles : nullptr);
  } else {
    AnalysisRun();
  }
  EndRunVisits();
  EndOfRunRelease();
  const bool stopped = StopRequested();
  gRunState.lastEnd = stopped ? RunEnd::Stopped : RunEnd::Completed;

  // The window shows the run has ended before anything follows it.
  ui_.TaskbarProgress(false);
  ui_.EnableResultTabs();
  ui_.UpdateStatus(kStatusItemCount | kStatusWaiting | kStatusProcessedCount);
  ui_.RedrawItems();
  {
    std::lock_guard lock(SharedLock());
    gRun.pendingErrors.clear();
  }
  ui_.ClipChildren(false);
  ui_.EnableRunMenus(false);
  gRunState.running = false;
  if (defragmenting) FollowDefragmentation();

  // Closing follows only a defragmentation the user stopped.
  if (defragmenting && !Unattended() && stopped && !options_.allowAbort &&
      (options_.close || options_.followUps->closeAfterDefrag)) {
    ui_.RequestExit(gRun.errors.empty() ? 0u : 3u);
  }
  return gRunState.lastEnd;
}
