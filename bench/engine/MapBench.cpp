// Defragmentation runs over simulated volumes of 16 Mi, 128 Mi and 512 Mi
// clusters whose free space is in many pieces, with the free-space map and
// with the per-file scan of the bitmap it replaces: search time, bitmap reads
// and message polls per file, both strategies.
//
//   engine_map_bench [files [scanFiles]]
// files: fragmented files per volume (default 1000); scanFiles: how many of
// them the per-file scan relocates (default 200: on the largest volume it
// costs a whole bitmap read per file).
//
//   engine_map_bench huge [budgetMiB [log2 of the clusters]]
// The map alone on a volume of 2^32 clusters (by default) whose free space
// is in about 128 Mi runs (free and used stretches of 16 clusters on
// average, so 2^(n-5) runs for 2^n clusters): the
// read, the peak memory of the process beyond the volume's own bitmap, and
// the time per search, both strategies, for sizes the map answers itself
// and for sizes it leaves to the scan.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#ifndef _WIN32
#include <sys/resource.h>
#endif

#include "engine/EngineHooks.h"
#include "engine/FreeSpaceMap.h"
#include "engine/Relocation.h"
#include "engine/sim/SimVolume.h"

namespace {

uint64_t gPumps = 0;

// Counts the bitmap reads and the time spent in them, passing everything on.
class CountingAccess : public VolumeAccess {
 public:
  explicit CountingAccess(SimVolume& volume) : volume_(volume) {}
  uint64_t bitmapReads = 0;

  FsHandle OpenFileForMoving(const std::wstring& path) override { return volume_.OpenFileForMoving(path); }
  FsHandle OpenFileBackupSemantics(const std::wstring& path) override {
    return volume_.OpenFileBackupSemantics(path);
  }
  FsHandle OpenVolume(const std::string& name) override { return volume_.OpenVolume(name); }
  uint32_t LastError() override { return volume_.LastError(); }
  bool Close(FsHandle handle) override { return volume_.Close(handle); }
  NtStatus GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input, uint32_t inputLength,
                                void* output, uint32_t outputLength) override {
    return volume_.GetRetrievalPointers(file, block, input, inputLength, output, outputLength);
  }
  NtStatus GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input, uint32_t inputLength,
                           void* output, uint32_t outputLength) override {
    ++bitmapReads;
    return volume_.GetVolumeBitmap(volume, block, input, inputLength, output, outputLength);
  }
  NtStatus MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input, uint32_t inputLength) override {
    return volume_.MoveClusters(volume, block, input, inputLength);
  }
  void Wait(FsHandle handle) override { volume_.Wait(handle); }
  bool MovesInUnits(FsHandle file) override { return volume_.MovesInUnits(file); }
  std::wstring SystemText(uint32_t code) override { return volume_.SystemText(code); }
  uint32_t StatusToError(NtStatus status) override { return volume_.StatusToError(status); }

 private:
  SimVolume& volume_;
};

struct Built {
  std::vector<std::wstring> paths;
  uint64_t freeRuns = 0;
};

// Used stretches of 512 clusters on average, free ones of 128, a long free
// one now and then. The files' fragments are cut from the used stretches, 64
// to 1,024 clusters each, two to eight a file, far apart: most files are
// larger than most free runs, as on a volume worth defragmenting.
Built Build(SimVolume& volume, uint64_t clusters, int files) {
  Built built;
  std::string error;
  SimSettings settings;
  settings.clusters = clusters;
  volume.Create(settings, error);
  std::mt19937_64 random(clusters + uint64_t(files));
  std::geometric_distribution<uint64_t> used(1.0 / 512), free(1.0 / 128);
  // Every so many used stretches gives a fragment, so files spread over the
  // whole volume.
  const uint64_t stretches = clusters / 640;
  const uint64_t every = std::max<uint64_t>(1, stretches / (uint64_t(files) * 5));
  std::vector<SimFile> pending(static_cast<size_t>(files));
  std::vector<int> wanted(static_cast<size_t>(files));
  for (int i = 0; i < files; ++i) {
    pending[size_t(i)].path = L"Z:\\f" + std::to_wstring(i);
    wanted[size_t(i)] = 2 + int(random() % 7);
  }
  size_t next = 0;
  uint64_t at = 0, stretch = 0;
  while (at < clusters) {
    uint64_t u = std::min<uint64_t>(1 + used(random), clusters - at);
    if (++stretch % every == 0 && next < pending.size()) {
      const uint64_t piece = std::min<uint64_t>(64 + random() % 961, clusters - at);
      SimFile& file = pending[next];
      file.runs.push_back({int64_t(at), piece});
      if (int(file.runs.size()) == wanted[next]) ++next;
      at += piece;
      u = std::min(u, clusters - at);
    }
    if (u > 0) volume.Reserve(int64_t(at), u, error);
    at += u;
    uint64_t f = 1 + free(random);
    if (random() % 1000 == 0) f += 5000;
    f = std::min<uint64_t>(f, clusters - at);
    built.freeRuns += f > 0;
    at += f;
  }
  for (SimFile& file : pending) {
    if (file.runs.size() < 2) continue;
    // Fragments in a shuffled order, as a file grown over time has them.
    std::shuffle(file.runs.begin(), file.runs.end(), random);
    file.size = file.VcnCount() * 4096;
    if (volume.AddFile(file, error)) built.paths.push_back(file.path);
  }
  return built;
}

