#pragma once
// The exit codes of ordalis-ntfs. They follow the unattended mode of the
// Windows program where the meaning is the same (3, 4, 5) and the shell's
// convention for a wrong command line (2); the window-only codes of that
// table have no meaning here.
constexpr int kExitOk = 0;              // every file processed, or nothing to do
constexpr int kExitUsage = 2;           // wrong command line
constexpr int kExitStopped = 3;         // stopped, files left unprocessed
constexpr int kExitFilesLeft = 4;       // files could not be processed or stay fragmented
constexpr int kExitNothingFound = 5;    // none of the paths is on the volume
constexpr int kExitVolumeRefused = 7;   // the volume could not be opened or was refused
constexpr int kExitReportFailed = 8;    // the report file could not be written
constexpr int kExitCloseFailed = 9;     // the volume could not be closed cleanly
