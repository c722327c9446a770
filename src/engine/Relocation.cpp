#include "engine/Relocation.h"

#include "engine/EngineHooks.h"
#include "engine/FreeSpace.h"
#include "util/Tag.h"

EngineState gEngine;

void WaitForMoveThread() { gEngine.moveThread.Join(); }

void ResetEngineState() {
  WaitForMoveThread();
  gEngine.moveResultCode.clear();
  gEngine.moveJob = MoveJob{};
  gEngine.doneFlags[kDoneFolderWorker] = 1;
  gEngine.doneFlags[kDoneMoveThread] = 1;
  gEngine.flags = 0;
  gExtentList.Clear();
  if (CurrentVolumeAccess() != nullptr) {
    CloseCachedVolume();
  }
  gVolumeCache = VolumeHandleCache{};
}

void MoveThread(void* argument) {
  TagScope tag(kTagMovingFile);
  MoveJob& job = *static_cast<MoveJob*>(argument);
  int64_t target = job.targetLcn;
  uint64_t step = 1;
  for (const Extent* extent = gExtentList.Head(); extent != nullptr; extent = extent->next) {
    SetProgress(step++);
    MoveFileRecord record{};
    record.fileHandle = uint64_t(job.file);
    record.startingVcn = extent->vcn;
    record.startingLcn = target;
    record.clusterCount = uint32_t(extent->clusterCount);
    IoStatusBlock block{};
    if (Va().MoveClusters(job.volume, block, &record, sizeof record) == kStatusPending) {
      // Waits on the file named in the record, not on the volume the
      // control was issued on.
      Va().Wait(job.file);
    }
    // The status block decides, not the call's return value; warnings count
    // as failures here.
    if (block.status < 0) {
      Va().Close(job.file);
      job.threadCode = FailureText(uint32_t(block.status));
      gEngine.doneFlags[kDoneMoveThread].store(1, std::memory_order_release);
      return;
    }
    target += int64_t(extent->clusterCount);
    // A stop is honoured only between two extents, never during one.
    if (gEngine.flags.load(std::memory_order_relaxed) & kStopRequested) {
      Va().Close(job.file);
      job.threadCode = kMoveStopped;
      gEngine.doneFlags[kDoneMoveThread].store(1, std::memory_order_release);
      return;
    }
  }
  Va().Close(job.file);
  gEngine.doneFlags[kDoneMoveThread].store(1, std::memory_order_release);
}

namespace {

// Starts the move thread and keeps the window alive until it has ended; the
// file's outcome code.
std::wstring MoveOnThread() {
  gEngine.doneFlags[kDoneMoveThread].store(0, std::memory_order_release);
  if (!gEngine.moveThread.Start(MoveThread, &gEngine.moveJob)) {
    gEngine.doneFlags[kDoneMoveThread].store(1, std::memory_order_release);
    return kOutcomeNoResources;
  }
  if (!WaitForWorker(gEngine.moveThread)) {
    // The program is ending while the thread still moves: the file is in an
    // unknown, partly moved state, which must not read as moved.
    return kMoveStopped;
  }
  if (gEngine.doneFlags[kDoneMoveThread].load(std::memory_order_acquire) == 0) {
    // The thread ended without finishing: some extents may have moved, the
    // file cannot count as moved. No thread runs any more.
    gEngine.doneFlags[kDoneMoveThread].store(1, std::memory_order_release);
    return FailureText(kErrorThreadEnded);
  }
  return gEngine.moveJob.threadCode;
}

void Relocate(FsHandle file, const std::wstring& path, FileAnalysis* counts) {
  FileAnalysis analysis;
  BuildExtentList(file, analysis);
  if (counts != nullptr) {
    counts->fragments = analysis.fragments;
    counts->clusters = analysis.clusters;
  }
  if (!analysis.outcome.empty()) {
    gEngine.moveResultCode = analysis.outcome;
    return;
  }
  if (analysis.fragments < 2) {
    gEngine.moveResultCode = kMoveAlreadyContiguous;
    return;
  }
  SetStatusText(kStatusPartPath, path);
  FileTried();
  std::wstring message;
  FsHandle volume = VolumeForPath(path, message);
  if (volume == kInvalidHandle) {
    gEngine.moveResultCode = message;
    return;
  }
  ShowProgress(analysis.fragments);
  SetStatusText(kStatusPartState, DisplayText(kTextDefragmenting, kTextDefragmentingLiteral));
  SetWorkingIcon(true);
  RedrawList();

  const bool smart = (gEngine.flags.load() & kSmartStrategy) != 0;
  int64_t target = -1;
  if (FindFreeRun(volume, analysis.clusters, smart, target, message) == 0) {
    gEngine.moveResultCode = message;
    return;
  }
  if (target == -1) {
    gEngine.moveResultCode = kMoveNoFreeRun;
    return;
  }

  gEngine.moveJob = MoveJob{target, file, volume, {}};
  gEngine.moveResultCode = MoveOnThread();
  HideProgress();
  SetWorkingIcon(false);
  SetStatusText(kStatusPartPath, std::wstring());
  // The same display serves analyses and defragmentations.
  SetStatusText(kStatusPartState, DisplayText(kTextAnalysing, kTextAnalysingLiteral));
}

}  // namespace

void DefragmentFile(const std::wstring& path, FileAnalysis* counts) {
  // A thread left running by a quit must not see its list or job replaced.
  WaitForMoveThread();
  gEngine.moveResultCode.clear();
  FsHandle file = Va().OpenFileForMoving(path);
  if (file == kInvalidHandle) {
    gEngine.moveResultCode = FailureText(Va().LastError());
    return;
  }
  Relocate(file, path, counts);
  // Also after the move thread closed it: the second close fails, and that
  // is expected.
  Va().Close(file);
}
