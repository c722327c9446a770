#include "engine/FreeSpaceMap.h"

#include <algorithm>
#include <cstring>
#include <limits>


FreeSpaceMap gFreeSpaceMap;
bool gPerFileScan = false;

bool FreeSpaceMap::ReadFor(FsHandle volume, uint64_t volumeGeneration) const {
  return valid_ && volume_ == volume && generation_ == volumeGeneration;
}

void FreeSpaceMap::Invalidate() {
  valid_ = false;
  regular_ = true;
  volume_ = 0;
  clusters_ = 0;
  information_.clear();
  runs_.clear();
  byLength_.clear();
  tree_.clear();
  dirty_.clear();
  start_.clear();
  startEnd_ = -1;
  held_.clear();
}

bool FreeSpaceMap::AllFree(const ClusterRun& range) const {
  auto it = runs_.upper_bound(range.lcn);
  if (it == runs_.begin()) return false;
  --it;
  return it->first + int64_t(it->second) >= range.lcn + int64_t(range.count);
}

int FreeSpaceMap::NoteMove(MessagePump& pump, FsHandle volume, int64_t target, uint64_t clusters,
                           const std::vector<ClusterRun>& oldRuns, std::wstring& message) {
  if (!regular_) return 1;
  // Held clusters the target took are no longer awaited.
  const int64_t targetEnd = target + int64_t(clusters);
  std::erase_if(held_, [&](const ClusterRun& range) {
    return range.lcn < targetEnd && range.lcn + int64_t(range.count) > target;
  });
  if (!valid_) {
    // Read afresh at the next search: only the old clusters are remembered.
    held_.insert(held_.end(), oldRuns.begin(), oldRuns.end());
    return 1;
  }
  std::vector<ClusterRun> ranges = oldRuns;
  ranges.push_back({target, clusters});
  if (Refresh(pump, volume, ranges, message) == 0) return 0;
  for (const ClusterRun& range : oldRuns) {
    if (!AllFree(range)) held_.push_back(range);
  }
  return 1;
}

int FreeSpaceMap::RefreshHeld(MessagePump& pump, FsHandle volume, std::wstring& message) {
  if (held_.empty() || !valid_) return 1;
  const std::vector<ClusterRun> held = std::move(held_);
  held_.clear();
  if (Refresh(pump, volume, held, message) == 0) return 0;
  for (const ClusterRun& range : held) {
    if (!AllFree(range)) held_.push_back(range);
  }
  return 1;
}

bool FreeSpaceMap::ReadAt(FsHandle volume, int64_t lcn, ReadChunk& chunk, std::wstring& message) {
  IoStatusBlock block{};
  ++bitmapReads_;
  NtStatus status = Va().GetVolumeBitmap(volume, block, &lcn, sizeof lcn, gSharedBuffer.bytes,
                                         kSharedBufferLength);
  if (status == kStatusPending) {
    Va().Wait(volume);
    status = block.status;
  }
  if (status != kStatusSuccess && status != kStatusBufferOverflow) {
    message = FailureText(uint32_t(status));
    return false;
  }
  chunk.status = status;
  std::memcpy(&chunk.header, gSharedBuffer.bytes, sizeof chunk.header);
  chunk.information = block.information;
  chunk.examined = std::min<uint64_t>(uint64_t(chunk.header.bitmapSize), kBitmapChunkClusters);
  // The scan asks for multiples of a chunk; a volume that rounds them down
  // makes it read some clusters twice, which the map does not replay.
  if (chunk.header.startingLcn != lcn) regular_ = false;
  return true;
}

