#pragma once
// Free-space search: reads the volume bitmap in chunks from cluster 0 and
// picks one run of free clusters long enough for a whole file, either the
// first that fits (quick) or the smallest that fits (smart). It never holds
// the whole bitmap and never changes anything.
#include <cstdint>
#include <string>
#include <vector>

#include "engine/EngineUi.h"
#include "engine/VolumeAccess.h"

// Clusters examined per chunk at most: the bitmap bytes of the shared buffer.
constexpr uint64_t kBitmapChunkClusters = 0x8000;
// The window is kept alive by pumping its messages every so many clusters.
constexpr uint64_t kPumpInterval = 2048;

// The state of one search. Runs are closed one late, so that a free run that
// straddles two chunks is judged as one.
struct FreeRunSearch {
  struct Run {
    int64_t start = -1;
    uint64_t length = 0;
    bool operator==(const Run&) const = default;
  };
  uint64_t needed = 0;
  bool smart = false;
  Run open;       // the free run being scanned
  Run previous;   // the run closed last
  Run candidate;  // previous runs joined across chunk boundaries
  uint64_t bestLength = 0;
  int64_t result = -1;
  bool done = false;
  // When set, every judged run is recorded here instead of being judged:
  // the free-space map replays the search this way (FreeSpaceMap.h).
  std::vector<Run>* judged = nullptr;
  // Keeps the window alive during long scans; set by the search.
  MessagePump* pump = nullptr;
  // The status block of the bitmap read. Its information word doubles as
  // the guard: the start of the run closed last. Every read overwrites it with
  // the number of bytes returned, so a run that happens to start at that LCN
  // is not closed by the first used cluster after it. Kept as it is.
  IoStatusBlock block{};
  int64_t& Guard() { return reinterpret_cast<int64_t&>(block.information); }

  // One free cluster at `lcn`, or `count` free clusters from it.
  void Free(int64_t lcn, uint64_t count = 1) {
    if (open.start == -1) {
      open.start = lcn;
      open.length = count;
    } else {
      open.length += count;
    }
  }
  // One used cluster: closes the open run, unless it starts at the guard.
  void Used() {
    if (open.start != -1) CloseOpen();
  }
  void CloseOpen();
  void Judge(const Run& run);
};

// How one chunk's bits are walked. `bits` holds at least `examined` bits;
// the walk pumps messages at every multiple of kPumpInterval below
// `examined` until the search is done.
using ChunkScanner = void (*)(FreeRunSearch& search, const uint8_t* bits, uint64_t examined,
                              int64_t chunkStart);

// The first position at or after `from`, below `limit`, whose bit equals
// `set`; `limit` when there is none. Reads whole 64-bit words: `bits` must
// hold them.
uint64_t NextBit(const uint8_t* bits, uint64_t from, uint64_t limit, bool set);

// The program's walk: skips whole words of free or used clusters.
void ScanChunkByWords(FreeRunSearch& search, const uint8_t* bits, uint64_t examined,
                      int64_t chunkStart);

// 1 when the bitmap was searched (`lcn` is then a run start, or -1 when no
// run qualifies), 0 when a read failed (`message` then holds its text).
int FindFreeRun(MessagePump& pump, FsHandle volume, uint64_t needed, bool smart, int64_t& lcn, std::wstring& message);
int FindFreeRunWith(ChunkScanner scanner, MessagePump& pump, FsHandle volume, uint64_t needed, bool smart,
                    int64_t& lcn, std::wstring& message);
