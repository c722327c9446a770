#pragma once
// The two documents of a run for keeping and for scripts: the report file
// (UTF-8 text with line feeds, in English, every file's outcome in every
// run) and the JSON document on standard output.
#include <string>

#include "app/ntfs/NtfsOutcomes.h"

// The report's whole text; `error`, when not empty, says why the runs did
// not complete.
std::string ReportText(const OutcomeLog& log, const std::string& device, int exitCode,
                       const std::string& error);
// One JSON document: program, version, volume, each run with its files and
// totals, why the runs did not complete (null when they did) and the exit
// code.
std::string JsonDocument(const OutcomeLog& log, const std::string& device, int exitCode,
                         const std::string& error);
// A JSON string literal, quotes included.
std::string JsonString(const std::string& text);
