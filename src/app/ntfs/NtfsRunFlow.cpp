#include "app/ntfs/NtfsRunFlow.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <string>

#include "app/CommandLine.h"
#include "app/RunFlags.h"
#include "app/ntfs/DryRunVolume.h"
#include "app/ntfs/NtfsExitCodes.h"
#include "app/ntfs/NtfsOutcomes.h"
#include "app/ntfs/NtfsPaths.h"
#include "app/ntfs/NtfsProgress.h"
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

// Where the outcomes of the run under way go, and the line that shows them.
struct RunWatch {
  OutcomeLog* log = nullptr;
  ProgressLine* progress = nullptr;
};
RunWatch gWatch;

// Ctrl-C and termination: the file being moved is finished, then the run
// stops as if asked to (the stop is passed on between two files).
volatile sig_atomic_t gSignalled = 0;
void OnStopSignal(int) { gSignalled = 1; }
void PassOnStop() {
  if (gSignalled) gEngine.flags.fetch_or(kStopRequested);
}

void CatchStopSignals() {
  struct sigaction stop {};
  stop.sa_handler = OnStopSignal;
  stop.sa_flags = SA_RESTART;
  sigaction(SIGINT, &stop, nullptr);
  sigaction(SIGTERM, &stop, nullptr);
}

void InstallHooks(bool showProgress) {
  CreateSharedLock();
  gItemSettings.hooks = PortableItemHooks();
  gItemSettings.suppressMessages = true;
  gRunHooks = PortableRunHooks();
  gRunHooks.refreshCounters = PassOnStop;
  gRunHooks.refreshErrors = PassOnStop;
  gRunHooks.fileOutcome = [](const FileOutcome& outcome) {
    if (gWatch.log) gWatch.log->Add(outcome);
    if (gWatch.progress) gWatch.progress->FileDone(outcome);
  };
  // No window to keep alive: no pump, and the waits for the move thread
  // block on the thread alone.
  gEngineHooks = EngineHooks{};
  if (!showProgress) return;
  gEngineHooks.setStatusText = [](int part, const std::wstring& text) {
    if (part == kStatusPartPath && gWatch.progress) gWatch.progress->FileStarted(text);
  };
  gEngineHooks.showProgress = [](uint64_t last) {
    if (gWatch.progress) gWatch.progress->MoveSteps(last);
  };
  gEngineHooks.setProgress = [](uint64_t position) {
    if (gWatch.progress) gWatch.progress->MoveStep(position);
  };
}

// One run over the items, its outcomes in `log` under `run`; false when it
// was stopped before its end.
bool Run(RunMode mode, NtfsRun run, OutcomeLog& log, ProgressLine* progress,
         std::map<std::string, uint64_t> sizes) {
  log.Begin(run);
  gWatch = RunWatch{&log, progress};
  if (progress) progress->Start(run, std::move(sizes));
  StartRun(mode);
  if (progress) progress->Stop();
  gWatch = RunWatch{};
  return gRunState.lastEnd != RunEnd::Stopped;
}

// The bytes of each file an analysis found fragmented, by volume path.
std::map<std::string, uint64_t> FragmentedSizes(const std::vector<FileOutcome>& analysis) {
  std::map<std::string, uint64_t> sizes;
  for (const FileOutcome& outcome : analysis) {
    if (outcome.fate == FileFate::Fragmented) sizes[VolumePathOf(outcome.path)] = OutcomeBytes(outcome);
  }
  return sizes;
}

bool AnyFailed(const OutcomeLog& log) {
  for (NtfsRun run : log.Runs()) {
    const RunTotals totals = Tally(log.Of(run));
    if (totals.failed > 0 || totals.stopped > 0) return true;
  }
  return false;
}

void Print(const std::string& text, bool json) {
  if (json) return;
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
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
    std::fprintf(stderr, "ordalis-ntfs: %s; nothing was written\n", message.c_str());
    return Finish(options, report, OutcomeLog(), kExitVolumeRefused, message);
  }
  DryRunVolume planned(volume);
  NtfsFileQueries queries(volume);
  SetVolumeAccess(options.plan ? static_cast<VolumeAccess*>(&planned) : &volume);
  SetFileQueries(&queries);

  const bool showProgress = !options.quiet && isatty(STDERR_FILENO);
  InstallHooks(showProgress);
  CatchStopSignals();
  gApp.runFlags = kRunNoGui | kRunClose | (options.analyse ? kRunAnalyze : 0) |
                  (options.defragment || options.plan ? kRunDefrag : 0) | (options.quick ? kRunQuick : 0);
  if (!options.quick) gEngine.flags |= kSmartStrategy;
  AddBuiltInMasks();
  for (const std::string& mask : options.excludes) AddExclusion(L'W', EngineMask(mask));
  for (const std::string& mask : options.includes) AddInclusion(EngineMask(mask));

  Print(BannerText(), options.json);
  for (const std::string& path : options.paths) {
    const std::wstring engine = EnginePath(path);
    const uint32_t attributes = queries.GetAttributes(engine);
    if (attributes == kInvalidAttributes || AddItem((attributes & kAttrDirectory) != 0, engine) != kAddOk) {
      std::fprintf(options.json ? stderr : stdout, "%s could not be added: not found on the volume\n",
                   path.c_str());
    }
  }

  OutcomeLog log;
  int code = kExitOk;
  std::string error;
  if (ItemCount() == 0) {
    code = kExitNothingFound;
    error = "none of the paths is on the volume";
  } else {
    ProgressLine line;
    ProgressLine* progress = showProgress ? &line : nullptr;
    // The defragmentation's totals come from an analysis: the one asked
    // for, or a silent one when only the progress line needs them.
    OutcomeLog counting;
    bool completed = true;
    if (options.analyse || progress) {
      OutcomeLog& target = options.analyse ? log : counting;
      completed = Run(RunMode::AnalyseAll, NtfsRun::Analysis, target, progress, {});
      if (options.analyse) Print(AnalysisSummaryText(log.Of(NtfsRun::Analysis)), options.json);
    }
    const auto sizes = FragmentedSizes((options.analyse ? log : counting).Of(NtfsRun::Analysis));
    if (completed && options.defragment) {
      completed = Run(RunMode::DefragmentAll, NtfsRun::Defragmentation, log, progress, sizes);
      Print(DefragSummaryText(log.Of(NtfsRun::Defragmentation)), options.json);
    } else if (completed && options.plan) {
      completed = Run(RunMode::DefragmentAll, NtfsRun::Plan, log, progress, sizes);
      Print(PlanText(log.Of(NtfsRun::Plan)), options.json);
    }
    // A stopped run never reads as a success, whatever it reached.
    if (!completed || gSignalled) {
      code = kExitStopped;
      error = "the run was stopped before its end; the files it had not reached are not listed";
      Print("Stopped: " + error + ".\n", options.json);
    } else if (AnyFailed(log)) {
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
  return Finish(options, report, log, code, error);
}
