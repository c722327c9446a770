#include "engine/FreeSpace.h"

#include <algorithm>
#include <bit>
#include <cstring>


static_assert(std::endian::native == std::endian::little,
              "the bitmap is read a word at a time, least significant bit first");

void FreeRunSearch::CloseOpen() {
  if (open.start == Guard()) {
    Guard() = -1;
    return;
  }
  const Run closed = open;
  if (previous.start == -1) {
    candidate = closed;
  } else if (previous.start + int64_t(previous.length) == closed.start) {
    candidate.length += closed.length;
  } else {
    Judge(candidate);
    if (done) return;
    candidate = closed;
  }
  previous = closed;
  Guard() = closed.start;
  open = Run{};
}

void FreeRunSearch::Judge(const Run& run) {
  if (judged != nullptr) {
    judged->push_back(run);
    return;
  }
  if (!smart) {
    if (run.length >= needed) {
      result = run.start;
      done = true;
    }
    return;
  }
  if (run.length == needed) {
    result = run.start;
    done = true;
  } else if (run.length > needed && (bestLength == 0 || run.length < bestLength)) {
    bestLength = run.length;
    result = run.start;
  }
}

namespace {

inline uint64_t LoadWord(const uint8_t* bits, uint64_t wordIndex) {
  uint64_t word;
  std::memcpy(&word, bits + wordIndex * 8, 8);
  return word;
}

}  // namespace

uint64_t NextBit(const uint8_t* bits, uint64_t from, uint64_t limit, bool set) {
  const uint64_t flip = set ? 0 : ~uint64_t(0);
  uint64_t wordIndex = from / 64;
  uint64_t word = (LoadWord(bits, wordIndex) ^ flip) & (~uint64_t(0) << (from % 64));
  const uint64_t lastWord = (limit - 1) / 64;
  while (word == 0) {
    if (++wordIndex > lastWord) return limit;
    word = LoadWord(bits, wordIndex) ^ flip;
  }
  return std::min(limit, wordIndex * 64 + uint64_t(std::countr_zero(word)));
}

void ScanChunkByWords(FreeRunSearch& search, const uint8_t* bits, uint64_t examined,
                      int64_t chunkStart) {
  for (uint64_t window = 0; window < examined && !search.done; window += kPumpInterval) {
    search.pump->PumpMessages();
    const uint64_t end = std::min(examined, window + kPumpInterval);
    uint64_t i = window;
    // Stretches of free and used clusters alternate.
    bool free = (bits[i / 8] >> (i % 8) & 1) == 0;
    while (i < end) {
      if (free) {
        const uint64_t next = NextBit(bits, i, end, true);
        search.Free(chunkStart + int64_t(i), next - i);
        i = next;
      } else {
        const uint64_t next = NextBit(bits, i, end, false);
        // Only the first two used clusters can matter: the first closes the
        // open run or clears the guard, the second closes what the guard kept
        // open; after that no run is open.
        search.Used();
        if (next - i > 1 && !search.done) search.Used();
        if (search.done) return;
        i = next;
      }
      free = !free;
    }
  }
}

int FindFreeRun(MessagePump& pump, FsHandle volume, uint64_t needed, bool smart, int64_t& lcn, std::wstring& message) {
  return FindFreeRunWith(ScanChunkByWords, pump, volume, needed, smart, lcn, message);
}

int FindFreeRunWith(ChunkScanner scanner, MessagePump& pump, FsHandle volume, uint64_t needed, bool smart,
                    int64_t& lcn, std::wstring& message) {
  lcn = -1;
  message.clear();
  FreeRunSearch search;
  search.needed = needed;
  search.smart = smart;
  search.pump = &pump;
  int64_t startingLcn = 0;
  for (;;) {
    NtStatus status = Va().GetVolumeBitmap(volume, search.block, &startingLcn, sizeof startingLcn,
                                           gSharedBuffer.bytes, kSharedBufferLength);
    if (status != kStatusSuccess && status != kStatusBufferOverflow && status != kStatusPending) {
      message = FailureText(uint32_t(status));
      return 0;
    }
    if (status == kStatusPending) {
      Va().Wait(volume);
      status = search.block.status;
      if (status != kStatusSuccess && status != kStatusBufferOverflow) {
        message = FailureText(uint32_t(status));
        return 0;
      }
    }
    VolumeBitmapHeader header;
    std::memcpy(&header, gSharedBuffer.bytes, sizeof header);
    const uint64_t examined = std::min<uint64_t>(uint64_t(header.bitmapSize), kBitmapChunkClusters);
    scanner(search, gSharedBuffer.bytes + sizeof header, examined, header.startingLcn);
    if (search.done) break;
    if (search.open.start != -1) search.CloseOpen();
    if (search.done) break;
    if (status != kStatusBufferOverflow) {
      search.Judge(search.candidate);
      break;
    }
    startingLcn = header.startingLcn + int64_t(examined);
  }
  lcn = search.result;
  return 1;
}
