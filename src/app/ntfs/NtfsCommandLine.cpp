#include "app/ntfs/NtfsCommandLine.h"

#include "options/ProgramVersion.h"
#include "util/WideString.h"

const char* const kNtfsHelp =
    "Usage: ordalis-ntfs [OPTION]... VOLUME PATH...\n"
    "\n"
    "Analyses and defragments files and folders of an NTFS volume that is not\n"
    "mounted: VOLUME is an image file or a block device, each PATH a file or\n"
    "folder inside it written from its root, such as /Users/ann/disk.vhdx.\n"
    "\n"
    "  -a, --analyze        analyse (the volume is opened read-only when alone)\n"
    "  -d, --defrag         defragment; with --analyze, the analysis comes first\n"
    "  -p, --plan           show where each fragmented file would go, read-only\n"
    "      --quick          put each file in the first free run that fits\n"
    "                       (default: the smallest that fits)\n"
    "  -r, --report FILE    write every file's outcome to FILE (UTF-8 text)\n"
    "  -x, --exclude MASK   leave out paths matching MASK\n"
    "  -i, --include MASK   process only files matching one of the masks\n"
    "      --json           write the outcome as one JSON document\n"
    "  -q, --quiet          no progress line\n"
    "  -h, --help           this text\n"
    "  -V, --version        the version\n"
    "\n"
    "Masks are paths from the volume's root with \"*\" (any run of characters,\n"
    "\"/\" included) and \"?\" (one character): '/Users/*/cache/*', '*.iso'.\n"
    "\n"
    "Back up the volume first. Never use it on a mounted volume.\n"
    "Exit codes: 0 no errors, 2 wrong command line, 3 stopped before the end,\n"
    "4 files left unprocessed or fragmented, 5 none of the paths found,\n"
    "7 volume not opened, 8 report not written, 9 volume not closed cleanly.\n";

std::string NtfsVersionText() {
  return "ordalis-ntfs " + WideToUtf8(ORDALIS_VERSION_TEXT) + "\n" + WideToUtf8(ORDALIS_NOTICE_TEXT) + "\n";
}

namespace {

struct Flag {
  const char* longName;
  char shortName;
  bool NtfsOptions::*target;
};
constexpr Flag kFlags[] = {
    {"--analyze", 'a', &NtfsOptions::analyse}, {"--defrag", 'd', &NtfsOptions::defragment},
    {"--plan", 'p', &NtfsOptions::plan},       {"--quick", 0, &NtfsOptions::quick},
    {"--json", 0, &NtfsOptions::json},         {"--quiet", 'q', &NtfsOptions::quiet},
};

// The options that take a value; the lists gather every occurrence.
bool TakeValue(NtfsOptions& options, const std::string& name, const std::string& value) {
  if (name == "--report" || name == "-r") {
    options.report = value;
  } else if (name == "--exclude" || name == "-x") {
    options.excludes.push_back(value);
  } else if (name == "--include" || name == "-i") {
    options.includes.push_back(value);
  } else {
    return false;
  }
  return true;
}

}  // namespace

CommandLineVerdict ParseNtfsCommandLine(int argc, char** argv, NtfsOptions& options, std::string& error) {
  bool operandsOnly = false;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (operandsOnly || arg.size() < 2 || arg[0] != '-') {
      (options.device.empty() ? options.device : options.paths.emplace_back()) = arg;
      continue;
    }
    if (arg == "--") {
      operandsOnly = true;
      continue;
    }
    if (arg == "--help" || arg == "-h") return CommandLineVerdict::Help;
    if (arg == "--version" || arg == "-V") return CommandLineVerdict::Version;
    // "--report=FILE" as well as "--report FILE".
    std::string inlineValue;
    bool hasInline = false;
    if (const size_t equals = arg.find('='); arg.rfind("--", 0) == 0 && equals != std::string::npos) {
      inlineValue = arg.substr(equals + 1);
      arg.resize(equals);
      hasInline = true;
    }
    bool known = false;
    for (const Flag& flag : kFlags) {
      if (arg == flag.longName || (flag.shortName && arg == std::string{'-', flag.shortName})) {
        options.*flag.target = true;
        known = true;
      }
    }
    if (known && hasInline) {
      error = arg + " takes no value";
      return CommandLineVerdict::Usage;
    }
    if (known) continue;
    NtfsOptions probe;
    if (!TakeValue(probe, arg, std::string())) {
      error = "unknown option " + std::string(argv[i]);
      return CommandLineVerdict::Usage;
    }
    if (!hasInline && i + 1 >= argc) {
      error = arg + " needs a value";
      return CommandLineVerdict::Usage;
    }
    TakeValue(options, arg, hasInline ? inlineValue : std::string(argv[++i]));
  }
  if (options.device.empty() || options.paths.empty()) {
    error = "a volume and at least one path are needed";
    return CommandLineVerdict::Usage;
  }
  if (options.plan && (options.analyse || options.defragment)) {
    error = "--plan goes alone: it shows what --defrag would do";
    return CommandLineVerdict::Usage;
  }
  if (!options.plan && !options.analyse && !options.defragment) {
    error = "say what to do: --analyze, --defrag or --plan";
    return CommandLineVerdict::Usage;
  }
  return CommandLineVerdict::Run;
}
