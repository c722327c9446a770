#include "app/ntfs/NtfsRunFlow.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "app/CommandLine.h"
#include "app/RunFlags.h"
#include "app/ntfs/DryRunVolume.h"
#include "app/ntfs/NtfsConsole.h"
#include "app/ntfs/NtfsExitCodes.h"
#include "app/ntfs/NtfsOutcomes.h"
#include "app/ntfs/NtfsPaths.h"
#include "app/ntfs/NtfsReport.h"
#include "app/ntfs/NtfsSummary.h"
#include "engine/EngineHooks.h"
#include "engine/Relocation.h"
#include "engine/ntfs/NtfsVolume.h"
#include "engine/sim/SimVolume.h"
#include "filters/Filters.h"
#include "items/ItemList.h"
#include "runs/RunDriver.h"
#include "runs/RunHooks.h"
#include "util/SharedLock.h"
#include "util/WideString.h"

namespace {

// The console the run's calls reach while it runs.
NtfsConsole* gConsole = nullptr;

void InstallHooks() {
  CreateSharedLock();
  gItemSettings.hooks = PortableItemHooks();
  gItemSettings.suppressMessages = true;
  gRunHooks = PortableRunHooks();
  gRunHooks.refreshCounters = [] { gConsole->RefreshCounters(); };
  gRunHooks.refreshErrors = [] { gConsole->RefreshErrors(); };
  gRunHooks.fileOutcome = [](const FileOutcome& outcome) { gConsole->FileOutcome(outcome); };
  // No window to keep alive: no pump, and the waits for the move thread
  // block on the thread alone.
  gEngineHooks = EngineHooks{};
  gEngineHooks.setStatusText = [](int part, const std::wstring& text) { gConsole->SetStatusText(part, text); };
  gEngineHooks.showProgress = [](uint64_t last) { gConsole->ShowProgress(last); };
  gEngineHooks.setProgress = [](uint64_t position) { gConsole->SetProgress(position); };
}

// The analysis and then the defragmentation (or its plan), each followed by
// its part of the summary. A stopped analysis is followed by nothing.
void RunTheRuns(const NtfsOptions& options, NtfsConsole& console) {
  console.Begin();
  if (console.AnalysisFirst()) {
    StartRun(RunMode::AnalyseAll);
    console.ConsoleSummary(false);
  }
  if ((options.defragment || options.plan) && !console.Stopped()) {
    StartRun(RunMode::DefragmentAll);
    console.ConsoleSummary(true);
  }
}

bool AnyFailed(const OutcomeLog& log) {
  for (NtfsRun run : log.Runs()) {
    const RunTotals totals = Tally(log.Of(run));
    if (totals.failed > 0 || totals.stopped > 0) return true;
  }
  return false;
}

// The report and the JSON document, once the exit code is known; the code
// of a report that could not be written replaces a success.
int Finish(const NtfsOptions& options, std::FILE* report, const OutcomeLog& log, int code,
           const std::string& error) {
  if (report) {
    const std::string text = ReportText(log, options.device, code, error);
    const bool written = std::fwrite(text.data(), 1, text.size(), report) == text.size();
    if (std::fclose(report) != 0 || !written) {
      std::fprintf(stderr, "ordalis-ntfs: the report %s could not be written: %s\n", options.report.c_str(),
                   std::strerror(errno));
      if (code == kExitOk) code = kExitReportFailed;
    }
  }
  if (options.json) {
    std::fputs(JsonDocument(log, options.device, code, error).c_str(), stdout);
    std::fflush(stdout);
  }
  return code;
}

}  // namespace

int RunOnVolume(const NtfsOptions& options, std::FILE* report) {
  NtfsVolume volume;
  std::string message;
  // An analysis or a plan never opens the volume for writing.
  if (volume.Open(options.device, options.defragment, kNtfsLetter, message) != NtfsOpenFailure::None) {
    // A move an earlier run left half-done may have been completed first.
    message += volume.CompletedInterruptedMove() ? "; nothing else was written" : "; nothing was written";
    std::fprintf(stderr, "ordalis-ntfs: %s\n", message.c_str());
    return Finish(options, report, OutcomeLog(), kExitVolumeRefused, message);
  }
  DryRunVolume planned(volume);
  NtfsFileQueries queries(volume);
  SetVolumeAccess(options.plan ? static_cast<VolumeAccess*>(&planned) : &volume);
  SetFileQueries(&queries);

  NtfsConsole console(options, !options.quiet && isatty(STDERR_FILENO));
  gConsole = &console;
  InstallHooks();
  NtfsConsole::CatchStopSignals();
  gApp.runFlags = kRunNoGui | kRunClose | (options.analyse ? kRunAnalyze : 0) |
                  (options.defragment || options.plan ? kRunDefrag : 0) | (options.quick ? kRunQuick : 0);
  if (!options.quick) gEngine.flags |= kSmartStrategy;
  AddBuiltInMasks();
  for (const std::string& mask : options.excludes) AddExclusion(L'W', EngineMask(mask));
  for (const std::string& mask : options.includes) AddInclusion(EngineMask(mask));

  if (!options.json) std::fputs(BannerText().c_str(), stdout);
  for (const std::string& path : options.paths) {
    const std::wstring engine = EnginePath(path);
    const uint32_t attributes = queries.GetAttributes(engine);
    if (attributes == kInvalidAttributes || AddItem((attributes & kAttrDirectory) != 0, engine) != kAddOk) {
      std::fprintf(options.json ? stderr : stdout, "%s could not be added: not found on the volume\n",
                   path.c_str());
    }
  }

  int code = kExitOk;
  std::string error;
  if (ItemCount() == 0) {
    code = kExitNothingFound;
    error = "none of the paths is on the volume";
  } else {
    RunTheRuns(options, console);
    // A stopped run never reads as a success, whatever it reached.
    if (console.Stopped()) {
      code = kExitStopped;
      error = "the run was stopped before its end; the files it had not reached are not listed";
      if (!options.json) std::printf("Stopped: %s.\n", error.c_str());
    } else if (AnyFailed(console.Log())) {
      code = kExitFilesLeft;
    }
  }
  if (CurrentVolumeAccess() != nullptr) ResetEngineState();
  SetVolumeAccess(nullptr);
  SetFileQueries(nullptr);
  if (!volume.Unmount()) {
    std::fputs("ordalis-ntfs: the volume could not be closed cleanly\n", stderr);
    code = kExitCloseFailed;
  }
  gConsole = nullptr;
  return Finish(options, report, console.Log(), code, error);
}
