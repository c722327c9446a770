#include "app/ntfs/NtfsProgress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "app/ntfs/NtfsPaths.h"

namespace {

constexpr auto kRedrawInterval = std::chrono::milliseconds(200);

std::string Duration(double seconds) {
  const uint64_t whole = uint64_t(seconds + 0.5);
  char text[32];
  if (whole >= 3600) {
    std::snprintf(text, sizeof text, "%llu:%02llu:%02llu", (unsigned long long)(whole / 3600),
                  (unsigned long long)(whole / 60 % 60), (unsigned long long)(whole % 60));
  } else {
    std::snprintf(text, sizeof text, "%llu:%02llu", (unsigned long long)(whole / 60),
                  (unsigned long long)(whole % 60));
  }
  return text;
}

size_t TerminalWidth() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 10) return size.ws_col;
  return 80;
}

}  // namespace

std::string ProgressText(const ProgressSnapshot& s) {
  if (s.run == NtfsRun::Analysis) {
    return "Analysing: " + std::to_string(s.filesDone) + " files, " + Duration(s.seconds) + " elapsed";
  }
  std::string text = std::string(s.run == NtfsRun::Plan ? "Planning: " : "Defragmenting: ") +
                     std::to_string(s.filesDone) + "/" + std::to_string(s.filesTotal) + " files, " +
                     HumanBytes(s.bytesDone) + " of " + HumanBytes(s.bytesTotal);
  const double speed = s.seconds > 0.5 ? double(s.bytesDone) / s.seconds : 0;
  if (speed > 0) {
    text += ", " + HumanBytes(uint64_t(speed)) + "/s";
    const uint64_t left = s.bytesTotal > s.bytesDone ? s.bytesTotal - s.bytesDone : 0;
    text += ", " + Duration(double(left) / speed) + " left";
  } else {
    text += ", " + Duration(s.seconds) + " elapsed";
  }
  return text;
}

ProgressLine::~ProgressLine() { Stop(); }

void ProgressLine::Start(NtfsRun run, std::map<std::string, uint64_t> sizes) {
  Stop();
  std::lock_guard lock(mutex_);
  run_ = run;
  sizes_ = std::move(sizes);
  bytesTotal_ = 0;
  for (const auto& entry : sizes_) bytesTotal_ += entry.second;
  filesDone_ = bytesDone_ = currentBytes_ = 0;
  stepLast_ = stepPosition_ = 0;
  started_ = std::chrono::steady_clock::now();
  running_ = true;
  thread_ = std::thread([this] { Draw(); });
}

void ProgressLine::Stop() {
  {
    std::lock_guard lock(mutex_);
    if (!running_) return;
    running_ = false;
  }
  wake_.notify_all();
  thread_.join();
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

void ProgressLine::FileDone(const FileOutcome& outcome) {
  std::lock_guard lock(mutex_);
  if (outcome.fate == FileFate::LeftOut) return;
  if (run_ != NtfsRun::Analysis && outcome.fate == FileFate::Contiguous) return;
  ++filesDone_;
  auto it = sizes_.find(VolumePathOf(outcome.path));
  if (it != sizes_.end()) bytesDone_ += it->second;
  currentBytes_ = 0;
  stepLast_ = stepPosition_ = 0;
}

void ProgressLine::FileStarted(const std::wstring& enginePath) {
  if (enginePath.empty()) return;
  std::lock_guard lock(mutex_);
  auto it = sizes_.find(VolumePathOf(enginePath));
  currentBytes_ = it != sizes_.end() ? it->second : 0;
}

void ProgressLine::MoveSteps(uint64_t last) {
  stepPosition_ = 0;
  stepLast_ = last;
}

void ProgressLine::MoveStep(uint64_t position) { stepPosition_ = position; }

ProgressSnapshot ProgressLine::Snapshot() {
  ProgressSnapshot s;
  s.run = run_;
  s.filesDone = filesDone_;
  s.filesTotal = run_ == NtfsRun::Analysis ? 0 : sizes_.size();
  s.bytesTotal = bytesTotal_;
  s.bytesDone = bytesDone_;
  // The file being moved counts by the fragments already moved.
  const uint64_t last = stepLast_, position = stepPosition_;
  if (last > 0 && position <= last) s.bytesDone += currentBytes_ * position / last;
  s.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
  return s;
}

void ProgressLine::Draw() {
  std::unique_lock lock(mutex_);
  // Every run draws its line at least once, even one that ends before this
  // thread first gets the lock.
  for (bool first = true; first || running_; first = false) {
    std::string text = ProgressText(Snapshot());
    const size_t width = TerminalWidth() - 1;
    if (text.size() > width) text.resize(width);
    lock.unlock();
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
    std::fflush(stderr);
    lock.lock();
    wake_.wait_for(lock, kRedrawInterval, [this] { return !running_; });
  }
}
