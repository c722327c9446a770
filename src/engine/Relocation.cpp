#include "engine/Relocation.h"

#include "engine/EngineHooks.h"
#include "engine/FreeSpace.h"
#include "engine/FreeSpaceMap.h"
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
  gFreeSpaceMap.Invalidate();
  if (CurrentVolumeAccess() != nullptr) {
    CloseCachedVolume();
  }
  gVolumeCache = VolumeHandleCache{};
}

void EndOfRunRelease() {
  gFreeSpaceMap.Invalidate();
  if (gEngine.doneFlags[kDoneMoveThread].load(std::memory_order_acquire) == 0) return;
  CloseCachedVolume();
}

namespace {

// One move request of the move thread; false when the thread must end (the
// request failed, or a stop was asked for after it), with the code set.
bool MoveRange(MoveJob& job, int64_t vcn, uint32_t vcnCount, int64_t& target, uint64_t clusters) {
  MoveFileRecord record{};
  record.fileHandle = uint64_t(job.file);
  record.startingVcn = vcn;
  record.startingLcn = target;
  record.clusterCount = vcnCount;
  IoStatusBlock block{};
  NtStatus status = Va().MoveClusters(job.volume, block, &record, sizeof record);
  if (status == kStatusPending) {
    // Waits on the file named in the record, not on the volume the
    // control was issued on.
    Va().Wait(job.file);
    status = block.status;
  }
  // The returned status decides, the block only after a pending answer: a
  // refusal answered at once leaves the block as it was, which would read
  // as success. Warnings count as failures here.
  if (status < 0) {
    job.failedStatus = status;
    job.threadCode = FailureText(uint32_t(status));
    return false;
  }
  target += int64_t(clusters);
  // A stop is honoured only between two requests, never during one.
  if (gEngine.flags.load(std::memory_order_relaxed) & kStopRequested) {
    job.threadCode = kMoveStopped;
    return false;
  }
  return true;
}

}  // namespace

void MoveThread(void* argument) {
  TagScope tag(kTagMovingFile);
  MoveJob& job = *static_cast<MoveJob*>(argument);
  int64_t target = job.targetLcn;
  uint64_t step = 1;
  if (job.unitMoves.empty()) {
    for (const Extent* extent = gExtentList.Head(); extent != nullptr; extent = extent->next) {
      SetProgress(step++);
      if (!MoveRange(job, extent->vcn, uint32_t(extent->clusterCount), target, extent->clusterCount)) break;
    }
  } else {
    for (const UnitMove& move : job.unitMoves) {
      SetProgress(step++);
      if (!MoveRange(job, move.vcn, move.vcnCount, target, move.clusters)) break;
    }
  }
  Va().Close(job.file);
  gEngine.doneFlags[kDoneMoveThread].store(1, std::memory_order_release);
}

