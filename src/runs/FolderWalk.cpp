#include "runs/FolderWalk.h"

#include <memory>
#include <unordered_map>
#include <mutex>
#include <set>
#include <vector>

#include "engine/EngineUi.h"
#include "engine/Relocation.h"
#include "runs/RunFilters.h"
#include "runs/RunUi.h"
#include "util/PathText.h"
#include "util/SharedLock.h"
#include "options/StringIds.h"
#include "util/Tag.h"
#include "util/Text.h"
#include "util/WideString.h"

uint32_t gCurrentClusterSize = 0;
WorkerThread gFolderWorker;

namespace {

// Above this many hundredths (500 %) a file is looked at again: one kept
// inside its directory record has no cluster of its own.
constexpr uint32_t kSuspiciousPercent = 50000;

// One folder of the walk: its open search, read an entry at a time, and
// where the folder's own path ends inside the walk's one path.
struct WalkLevel {
  std::unique_ptr<DirListing> listing;
  size_t folderLength = 0;
};

// A folder that cannot be listed is left silently: no level. Nor is a
// folder the walk has already entered, by whatever path (a junction back up
// the tree, two links to one folder): each folder's files are met once, and
// a cycle of links ends instead of growing the walk until the path is too
// long. A folder whose identity cannot be read is entered.
void EnterFolder(const std::wstring& folder, std::vector<WalkLevel>& levels, std::set<FolderIdentity>& entered) {
  FolderIdentity identity;
  if (Fs().IdentifyFolder(folder, identity) && !entered.insert(identity).second) return;
  std::unique_ptr<DirListing> listing = Fs().OpenListing(JoinPath(folder, L"*"));
  if (listing) levels.push_back(WalkLevel{std::move(listing), folder.size()});
}

// folder + one backslash + name, in place; a drive root already ends in its
// backslash.
void AppendName(std::wstring& path, const std::wstring& name) {
  if (path.empty() || path.back() != L'\\') path += L'\\';
  path += name;
}

bool IsDotEntry(const std::wstring& name) { return name == L"." || name == L".."; }

// Which files the run has reached, kept only where it matters: inside the
// items that lie in another item, and for the files listed as fragmented
// before a defragmentation. Written by the folder worker too: under the
// shared lock.
struct RunVisits {
  std::vector<std::wstring> overlapRoots;  // upper case
  std::unordered_map<std::wstring, std::wstring> overlapOutcomes;
  std::vector<FragmentedFileRecord> earlier;
  std::unordered_map<std::wstring, size_t> earlierIndex;
  std::vector<bool> reached;
};
RunVisits gVisits;

bool InsideAny(const std::wstring& upper, const std::vector<std::wstring>& roots) {
  for (const std::wstring& root : roots) {
    if (upper.size() < root.size() || upper.compare(0, root.size(), root) != 0) continue;
    if (upper.size() == root.size() || root.back() == L'\\' || upper[root.size()] == L'\\') return true;
  }
  return false;
}

void ReportAnalysisOutcome(RunUi& ui, const std::wstring& path, const FileAnalysis& analysis) {
  const FileFate fate = !analysis.outcome.empty() ? FileFate::Failed
                        : analysis.fragments < 2  ? FileFate::Contiguous
                                                  : FileFate::Fragmented;
  ReportFileOutcome(ui, path, fate, analysis.outcome, &analysis);
}

void AnalyseWalkedFile(RunUi& ui, const std::wstring& path, const DirEntry& entry) {
  FileAnalysis analysis;
  AnalyseFile(path, analysis);
  ReportAnalysisOutcome(ui, path, analysis);
  if (!analysis.outcome.empty()) {
    ErrorEntry error = MakeErrorEntry(path, analysis.outcome);
    std::lock_guard lock(SharedLock());
    gRun.pendingErrors.push_back(std::move(error));
  } else if (analysis.fragments < 2) {
    std::lock_guard lock(SharedLock());
    ++gRun.counters.notFragmented;
  } else {
    FragmentedFileRecord record = MakeFragmentedRecord(ui, path, entry, analysis, gCurrentClusterSize);
    std::lock_guard lock(SharedLock());
    gRun.pendingFragmented.push_back(std::move(record));
    ++gRun.counters.fragmented;
  }
}

void DefragmentWalkedFile(RunUi& ui, const std::wstring& path) {
  // Opened without the long prefix, so a path beyond the ordinary limit
  // fails here with the system's text.
  FileAnalysis counts;
  DefragmentRunFile(ui, std::wstring(DisplayPath(path)), &counts);
  ReportMoveOutcome(ui, path, gEngine.moveResultCode, counts);
  CountMoveOutcome(ui, path, gEngine.moveResultCode);
}

void CountSeen(WalkKind kind) {
  if (kind == WalkKind::Analysis) {
    uint64_t seen;
    {
      std::lock_guard lock(SharedLock());
      seen = ++gRun.counters.filesSeen;
    }
    // Every point where the count is shown is a multiple of 32, and so is
    // every batch of staged files worth taking over.
    if (seen % 32 == 0) gFolderWorker.Nudge();
  } else {
    ++gRun.counters.filesSeen;
  }
}

void CountLeftOut() {
  std::lock_guard lock(SharedLock());
  ++gRun.counters.leftOut;
}

// The record of a file a stopped move left in pieces, as it is now.
FragmentedFileRecord StillFragmentedRecord(RunUi& ui, const std::wstring& path) {
  FileAnalysis analysis;
  AnalyseFile(path, analysis);
  DirEntry entry;
  Fs().FindEntries(path, [&entry](const DirEntry& found) {
    entry = found;
    return false;
  });
  return MakeFragmentedRecord(ui, path, entry, analysis, gCurrentClusterSize);
}

}  // namespace

