#pragma once
// The free runs of one volume, read from its bitmap once in a run and then
// kept up to date after each move, so that finding a place for a file costs
// the same on a volume of any size instead of a scan of the whole bitmap.
//
// It answers exactly what the per-file scan of the bitmap (FindFreeRun)
// would answer on the same volume, quirks included, or says it cannot (a
// search for fewer clusters than it keeps runs of, on a volume whose free
// space would not fit its memory budget): that scan judges the
// maximal free runs in order, except near the start of the volume, where a
// run that starts at the byte count of a bitmap read is carried over one used
// cluster (see FreeRunSearch::Guard). The map keeps the maximal runs and
// replays the scan itself over the few runs at the start that the quirk can
// reach.
#include <cstdint>
#include <deque>
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

  // What Find answers when the map cannot tell: the per-file scan decides.
  static constexpr int64_t kUnanswered = -2;
  // The memory the map keeps at most unless told otherwise.
  static constexpr uint64_t kDefaultBudget = uint64_t{256} << 20;
  // What one kept run costs: its node in each of the two trees, as the
  // allocator hands them out, and its share of the read's transient lists.
  static constexpr uint64_t kBytesPerRun = 160;

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

  // The memory the map may keep (applies from the next read). Past it the
  // map keeps only the runs of at least Threshold() clusters, a threshold it
  // raises as needed: every free run that long is kept, so a search for at
  // least that many clusters is still answered exactly, first fit and best
  // fit alike; a search for fewer is left to the per-file scan.
  void SetBudget(uint64_t bytes) { budget_ = bytes; }
  uint64_t Threshold() const { return threshold_; }
  // What the kept runs and the indexes take, as counted against the budget.
  uint64_t MemoryUsed() const;

  // The start of the run the per-file scan would choose, -1 for none,
  // kUnanswered when the map does not keep what the answer needs.
  int64_t Find(uint64_t needed, bool smart) const;

  // Reads again the bitmap around each of `ranges` and takes over what
  // changed there, with the free runs they join. 0 with the text when a read
  // failed; the map is then invalid.
  int Refresh(MessagePump& pump, FsHandle volume, const std::vector<ClusterRun>& ranges, std::wstring& message);

  // After a move: reads back the target and the clusters the file had.
  // `leftBehind` are the clusters the file no longer has; those the volume
  // still shows in use (held until its next checkpoint) are remembered and
  // looked at again before later searches. After a move that went through
  // (`whole`) they are remembered in the order they were left; after one
  // that went wrong some of them may belong to someone else by now, and they
  // are looked at before every search until they show free.
  int NoteMove(MessagePump& pump, FsHandle volume, int64_t target, uint64_t clusters, const std::vector<ClusterRun>& oldRuns,
               const std::vector<ClusterRun>& leftBehind, bool whole, std::wstring& message);
  // Before each search: a volume frees held clusters in the order it was
  // given them (a checkpoint frees all that were left before it), so the
  // oldest range a whole move left and still held is looked at, and the next
  // only once that one shows free. Each such range is taken over once; a
  // search looks at one that is still held at most, besides what moves that
  // went wrong left.
  int RefreshHeld(MessagePump& pump, FsHandle volume, std::wstring& message);

  // The clusters of `from` that are in none of `taken`, in order.
  static std::vector<ClusterRun> Without(std::vector<ClusterRun> from, std::vector<ClusterRun> taken);

  // For benchmarks and tests.
  uint64_t BitmapReads() const { return bitmapReads_; }
  uint64_t HeldRanges() const { return heldAt_.size() + suspects_.size(); }
  std::vector<Run> Runs() const;  // the kept free runs, in order

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

  // The bits of one chunk, read on demand for the refresh of a range.
  bool Load(MessagePump& pump, int64_t lcn, std::wstring& message);
  bool FreeAt(int64_t lcn) const;
  // Extends [lo, hi) over the free clusters on either side; false when a
  // read failed.
  bool Widen(MessagePump& pump, int64_t& lo, int64_t& hi, std::wstring& message);
  // Takes over the free runs of [lo, hi), whose ends are used clusters or
  // the ends of the volume.
  bool TakeSpan(MessagePump& pump, int64_t lo, int64_t hi, std::wstring& message);
  // `anyFree`: some cluster of `range` reads free (in use, with `used`).
  // False with the text set when a read failed.
  bool AnyFree(MessagePump& pump, const ClusterRun& range, bool& anyFree, std::wstring& message, bool used = false);

  bool Keeps(int64_t start, uint64_t length) const {
    return length >= threshold_ || start < kChunk;
  }
  void InsertRun(int64_t start, uint64_t length);
  std::map<int64_t, uint64_t>::iterator EraseRun(std::map<int64_t, uint64_t>::iterator it);
  // Raises the threshold until the kept runs take at most half the budget.
  void Shed();
  uint64_t RunBudget() const;
  void Raise(size_t block, uint64_t length);
  void Settle(size_t block, uint64_t largest) const;
  int64_t FirstBlockHolding(size_t fromBlock, uint64_t needed) const;
  // Replays the scan from cluster 0 up to the first run it closes in the
  // ordinary way; beyond that its judged runs are the maximal runs.
  void ReplayStart();
  void ForgetHeld(int64_t lcn, uint64_t count);
  void AddHeld(const ClusterRun& range);

  bool valid_ = false;
  bool regular_ = true;
  FsHandle volume_ = 0;
  uint64_t generation_ = 0;
  int64_t clusters_ = 0;
  uint64_t budget_ = kDefaultBudget;
  uint64_t threshold_ = 1;
  // The information word each chunk's read returns: the byte count the
  // scan's guard starts from.
  std::vector<uint64_t> information_;
  std::map<int64_t, uint64_t> runs_;                 // start -> length
  std::set<std::pair<uint64_t, int64_t>> byLength_;  // (length, start)
  // For each block of 2^blockShift_ clusters, at least the largest length
  // of the kept runs starting in it (saturated at 2^32 - 1), as a tree of
  // maxima with its leaves from index leaves_. A run taken out leaves the
  // bound as it was; a search that finds the block short settles it.
  mutable std::vector<uint32_t> bound_;
  size_t leaves_ = 1;
  int blockShift_ = 6;
  // What the scan judges up to startEnd_ (a used cluster, or the end of the
  // volume); the maximal runs starting after it are judged as they are.
  // False when the replay would need runs the map no longer keeps.
  std::vector<Run> start_;
  int64_t startEnd_ = -1;
  bool startKnown_ = true;
  bool guardChanged_ = false;  // a refresh read a new guard for the start
  uint64_t bitmapReads_ = 0;
  // The chunk whose bits `bits_` holds, -1 for none.
  int64_t loaded_ = -1;
  int64_t loadedEnd_ = 0;
  std::vector<uint8_t> bits_;
  // Ranges left behind and still in use, oldest first; erased ones are
  // skipped. heldAt_ finds them by their first cluster.
  struct Held {
    ClusterRun range;
    bool live;
  };
  std::deque<Held> held_;
  uint64_t heldFirst_ = 0;  // the sequence number of held_.front()
  std::map<int64_t, uint64_t> heldAt_;  // first cluster -> sequence number
  std::vector<ClusterRun> suspects_;     // left by moves that went wrong
};

// The map of the volume the current run works on.
extern FreeSpaceMap gFreeSpaceMap;

// The search a relocation makes: through the map, read at the first search
// on a volume handle, or by the per-file scan when `perFileScan` is set (the
// reference the map is proven against) or the map cannot replay the volume.
int SearchFreeRun(MessagePump& pump, FsHandle volume, uint64_t needed, bool smart, int64_t& lcn, std::wstring& message);
extern bool gPerFileScan;
