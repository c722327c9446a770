#pragma once
// Every file's outcome of each run ordalis-ntfs makes, in the order the runs
// reached them, and the totals the summary, the report and the JSON document
// all print, so that the three never disagree.
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "runs/RunResults.h"

enum class NtfsRun { Analysis, Defragmentation, Plan };

struct RunTotals {
  uint64_t processed = 0;   // moved + contiguous + fragmented + failed + stopped
  uint64_t moved = 0;       // in a plan: files that have a place to go
  uint64_t contiguous = 0;
  uint64_t fragmented = 0;  // analysis only: found in more than one fragment
  uint64_t failed = 0;
  uint64_t stopped = 0;
  uint64_t stillFragmented = 0;  // after the run (failed or stopped ones)
  uint64_t leftOut = 0;
  uint64_t bytesMoved = 0;
};

class OutcomeLog {
 public:
  // The outcomes that follow belong to `run`; an earlier list of the same
  // run is replaced.
  void Begin(NtfsRun run);
  // Safe from any thread.
  void Add(const FileOutcome& outcome);
  std::vector<FileOutcome> Of(NtfsRun run) const;
  bool Has(NtfsRun run) const;
  std::vector<NtfsRun> Runs() const;
  uint64_t Count() const;

 private:
  mutable std::mutex mutex_;
  NtfsRun current_ = NtfsRun::Analysis;
  std::vector<std::pair<NtfsRun, std::vector<FileOutcome>>> runs_;
};

RunTotals Tally(const std::vector<FileOutcome>& outcomes);

// The file's bytes on disk (its clusters).
uint64_t OutcomeBytes(const FileOutcome& outcome);
// Why a file was not processed, in English; empty for a success.
std::string ReasonText(const FileOutcome& outcome);
// "moved", "contiguous", ... ; in a plan a move reads "planned".
const char* FateName(FileFate fate, NtfsRun run);
const char* RunName(NtfsRun run);
// A byte count for people: "812 bytes", "1.5 MiB".
std::string HumanBytes(uint64_t bytes);
