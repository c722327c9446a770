#pragma once
// The command line's runs: the analysis and then the defragmentation that
// the options ask for, each followed by its console summary, and the exit
// code they leave.
#include <cstdint>

class RunUi;
struct RunOptions;

// Exit codes of the command line's runs: 2 when the disk check stopped the
// defragmentation for errors, 3 for a stopped defragmentation that closes
// with errors, else 4 when any run left errors, 0 otherwise.
uint32_t UnattendedExitCode(bool diskErrors, bool stoppedWithErrors, bool anyErrors);

// Runs what `options` asks for and returns the exit code. Unattended, each
// run's console summary is written as the run ends, and after a completed
// defragmentation the summary dialog ("/SHOWREPORT", or "/CLOSEIFOK" with
// errors) and the power-off ("/SHUTDOWN") follow.
uint32_t RunUnattended(RunOptions& options, RunUi& ui);
