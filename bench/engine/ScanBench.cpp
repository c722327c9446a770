// The free-space search over a 64 Mi-cluster volume (256 GiB of 4 KiB
// clusters) with fragmented free space, once with the bit-by-bit walk and
// once with the word-skipping walk, on two layouts. Both search the whole volume for a run
// that does not exist, the worst case, which every file of a defragmentation
// can meet.
#include <chrono>
#include <cstdio>
#include <random>
#include <string>

#include "ReferenceScan.h"
#include "RecordingRunUi.h"
#include "engine/sim/SimVolume.h"

namespace {

constexpr uint64_t kClusters = 64ull << 20;

uint64_t gPumps = 0;
RecordingEngineUi gUi;

double Milliseconds(ChunkScanner scanner, FsHandle volume, bool smart, int64_t& lcn) {
  std::wstring message;
  double best = 1e300;
  for (int round = 0; round < 3; ++round) {
    gPumps = 0;
    const auto start = std::chrono::steady_clock::now();
    FindFreeRunWith(scanner, gUi, volume, kClusters, smart, lcn, message);
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    best = std::min(best, ms);
  }
  return best;
}

// Reads the chunks and pumps, nothing else: what any walk costs at least.
void ReadOnly(FreeRunSearch& search, const uint8_t*, uint64_t examined, int64_t) {
  for (uint64_t i = 0; i < examined; i += kPumpInterval) search.pump->PumpMessages();
}

}  // namespace

// Builds a volume of used and free stretches of geometric lengths, with a
// long free stretch now and then, and times both walks on it.
void Run(const char* name, double meanUsed, double meanFree) {
  SimVolume volume;
  std::string error;
  SimSettings settings;
  settings.clusters = kClusters;
  if (!volume.Create(settings, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return;
  }
  std::mt19937_64 random(1);
  std::geometric_distribution<uint64_t> used(1.0 / meanUsed), free(1.0 / meanFree);
  uint64_t at = 0, runs = 0, freeClusters = 0;
  while (at < kClusters) {
    const uint64_t u = std::min<uint64_t>(1 + used(random), kClusters - at);
    volume.Reserve(int64_t(at), u, error);
    at += u;
    uint64_t f = 1 + free(random);
    if (random() % 1000 == 0) f += 5000;
    f = std::min<uint64_t>(f, kClusters - at);
    at += f;
    freeClusters += f;
    runs += f > 0;
  }
  SetVolumeAccess(&volume);
  const FsHandle handle = volume.OpenVolume("\\\\.\\Z:");
  std::printf("%s: %llu clusters, %llu free runs, %.1f %% free\n", name,
              static_cast<unsigned long long>(kClusters), static_cast<unsigned long long>(runs),
              100.0 * double(freeClusters) / double(kClusters));
  int64_t ignored = 0;
  std::printf("  reading the bitmap and pumping alone: %.1f ms\n",
              Milliseconds(ReadOnly, handle, false, ignored));
  for (bool smart : {false, true}) {
    int64_t bitLcn = 0, wordLcn = 0;
    const double bits = Milliseconds(ScanChunkBitByBit, handle, smart, bitLcn);
    const uint64_t bitPumps = gPumps;
    const double words = Milliseconds(ScanChunkByWords, handle, smart, wordLcn);
    const uint64_t wordPumps = gPumps;
    std::printf("  %s: bit by bit %.1f ms, by words %.1f ms, %.1fx faster (results %lld/%lld, pumps %llu/%llu)\n",
                smart ? "smart" : "quick", bits, words, bits / words,
                static_cast<long long>(bitLcn), static_cast<long long>(wordLcn),
                static_cast<unsigned long long>(bitPumps), static_cast<unsigned long long>(wordPumps));
  }
  SetVolumeAccess(nullptr);
}

int main() {
  gUi.pump = [] {
    ++gPumps;
    return true;
  };
  // A well-used volume: free runs of 128 clusters on average between used
  // stretches of 512.
  Run("typical", 512, 128);
  // Free space in crumbs: runs of 24 clusters on average between used
  // stretches of 96, over half a million free runs.
  Run("crumbled", 96, 24);
  return 0;
}
