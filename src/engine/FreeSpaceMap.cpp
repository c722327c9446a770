#include "engine/FreeSpaceMap.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#include "engine/EngineUi.h"

FreeSpaceMap gFreeSpaceMap;
bool gPerFileScan = false;

namespace {

constexpr uint32_t kSaturated = std::numeric_limits<uint32_t>::max();

uint32_t Saturate(uint64_t length) { return uint32_t(std::min<uint64_t>(length, kSaturated)); }

// A bound of a block says it may hold a run of `needed` clusters.
bool Holds(uint32_t bound, uint64_t needed) { return bound == kSaturated || bound >= needed; }

// The last position below `before`, at or above `floor`, whose bit equals
// `set`; floor - 1 when there is none. `before` > floor.
int64_t PreviousBit(const uint8_t* bits, int64_t before, int64_t floor, bool set) {
  const uint64_t flip = set ? 0 : ~uint64_t(0);
  int64_t position = before - 1;
  while (position >= floor) {
    uint64_t word;
    std::memcpy(&word, bits + (position / 64) * 8, 8);
    word ^= flip;
    word &= ~uint64_t(0) >> (63 - position % 64);
    if (word != 0) return std::max(floor - 1, (position / 64) * 64 + 63 - std::countl_zero(word));
    position = (position / 64) * 64 - 1;
  }
  return floor - 1;
}

}  // namespace

bool FreeSpaceMap::ReadFor(FsHandle volume, uint64_t volumeGeneration) const {
  return valid_ && volume_ == volume && generation_ == volumeGeneration;
}

void FreeSpaceMap::Invalidate() {
  valid_ = false;
  regular_ = true;
  volume_ = 0;
  clusters_ = 0;
  threshold_ = 1;
  information_.clear();
  runs_.clear();
  byLength_.clear();
  bound_.clear();
  start_.clear();
  startEnd_ = -1;
  startKnown_ = true;
  loaded_ = -1;
  held_.clear();
  heldAt_.clear();
  heldFirst_ = 0;
  suspects_.clear();
}

uint64_t FreeSpaceMap::MemoryUsed() const {
  return runs_.size() * kBytesPerRun + bound_.size() * sizeof(uint32_t) +
         information_.size() * sizeof(uint64_t) + bits_.size() + heldAt_.size() * 96;
}

uint64_t FreeSpaceMap::RunBudget() const {
  const uint64_t fixed = bound_.size() * sizeof(uint32_t) + information_.size() * sizeof(uint64_t);
  // At least one run; the runs of the first chunk, where the scan's quirks
  // live, are kept whatever the budget.
  return std::max<uint64_t>(2, budget_ > fixed ? (budget_ - fixed) / kBytesPerRun : 0);
}

std::vector<ClusterRun> FreeSpaceMap::Without(std::vector<ClusterRun> from, std::vector<ClusterRun> taken) {
  auto byLcn = [](const ClusterRun& a, const ClusterRun& b) { return a.lcn < b.lcn; };
  std::erase_if(from, [](const ClusterRun& r) { return r.lcn < 0 || r.count == 0; });
  std::erase_if(taken, [](const ClusterRun& r) { return r.lcn < 0 || r.count == 0; });
  std::sort(from.begin(), from.end(), byLcn);
  std::sort(taken.begin(), taken.end(), byLcn);
  std::vector<ClusterRun> out;
  size_t t = 0;
  for (const ClusterRun& run : from) {
    int64_t at = run.lcn;
    const int64_t end = run.lcn + int64_t(run.count);
    while (t < taken.size() && taken[t].lcn + int64_t(taken[t].count) <= at) ++t;
    for (size_t k = t; k < taken.size() && taken[k].lcn < end && at < end; ++k) {
      if (taken[k].lcn > at) out.push_back({at, uint64_t(taken[k].lcn - at)});
      at = std::max(at, taken[k].lcn + int64_t(taken[k].count));
    }
    if (at < end) out.push_back({at, uint64_t(end - at)});
  }
  return out;
}

