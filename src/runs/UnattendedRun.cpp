#include "runs/UnattendedRun.h"

#include "runs/RunDriver.h"
#include "runs/RunOptions.h"
#include "runs/RunReport.h"
#include "runs/RunResults.h"
#include "runs/RunUi.h"

uint32_t UnattendedExitCode(bool diskErrors, bool stoppedWithErrors, bool anyErrors) {
  if (diskErrors) return 2;
  if (stoppedWithErrors) return 3;
  return anyErrors ? 4 : 0;
}

namespace {

// A section of the console summary and, after it, the run's failures and
// the files left out.
std::vector<std::wstring> WithFailures(std::vector<std::wstring> section) {
  for (std::wstring& text : ConsoleFailuresAndLeftOut()) section.push_back(std::move(text));
  return section;
}

}  // namespace

uint32_t RunUnattended(RunOptions& options, RunUi& ui) {
  bool anyErrors = false;
  if (options.analyse) {
    StartRun(RunMode::AnalyseAll, options, ui);
    anyErrors = !gRun.errors.empty();
    if (options.unattended) ui.ConsoleSummary(false, WithFailures(ConsoleAnalysisSection()));
    if (options.stoppedAnalysisEndsRuns && gRunState.lastEnd == RunEnd::Stopped) {
      return UnattendedExitCode(false, false, anyErrors);
    }
  }
  bool diskErrors = false;
  bool stoppedWithErrors = false;
  if (options.defragment) {
    StartRun(RunMode::DefragmentAll, options, ui);
    anyErrors = anyErrors || !gRun.errors.empty();
    diskErrors = gRunState.diskErrors;
    if (options.unattended) ui.ConsoleSummary(true, WithFailures(ConsoleDefragSection()));
    stoppedWithErrors =
        gRunState.lastEnd == RunEnd::Stopped && options.close && !options.allowAbort && !gRun.errors.empty();
  }
  if (options.unattended && options.defragment && gRunState.lastEnd == RunEnd::Completed) {
    if (options.showReport || (options.closeIfOk && !gRun.errors.empty())) ui.ShowSummary();
    if (options.shutdown) ui.PowerOff();
  }
  return UnattendedExitCode(diskErrors, stoppedWithErrors, anyErrors);
}
