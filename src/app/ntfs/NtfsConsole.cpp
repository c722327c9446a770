#include "app/ntfs/NtfsConsole.h"

#include <signal.h>

#include <cstdio>

#include "app/ntfs/NtfsPaths.h"
#include "app/ntfs/NtfsSummary.h"
#include "engine/EngineHooks.h"
#include "engine/Relocation.h"
#include "runs/RunDriver.h"

volatile std::sig_atomic_t NtfsConsole::signalled_ = 0;

namespace {

// The bytes of each file an analysis found fragmented, by volume path.
std::map<std::string, uint64_t> FragmentedSizes(const std::vector<FileOutcome>& analysis) {
  std::map<std::string, uint64_t> sizes;
  for (const FileOutcome& outcome : analysis) {
    if (outcome.fate == FileFate::Fragmented) sizes[VolumePathOf(outcome.path)] = OutcomeBytes(outcome);
  }
  return sizes;
}

}  // namespace

NtfsConsole::NtfsConsole(const NtfsOptions& options, bool showProgress)
    : options_(options), progress_(showProgress ? &line_ : nullptr) {}

void NtfsConsole::CatchStopSignals() {
  struct sigaction stop {};
  stop.sa_handler = [](int) { signalled_ = 1; };
  stop.sa_flags = SA_RESTART;
  sigaction(SIGINT, &stop, nullptr);
  sigaction(SIGTERM, &stop, nullptr);
}

void NtfsConsole::PassOnStop() {
  if (signalled_) gEngine.flags.fetch_or(kStopRequested);
}

void NtfsConsole::Start(NtfsRun run, OutcomeLog& log, std::map<std::string, uint64_t> sizes) {
  log.Begin(run);
  current_ = &log;
  if (progress_) progress_->Start(run, std::move(sizes));
}

void NtfsConsole::Begin() {
  if (AnalysisFirst()) {
    Start(NtfsRun::Analysis, options_.analyse ? log_ : counting_, {});
  } else {
    Start(options_.plan ? NtfsRun::Plan : NtfsRun::Defragmentation, log_, {});
  }
}

void NtfsConsole::SetStatusText(int part, const std::wstring& text) {
  if (part == kStatusPartPath && progress_) progress_->FileStarted(text);
}

void NtfsConsole::ShowProgress(uint64_t last) {
  if (progress_) progress_->MoveSteps(last);
}

void NtfsConsole::SetProgress(uint64_t position) {
  if (progress_) progress_->MoveStep(position);
}

void NtfsConsole::FileOutcome(const ::FileOutcome& outcome) {
  if (current_) current_->Add(outcome);
  if (progress_) progress_->FileDone(outcome);
}

void NtfsConsole::Print(const std::string& text) const {
  if (options_.json) return;
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

void NtfsConsole::ConsoleSummary(bool defragmentation) {
  if (progress_) progress_->Stop();
  stopped_ = stopped_ || gRunState.lastEnd == RunEnd::Stopped;
  current_ = nullptr;
  if (defragmentation) {
    Print(options_.plan ? PlanText(log_.Of(NtfsRun::Plan)) : DefragSummaryText(log_.Of(NtfsRun::Defragmentation)));
    return;
  }
  if (options_.analyse) Print(AnalysisSummaryText(log_.Of(NtfsRun::Analysis)));
  if (options_.defragment || options_.plan) {
    const auto sizes = FragmentedSizes((options_.analyse ? log_ : counting_).Of(NtfsRun::Analysis));
    Start(options_.plan ? NtfsRun::Plan : NtfsRun::Defragmentation, log_, sizes);
  }
}
