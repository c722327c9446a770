// ordalis-ntfs: the analysis and defragmentation of chosen files of an NTFS
// volume or image from Linux, while nothing has it mounted.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "app/ntfs/NtfsCommandLine.h"
#include "app/ntfs/NtfsExitCodes.h"
#include "app/ntfs/NtfsRunFlow.h"

int main(int argc, char** argv) {
  NtfsOptions options;
  std::string error;
  switch (ParseNtfsCommandLine(argc, argv, options, error)) {
    case CommandLineVerdict::Help: std::fputs(kNtfsHelp, stdout); return kExitOk;
    case CommandLineVerdict::Version: std::fputs(NtfsVersionText().c_str(), stdout); return kExitOk;
    case CommandLineVerdict::Usage:
      std::fprintf(stderr, "ordalis-ntfs: %s (see --help)\n", error.c_str());
      return kExitUsage;
    case CommandLineVerdict::Run: break;
  }
  // The report file is created before the volume is touched: a report that
  // cannot be written stops the run before anything moves.
  std::FILE* report = nullptr;
  if (!options.report.empty()) {
    report = std::fopen(options.report.c_str(), "w");
    if (report == nullptr) {
      std::fprintf(stderr, "ordalis-ntfs: the report %s cannot be written: %s; nothing was done\n",
                   options.report.c_str(), std::strerror(errno));
      return kExitReportFailed;
    }
  }
  return RunOnVolume(options, report);
}
