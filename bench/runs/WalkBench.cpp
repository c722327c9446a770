// The analysis and the defragmentation of one folder tree on a simulated
// volume, at growing sizes: the time per file should stay flat.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "FakeFileQueries.h"
#include "RecordingRunUi.h"
#include "runs/RunOptions.h"
#include "engine/Relocation.h"
#include "engine/sim/SimVolume.h"
#include "items/ItemList.h"
#include "runs/RunDriver.h"
#include "runs/RunResults.h"
#include "util/SharedLock.h"

namespace {

// 100 folders; every 10th file is in two pieces, the others in one.
void Run(uint64_t count) {
  FakeFileQueries fake;
  fake.AddDrive(L'Z', 4096);
  SimVolume volume;
  SimSettings settings;
  settings.clusters = count * 3 + 1000;
  std::string error;
  volume.Create(settings, error);
  int64_t lcn = 0;
  for (uint64_t i = 0; i < count; ++i) {
    const std::wstring path = L"Z:\\tree\\d" + std::to_wstring(i % 100) + L"\\f" + std::to_wstring(i) + L".bin";
    fake.AddFile(path, 8192);
    SimFile file;
    file.path = path;
    file.size = 8192;
    if (i % 10 == 0) {
      file.runs = {{lcn, 1}, {lcn + 2, 1}};
      lcn += 3;
    } else {
      file.runs = {{lcn, 2}};
      lcn += 3;
    }
    if (!volume.AddFile(file, error)) {
      std::fprintf(stderr, "%s\n", error.c_str());
      return;
    }
  }
  SetFileQueries(&fake);
  SetVolumeAccess(&volume);
  PortableItemPlatform items;
  RecordingRunUi ui;
  RunOptions options;
  ui.pump = [] {
    std::this_thread::yield();
    return true;
  };
  ClearItemList();
  AddItem(items, true, L"Z:\\tree");

  auto start = Clock::now();
  StartRun(RunMode::AnalyseAll, options, ui);
  const double analysis = Seconds(start);
  const size_t fragmented = gRun.fragmented.size();
  start = Clock::now();
  StartRun(RunMode::DefragmentAll, options, ui);
  const double defrag = Seconds(start);
  std::printf("%8llu files: analysis %.3f s (%.2f us/file, %zu fragmented), "
              "defragmentation %.3f s (%.2f us/file, %llu moved), check %s\n",
              static_cast<unsigned long long>(count), analysis, analysis * 1e6 / double(count), fragmented,
              defrag, defrag * 1e6 / double(count), static_cast<unsigned long long>(gRun.counters.filesMoved),
              volume.Check().empty() ? "ok" : "FAILED");
  ResetEngineState();
  SetVolumeAccess(nullptr);
  SetFileQueries(nullptr);
  ClearItemList();
}

}  // namespace

// Counts of files from the command line; 10,000, 100,000 and 1,000,000 by
// default.
int main(int argc, char** argv) {
  CreateSharedLock();
  std::vector<uint64_t> counts;
  for (int i = 1; i < argc; ++i) counts.push_back(std::strtoull(argv[i], nullptr, 10));
  if (counts.empty()) counts = {10000, 100000, 1000000};
  for (uint64_t count : counts) Run(count);
  return 0;
}