void FreeSpaceMap::TakeChunk(const ReadChunk& chunk, MessagePump* pump, std::vector<Run>* collected) {
  const uint8_t* bits = gSharedBuffer.bytes + sizeof(VolumeBitmapHeader);
  const int64_t base = chunk.header.startingLcn;
  for (uint64_t window = 0; window < chunk.examined; window += kPumpInterval) {
    if (pump) pump->PumpMessages();
    const uint64_t end = std::min(chunk.examined, window + kPumpInterval);
    uint64_t i = window;
    while (i < end) {
      const uint64_t free = NextBit(bits, i, end, false);
      if (free == end) break;
      const uint64_t used = NextBit(bits, free, end, true);
      const int64_t start = base + int64_t(free);
      if (collected == nullptr) {
        InsertMerging(start, used - free);
      } else if (!collected->empty() &&
                 collected->back().start + int64_t(collected->back().length) == start) {
        collected->back().length += used - free;
      } else {
        collected->push_back({start, used - free});
      }
      i = used;
    }
  }
}

int FreeSpaceMap::Read(MessagePump& pump, FsHandle volume, uint64_t volumeGeneration, std::wstring& message) {
  std::vector<ClusterRun> held;
  if (volume == volume_ && volumeGeneration == generation_) held = std::move(held_);
  Invalidate();
  held_ = std::move(held);
  message.clear();
  // The runs come in order: collected first, then filed in one pass.
  std::vector<Run> collected;
  int64_t lcn = 0;
  for (;;) {
    ReadChunk chunk{};
    if (!ReadAt(volume, lcn, chunk, message)) {
      held = std::move(held_);
      Invalidate();
      held_ = std::move(held);
      return 0;
    }
    if (lcn == 0) {
      clusters_ = chunk.header.startingLcn + chunk.header.bitmapSize;
      const size_t chunks = size_t((clusters_ + kChunk - 1) / kChunk);
      information_.assign(std::max<size_t>(chunks, 1), 0);
      leaves_ = 1;
      while (leaves_ < information_.size()) leaves_ *= 2;
      tree_.assign(2 * leaves_, 0);
    }
    if (!regular_) break;
    information_[size_t(chunk.header.startingLcn / kChunk)] = chunk.information;
    TakeChunk(chunk, &pump, &collected);
    if (chunk.status != kStatusBufferOverflow) break;
    lcn = chunk.header.startingLcn + int64_t(chunk.examined);
  }
  std::vector<std::pair<uint64_t, int64_t>> lengths;
  lengths.reserve(collected.size());
  for (const Run& run : collected) {
    runs_.emplace_hint(runs_.end(), run.start, run.length);
    lengths.push_back({run.length, run.start});
    size_t node = leaves_ + size_t(run.start / kChunk);
    tree_[node] = std::max(tree_[node], run.length);
  }
  std::sort(lengths.begin(), lengths.end());
  for (const auto& entry : lengths) byLength_.emplace_hint(byLength_.end(), entry);
  for (size_t node = leaves_ - 1; node >= 1; --node) {
    tree_[node] = std::max(tree_[2 * node], tree_[2 * node + 1]);
  }
  valid_ = true;
  volume_ = volume;
  generation_ = volumeGeneration;
  ReplayStart();
  return 1;
}

int FreeSpaceMap::Refresh(MessagePump& pump, FsHandle volume, const std::vector<ClusterRun>& ranges,
                          std::wstring& message) {
  if (!valid_ || !regular_) return 1;  // nothing kept: the next search reads
  std::set<int64_t> chunks;
  for (const ClusterRun& range : ranges) {
    if (range.lcn < 0 || range.count == 0) continue;
    const int64_t last = std::min(clusters_, range.lcn + int64_t(range.count)) - 1;
    for (int64_t c = range.lcn / kChunk; c <= last / kChunk; ++c) chunks.insert(c);
  }
  int64_t lowest = std::numeric_limits<int64_t>::max();
  for (int64_t c : chunks) {
    ReadChunk chunk{};
    if (!ReadAt(volume, c * kChunk, chunk, message) || !regular_) {
      // Read afresh at the next search.
      valid_ = false;
      return 0;
    }
    pump.PumpMessages();
    const int64_t lo = chunk.header.startingLcn;
    const int64_t hi = lo + int64_t(chunk.examined);
    lowest = std::min(lowest, lo);
    information_[size_t(c)] = chunk.information;
    // Out with every run that touches the chunk, keeping what lies outside.
    auto it = runs_.lower_bound(lo);
    if (it != runs_.begin() && std::prev(it)->first + int64_t(std::prev(it)->second) > lo) --it;
    std::vector<Run> outside;
    while (it != runs_.end() && it->first < hi) {
      const int64_t a = it->first, b = a + int64_t(it->second);
      if (a < lo) outside.push_back({a, uint64_t(lo - a)});
      if (b > hi) outside.push_back({hi, uint64_t(b - hi)});
      it = EraseRun(it);
    }
    for (const Run& run : outside) InsertRun(run.start, run.length);
    TakeChunk(chunk, nullptr, nullptr);
  }
  UpdateTree();
  // Only a change at or before the end of the replayed start can alter it.
  if (lowest <= startEnd_) ReplayStart();
  return 1;
}

