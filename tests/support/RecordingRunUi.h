#pragma once
// A run's user for tests: records what the run showed and answers its
// questions as the test sets them.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "engine/EngineThread.h"
#include "runs/ConsoleRunUi.h"

// The engine's part, over either interface.
template <typename Base>
class RecordingEngineUiOf : public Base {
 public:
  // Stand-ins the test may replace.
  std::function<bool()> pump = [] { return true; };
  std::function<bool(WorkerThread&)> waitStep = [](WorkerThread& worker) {
    worker.WaitEndedOrNudged();
    return true;
  };
  std::function<void(uint64_t position)> onProgress = [](uint64_t) {};

  bool PumpMessages() override { return pump(); }
  bool WaitForWorker(WorkerThread& worker) override { return waitStep(worker); }
  std::wstring Text(uint32_t, const wchar_t* literal) override { return literal; }
  void SetStatusText(int, const std::wstring&) override {}
  void SetWorkingIcon(bool) override {}
  void ShowProgress(uint64_t) override {}
  void SetProgress(uint64_t position) override { onProgress(position); }
  void HideProgress() override {}
  void RedrawList() override {}
};
using RecordingEngineUi = RecordingEngineUiOf<EngineUi>;

// A run with no window that records what it showed and answers as the test
// sets it; the rest is the console run's.
class RecordingRunUi : public RecordingEngineUiOf<ConsoleRunUi> {
 public:
  // Answers the test may set.
  std::function<bool(uint64_t row)> rowSelected = [](uint64_t) { return false; };
  std::function<void(uint32_t flags)> onStatus = [](uint32_t) {};
  bool keepSolidStateOff = false;
  int diskCheckResult = 0;
  bool closeForDiskErrors = false;
  bool cleanupGoesOn = true;

  // What the run did around its files, in order: "disk check" (automatic
  // or "asked"), "analysis printed", "defragmentation printed", "summary",
  // "countdown", "power-off" and "exit CODE".
  std::vector<std::string> events;
  std::vector<uint32_t> busyStates;
  std::wstring consoleText;  // every summary written, one after another
  // The status bars' last update when the summary dialog opened.
  uint32_t statusAtSummary = 0;
  int solidStateWarnings = 0;
  std::vector<uint64_t> solidStateLeftOut;
  bool laidOut = false;

  bool RowSelected(uint64_t row) override { return rowSelected(row); }
  void UpdateStatus(uint32_t flags) override {
    lastStatus_ = flags;
    onStatus(flags);
  }
  void RunLayout(bool running, bool) override { laidOut = laidOut || running; }
  void SetBusyState(uint32_t state) override { busyStates.push_back(state); }

  bool SolidStateWarning() override {
    ++solidStateWarnings;
    return keepSolidStateOff;
  }
  void SolidStateLeftOut(uint64_t files) override { solidStateLeftOut.push_back(files); }
  int DiskCheck(bool automatic) override {
    events.push_back(automatic ? "disk check" : "disk check asked");
    return diskCheckResult;
  }
  bool CloseForDiskErrors() override { return closeForDiskErrors; }
  bool Cleanup(bool) override { return cleanupGoesOn; }

  void ShowSummary() override {
    events.push_back("summary");
    statusAtSummary = lastStatus_;
  }
  void ShutdownCountdown() override { events.push_back("countdown"); }
  void RequestExit(uint32_t code) override { events.push_back("exit " + std::to_string(code)); }
  void ConsoleSummary(bool defragmentation, const std::vector<std::wstring>& section) override {
    events.push_back(defragmentation ? "defragmentation printed" : "analysis printed");
    for (const std::wstring& text : section) consoleText += text;
  }
  void PowerOff() override { events.push_back("power-off"); }

 private:
  uint32_t lastStatus_ = 0;
};