bool StopRequested() { return (gEngine.flags.load() & kStopRequested) != 0; }

void RequestStop() {
  std::lock_guard lock(SharedLock());
  gEngine.flags.fetch_or(kStopRequested);
}

std::wstring ErrorMessageFor(const std::wstring& code) {
  if (code == kMoveNoFreeRun || code == kMoveNoFreeRunOld) {
    return Text(kStrNoContiguousRun,
                L"Non esistono cluster contigui sufficienti per deframmentare completamente il file.");
  }
  if (code == kMovePartlyMoved) {
    return Text(kStrPartlyMoved, L"Il file è stato spostato solo in parte ed è ancora frammentato.");
  }
  if (code == kOutcomeNoResources) {
    return Text(kStrNoResources, L"Risorse di sistema insufficienti per deframmentare il file.  ");
  }
  // A system text ends in its line end, which the lists do not show; the
  // program's own texts ("Error 0x...") have none and stay whole.
  if (code.size() >= 2 && code.compare(code.size() - 2, 2, L"\r\n") == 0) {
    return code.substr(0, code.size() - 2);
  }
  return code;
}

ErrorEntry MakeErrorEntry(const std::wstring& path, const std::wstring& code) {
  // The error text may come from the system's message table.
  TagScope tag(kTagRecordingError);
  ErrorEntry entry;
  entry.path = path;
  entry.displayPath = std::wstring(DisplayPath(path));
  entry.message = ErrorMessageFor(code);
  return entry;
}

FragmentedFileRecord MakeFragmentedRecord(RunUi& ui, const std::wstring& path, const DirEntry& entry,
                                          const FileAnalysis& analysis, uint32_t clusterSize) {
  FragmentedFileRecord record;
  record.path = std::wstring(DisplayPath(path));
  record.size = entry.size;
  uint64_t compressed = 0;
  if (entry.attributes & kAttrCompressed) compressed = Fs().GetCompressedSize(path);
  record.sizeOnDisk = SizeOnDisk(entry.attributes, entry.size, compressed, clusterSize);
  record.percentOnDisk = PercentOnDisk(record.sizeOnDisk, entry.size);
  if (record.percentOnDisk > kSuspiciousPercent) {
    FileAnalysis again;
    AnalyseFile(path, again);
    if (again.outcome.empty() && again.clusters == 0) record.percentOnDisk = 0;
  }
  record.fragments = analysis.fragments;
  record.clusters = analysis.clusters;
  record.clusterSize = clusterSize;
  ui.DateTexts(entry.lastWriteTime, record.modifiedDate, record.modifiedTime);
  record.attributes = AttributeLetters(entry.attributes);
  return record;
}