void FreeSpaceMap::ForgetHeld(int64_t lcn, uint64_t count) {
  const int64_t end = lcn + int64_t(count);
  auto it = heldAt_.upper_bound(lcn);
  if (it != heldAt_.begin()) {
    const auto before = std::prev(it);
    const Held& held = held_[size_t(before->second - heldFirst_)];
    if (held.range.lcn + int64_t(held.range.count) > lcn) it = before;
  }
  while (it != heldAt_.end() && it->first < end) {
    held_[size_t(it->second - heldFirst_)].live = false;
    it = heldAt_.erase(it);
  }
}

void FreeSpaceMap::AddHeld(const ClusterRun& range) {
  if (range.lcn < 0 || range.count == 0) return;  // a hole has no clusters
  ForgetHeld(range.lcn, range.count);
  held_.push_back({range, true});
  heldAt_[range.lcn] = heldFirst_ + held_.size() - 1;
}

int FreeSpaceMap::NoteMove(MessagePump& pump, FsHandle volume, int64_t target, uint64_t clusters,
                           const std::vector<ClusterRun>& oldRuns, const std::vector<ClusterRun>& leftBehind,
                           bool whole, std::wstring& message) {
  if (!regular_) return 1;
  // Held clusters the target took are no longer awaited.
  ForgetHeld(target, clusters);
  const int64_t targetEnd = target + int64_t(clusters);
  std::erase_if(suspects_, [&](const ClusterRun& range) {
    return range.lcn < targetEnd && range.lcn + int64_t(range.count) > target;
  });
  auto remember = [&](const ClusterRun& range) {
    if (whole) {
      AddHeld(range);
    } else if (range.lcn >= 0 && range.count > 0) {
      suspects_.push_back(range);
    }
  };
  if (!valid_) {
    // Read afresh at the next search, which sorts out what is still held.
    for (const ClusterRun& range : leftBehind) remember(range);
    return 1;
  }
  std::vector<ClusterRun> ranges = oldRuns;
  ranges.push_back({target, clusters});
  const int refreshed = Refresh(pump, volume, ranges, message);
  for (const ClusterRun& range : leftBehind) {
    // Free already when a kept run reaches into it; otherwise remembered,
    // and looked at again (a small free run the map does not keep is then
    // found free and let go).
    auto it = runs_.upper_bound(range.lcn + int64_t(range.count) - 1);
    const bool freed = refreshed != 0 && it != runs_.begin() &&
                       std::prev(it)->first + int64_t(std::prev(it)->second) > range.lcn;
    if (!freed) remember(range);
  }
  return refreshed;
}

