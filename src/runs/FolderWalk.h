#pragma once
// The folder walk: every file beneath a folder, depth-first in the order the
// file system returns the entries, handed to the analysis (on the folder
// worker) or to the relocation (on the run's thread), with the filters asked
// about each file and sub-folder first. Also the bookkeeping of one file:
// its fragmented-file record and its error entry.
//
// The walk keeps its folders on a list of its own rather than on the call
// stack, each level holding one open search, never its whole listing: a
// tree can be deeper than a worker's small stack would allow. It enters no
// folder twice (known by its volume and number, not its path), so a
// junction leading back up the tree is not followed round.
#include <cstdint>
#include <string>
#include <vector>

#include "engine/Analysis.h"
#include "engine/EngineThread.h"
#include "engine/FileQueries.h"
#include "items/ItemList.h"
#include "runs/RunFilters.h"
#include "runs/RunResults.h"

class RunUi;

enum class WalkKind { Analysis, Defragmentation };

// Walks the folder (its long path) and everything below it.
void WalkFolder(RunUi& ui, const RunFilter& filter, const std::wstring& folder, WalkKind kind);

// What the folder worker is handed.
struct FolderJob {
  std::wstring folder;
  RunUi* ui = nullptr;
  const RunFilter* filter = &ListFilter();
};
// The folder worker: `job` points to a FolderJob that stays alive until the
// worker has set DoneFlags slot 0, which is its last act. It runs on
// gFolderWorker, which it nudges every 32 files so that the waiting window
// thread takes over what was staged and shows the count.
void AnalyseFolderWorker(void* job);
extern WorkerThread gFolderWorker;

// A file item of an analysis run: analyses it and sets its state; a
// fragmented file or an error goes straight into the run's lists.
void AnalyseListedFile(RunUi& ui, ItemRecord& record);

// Relocates one file of a defragmentation run and counts it as tried when it
// needed a move; the outcome is gEngine.moveResultCode.
void DefragmentRunFile(RunUi& ui, const std::wstring& path, FileAnalysis* counts);

// The outcome of one relocated file (the path as given to the run) in the
// run's counters and lists: moved, contiguous, still fragmented (a move the
// user stopped) or an error. The processed count is the caller's.
void CountMoveOutcome(RunUi& ui, const std::wstring& path, const std::wstring& code);

// Which files a run reaches. `overlaps` are the items (paths as shown)
// that lie inside another item of the run, so that their files could be
// reached twice; `earlier` the files known to be fragmented before the run,
// which a stopped defragmentation lists again when it did not reach them.
void BeginRunVisits(const std::vector<std::wstring>& overlaps, std::vector<FragmentedFileRecord> earlier);
// True the first time the run reaches the file (its path without the long
// prefix). Otherwise `outcome`, when given, receives what the relocation of
// the first visit gave.
bool FirstVisit(const std::wstring& path, std::wstring* outcome = nullptr);
// The files of `earlier` that the run has not reached.
std::vector<FragmentedFileRecord> UnreachedFragmented();
void EndRunVisits();

// The shown text of a failed file from its outcome code.
std::wstring ErrorMessageFor(const std::wstring& code);
ErrorEntry MakeErrorEntry(const std::wstring& path, const std::wstring& code);

// The record of a fragmented file, from its directory entry and analysis.
FragmentedFileRecord MakeFragmentedRecord(RunUi& ui, const std::wstring& path, const DirEntry& entry,
                                          const FileAnalysis& analysis, uint32_t clusterSize);

// Hands one file's outcome to the run's user. `counts` holds the fragments
// and clusters the analysis or the relocation read (the ones after a move
// that left the file fragmented), null when nothing was read.
void ReportFileOutcome(RunUi& ui, const std::wstring& path, FileFate fate, const std::wstring& code,
                       const FileAnalysis* counts);
// The outcome of a relocation by its code (an empty code: moved to the
// target the engine chose).
void ReportMoveOutcome(RunUi& ui, const std::wstring& path, const std::wstring& code,
                       const FileAnalysis& counts);

// The cluster size of the volume of the item being processed.
extern uint32_t gCurrentClusterSize;

bool StopRequested();
void RequestStop();
