#pragma once
// The program's exception filter and its report dialog.
//
// Installed first thing at start-up, the filter sees every fault that no one
// handles, in the window thread (message loop included) and in every worker;
// exceptions that escape a thread procedure reach it as faults through
// RunThreadProcedure (engine/EngineThread.h). It saves the exception record
// and the processor context, and hands the rest to a fresh thread (the
// faulting one may have overflowed its stack) while it waits: when the TAG
// (util/Tag.h) is below neutral the program ends at once, otherwise the
// report dialog shows over the active window first, and after a fault at
// kTagCheckingDrives the solid-state warning follows. Either way the
// clean-up runs and the process ends with the TAG as its exit code.
#include <string>

using CrashCleanup = void (*)();
void InstallCrashReport(CrashCleanup cleanup);

// The simulating variant's copy of the report: receives the rich text exactly
// as it is streamed into the box. The shipped program never sets one.
using CrashReportObserver = void (*)(const std::string& richText);
void SetCrashReportObserver(CrashReportObserver observer);
