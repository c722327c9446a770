#include "app/ntfs/NtfsReport.h"

#include <ctime>

#include "options/ProgramVersion.h"
#include "app/ntfs/NtfsPaths.h"
#include "app/ntfs/NtfsSummary.h"
#include "util/WideString.h"

namespace {

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
  return text;
}

std::string Version() { return WideToUtf8(ORDALIS_VERSION_TEXT); }

// "moved: /a b.txt (12 fragments -> 1, 300 clusters, at cluster 4096)".
std::string ReportLine(const FileOutcome& outcome, NtfsRun run) {
  std::string line = std::string(FateName(outcome.fate, run)) + ": " + VolumePathOf(outcome.path);
  if (outcome.fate == FileFate::LeftOut) return line;
  if (outcome.fate == FileFate::Failed && outcome.fragmentsBefore == 0) {
    return line + " (" + ReasonText(outcome) + ")";
  }
  line += " (" + std::to_string(outcome.fragmentsBefore) + (outcome.fragmentsBefore == 1 ? " fragment" : " fragments");
  if (run != NtfsRun::Analysis && outcome.fate != FileFate::Contiguous) {
    line += " -> " + std::to_string(outcome.fragmentsAfter);
  }
  line += ", " + std::to_string(outcome.clusters) + " clusters";
  if (outcome.fate == FileFate::Moved) line += ", to cluster " + std::to_string(outcome.target);
  line += ")";
  const std::string reason = ReasonText(outcome);
  return reason.empty() ? line : line + ": " + reason;
}

}  // namespace

std::string ReportText(const OutcomeLog& log, const std::string& device, int exitCode,
                       const std::string& error) {
  std::string text = "ordalis-ntfs " + Version() + " report\n";
  text += "Volume: " + device + "\n";
  text += "Written: " + Now() + "\n\n";
  if (!error.empty()) text += "Not completed: " + error + "\n\n";
  for (NtfsRun run : log.Runs()) {
    const std::vector<FileOutcome> outcomes = log.Of(run);
    std::string title = RunName(run);
    title[0] = char(title[0] - 'a' + 'A');
    text += title + (run == NtfsRun::Plan ? " (nothing was written)" : "") + "\n\n";
    for (const FileOutcome& outcome : outcomes) text += ReportLine(outcome, run) + "\n";
    text += "\n";
    for (const std::string& line : TotalsLines(run, Tally(outcomes))) text += line + "\n";
    text += "\n";
  }
  return text + "Exit code: " + std::to_string(exitCode) + "\n";
}

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += char(c);
    } else if (c < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      out += escaped;
    } else {
      out += char(c);
    }
  }
  return out + "\"";
}

std::string JsonDocument(const OutcomeLog& log, const std::string& device, int exitCode,
                         const std::string& error) {
  auto field = [](const char* name, const std::string& value) { return JsonString(name) + ": " + value; };
  auto number = [](auto value) { return std::to_string(value); };
  std::string json = "{\n  " + field("program", JsonString("ordalis-ntfs")) + ",\n  " +
                     field("version", JsonString(Version())) + ",\n  " + field("volume", JsonString(device)) +
                     ",\n  \"runs\": [";
  bool firstRun = true;
  for (NtfsRun run : log.Runs()) {
    const std::vector<FileOutcome> outcomes = log.Of(run);
    json += std::string(firstRun ? "" : ",") + "\n    {" + field("run", JsonString(RunName(run))) + ", \"files\": [";
    firstRun = false;
    for (size_t i = 0; i < outcomes.size(); ++i) {
      const FileOutcome& o = outcomes[i];
      json += std::string(i ? "," : "") + "\n      {" + field("path", JsonString(VolumePathOf(o.path))) + ", " +
              field("outcome", JsonString(FateName(o.fate, run))) + ", " +
              field("fragmentsBefore", number(o.fragmentsBefore)) + ", " +
              field("fragmentsAfter", number(o.fragmentsAfter)) + ", " + field("clusters", number(o.clusters)) +
              ", " + field("bytes", number(OutcomeBytes(o))) + ", " +
              field("target", o.target >= 0 ? number(o.target) : "null") + ", " +
              field("reason", ReasonText(o).empty() ? "null" : JsonString(ReasonText(o))) + "}";
    }
    const RunTotals t = Tally(outcomes);
    json += "],\n     \"totals\": {" + field("processed", number(t.processed)) + ", " +
            field("moved", number(t.moved)) + ", " + field("contiguous", number(t.contiguous)) + ", " +
            field("fragmented", number(t.fragmented)) + ", " + field("failed", number(t.failed)) + ", " +
            field("stopped", number(t.stopped)) + ", " + field("stillFragmented", number(t.stillFragmented)) +
            ", " + field("leftOut", number(t.leftOut)) + ", " + field("bytesMoved", number(t.bytesMoved)) + "}}";
  }
  return json + "\n  ],\n  " + field("error", error.empty() ? "null" : JsonString(error)) + ",\n  " +
         field("exitCode", number(exitCode)) + "\n}\n";
}
