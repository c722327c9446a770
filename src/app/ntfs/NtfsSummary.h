#pragma once
// What ordalis-ntfs prints on standard output for people: the banner, the
// analysis of each item, the summary of a defragmentation with every file
// that was not defragmented named with its reason, and the plan. English,
// with line feeds.
#include <string>
#include <vector>

#include "app/ntfs/NtfsOutcomes.h"

std::string BannerText();
// The items' analysis, paths in the volume's form, then every file that
// could not be analysed.
std::string AnalysisSummaryText(const std::vector<FileOutcome>& outcomes);
// The counts of a defragmentation (they add up: processed = defragmented +
// already contiguous + errors + stopped) and the files not defragmented.
std::string DefragSummaryText(const std::vector<FileOutcome>& outcomes);
// One line per fragmented file in the order the defragmentation takes them:
// its fragments, its size and the free run it would go to, or why none fits.
std::string PlanText(const std::vector<FileOutcome>& outcomes);
// The summary lines of a run's totals (shared by the report).
std::vector<std::string> TotalsLines(NtfsRun run, const RunTotals& totals);
