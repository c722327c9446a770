#pragma once
// The command line of ordalis-ntfs: its options, the help and version texts.
#include <string>
#include <vector>

struct NtfsOptions {
  bool analyse = false;
  bool defragment = false;
  bool plan = false;
  bool quick = false;
  bool json = false;
  bool quiet = false;
  std::string report;
  std::vector<std::string> excludes;
  std::vector<std::string> includes;
  std::string device;
  std::vector<std::string> paths;
};

enum class CommandLineVerdict { Run, Help, Version, Usage };

// Reads argv[1..]; on Usage, `error` says what is wrong.
CommandLineVerdict ParseNtfsCommandLine(int argc, char** argv, NtfsOptions& options, std::string& error);

extern const char* const kNtfsHelp;
// "ordalis-ntfs 1.00" and the notice, each line ending in a line feed.
std::string NtfsVersionText();
