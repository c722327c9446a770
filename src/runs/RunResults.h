#pragma once
// What a run finds, shared by the walk and the run driver that fill it and the
// window that shows it: the run counters, the fragmented files and the errors.
// The analysis walk appends to the pending lists under the engine lock; the
// window thread moves them into the run's lists in batches.
#include <cstdint>
#include <string>
#include <vector>

struct RunCounters {
  uint64_t filesSeen = 0;
  uint64_t notFragmented = 0;
  uint64_t filesTried = 0;
  uint64_t filesMoved = 0;
};

struct FragmentedFileRecord {
  std::wstring path;  // without the long prefix
  uint64_t size = 0;
  uint64_t sizeOnDisk = 0;
  uint32_t percentOnDisk = 0;  // hundredths of a per cent
  uint64_t fragments = 0;
  uint64_t clusters = 0;
  uint32_t clusterSize = 0;
  std::wstring modifiedDate;  // local time, the user's formats
  std::wstring modifiedTime;
  std::wstring attributes;    // letters from "RHSAEC"
  // Marked by the user for a defragmentation of the marked files only.
  bool marked = false;
};

struct ErrorEntry {
  std::wstring path;         // as given
  std::wstring displayPath;  // without the long prefix
  std::wstring message;
};

// What became of one file in a run, for the programs that list every file.
enum class FileFate {
  Fragmented,  // an analysis found it in more than one fragment
  Contiguous,  // one fragment or none: nothing to move
  Moved,       // now one run at `target`
  Failed,      // could not be read or moved; `code` says why
  LeftOut,     // a filter left it (or its whole folder) out
  Stopped,     // the run was stopped before it was moved
};
struct FileOutcome {
  std::wstring path;  // without the long prefix
  FileFate fate = FileFate::Failed;
  std::wstring code;  // the engine's outcome code or the system's text
  uint64_t fragmentsBefore = 0;
  uint64_t fragmentsAfter = 0;
  uint64_t clusters = 0;
  uint32_t clusterSize = 0;
  int64_t target = -1;  // the first cluster of the run it went to
};

struct RunResults {
  RunCounters counters;
  std::vector<FragmentedFileRecord> fragmented;
  std::vector<ErrorEntry> errors;
  // Filled by the analysis walk's worker, emptied by the window thread.
  std::vector<FragmentedFileRecord> pendingFragmented;
  std::vector<ErrorEntry> pendingErrors;
};

extern RunResults gRun;

// Whether a result's path (without the long prefix) belongs to an item: the
// item itself, or anything below a folder.
bool PathWithinItem(const std::wstring& itemPath, bool itemIsFolder, const std::wstring& path);

// After items were removed from the list: the fragmented files and errors
// that no remaining item covers go too. With no item left, nothing of the
// last run is shown any more and its counters start again. The number of
// rows removed.
size_t DropResultsOfRemovedItems();
