#pragma once
// What ordalis-ntfs shows while its runs go on: every file's outcome logged
// under the run under way, the progress line on a terminal, a stop signal
// passed on to the run between two files, and each run's part of the
// summary printed as the run ends. It answers the run's calls the way a
// console answers them, file outcomes included.
#include <csignal>
#include <map>
#include <string>

#include "app/ntfs/NtfsCommandLine.h"
#include "app/ntfs/NtfsOutcomes.h"
#include "app/ntfs/NtfsProgress.h"
#include "runs/ConsoleRunUi.h"

class NtfsConsole final : public ConsoleRunUi {
 public:
  // `showProgress`: standard error is a terminal and --quiet was not given.
  NtfsConsole(const NtfsOptions& options, bool showProgress);

  // Whether an analysis runs first: asked for, or needed for the progress
  // line's totals (its outcomes are then kept apart and not printed).
  bool AnalysisFirst() const { return options_.analyse || progress_ != nullptr; }
  // Starts logging (and drawing) the first run.
  void Begin();

  // The run's calls.
  void SetStatusText(int part, const std::wstring& text) override;
  void ShowProgress(uint64_t last) override;
  void SetProgress(uint64_t position) override;
  void RefreshCounters() override { PassOnStop(); }
  void RefreshErrors() override { PassOnStop(); }
  void FileOutcome(const ::FileOutcome& outcome) override;
  // A run has ended: the progress line is erased, its part of the summary
  // printed (its own, not the Windows program's `section`), and the next
  // run, if any, logged from now on.
  void ConsoleSummary(bool defragmentation, const std::vector<std::wstring>& section) override;

  const OutcomeLog& Log() const { return log_; }
  // A run was stopped, or a stop signal came.
  bool Stopped() const { return stopped_ || signalled_ != 0; }

  // Ctrl-C and termination: the file being moved is finished, then the run
  // stops as if asked to.
  static void CatchStopSignals();

 private:
  static void PassOnStop();
  void Start(NtfsRun run, OutcomeLog& log, std::map<std::string, uint64_t> sizes);
  void Print(const std::string& text) const;

  static volatile std::sig_atomic_t signalled_;
  const NtfsOptions& options_;
  ProgressLine line_;
  ProgressLine* progress_ = nullptr;
  OutcomeLog log_;
  OutcomeLog counting_;  // the analysis only the progress line needed
  OutcomeLog* current_ = nullptr;
  bool stopped_ = false;
};