namespace {

// Starts the move thread and keeps the window alive until it has ended; the
// file's outcome code. `fileTaken`: the thread closes the file handle (it
// closes it as its last step before its done flag, so a thread that ended
// without the flag never did).
std::wstring MoveOnThread(bool& started, bool& fileTaken) {
  gEngine.doneFlags[kDoneMoveThread].store(0, std::memory_order_release);
  started = gEngine.moveThread.Start(MoveThread, &gEngine.moveJob);
  fileTaken = started;
  if (!started) {
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
    fileTaken = false;
    return FailureText(kErrorThreadEnded);
  }
  return gEngine.moveJob.threadCode;
}

// A move the file system reported as done is believed only once the file's
// clusters read back as one run at the target (holes of sparse and
// compressed files aside): a move may succeed having moved only part.
// `after` receives the runs read back, when they could be.
bool VerifyMove(const std::wstring& path, int64_t target, FileAnalysis* counts, std::vector<FileRun>& after) {
  FsHandle file = Va().OpenFileForMoving(path);
  if (file == kInvalidHandle) {
    gEngine.moveResultCode = FailureText(Va().LastError());
    return false;
  }
  FileAnalysis analysis;
  const bool listed = BuildExtentList(file, analysis, &after);
  Va().Close(file);
  if (!listed) {
    gEngine.moveResultCode = analysis.outcome;
    return false;
  }
  // A run starting at cluster 0 starts no fragment of its own.
  const bool oneRun = target == 0 ? analysis.fragments == 0
                                  : analysis.fragments == 1 && gExtentList.Head()->lcn == target;
  if (oneRun && analysis.clusters > 0) return true;
  gEngine.moveResultCode = kMovePartlyMoved;
  if (counts != nullptr) {
    counts->fragments = analysis.fragments;
    counts->clusters = analysis.clusters;
  }
  return true;
}

// The runs of a file whose move did not go through, read back; false when
// they cannot be.
bool RunsAfterFailedMove(const std::wstring& path, std::vector<FileRun>& after) {
  FsHandle file = Va().OpenFileForMoving(path);
  if (file == kInvalidHandle) return false;
  FileAnalysis analysis;
  const bool listed = BuildExtentList(file, analysis, &after);
  Va().Close(file);
  return listed;
}

std::vector<ClusterRun> ClusterRuns(const std::vector<FileRun>& runs) {
  std::vector<ClusterRun> ranges;
  ranges.reserve(runs.size());
  for (const FileRun& run : runs) ranges.push_back({run.lcn, run.count});
  return ranges;
}

// What a move changed is read back into the free-space map: the target, and
// the clusters the file had. Those it no longer has may stay in use for a
// while (a volume holds them until its next checkpoint); `after` is what the
// file has now, nullptr when not known (then all it had before counts as
// left).
void NoteMove(FsHandle volume, int64_t target, uint64_t clusters, const std::vector<FileRun>& runs,
              const std::vector<FileRun>* after) {
  if (gEngine.doneFlags[kDoneMoveThread].load(std::memory_order_acquire) == 0) {
    // The thread still moves (the program is ending): nothing is known.
    gFreeSpaceMap.Invalidate();
    return;
  }
  const std::vector<ClusterRun> ranges = ClusterRuns(runs);
  // A move that went wrong half-way may also have left clusters of the
  // target behind, the file having passed through them.
  std::vector<ClusterRun> had = ranges;
  had.push_back({target, clusters});
  const std::vector<ClusterRun> left =
      after == nullptr ? ranges : FreeSpaceMap::Without(had, ClusterRuns(*after));
  std::wstring ignored;  // a failed read leaves the map to be read afresh
  gFreeSpaceMap.NoteMove(volume, target, clusters, ranges, left, gEngine.moveResultCode.empty(), ignored);
}

// Compressed and sparse files move in whole compression units (a file with
// holes is one of them whatever the file system says of it).
bool MovesInUnits(FsHandle file, const std::vector<FileRun>& runs) {
  return RunsHaveHoles(runs) || Va().MovesInUnits(file);
}

// True when the move thread took the file handle over: it closes it itself.
bool Relocate(FsHandle file, const std::wstring& path, FileAnalysis* counts, bool firstAttempt) {
  FileAnalysis analysis;
  std::vector<FileRun> before;
  BuildExtentList(file, analysis, &before);
  if (counts != nullptr) {
    counts->fragments = analysis.fragments;
    counts->clusters = analysis.clusters;
  }
  if (!analysis.outcome.empty()) {
    gEngine.moveResultCode = analysis.outcome;
    return false;
  }
  if (analysis.fragments < 2) {
    gEngine.moveResultCode = kMoveAlreadyContiguous;
    return false;
  }
  SetStatusText(kStatusPartPath, path);
  if (firstAttempt) FileTried();
  std::wstring message;
  FsHandle volume = VolumeForPath(path, message);
  if (volume == kInvalidHandle) {
    gEngine.moveResultCode = message;
    return false;
  }
  ShowProgress(analysis.fragments);
  SetStatusText(kStatusPartState, DisplayText(kTextDefragmenting, kTextDefragmentingLiteral));
  SetWorkingIcon(true);
  RedrawList();

  const bool smart = (gEngine.flags.load() & kSmartStrategy) != 0;
  int64_t target = -1;
  if (SearchFreeRun(volume, analysis.clusters, smart, target, message) == 0) {
    gEngine.moveResultCode = message;
    return false;
  }
  if (target == -1) {
    gEngine.moveResultCode = kMoveNoFreeRun;
    return false;
  }

  gEngine.moveJob = MoveJob{target, file, volume, {}, 0, {}};
  if (MovesInUnits(file, before)) gEngine.moveJob.unitMoves = PlanUnitMoves(before);
  bool started = false;
  bool fileTaken = false;
  gEngine.moveResultCode = MoveOnThread(started, fileTaken);
  HideProgress();
  SetWorkingIcon(false);
  SetStatusText(kStatusPartPath, std::wstring());
  // The same display serves analyses and defragmentations.
  SetStatusText(kStatusPartState, DisplayText(kTextAnalysing, kTextAnalysingLiteral));
  std::vector<FileRun> after;
  bool afterKnown = false;
  if (gEngine.moveResultCode.empty()) {
    afterKnown = VerifyMove(path, target, counts, after);
  } else if (started && gEngine.doneFlags[kDoneMoveThread].load(std::memory_order_acquire) == 1) {
    afterKnown = RunsAfterFailedMove(path, after);
  }
  if (started) NoteMove(volume, target, analysis.clusters, before, afterKnown ? &after : nullptr);
  return fileTaken;
}

}  // namespace

namespace {

// The volume's answers for a target in use (0xC000000D on older systems):
// the volume changed since the free space was read.
bool TargetRefused() {
  const NtStatus status = gEngine.moveJob.failedStatus;
  return gEngine.doneFlags[kDoneMoveThread].load(std::memory_order_acquire) == 1 &&
         (status == kStatusAlreadyCommitted || status == kStatusInvalidParameter);
}

}  // namespace

void DefragmentFile(const std::wstring& path, FileAnalysis* counts) {
  // A thread left running by a quit must not see its list or job replaced.
  WaitForMoveThread();
  // A move refused for its target is tried once more, with the free space
  // read afresh. A second try that moves nothing (no room now, say) leaves
  // the refusal as the outcome: the first try may have moved part.
  std::wstring refusal;
  for (int attempt = 1;; ++attempt) {
    gEngine.moveResultCode.clear();
    gEngine.moveJob = MoveJob{};
    FsHandle file = Va().OpenFileForMoving(path);
    if (file == kInvalidHandle) {
      gEngine.moveResultCode = FailureText(Va().LastError());
      return;
    }
    // Closed once: by the move thread when it ran (it may even still be
    // running after a quit), else here. A second close could close a handle
    // the system has handed out again meanwhile.
    const bool moved = Relocate(file, path, counts, attempt == 1);
    if (!moved) Va().Close(file);
    if (attempt == 2) {
      if (!moved) gEngine.moveResultCode = refusal;
      return;
    }
    if (!TargetRefused()) return;
    refusal = gEngine.moveResultCode;
    gFreeSpaceMap.MarkStale();
  }
}
