#pragma once
// The progress line on a terminal: one line on standard error, redrawn five
// times a second by a thread of its own, with the files done and their
// total, the bytes moved and their total, the speed and the time left.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "app/ntfs/NtfsOutcomes.h"

// What the line shows at one moment.
struct ProgressSnapshot {
  NtfsRun run = NtfsRun::Analysis;
  uint64_t filesDone = 0;
  uint64_t filesTotal = 0;  // 0: not known (an analysis)
  uint64_t bytesDone = 0;
  uint64_t bytesTotal = 0;
  double seconds = 0;
};
// The line's text, without the terminal's control sequences.
std::string ProgressText(const ProgressSnapshot& snapshot);

class ProgressLine {
 public:
  ProgressLine() = default;
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Starts drawing for a run; `sizes` are the bytes of the files the run
  // will move, by volume path (from the analysis before it).
  void Start(NtfsRun run, std::map<std::string, uint64_t> sizes);
  // Erases the line and ends the drawing thread.
  void Stop();
  // From the run's hooks (any thread).
  void FileDone(const FileOutcome& outcome);
  void FileStarted(const std::wstring& enginePath);
  void MoveSteps(uint64_t last);
  void MoveStep(uint64_t position);

 private:
  void Draw();
  ProgressSnapshot Snapshot();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
  bool running_ = false;
  NtfsRun run_ = NtfsRun::Analysis;
  std::map<std::string, uint64_t> sizes_;
  uint64_t bytesTotal_ = 0;
  uint64_t filesDone_ = 0;
  uint64_t bytesDone_ = 0;
  uint64_t currentBytes_ = 0;
  std::atomic<uint64_t> stepLast_{0};
  std::atomic<uint64_t> stepPosition_{0};
  std::chrono::steady_clock::time_point started_;
};
