#include "app/ntfs/NtfsOutcomes.h"

#include <algorithm>
#include <cstdio>

#include "engine/Analysis.h"
#include "engine/Relocation.h"
#include "util/WideString.h"

void OutcomeLog::Begin(NtfsRun run) {
  std::lock_guard lock(mutex_);
  current_ = run;
  std::erase_if(runs_, [run](const auto& entry) { return entry.first == run; });
  runs_.push_back({run, {}});
}

void OutcomeLog::Add(const FileOutcome& outcome) {
  std::lock_guard lock(mutex_);
  if (runs_.empty() || runs_.back().first != current_) runs_.push_back({current_, {}});
  runs_.back().second.push_back(outcome);
}

std::vector<FileOutcome> OutcomeLog::Of(NtfsRun run) const {
  std::lock_guard lock(mutex_);
  for (const auto& [which, outcomes] : runs_) {
    if (which == run) return outcomes;
  }
  return {};
}

bool OutcomeLog::Has(NtfsRun run) const {
  std::lock_guard lock(mutex_);
  return std::any_of(runs_.begin(), runs_.end(), [run](const auto& entry) { return entry.first == run; });
}

std::vector<NtfsRun> OutcomeLog::Runs() const {
  std::lock_guard lock(mutex_);
  std::vector<NtfsRun> runs;
  for (const auto& entry : runs_) runs.push_back(entry.first);
  return runs;
}

uint64_t OutcomeLog::Count() const {
  std::lock_guard lock(mutex_);
  return runs_.empty() ? 0 : runs_.back().second.size();
}

uint64_t OutcomeBytes(const FileOutcome& outcome) { return outcome.clusters * outcome.clusterSize; }

RunTotals Tally(const std::vector<FileOutcome>& outcomes) {
  RunTotals totals;
  for (const FileOutcome& outcome : outcomes) {
    if (outcome.fate == FileFate::LeftOut) {
      ++totals.leftOut;
      continue;
    }
    ++totals.processed;
    switch (outcome.fate) {
      case FileFate::Moved:
        ++totals.moved;
        totals.bytesMoved += OutcomeBytes(outcome);
        break;
      case FileFate::Contiguous: ++totals.contiguous; break;
      case FileFate::Fragmented: ++totals.fragmented; break;
      case FileFate::Failed: ++totals.failed; break;
      case FileFate::Stopped: ++totals.stopped; break;
      case FileFate::LeftOut: break;
    }
    if ((outcome.fate == FileFate::Failed || outcome.fate == FileFate::Stopped) && outcome.fragmentsAfter > 1) {
      ++totals.stillFragmented;
    }
  }
  return totals;
}

std::string ReasonText(const FileOutcome& outcome) {
  const std::wstring& code = outcome.code;
  switch (outcome.fate) {
    case FileFate::LeftOut: return "left out by a filter";
    case FileFate::Stopped: return "the run was stopped before the file was moved";
    case FileFate::Failed: break;
    default: return std::string();
  }
  if (code == kMoveNoFreeRun || code == kMoveNoFreeRunOld) {
    return "no free run of clusters is long enough for the whole file";
  }
  if (code == kMovePartlyMoved) return "the file was moved only in part and is still fragmented";
  if (code == kOutcomeNoResources) return "not enough memory or system resources for the file";
  std::wstring text = code;
  while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L' ')) text.pop_back();
  return text.empty() ? "unknown error" : WideToUtf8(text);
}

const char* FateName(FileFate fate, NtfsRun run) {
  switch (fate) {
    case FileFate::Fragmented: return "fragmented";
    case FileFate::Contiguous: return "contiguous";
    case FileFate::Moved: return run == NtfsRun::Plan ? "planned" : "moved";
    case FileFate::Failed: return "failed";
    case FileFate::LeftOut: return "left out";
    case FileFate::Stopped: return "stopped";
  }
  return "failed";
}

const char* RunName(NtfsRun run) {
  switch (run) {
    case NtfsRun::Analysis: return "analysis";
    case NtfsRun::Defragmentation: return "defragmentation";
    case NtfsRun::Plan: return "plan";
  }
  return "";
}

std::string HumanBytes(uint64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " bytes";
  const char* const units[] = {"KiB", "MiB", "GiB", "TiB"};
  double value = double(bytes) / 1024;
  int unit = 0;
  while (value >= 1024 && unit < 3) {
    value /= 1024;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
  return text;
}
