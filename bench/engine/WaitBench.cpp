// Processor time of the window thread while it waits for the move thread of
// one large fragmented file on a slow simulated disk: the window's wait as
// the program does it (asleep until the thread ends or a message comes),
// against a wait that polls by pumping messages without ever blocking.
//
// Run under Wine: scripts/wine-exec build/windows/bench/engine/engine_wait_bench.exe [extents] [delay ms]
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "RecordingRunUi.h"
#include "engine/EngineThread.h"
#include "engine/Relocation.h"
#include "engine/sim/SimVolume.h"
#include "ui/MainWindow.h"

namespace {

double ThreadSeconds() {
  FILETIME created, exited, kernel, user;
  GetThreadTimes(GetCurrentThread(), &created, &exited, &kernel, &user);
  auto seconds = [](const FILETIME& t) {
    return double((uint64_t(t.dwHighDateTime) << 32) | t.dwLowDateTime) / 1e7;
  };
  return seconds(kernel) + seconds(user);
}

// One file of `extents` single clusters, every other cluster from cluster 64,
// and room for it in one run after them.
std::string Description(int extents, int delayMs) {
  const int clusters = extents * 4 + 128;
  std::string runs;
  for (int i = 0; i < extents; ++i) runs += (i ? "," : "") + std::to_string(64 + i * 2) + ":1";
  std::string text = "volume letter=Z clusters=" + std::to_string(clusters) +
                     " moveDelay=" + std::to_string(delayMs) + "\n";
  text += "file \"Z:\\big\" size=" + std::to_string(extents * 4096) + " runs=" + runs + "\n";
  text += "reserve 0 64\n";
  for (int i = 0; i < extents; ++i) text += "reserve " + std::to_string(64 + i * 2 + 1) + " 1\n";
  return text;
}

void Measure(const char* name, EngineUi& ui, int extents, int delayMs) {
  SimVolume volume;
  std::string error;
  if (!ParseSimDescription(Description(extents, delayMs), volume, error)) {
    std::printf("bad description: %s\n", error.c_str());
    std::exit(1);
  }
  SetVolumeAccess(&volume);
  const double cpuBefore = ThreadSeconds();
  const auto wallBefore = std::chrono::steady_clock::now();
  DefragmentFile(ui, L"Z:\\big", nullptr);
  const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallBefore).count();
  const double cpu = ThreadSeconds() - cpuBefore;
  const std::wstring outcome = gEngine.moveResultCode;
  FileAnalysis after;
  AnalyseFile(L"Z:\\big", after);
  std::printf("%-26s %4d extents x %3d ms: wall %6.2f s, window thread cpu %6.3f s (%5.1f %%), outcome \"%ls\", %llu fragment(s) after\n",
              name, extents, delayMs, wall, cpu, 100.0 * cpu / wall, outcome.c_str(),
              static_cast<unsigned long long>(after.fragments));
  ResetEngineState();
  SetVolumeAccess(nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  const int extents = argc > 1 ? std::atoi(argv[1]) : 200;
  const int delayMs = argc > 2 ? std::atoi(argv[2]) : 10;
  RecordingEngineUi ui;
  ui.waitStep = [](WorkerThread&) { return PumpWindowMessages(); };
  Measure("polling pump (old wait)", ui, extents, delayMs);
  ui.waitStep = WaitForWorkerWithMessages;
  Measure("message-aware wait", ui, extents, delayMs);
  return 0;
}