struct Measured {
  int files = 0;
  double seconds = 0;
  uint64_t reads = 0;
  uint64_t pumps = 0;
  int moved = 0;
};

Measured Defragment(const Built& built, CountingAccess& access, bool smart, bool perFileScan, int limit) {
  ResetEngineState();
  gPerFileScan = perFileScan;
  gEngine.flags = smart ? kSmartStrategy : 0;
  access.bitmapReads = 0;
  gPumps = 0;
  Measured m;
  const auto start = std::chrono::steady_clock::now();
  for (const std::wstring& path : built.paths) {
    if (m.files == limit) break;
    DefragmentFile(path, nullptr);
    ++m.files;
    m.moved += gEngine.moveResultCode.empty();
  }
  m.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  m.reads = access.bitmapReads;
  m.pumps = gPumps;
  EndOfRunRelease();
  gPerFileScan = false;
  return m;
}

// The search alone: every file's size asked of the map (read once) and of
// the per-file scan, nothing moved.
void SearchOnly(const Built& built, SimVolume& volume, bool smart, int scanLimit) {
  ResetEngineState();
  std::wstring message;
  const FsHandle handle = VolumeForPath(L"Z:\\", message);
  std::vector<uint64_t> sizes;
  for (const std::wstring& path : built.paths) sizes.push_back(volume.FindFile(path)->AllocatedClusters());
  int64_t lcn = 0;
  auto start = std::chrono::steady_clock::now();
  gFreeSpaceMap.Read(handle, gVolumeCache.generation, message);
  const double readSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  start = std::chrono::steady_clock::now();
  uint64_t agree = 0;
  for (uint64_t size : sizes) lcn += gFreeSpaceMap.Find(size, smart);
  const double mapSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  start = std::chrono::steady_clock::now();
  int scanned = 0;
  for (uint64_t size : sizes) {
    if (scanned == scanLimit) break;
    int64_t found = 0;
    FindFreeRun(handle, size, smart, found, message);
    agree += found == gFreeSpaceMap.Find(size, smart);
    ++scanned;
  }
  const double scanSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("    search alone, %s: map read once %.3f s, then %.2f us per file; per-file scan %.1f us per file "
              "(%.0fx); answers equal %llu/%d\n",
              smart ? "smart" : "quick", readSeconds, 1e6 * mapSeconds / double(sizes.size()),
              1e6 * scanSeconds / scanned, (scanSeconds / scanned) / (mapSeconds / double(sizes.size())),
              static_cast<unsigned long long>(agree), scanned);
  gFreeSpaceMap.Invalidate();
  ResetEngineState();
}

void Report(const char* what, const Measured& m) {
  std::printf("    %-22s %6d files in %8.3f s (%8.1f us each), %8.1f bitmap reads, %8.1f polls per file "
              "(%d moved)\n",
              what, m.files, m.seconds, 1e6 * m.seconds / m.files, double(m.reads) / m.files,
              double(m.pumps) / m.files, m.moved);
}

// The process's peak resident size; the large-volume figures are taken on the
// native build, so the Windows build reports none (0).
double PeakMiB() {
#ifdef _WIN32
  return 0;
#else
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_maxrss) / 1024.0;
#endif
}

// A map with a budget gets it; one without keeps every run.
template <typename Map>
void Budget(Map& map, uint64_t bytes) {
  if constexpr (requires { map.SetBudget(bytes); }) map.SetBudget(bytes);
}
template <typename Map>
uint64_t ThresholdOf(const Map& map) {
  if constexpr (requires { map.Threshold(); }) {
    return map.Threshold();
  } else {
    return 1;
  }
}