void WalkFolder(RunUi& ui, const RunFilter& filter, const std::wstring& folder, WalkKind kind) {
  // A deep tree makes the walk as deep as the longest path the system
  // accepts. Each level therefore holds only its open search, and all levels
  // share one path that each cuts back to its own folder, so the memory
  // grows with the depth alone.
  std::wstring path = folder;
  std::vector<WalkLevel> levels;
  std::set<FolderIdentity> entered;
  EnterFolder(path, levels, entered);
  DirEntry entry;
  uint64_t met = 0;
  while (!levels.empty()) {
    WalkLevel& level = levels.back();
    path.resize(level.folderLength);
    if (!level.listing->Next(entry)) {
      levels.pop_back();
      continue;
    }
    if (IsDotEntry(entry.name)) continue;
    // A stop ends this level at its next entry, and so every level above.
    if (StopRequested()) {
      levels.pop_back();
      continue;
    }
    AppendName(path, entry.name);
    if (entry.attributes & kAttrDirectory) {
      // Hidden, system and reparse-point folders are entered like any other.
      if (!filter.FolderLeftOut(path)) {
        EnterFolder(path, levels, entered);
      } else {
        ReportFileOutcome(ui, path, FileFate::LeftOut, std::wstring(), nullptr);
      }
      continue;
    }
    const std::wstring shown(DisplayPath(path));
    if (filter.FileLeftOut(shown)) {
      CountLeftOut();
      ReportFileOutcome(ui, path, FileFate::LeftOut, std::wstring(), nullptr);
    } else if (FirstVisit(shown)) {
      if (kind == WalkKind::Analysis) {
        AnalyseWalkedFile(ui, path, entry);
      } else {
        DefragmentWalkedFile(ui, path);
      }
      CountSeen(kind);
    }
    // The window is kept alive by the files met, left out or not.
    ++met;
    if (kind == WalkKind::Defragmentation && met % 32 == 0) {
      ui.RefreshErrors();
      ui.RefreshCounters();
      if (met % 64 == 0) ui.PumpMessages();
    }
  }
}

void ReportFileOutcome(RunUi& ui, const std::wstring& path, FileFate fate, const std::wstring& code,
                       const FileAnalysis* counts) {
  FileOutcome outcome;
  outcome.path = std::wstring(DisplayPath(path));
  outcome.fate = fate;
  outcome.code = code;
  if (counts != nullptr) {
    outcome.fragmentsBefore = outcome.fragmentsAfter = counts->fragments;
    outcome.clusters = counts->clusters;
  }
  outcome.clusterSize = gCurrentClusterSize;
  if (fate == FileFate::Moved) {
    outcome.fragmentsAfter = 1;
    outcome.target = gEngine.moveJob.targetLcn;
  }
  ui.FileOutcome(outcome);
}

void ReportMoveOutcome(RunUi& ui, const std::wstring& path, const std::wstring& code,
                       const FileAnalysis& counts) {
  const FileFate fate = code.empty()                   ? FileFate::Moved
                        : code == kMoveAlreadyContiguous ? FileFate::Contiguous
                        : code == kMoveStopped           ? FileFate::Stopped
                                                         : FileFate::Failed;
  ReportFileOutcome(ui, path, fate, code, &counts);
}

void AnalyseFolderWorker(void* argument) {
  const FolderJob& job = *static_cast<const FolderJob*>(argument);
  WalkFolder(*job.ui, *job.filter, job.folder, WalkKind::Analysis);
  gEngine.doneFlags[kDoneFolderWorker].store(1, std::memory_order_release);
}

void DefragmentRunFile(RunUi& ui, const std::wstring& path, FileAnalysis* counts) {
  if (DefragmentFile(ui, path, counts)) ++gRun.counters.filesTried;
}

