// ordalis-ntfs: the unattended runs of the program on an NTFS volume or image
// from Linux, while nothing has it mounted. The volume becomes one drive for
// the engine; paths are given and shown from the volume's root.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "app/RunFlags.h"
#include "engine/EngineHooks.h"
#include "engine/Relocation.h"
#include "engine/ntfs/NtfsVolume.h"
#include "engine/sim/SimVolume.h"
#include "filters/Filters.h"
#include "items/ItemList.h"
#include "runs/RunDriver.h"
#include "runs/RunHooks.h"
#include "runs/RunReport.h"
#include "runs/RunResults.h"
#include "util/SharedLock.h"

namespace {

constexpr wchar_t kLetter = L'N';
// Exit codes besides those of the Windows program's unattended mode.
constexpr int kExitUsage = 6;
constexpr int kExitVolumeRefused = 7;

const char* const kHelp =
    "Usage: ordalis-ntfs [--analyze] [--defrag] [--quick] [--report FILE]\n"
    "                    [--exclude MASK]... [--include MASK]... VOLUME PATH...\n"
    "\n"
    "Analyses and defragments files and folders of an NTFS volume that is not\n"
    "mounted: VOLUME is an image file or a block device, each PATH a file or\n"
    "folder inside it written from its root, such as /Users/ann/disk.vhdx.\n"
    "\n"
    "  --analyze        analyse (the volume is opened read-only when alone)\n"
    "  --defrag         defragment; with --analyze, the analysis comes first\n"
    "  --quick          put each file in the first free space that fits\n"
    "                   (default: the smallest that fits)\n"
    "  --report FILE    write the analysis report to FILE\n"
    "  --exclude MASK   leave out paths matching MASK (\"*\" and \"?\")\n"
    "  --include MASK   process only files matching one of the masks\n"
    "  --help           this text\n"
    "\n"
    "Back up the volume first. Never use it on a mounted volume.\n"
    "Exit codes: 0 no errors, 3 stopped with errors, 4 files left unprocessed,\n"
    "5 none of the paths found, 6 wrong command line, 7 volume not opened.\n";

// Ctrl-C and termination: the file being moved is finished, then the run
// stops as if asked to (the stop is passed on between two files).
volatile sig_atomic_t gSignalled = 0;
void OnStopSignal(int) { gSignalled = 1; }
void PassOnStop() {
  if (gSignalled) gEngine.flags.fetch_or(kStopRequested);
}

std::wstring Wide(const std::string& text) { return WideFromUtf8(text); }
std::string Narrow(const std::wstring& text) { return WideToUtf8(text); }

// "/Users/ann" as the engine's "N:\Users\ann".
std::wstring EnginePath(const std::string& given) {
  std::wstring path = std::wstring(1, kLetter) + L":" + Wide(given.empty() || given[0] != '/' ? "/" + given : given);
  for (wchar_t& c : path) {
    if (c == L'/') c = L'\\';
  }
  if (path.size() > 3 && path.back() == L'\\') path.pop_back();
  return path;
}

// Back to the volume's own form, for what is shown.
std::wstring GivenPath(const std::wstring& engine, const std::map<std::wstring, std::wstring>& given) {
  auto it = given.find(engine);
  if (it != given.end()) return it->second;
  std::wstring path = engine.size() >= 2 ? engine.substr(2) : engine;
  for (wchar_t& c : path) {
    if (c == L'\\') c = L'/';
  }
  return path;
}

void Write(const std::vector<std::wstring>& texts, const std::map<std::wstring, std::wstring>& given) {
  for (std::wstring text : texts) {
    for (const auto& [engine, shown] : given) {
      for (const wchar_t* label : {L"Analyzed file : ", L"Analyzed folder : "}) {
        const std::wstring from = label + engine + L"\r\n";
        if (text.rfind(from, 0) == 0) text = label + shown + L"\r\n" + text.substr(from.size());
      }
    }
    std::string out;
    for (wchar_t c : text) {
      if (c != L'\r') out += Narrow(std::wstring(1, c));
    }
    std::fputs(out.c_str(), stdout);
  }
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  bool analyse = false, defragment = false, quick = false;
  std::string report, device;
  std::vector<std::string> excludes, includes, paths;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&](std::vector<std::string>* list, std::string* single) {
      if (i + 1 >= argc) return false;
      if (list) list->push_back(argv[++i]);
      if (single) *single = argv[++i];
      return true;
    };
    if (arg == "--help" || arg == "-h") {
      std::fputs(kHelp, stdout);
      return 0;
    } else if (arg == "--analyze") {
      analyse = true;
    } else if (arg == "--defrag") {
      defragment = true;
    } else if (arg == "--quick") {
      quick = true;
    } else if (arg == "--report" ? !value(nullptr, &report) : arg == "--exclude" ? !value(&excludes, nullptr)
                                                              : arg == "--include" ? !value(&includes, nullptr)
                                                                                   : false) {
      std::fprintf(stderr, "ordalis-ntfs: %s needs a value\n", arg.c_str());
      return kExitUsage;
    } else if (arg == "--report" || arg == "--exclude" || arg == "--include") {
      continue;
    } else if (arg.rfind("--", 0) == 0) {
      std::fprintf(stderr, "ordalis-ntfs: unknown option %s (see --help)\n", arg.c_str());
      return kExitUsage;
    } else if (device.empty()) {
      device = arg;
    } else {
      paths.push_back(arg);
    }
  }
  if (device.empty() || paths.empty()) {
    std::fputs("ordalis-ntfs: a volume and at least one path are needed (see --help)\n", stderr);
    return kExitUsage;
  }

  NtfsVolume volume;
  std::string message;
  // An analysis alone never opens the volume for writing.
  if (volume.Open(device, defragment, kLetter, message) != NtfsOpenFailure::None) {
    std::fprintf(stderr, "ordalis-ntfs: %s; nothing %swas written\n", message.c_str(),
                 volume.CompletedInterruptedMove() ? "else " : "");
    return kExitVolumeRefused;
  }
  NtfsFileQueries queries(volume);
  SetVolumeAccess(&volume);
  SetFileQueries(&queries);

  CreateSharedLock();
  gItemSettings.hooks = PortableItemHooks();
  gItemSettings.suppressMessages = true;
  gRunHooks = PortableRunHooks();
  gRunHooks.refreshCounters = PassOnStop;
  gRunHooks.refreshErrors = PassOnStop;
  struct sigaction stop {};
  stop.sa_handler = OnStopSignal;
  stop.sa_flags = SA_RESTART;
  sigaction(SIGINT, &stop, nullptr);
  sigaction(SIGTERM, &stop, nullptr);
  // No window to keep alive: no pump, and the waits for the move thread
  // block on the thread alone.
  gEngineHooks = EngineHooks{};
  if (isatty(2)) {
    gEngineHooks.setStatusText = [](int part, const std::wstring& text) {
      if (part != kStatusPartPath) return;
      std::string line = Narrow(GivenPath(text, {}));
      if (line.size() > 76) line = "..." + line.substr(line.size() - 73);
      std::fprintf(stderr, "\r\033[K%s", line.c_str());
    };
  }
  gApp.runFlags = kRunNoGui | kRunClose | (analyse ? kRunAnalyze : 0) | (defragment ? kRunDefrag : 0) |
                  (quick ? kRunQuick : 0);
  if (!quick) gEngine.flags |= kSmartStrategy;
  AddBuiltInMasks();
  for (const std::string& mask : excludes) AddExclusion(L'W', Wide(mask));
  for (const std::string& mask : includes) AddInclusion(Wide(mask));

  std::fputs(Narrow(ConsoleBanner()).c_str(), stdout);
  std::map<std::wstring, std::wstring> given;
  for (const std::string& path : paths) {
    const std::wstring engine = EnginePath(path);
    given[engine] = Wide(path);
    const uint32_t attributes = queries.GetAttributes(engine);
    if (attributes == kInvalidAttributes ||
        AddItem((attributes & kAttrDirectory) != 0, engine) != kAddOk) {
      std::printf("%s could not be added: not found on the volume\n", path.c_str());
    }
  }
  if (ItemCount() == 0) {
    volume.Unmount();
    return 5;
  }

  bool anyErrors = false;
  if (analyse) {
    StartRun(RunMode::AnalyseAll);
    anyErrors = !gRun.errors.empty();
    if (isatty(2)) std::fputs("\r\033[K", stderr);
    Write(ConsoleAnalysisSection(), given);
    // The report names files as they are on the volume; the next run
    // starts its lists afresh.
    for (FragmentedFileRecord& record : gRun.fragmented) record.path = GivenPath(record.path, given);
    for (ErrorEntry& entry : gRun.errors) entry.displayPath = GivenPath(entry.displayPath, given);
    if (!report.empty() && !SaveAnalysisReport(Wide(report), PortableReportFormat())) {
      std::fprintf(stderr, "ordalis-ntfs: the report %s could not be written\n", report.c_str());
    }
  }
  bool stoppedWithErrors = false;
  if (defragment) {
    StartRun(RunMode::DefragmentAll);
    anyErrors = anyErrors || !gRun.errors.empty();
    if (isatty(2)) std::fputs("\r\033[K", stderr);
    Write(ConsoleDefragSection(), given);
    stoppedWithErrors = gRunState.lastEnd == RunEnd::Stopped && !gRun.errors.empty();
  }
  if (CurrentVolumeAccess() != nullptr) ResetEngineState();
  if (!volume.Unmount()) {
    std::fputs("ordalis-ntfs: the volume could not be closed cleanly\n", stderr);
    return 4;
  }
  if (stoppedWithErrors || gSignalled) return 3;
  return anyErrors ? 4 : 0;
}
