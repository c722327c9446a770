#pragma once
// Fragmentation analysis: reads a file's cluster runs and counts its physical
// fragments and clusters. Two forms share one reading loop: the counting form
// of every analysis, and the list-building form used before a move, which also
// records each fragment in the process-wide extent list.
#include <cstdint>
#include <string>
#include <vector>

#include "engine/VolumeAccess.h"

struct FileAnalysis {
  uint64_t fragments = 0;
  uint64_t clusters = 0;  // runs without clusters excluded
  // Empty on success, else a system text or a two-letter outcome code.
  std::wstring outcome;
};

// One fragment of a file.
struct Extent {
  int64_t vcn = 0;
  int64_t lcn = 0;
  uint64_t clusterCount = 0;  // a move passes its low 32 bits
  Extent* next = nullptr;
};

// A file's fragments in VCN order, as a singly linked list with a count.
class ExtentList {
 public:
  ExtentList() = default;
  ExtentList(const ExtentList&) = delete;
  ExtentList& operator=(const ExtentList&) = delete;
  ~ExtentList() { Clear(); }

  // Links a new node at the tail. False, with nothing linked or counted, when
  // the node cannot be allocated.
  bool Append(int64_t vcn, int64_t lcn, uint64_t clusterCount);
  void Clear();
  const Extent* Head() const { return head_; }
  uint64_t Count() const { return count_; }

 private:
  Extent* head_ = nullptr;
  Extent* tail_ = nullptr;  // lists of half a million fragments are appended to
  uint64_t count_ = 0;
};

// Node allocation, replaceable so that an allocation failure can be produced
// on purpose.
struct ExtentAllocator {
  void* (*allocate)(size_t length);
  void (*release)(void* node);
};
extern ExtentAllocator gExtentAllocator;
void ResetExtentAllocator();

// The list the last list-building analysis filled; it stays filled for the
// move thread and the fragment details.
extern ExtentList gExtentList;

constexpr const wchar_t* kOutcomeNoResources = L"NR";

// The counting form: opens the file (or folder) itself. 1 when the reading
// ended normally, at the end of the runs or with the end-of-file answer;
// 0 when the file could not be opened, a read was refused with any other
// status, or a pending read failed, with the system text as outcome. A
// failed pending read returns with the file still open.
int AnalyseFile(const std::wstring& path, FileAnalysis& result);

// Where a file's clusters lie, run by run as the file system reported them.
struct ClusterRun {
  int64_t lcn;
  uint64_t count;
};

// One run with clusters of a file: where it lies in the file and on the volume.
struct FileRun {
  int64_t vcn = 0;
  int64_t lcn = 0;
  uint64_t count = 0;
};

// The list-building form, on a handle the caller opened for moving and keeps.
// True when every fragment got its node; false with "NR" when a node could
// not be allocated, or with the system text when a read was refused (end of
// file aside) or a pending read failed.
// `runs`, when given, receives every run with clusters.
bool BuildExtentList(FsHandle file, FileAnalysis& result, std::vector<FileRun>* runs = nullptr);

// The same reading into a list and a buffer of the caller's, so that it can
// run while a run's worker or move thread uses the shared list and buffer
// (the fragment details read a file afresh whenever they are opened).
bool ReadFileExtents(FsHandle file, FileAnalysis& result, ExtentList& extents);

// At most this many chunks minus one are counted by the counting form: a
// bound on the time spent on one huge file.
constexpr int kMaxCountedChunks = 2000;
