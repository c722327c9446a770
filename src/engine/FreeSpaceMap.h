#pragma once
// The free runs of one volume, read from its bitmap once in a run and then
// kept up to date after each move, so that finding a place for a file costs
// the same on a volume of any size instead of a scan of the whole bitmap.
//
// It answers exactly what the per-file scan of the bitmap (FindFreeRun)
// would answer on the same volume, quirks included: that scan judges the
// maximal free runs in order, except near the start of the volume, where a
// run that starts at the byte count of a bitmap read is carried over one used
// cluster (see FreeRunSearch::Guard). The map keeps the maximal runs and
// replays the scan itself over the few runs at the start that the quirk can
// reach.
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/Analysis.h"
#include "engine/FreeSpace.h"
#include "engine/VolumeAccess.h"

class FreeSpaceMap {
 public:
  using Run = FreeRunSearch::Run;

  // Reads the whole bitmap of `volume`, pumping messages as the scan does.
  // 0 with the system text when a read failed; the map is then empty.
  int Read(MessagePump& pump, FsHandle volume, uint64_t volumeGeneration, std::wstring& message);
  // True when read for this open volume handle and still usable.
  bool ReadFor(FsHandle volume, uint64_t volumeGeneration) const;
  // Forgets everything: the next search reads the bitmap again.
  void Invalidate();
  // The next search reads the bitmap again, still knowing which clusters of
  // this volume await a checkpoint.
  void MarkStale() { valid_ = false; }
  // False when the volume rounds bitmap reads in a way the map does not
  // replay (a start granularity that does not divide a chunk); the per-file
  // scan answers then.
  bool Regular() const { return regular_; }

  // The start of the run the per-file scan would choose, -1 for none.
  int64_t Find(uint64_t needed, bool smart) const;

  // Reads again the bitmap chunks that hold any cluster of `ranges` and
  // takes over what changed there. 0 with the text when a read failed; the
  // map is then invalid.
  int Refresh(MessagePump& pump, FsHandle volume, const std::vector<ClusterRun>& ranges, std::wstring& message);

  // After a move: reads back the target and the clusters the file had. Those
  // the volume still shows in use (held until its next checkpoint) are read
  // again before each later search until they show free, so that space a
  // checkpoint frees is found as the per-file scan finds it.
  int NoteMove(MessagePump& pump, FsHandle volume, int64_t target, uint64_t clusters,
               const std::vector<ClusterRun>& oldRuns, std::wstring& message);
  // Reads again what awaits a checkpoint; called before each search.
  int RefreshHeld(MessagePump& pump, FsHandle volume, std::wstring& message);

  // For benchmarks and tests.
  uint64_t BitmapReads() const { return bitmapReads_; }
  std::vector<Run> Runs() const;  // the maximal free runs, in order

 private:
  static constexpr int64_t kChunk = int64_t(kBitmapChunkClusters);

  struct ReadChunk {
    NtStatus status;
    VolumeBitmapHeader header;
    uint64_t information;
    uint64_t examined;
  };
  // One bitmap read at `lcn`, waiting on a pending answer. False with the
  // text on failure.
  bool ReadAt(FsHandle volume, int64_t lcn, ReadChunk& chunk, std::wstring& message);
  // The free stretches of the chunk just read into the shared buffer.
  // Into the map, or when `collected` is given appended there (in order).
  void TakeChunk(const ReadChunk& chunk, MessagePump* pump, std::vector<Run>* collected);

  void InsertRun(int64_t start, uint64_t length);
  void InsertMerging(int64_t start, uint64_t length);
  std::map<int64_t, uint64_t>::iterator EraseRun(std::map<int64_t, uint64_t>::iterator it);
  void Touch(int64_t start) { dirty_.insert(size_t(start / kChunk)); }
  void UpdateTree();
  int64_t FirstChunkHolding(size_t fromChunk, uint64_t needed) const;
  // Replays the scan from cluster 0 up to the first run it closes in the
  // ordinary way; beyond that its judged runs are the maximal runs.
  void ReplayStart();
  bool AllFree(const ClusterRun& range) const;

  bool valid_ = false;
  bool regular_ = true;
  FsHandle volume_ = 0;
  uint64_t generation_ = 0;
  int64_t clusters_ = 0;
  // The information word each chunk's read returns: the byte count the
  // scan's guard starts from.
  std::vector<uint64_t> information_;
  std::map<int64_t, uint64_t> runs_;              // start -> length
  std::set<std::pair<uint64_t, int64_t>> byLength_;  // (length, start)
  // Largest length of the runs starting in each chunk, as a tree of maxima
  // over the chunks, leaves from index leaves_.
  std::vector<uint64_t> tree_;
  size_t leaves_ = 1;
  std::set<size_t> dirty_;
  // What the scan judges up to startEnd_ (a used cluster, or the end of the
  // volume); the maximal runs starting after it are judged as they are.
  std::vector<Run> start_;
  int64_t startEnd_ = -1;
  uint64_t bitmapReads_ = 0;
  std::vector<ClusterRun> held_;
};

// The map of the volume the current run works on.
extern FreeSpaceMap gFreeSpaceMap;

// The search a relocation makes: through the map, read at the first search
// on a volume handle, or by the per-file scan when `perFileScan` is set (the
// reference the map is proven against) or the map cannot replay the volume.
int SearchFreeRun(MessagePump& pump, FsHandle volume, uint64_t needed, bool smart, int64_t& lcn, std::wstring& message);
extern bool gPerFileScan;
