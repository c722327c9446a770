#include "app/ntfs/NtfsSummary.h"

#include "options/CommandLine.h"
#include "app/ntfs/NtfsPaths.h"
#include "runs/RunReport.h"
#include "util/WideString.h"

namespace {

std::string WithoutCarriageReturns(const std::wstring& text) {
  std::wstring kept;
  for (wchar_t c : text) {
    if (c != L'\r') kept += c;
  }
  return WideToUtf8(kept);
}

// No blanks at the ends of lines, never more than one empty line in a row.
std::string Tidied(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\n') {
      while (!out.empty() && out.back() == ' ') out.pop_back();
      if (out.size() >= 2 && out[out.size() - 1] == '\n' && out[out.size() - 2] == '\n') continue;
    }
    out += c;
  }
  return out;
}

std::string Count(const char* label, uint64_t value) { return std::string(label) + " : " + std::to_string(value); }

std::string FailedFilesText(const std::vector<FileOutcome>& outcomes, const char* heading) {
  std::string text;
  for (const FileOutcome& outcome : outcomes) {
    if (outcome.fate != FileFate::Failed && outcome.fate != FileFate::Stopped) continue;
    if (text.empty()) text = std::string(heading) + "\n";
    text += VolumePathOf(outcome.path) + " : " + ReasonText(outcome) + "\n";
  }
  return text.empty() ? text : text + "\n";
}

}  // namespace

// The console's banner without the blank lines it starts with there.
std::string BannerText() {
  std::string text = WithoutCarriageReturns(ConsoleBanner());
  return text.substr(text.find_first_not_of('\n'));
}

std::string AnalysisSummaryText(const std::vector<FileOutcome>& outcomes) {
  std::string text;
  for (const std::wstring& part : ConsoleAnalysisSection()) {
    std::string piece = WithoutCarriageReturns(part);
    for (const char* label : {"Analyzed file : ", "Analyzed folder : "}) {
      if (piece.rfind(label, 0) != 0) continue;
      const size_t end = piece.find('\n');
      const std::string path = piece.substr(std::string(label).size(), end - std::string(label).size());
      piece = label + VolumePathOf(WideFromUtf8(path)) + piece.substr(end);
    }
    text += piece;
  }
  text = Tidied(text);
  for (const std::string& line : TotalsLines(NtfsRun::Analysis, Tally(outcomes))) text += line + "\n";
  return text + "\n" + FailedFilesText(outcomes, "Files that could not be analysed:");
}

std::vector<std::string> TotalsLines(NtfsRun run, const RunTotals& totals) {
  std::vector<std::string> lines;
  lines.push_back(Count("Number of processed files", totals.processed));
  if (run == NtfsRun::Analysis) {
    lines.push_back(Count("Number of fragmented files", totals.fragmented));
    lines.push_back(Count("Number of contiguous files", totals.contiguous));
    lines.push_back(Count("Number of files that could not be analysed", totals.failed));
  } else {
    lines.push_back(Count(run == NtfsRun::Plan ? "Number of files that would be defragmented"
                                               : "Number of defragmented files",
                          totals.moved));
    lines.push_back(Count("Number of already contiguous files", totals.contiguous));
    lines.push_back(Count(run == NtfsRun::Plan ? "Number of files that could not be defragmented"
                                               : "Number of files that were not defragmented due to processing errors",
                          totals.failed));
    if (totals.stopped > 0) lines.push_back(Count("Number of files stopped before their move", totals.stopped));
    if (run == NtfsRun::Defragmentation) {
      lines.push_back(Count("Number of files still fragmented", totals.stillFragmented));
    }
  }
  lines.push_back(Count("Number of files left out by the filters", totals.leftOut));
  return lines;
}

std::string DefragSummaryText(const std::vector<FileOutcome>& outcomes) {
  std::string text = "Summary:\n\n";
  for (const std::string& line : TotalsLines(NtfsRun::Defragmentation, Tally(outcomes))) text += line + "\n";
  return text + "\n" + FailedFilesText(outcomes, "Files not defragmented:");
}

std::string PlanText(const std::vector<FileOutcome>& outcomes) {
  std::string text = "Plan (nothing is written):\n\n";
  for (const FileOutcome& outcome : outcomes) {
    if (outcome.fate == FileFate::Contiguous || outcome.fate == FileFate::LeftOut) continue;
    text += VolumePathOf(outcome.path) + " : ";
    if (outcome.fragmentsBefore > 1) {
      text += std::to_string(outcome.fragmentsBefore) + " fragments, " + HumanBytes(OutcomeBytes(outcome)) +
              " (" + std::to_string(outcome.clusters) + " clusters) ";
    }
    if (outcome.fate == FileFate::Moved) {
      text += "-> clusters " + std::to_string(outcome.target) + "-" +
              std::to_string(outcome.target + int64_t(outcome.clusters) - 1) + "\n";
    } else {
      text += "-> not moved: " + ReasonText(outcome) + "\n";
    }
  }
  text += "\n";
  for (const std::string& line : TotalsLines(NtfsRun::Plan, Tally(outcomes))) text += line + "\n";
  return text + "\n";
}
