#include "app/ntfs/NtfsRunFlow.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "app/ntfs/DryRunVolume.h"
#include "app/ntfs/NtfsConsole.h"
#include "app/ntfs/NtfsExitCodes.h"
#include "app/ntfs/NtfsOutcomes.h"
#include "app/ntfs/NtfsPaths.h"
#include "app/ntfs/NtfsReport.h"
#include "app/ntfs/NtfsSummary.h"
#include "engine/Relocation.h"
#include "engine/ntfs/NtfsVolume.h"
#include "engine/sim/SimVolume.h"
#include "selection/Filters.h"
#include "items/ItemList.h"
#include "runs/RunDriver.h"
#include "runs/RunOptions.h"
#include "runs/UnattendedRun.h"
#include "options/Settings.h"
#include "util/SharedLock.h"
#include "util/WideString.h"

namespace {

// The analysis (when asked, or for the progress line) and then the
// defragmentation or its plan, each followed by its part of the summary, as
// the window's "/NOGUI" runs them. The exit code that flow returns is the
// window's; ordalis-ntfs takes its own from the outcome log.
void RunTheRuns(const NtfsOptions& options, NtfsConsole& console) {
  RunOptions runOptions;
  runOptions.unattended = true;
  runOptions.close = true;
  runOptions.analyse = console.AnalysisFirst();
  runOptions.defragment = options.defragment || options.plan;
  runOptions.solidStateFlags = gSettings.solidStateFlags;
  runOptions.stoppedAnalysisEndsRuns = true;
  console.Begin();
  RunUnattended(runOptions, console);
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
  CreateSharedLock();
  NtfsConsole::CatchStopSignals();
  if (!options.quick) gEngine.flags |= kSmartStrategy;
  AddBuiltInMasks();
  for (const std::string& mask : options.excludes) AddExclusion(L'W', EngineMask(mask));
  for (const std::string& mask : options.includes) AddInclusion(EngineMask(mask));

  if (!options.json) std::fputs(BannerText().c_str(), stdout);
  // Nobody to ask: a folder that cannot be read is refused without a word.
  PortableItemPlatform items;
  for (const std::string& path : options.paths) {
    const std::wstring engine = EnginePath(path);
    const uint32_t attributes = queries.GetAttributes(engine);
    if (attributes == kInvalidAttributes || AddItem(items, (attributes & kAttrDirectory) != 0, engine) != kAddOk) {
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
  return Finish(options, report, console.Log(), code, error);
}