int Huge(uint64_t budgetMiB, int log2Clusters) {
  const uint64_t clusters = uint64_t{1} << log2Clusters;
  SimVolume volume;
  SimSettings settings;
  settings.clusters = clusters;
  std::string error;
  if (!volume.Create(settings, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  std::mt19937_64 random(5);
  std::geometric_distribution<uint64_t> stretch(1.0 / 16);
  uint64_t at = 0, freeRuns = 0;
  auto start = std::chrono::steady_clock::now();
  while (at < clusters) {
    uint64_t f = 1 + stretch(random);
    if (random() % 100000 == 0) f += 4096 + random() % 65536;  // a long one now and then
    at += f;
    ++freeRuns;
    if (at >= clusters) break;
    const uint64_t u = std::min<uint64_t>(1 + stretch(random), clusters - at);
    volume.Reserve(int64_t(at), u, error);
    at += u;
  }
  const double built = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double before = PeakMiB();
  std::printf("2^%d clusters, %llu free runs, built in %.1f s; process %.0f MiB before the map\n", log2Clusters,
              static_cast<unsigned long long>(freeRuns), built, before);
  SetVolumeAccess(&volume);
  std::wstring message;
  const FsHandle handle = volume.OpenVolume("\\\\.\\Z:");
  FreeSpaceMap map;
  Budget(map, budgetMiB << 20);
  start = std::chrono::steady_clock::now();
  if (map.Read(handle, 1, message) == 0) {
    std::fprintf(stderr, "read failed\n");
    return 1;
  }
  const double read = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const uint64_t threshold = ThresholdOf(map);
  std::printf("  budget %llu MiB: read in %.1f s, %zu runs kept (of at least %llu clusters), "
              "process peak %.0f MiB (+%.0f MiB for the map and its read)\n",
              static_cast<unsigned long long>(budgetMiB), read, map.Runs().size(),
              static_cast<unsigned long long>(threshold), PeakMiB(), PeakMiB() - before);
  for (bool smart : {false, true}) {
    for (uint64_t needed : {threshold, threshold + 100, uint64_t{5000}, uint64_t{60000}}) {
      const int searches = 20000;
      start = std::chrono::steady_clock::now();
      int64_t sum = 0;
      for (int i = 0; i < searches; ++i) sum += map.Find(needed + uint64_t(i % 7), smart);
      const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      std::printf("  %s, %6llu clusters: %.2f us per search [%lld]\n", smart ? "smart" : "quick",
                  static_cast<unsigned long long>(needed), 1e6 * took / searches, static_cast<long long>(sum % 1000));
    }
    // A size below the threshold: the scan answers, as it would without the map.
    for (uint64_t needed : {uint64_t{2}, threshold - 1}) {
      if (needed == 0 || needed >= threshold) continue;
      start = std::chrono::steady_clock::now();
      int64_t lcn = 0;
      FindFreeRun(handle, needed, smart, lcn, message);
      const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      std::printf("  %s, %6llu clusters: left to the scan, %.1f ms\n", smart ? "smart" : "quick",
                  static_cast<unsigned long long>(needed), 1e3 * took);
    }
  }
  SetVolumeAccess(nullptr);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::string(argv[1]) == "huge") {
    return Huge(argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 256, argc > 3 ? std::atoi(argv[3]) : 32);
  }
  const int files = argc > 1 ? std::atoi(argv[1]) : 1000;
  const int scanFiles = argc > 2 ? std::atoi(argv[2]) : 200;
  // Polls while the move thread runs are the move's wait, not the search's.
  gEngineHooks.pumpMessages = [] {
    if (gEngine.doneFlags[kDoneMoveThread].load() == 1) ++gPumps;
    return true;
  };

  for (uint64_t mebi : {16ull, 128ull, 512ull}) {
    for (bool smart : {false, true}) {
      SimVolume volume;
      const Built built = Build(volume, mebi << 20, files);
      CountingAccess access(volume);
      SetVolumeAccess(&access);
      std::printf("%llu Mi clusters, %zu fragmented files, %llu free runs, %s:\n",
                  static_cast<unsigned long long>(mebi), built.paths.size(),
                  static_cast<unsigned long long>(built.freeRuns), smart ? "smart" : "quick");
      SearchOnly(built, volume, smart, scanFiles);
      // The per-file scan first, on the first files only; then the map on
      // a fresh copy of the volume, over every file.
      Report("per-file scan (before)", Defragment(built, access, smart, true, scanFiles));
      SetVolumeAccess(nullptr);
      SimVolume fresh;
      const Built again = Build(fresh, mebi << 20, files);
      CountingAccess freshAccess(fresh);
      SetVolumeAccess(&freshAccess);
      Report("map (after)", Defragment(again, freshAccess, smart, false, files));
      SetVolumeAccess(nullptr);
    }
  }
  return 0;
}
