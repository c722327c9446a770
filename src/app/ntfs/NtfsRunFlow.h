#pragma once
// The runs ordalis-ntfs makes on one volume: opened (read-only unless it
// defragments), the paths added as items, the analysis, then the
// defragmentation or its plan, every file's outcome logged, the summary,
// the report and the JSON document written; the exit code.
#include <cstdio>

#include "app/ntfs/NtfsCommandLine.h"

// `report` is the report file already opened for writing, or null.
int RunOnVolume(const NtfsOptions& options, std::FILE* report);