void AnalyseListedFile(RunUi& ui, ItemRecord& record) {
  FileAnalysis analysis;
  AnalyseFile(record.longPath, analysis);
  // A file reached before in this run shows its state but is not counted,
  // listed or reported again.
  const bool first = FirstVisit(record.path);
  if (first) ReportAnalysisOutcome(ui, record.longPath, analysis);
  if (!analysis.outcome.empty()) {
    ApplyFileAnalysis(record, false, kCountUnknown, kCountUnknown);
    if (first) gRun.errors.push_back(MakeErrorEntry(record.longPath, analysis.outcome));
  } else {
    const int64_t fragments = static_cast<int64_t>(analysis.fragments);
    ApplyFileAnalysis(record, true, fragments, static_cast<int64_t>(analysis.clusters));
    if (!first) return;
    if (fragments < 2) {
      ++gRun.counters.notFragmented;
    } else {
      DirEntry entry;
      Fs().FindEntries(record.longPath, [&entry](const DirEntry& found) {
        entry = found;
        return false;
      });
      gRun.fragmented.push_back(
          MakeFragmentedRecord(ui, record.longPath, entry, analysis, gCurrentClusterSize));
      ++gRun.counters.fragmented;
    }
  }
  if (first) ++gRun.counters.filesSeen;
}

void CountMoveOutcome(RunUi& ui, const std::wstring& path, const std::wstring& code) {
  if (code.empty()) {
    ++gRun.counters.filesMoved;
    ui.RefreshCounters();
  } else if (code == kMoveAlreadyContiguous) {
    ++gRun.counters.notFragmented;
  } else if (code == kMoveStopped) {
    // The move was stopped between two fragments: the file is still in
    // pieces, and a stopped run lists it so.
    gRun.fragmented.push_back(StillFragmentedRecord(ui, path));
    ++gRun.counters.fragmented;
  } else {
    // The defragmentation runs alone on the run's thread: no lock.
    gRun.errors.push_back(MakeErrorEntry(path, code));
    ui.RefreshErrors();
  }
  const std::wstring upper = UpperCase(DisplayPath(path));
  std::lock_guard lock(SharedLock());
  if (InsideAny(upper, gVisits.overlapRoots)) gVisits.overlapOutcomes[upper] = code;
}

void BeginRunVisits(const std::vector<std::wstring>& overlaps, std::vector<FragmentedFileRecord> earlier) {
  std::lock_guard lock(SharedLock());
  gVisits = RunVisits{};
  for (const std::wstring& path : overlaps) gVisits.overlapRoots.push_back(UpperCase(path));
  gVisits.earlier = std::move(earlier);
  gVisits.reached.assign(gVisits.earlier.size(), false);
  for (size_t i = 0; i < gVisits.earlier.size(); ++i) {
    gVisits.earlierIndex.emplace(UpperCase(gVisits.earlier[i].path), i);
  }
}

bool FirstVisit(const std::wstring& path, std::wstring* outcome) {
  std::lock_guard lock(SharedLock());
  if (gVisits.overlapRoots.empty() && gVisits.earlierIndex.empty()) return true;
  const std::wstring upper = UpperCase(path);
  if (auto known = gVisits.earlierIndex.find(upper); known != gVisits.earlierIndex.end()) {
    gVisits.reached[known->second] = true;
  }
  if (!InsideAny(upper, gVisits.overlapRoots)) return true;
  auto [visit, inserted] = gVisits.overlapOutcomes.try_emplace(upper);
  if (!inserted && outcome) *outcome = visit->second;
  return inserted;
}

std::vector<FragmentedFileRecord> UnreachedFragmented() {
  std::lock_guard lock(SharedLock());
  std::vector<FragmentedFileRecord> unreached;
  for (size_t i = 0; i < gVisits.earlier.size(); ++i) {
    if (!gVisits.reached[i]) unreached.push_back(gVisits.earlier[i]);
  }
  return unreached;
}

void EndRunVisits() {
  std::lock_guard lock(SharedLock());
  gVisits = RunVisits{};
}