void FreeSpaceMap::InsertRun(int64_t start, uint64_t length) {
  runs_[start] = length;
  byLength_.insert({length, start});
  Touch(start);
}

void FreeSpaceMap::InsertMerging(int64_t start, uint64_t length) {
  auto next = runs_.find(start + int64_t(length));
  if (next != runs_.end()) {
    length += next->second;
    EraseRun(next);
  }
  auto it = runs_.lower_bound(start);
  if (it != runs_.begin()) {
    auto before = std::prev(it);
    if (before->first + int64_t(before->second) == start) {
      start = before->first;
      length += before->second;
      EraseRun(before);
    }
  }
  InsertRun(start, length);
}

std::map<int64_t, uint64_t>::iterator FreeSpaceMap::EraseRun(std::map<int64_t, uint64_t>::iterator it) {
  byLength_.erase({it->second, it->first});
  Touch(it->first);
  return runs_.erase(it);
}

void FreeSpaceMap::UpdateTree() {
  for (size_t chunk : dirty_) {
    if (chunk >= leaves_) continue;
    uint64_t largest = 0;
    const int64_t lo = int64_t(chunk) * kChunk;
    for (auto it = runs_.lower_bound(lo); it != runs_.end() && it->first < lo + kChunk; ++it) {
      largest = std::max(largest, it->second);
    }
    size_t node = leaves_ + chunk;
    tree_[node] = largest;
    for (node /= 2; node >= 1; node /= 2) tree_[node] = std::max(tree_[2 * node], tree_[2 * node + 1]);
  }
  dirty_.clear();
}

int64_t FreeSpaceMap::FirstChunkHolding(size_t fromChunk, uint64_t needed) const {
  if (fromChunk >= leaves_ || tree_[1] < needed) return -1;
  // Down from the root: the leftmost leaf at or after fromChunk whose
  // largest run holds `needed`.
  struct Frame {
    size_t node, lo, hi;
  };
  std::vector<Frame> stack{{1, 0, leaves_}};
  while (!stack.empty()) {
    const Frame f = stack.back();
    stack.pop_back();
    if (f.hi <= fromChunk || tree_[f.node] < needed) continue;
    if (f.hi - f.lo == 1) return int64_t(f.lo);
    const size_t mid = (f.lo + f.hi) / 2;
    stack.push_back({2 * f.node + 1, mid, f.hi});
    stack.push_back({2 * f.node, f.lo, mid});
  }
  return -1;
}