int FreeSpaceMap::RefreshHeld(MessagePump& pump, FsHandle volume, std::wstring& message) {
  if (!valid_ || !regular_) return 1;
  if (!suspects_.empty()) {
    std::vector<ClusterRun> suspects = std::move(suspects_);
    suspects_.clear();
    if (Refresh(pump, volume, suspects, message) == 0) return 0;
    for (const ClusterRun& range : suspects) {
      bool anyUsed = false;
      if (!AnyFree(pump, range, anyUsed, message, true)) {
        valid_ = false;
        return 0;
      }
      if (anyUsed) suspects_.push_back(range);
    }
  }
  while (!held_.empty()) {
    if (!held_.front().live) {
      held_.pop_front();
      ++heldFirst_;
      continue;
    }
    const ClusterRun range = held_.front().range;
    loaded_ = -1;
    bool anyFree = false;
    if (!AnyFree(pump, range, anyFree, message)) {
      valid_ = false;
      return 0;
    }
    // Still held: so is everything left after it.
    if (!anyFree) break;
    heldAt_.erase(range.lcn);
    held_.pop_front();
    ++heldFirst_;
    if (Refresh(pump, volume, {range}, message) == 0) return 0;
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
  // Every answer sizes the bitmap from its start to the volume's end; one
  // that disagrees with the first would place chunks outside the map, which
  // is then not used: the per-file scan reads what the volume says.
  if (clusters_ != 0 && chunk.header.startingLcn + chunk.header.bitmapSize != clusters_) regular_ = false;
  return true;
}

bool FreeSpaceMap::Load(MessagePump& pump, int64_t lcn, std::wstring& message) {
  const int64_t chunkStart = lcn / kChunk * kChunk;
  if (chunkStart == loaded_) return true;
  ReadChunk chunk{};
  if (!ReadAt(volume_, chunkStart, chunk, message) || !regular_) return false;
  pump.PumpMessages();
  const size_t bytes = size_t((chunk.examined + 63) / 64 * 8);
  bits_.assign(bytes + 8, 0);
  std::memcpy(bits_.data(), gSharedBuffer.bytes + sizeof(VolumeBitmapHeader), bytes);
  uint64_t& information = information_[size_t(chunkStart / kChunk)];
  if (information != chunk.information && chunkStart <= startEnd_) guardChanged_ = true;
  information = chunk.information;
  loaded_ = chunkStart;
  loadedEnd_ = chunkStart + int64_t(chunk.examined);
  return true;
}

bool FreeSpaceMap::FreeAt(int64_t lcn) const {
  const uint64_t i = uint64_t(lcn - loaded_);
  return ((bits_[i / 8] >> (i % 8)) & 1) == 0;
}

bool FreeSpaceMap::AnyFree(MessagePump& pump, const ClusterRun& range, bool& anyFree, std::wstring& message, bool used) {
  anyFree = false;
  int64_t at = std::max<int64_t>(range.lcn, 0);
  const int64_t end = std::min(clusters_, range.lcn + int64_t(range.count));
  while (at < end) {
    if (!Load(pump, at, message)) return false;
    const int64_t stop = std::min(end, loadedEnd_);
    if (stop <= at) break;
    if (NextBit(bits_.data(), uint64_t(at - loaded_), uint64_t(stop - loaded_), used) < uint64_t(stop - loaded_)) {
      anyFree = true;
      return true;
    }
    at = stop;
  }
  return true;
}

bool FreeSpaceMap::Widen(MessagePump& pump, int64_t& lo, int64_t& hi, std::wstring& message) {
  while (lo > 0) {
    if (!Load(pump, lo - 1, message)) return false;
    if (!FreeAt(lo - 1)) break;
    auto it = runs_.upper_bound(lo - 1);
    if (it != runs_.begin() && std::prev(it)->first + int64_t(std::prev(it)->second) >= lo) {
      lo = std::min(lo, std::prev(it)->first);
      continue;
    }
    lo = PreviousBit(bits_.data(), lo - loaded_, 0, true) + 1 + loaded_;
  }
  while (hi < clusters_) {
    if (!Load(pump, hi, message)) return false;
    if (hi >= loadedEnd_) break;
    if (!FreeAt(hi)) break;
    auto it = runs_.upper_bound(hi);
    if (it != runs_.begin() && std::prev(it)->first + int64_t(std::prev(it)->second) > hi) {
      hi = std::prev(it)->first + int64_t(std::prev(it)->second);
      continue;
    }
    hi = loaded_ + int64_t(NextBit(bits_.data(), uint64_t(hi - loaded_), uint64_t(loadedEnd_ - loaded_), true));
  }
  return true;
}

bool FreeSpaceMap::TakeSpan(MessagePump& pump, int64_t lo, int64_t hi, std::wstring& message) {
  // Out with every kept run that touches the span, keeping what lies outside.
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
  Run open;
  int64_t at = lo;
  while (at < hi) {
    if (!Load(pump, at, message)) return false;
    const int64_t stop = std::min(hi, loadedEnd_);
    if (stop <= at) break;
    const uint8_t* bits = bits_.data();
    uint64_t i = uint64_t(at - loaded_);
    const uint64_t end = uint64_t(stop - loaded_);
    while (i < end) {
      const uint64_t free = NextBit(bits, i, end, false);
      if (free == end) break;
      const uint64_t used = NextBit(bits, free, end, true);
      const int64_t start = loaded_ + int64_t(free);
      if (open.start != -1 && open.start + int64_t(open.length) == start) {
        open.length += used - free;
      } else {
        if (open.start != -1) InsertRun(open.start, open.length);
        open = {start, used - free};
      }
      i = used;
    }
    at = stop;
  }
  if (open.start != -1) InsertRun(open.start, open.length);
  return true;
}

int FreeSpaceMap::Read(MessagePump& pump, FsHandle volume, uint64_t volumeGeneration, std::wstring& message) {
  std::deque<Held> held;
  std::map<int64_t, uint64_t> heldAt;
  uint64_t heldFirst = 0;
  std::vector<ClusterRun> suspects;
  if (volume == volume_ && volumeGeneration == generation_) {
    held = std::move(held_);
    heldAt = std::move(heldAt_);
    heldFirst = heldFirst_;
    suspects = std::move(suspects_);
  }
  auto keepHeld = [&] {
    held_ = std::move(held);
    heldAt_ = std::move(heldAt);
    heldFirst_ = heldFirst;
    suspects_ = std::move(suspects);
  };
  Invalidate();
  message.clear();
  // The runs come in order: collected first (those too short to keep
  // dropped as they close), then filed in one pass.
  std::vector<Run> collected;
  auto close = [&] {
    if (!collected.empty() && !Keeps(collected.back().start, collected.back().length)) collected.pop_back();
  };
  int64_t lcn = 0;
  for (;;) {
    ReadChunk chunk{};
    if (!ReadAt(volume, lcn, chunk, message)) {
      Invalidate();
      keepHeld();
      return 0;
    }
    if (lcn == 0) {
      clusters_ = chunk.header.startingLcn + chunk.header.bitmapSize;
      const size_t chunks = size_t((clusters_ + kChunk - 1) / kChunk);
      information_.assign(std::max<size_t>(chunks, 1), 0);
      // Blocks small enough to be looked through quickly, few enough that
      // their bounds take a few MiB on the largest volume.
      blockShift_ = 6;
      while ((clusters_ >> blockShift_) > (int64_t{1} << 20)) ++blockShift_;
      const size_t blocks = size_t((clusters_ >> blockShift_) + 1);
      leaves_ = 1;
      while (leaves_ < blocks) leaves_ *= 2;
      bound_.assign(2 * leaves_, 0);
    }
    if (!regular_) break;
    information_[size_t(chunk.header.startingLcn / kChunk)] = chunk.information;
    const uint8_t* bits = gSharedBuffer.bytes + sizeof(VolumeBitmapHeader);
    const int64_t base = chunk.header.startingLcn;
    for (uint64_t window = 0; window < chunk.examined; window += kPumpInterval) {
      pump.PumpMessages();
      const uint64_t end = std::min(chunk.examined, window + kPumpInterval);
      uint64_t i = window;
      while (i < end) {
        const uint64_t free = NextBit(bits, i, end, false);
        if (free == end) break;
        const uint64_t used = NextBit(bits, free, end, true);
        const int64_t start = base + int64_t(free);
        if (!collected.empty() && collected.back().start + int64_t(collected.back().length) == start) {
          collected.back().length += used - free;
        } else {
          close();
          collected.push_back({start, used - free});
        }
        i = used;
      }
    }
    if (collected.size() > RunBudget()) {
      // Over the budget: keep only the longest half of the closed runs.
      std::vector<uint64_t> lengths;
      lengths.reserve(collected.size());
      for (size_t i = 0; i + 1 < collected.size(); ++i) {
        if (collected[i].start >= kChunk) lengths.push_back(collected[i].length);
      }
      const size_t keep = size_t(RunBudget() / 2);
      if (lengths.size() > keep) {
        std::nth_element(lengths.begin(), lengths.end() - ptrdiff_t(keep), lengths.end());
        threshold_ = std::max(threshold_, *(lengths.end() - ptrdiff_t(keep)) + 1);
        const Run last = collected.back();
        collected.pop_back();
        std::erase_if(collected, [&](const Run& run) { return !Keeps(run.start, run.length); });
        collected.push_back(last);
      }
    }
    if (chunk.status != kStatusBufferOverflow) break;
    lcn = chunk.header.startingLcn + int64_t(chunk.examined);
  }
  close();
  std::vector<std::pair<uint64_t, int64_t>> lengths;
  lengths.reserve(collected.size());
  for (const Run& run : collected) {
    runs_.emplace_hint(runs_.end(), run.start, run.length);
    lengths.push_back({run.length, run.start});
    uint32_t& leaf = bound_[leaves_ + size_t(run.start >> blockShift_)];
    leaf = std::max(leaf, Saturate(run.length));
  }
  collected = std::vector<Run>();
  std::sort(lengths.begin(), lengths.end());
  for (const auto& entry : lengths) byLength_.emplace_hint(byLength_.end(), entry);
  for (size_t node = leaves_ - 1; node >= 1; --node) {
    bound_[node] = std::max(bound_[2 * node], bound_[2 * node + 1]);
  }
  valid_ = true;
  volume_ = volume;
  generation_ = volumeGeneration;
  ReplayStart();
  // What was held before and shows free in this read is awaited no more.
  keepHeld();
  for (Held& entry : held_) {
    if (!entry.live) continue;
    bool anyFree = false;
    if (!AnyFree(pump, entry.range, anyFree, message)) {
      valid_ = false;
      return 0;
    }
    if (anyFree) {
      entry.live = false;
      heldAt_.erase(entry.range.lcn);
    }
  }
  message.clear();
  return 1;
}

int FreeSpaceMap::Refresh(MessagePump& pump, FsHandle volume, const std::vector<ClusterRun>& ranges,
                          std::wstring& message) {
  if (!valid_ || !regular_) return 1;  // nothing kept: the next search reads
  volume_ = volume;
  loaded_ = -1;  // everything read afresh
  const uint64_t threshold = threshold_;
  guardChanged_ = false;
  int64_t lowest = std::numeric_limits<int64_t>::max();
  for (const ClusterRun& range : ranges) {
    int64_t lo = std::max<int64_t>(range.lcn, 0);
    int64_t hi = std::min(clusters_, range.lcn + int64_t(range.count));
    if (range.lcn < 0 || range.count == 0 || lo >= hi) continue;
    if (!Widen(pump, lo, hi, message) || !TakeSpan(pump, lo, hi, message)) {
      // Read afresh at the next search.
      valid_ = false;
      return 0;
    }
    lowest = std::min(lowest, lo);
  }
  Shed();
  // Only a change before the end of the replayed start can alter it: the
  // replay closes its run at the first or the second used cluster from
  // startEnd_.
  if (lowest <= startEnd_ + 1 || guardChanged_ || threshold_ != threshold) ReplayStart();
  return 1;
}

void FreeSpaceMap::Shed() {
  const uint64_t most = RunBudget();
  if (runs_.size() <= most) return;
  const size_t keep = size_t(most / 2);
  uint64_t dropped = 0;
  for (auto it = byLength_.begin(); it != byLength_.end() && runs_.size() > keep;) {
    if (it->second < kChunk) {
      ++it;
      continue;
    }
    dropped = it->first;
    runs_.erase(it->second);
    it = byLength_.erase(it);
  }
  threshold_ = std::max(threshold_, dropped + 1);
}

void FreeSpaceMap::InsertRun(int64_t start, uint64_t length) {
  if (!Keeps(start, length)) return;
  runs_[start] = length;
  byLength_.insert({length, start});
  Raise(size_t(start >> blockShift_), length);
}

std::map<int64_t, uint64_t>::iterator FreeSpaceMap::EraseRun(std::map<int64_t, uint64_t>::iterator it) {
  // The block's bound stays: a search that finds the block short settles it.
  byLength_.erase({it->second, it->first});
  return runs_.erase(it);
}

void FreeSpaceMap::Raise(size_t block, uint64_t length) {
  const uint32_t value = Saturate(length);
  for (size_t node = leaves_ + block; node >= 1 && bound_[node] < value; node /= 2) bound_[node] = value;
}

void FreeSpaceMap::Settle(size_t block, uint64_t largest) const {
  size_t node = leaves_ + block;
  bound_[node] = Saturate(largest);
  for (node /= 2; node >= 1; node /= 2) {
    const uint32_t value = std::max(bound_[2 * node], bound_[2 * node + 1]);
    if (bound_[node] == value) break;
    bound_[node] = value;
  }
}

int64_t FreeSpaceMap::FirstBlockHolding(size_t fromBlock, uint64_t needed) const {
  if (fromBlock >= leaves_ || !Holds(bound_[1], needed)) return -1;
  // Down from the root: the leftmost leaf at or after fromBlock whose
  // bound holds `needed`.
  struct Frame {
    size_t node, lo, hi;
  };
  Frame stack[80];
  size_t depth = 0;
  stack[depth++] = {1, 0, leaves_};
  while (depth > 0) {
    const Frame f = stack[--depth];
    if (f.hi <= fromBlock || !Holds(bound_[f.node], needed)) continue;
    if (f.hi - f.lo == 1) return int64_t(f.lo);
    const size_t mid = (f.lo + f.hi) / 2;
    stack[depth++] = {2 * f.node + 1, mid, f.hi};
    stack[depth++] = {2 * f.node, f.lo, mid};
  }
  return -1;
}

void FreeSpaceMap::ReplayStart() {
  start_.clear();
  startKnown_ = true;
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
  // Beyond the first chunk the map may keep only long runs: a replay that
  // gets there without closing a run cannot be trusted then.
  const bool whole = threshold_ <= 1;
  for (const auto& [runStart, length] : runs_) {
    if (!whole && runStart >= kChunk) {
      if (used(position, std::min(runStart, kChunk))) return;
      startKnown_ = false;
      return;
    }
    if (used(position, runStart)) return;
    free(runStart, runStart + int64_t(length));
    position = runStart + int64_t(length);
  }
  if (!whole && clusters_ > kChunk) {
    if (used(position, kChunk)) return;
    startKnown_ = false;
    return;
  }
  if (used(position, clusters_)) return;
  if (search.open.start != -1) search.CloseOpen();
  search.Judge(search.candidate);
  startEnd_ = clusters_;
}

int64_t FreeSpaceMap::Find(uint64_t needed, bool smart) const {
  if (!startKnown_ || needed < threshold_) return kUnanswered;
  if (!smart) {
    for (const Run& run : start_) {
      if (run.length >= needed && run.start != -1) return run.start;
    }
    const int64_t from = startEnd_ + 1;
    if (from >= clusters_) return -1;
    // The first kept run from `lo` in a block that holds `needed`; a block
    // looked through whole has its bound settled to what it holds.
    auto inBlock = [&](size_t block, int64_t lo) -> int64_t {
      const int64_t hi = int64_t(block + 1) << blockShift_;
      uint64_t largest = 0;
      for (auto it = runs_.lower_bound(lo); it != runs_.end() && it->first < hi; ++it) {
        if (it->second >= needed) return it->first;
        largest = std::max(largest, it->second);
      }
      if (lo == int64_t(block) << blockShift_) Settle(block, largest);
      return -1;
    };
    size_t block = size_t(from >> blockShift_);
    int64_t found = inBlock(block, from);
    while (found == -1) {
      const int64_t next = FirstBlockHolding(block + 1, needed);
      if (next < 0) return -1;
      block = size_t(next);
      found = inBlock(block, int64_t(block) << blockShift_);
    }
    return found;
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
  // Fewer clusters than the map keeps runs of: the scan answers.
  if (lcn == FreeSpaceMap::kUnanswered) return FindFreeRun(pump, volume, needed, smart, lcn, message);
  return 1;
}