void FreeSpaceMap::ReplayStart() {
  start_.clear();
  FreeRunSearch search;
  search.judged = &start_;
  size_t chunk = 0;
  int64_t chunkEnd = std::min(clusters_, kChunk);
  search.Guard() = int64_t(information_[0]);
  // The end of a chunk: the scan closes what is open and reads the next.
  auto crossed = [&](int64_t position) {
    if (position != chunkEnd || chunkEnd >= clusters_) return;
    if (search.open.start != -1) search.CloseOpen();
    ++chunk;
    chunkEnd = std::min(clusters_, chunkEnd + kChunk);
    search.Guard() = int64_t(information_[chunk]);
  };
  // Used clusters: the walk reports at most two per stretch and chunk. True
  // when one closed a run in the ordinary way: from there on the scan judges
  // the maximal runs as they are.
  auto used = [&](int64_t from, int64_t to) {
    while (from < to) {
      const int64_t pieceEnd = std::min(to, chunkEnd);
      const int calls = pieceEnd - from >= 2 ? 2 : 1;
      for (int call = 0; call < calls; ++call) {
        const bool open = search.open.start != -1;
        const bool guarded = open && search.open.start == search.Guard();
        search.Used();
        if (open && !guarded) {
          start_.push_back(search.candidate);
          startEnd_ = from;
          return true;
        }
      }
      from = pieceEnd;
      crossed(from);
    }
    return false;
  };
  auto free = [&](int64_t from, int64_t to) {
    while (from < to) {
      const int64_t pieceEnd = std::min(to, chunkEnd);
      search.Free(from, uint64_t(pieceEnd - from));
      from = pieceEnd;
      crossed(from);
    }
  };
  int64_t position = 0;
  for (const auto& [runStart, length] : runs_) {
    if (used(position, runStart)) return;
    free(runStart, runStart + int64_t(length));
    position = runStart + int64_t(length);
  }
  if (used(position, clusters_)) return;
  if (search.open.start != -1) search.CloseOpen();
  search.Judge(search.candidate);
  startEnd_ = clusters_;
}

int64_t FreeSpaceMap::Find(uint64_t needed, bool smart) const {
  if (!smart) {
    for (const Run& run : start_) {
      if (run.length >= needed && run.start != -1) return run.start;
    }
    const int64_t from = startEnd_ + 1;
    if (from >= clusters_) return -1;
    const size_t firstChunk = size_t(from / kChunk);
    const int64_t firstChunkEnd = int64_t(firstChunk + 1) * kChunk;
    for (auto it = runs_.lower_bound(from); it != runs_.end() && it->first < firstChunkEnd; ++it) {
      if (it->second >= needed) return it->first;
    }
    const int64_t chunk = FirstChunkHolding(firstChunk + 1, needed);
    if (chunk < 0) return -1;
    for (auto it = runs_.lower_bound(chunk * kChunk); it != runs_.end(); ++it) {
      if (it->second >= needed) return it->first;
    }
    return -1;
  }
  // The smallest run that holds the file; the earliest of equal ones.
  Run best;
  for (const Run& run : start_) {
    if (run.start != -1 && run.length >= needed && (best.start == -1 || run.length < best.length)) {
      best = run;
    }
  }
  for (auto it = byLength_.lower_bound({needed, std::numeric_limits<int64_t>::min()});
       it != byLength_.end(); ++it) {
    if (it->second <= startEnd_) continue;  // judged by the replay instead
    if (best.start == -1 || it->first < best.length) best = {it->second, it->first};
    break;
  }
  return best.start;
}

std::vector<FreeSpaceMap::Run> FreeSpaceMap::Runs() const {
  std::vector<Run> out;
  for (const auto& [start, length] : runs_) out.push_back({start, length});
  return out;
}

int SearchFreeRun(MessagePump& pump, FsHandle volume, uint64_t needed, bool smart, int64_t& lcn, std::wstring& message) {
  if (gPerFileScan) return FindFreeRun(pump, volume, needed, smart, lcn, message);
  lcn = -1;
  if (!gFreeSpaceMap.ReadFor(volume, gVolumeCache.generation) &&
      gFreeSpaceMap.Read(pump, volume, gVolumeCache.generation, message) == 0) {
    return 0;
  }
  if (gFreeSpaceMap.RefreshHeld(pump, volume, message) == 0) return 0;
  if (!gFreeSpaceMap.Regular()) return FindFreeRun(pump, volume, needed, smart, lcn, message);
  message.clear();
  lcn = gFreeSpaceMap.Find(needed, smart);
  return 1;
}
