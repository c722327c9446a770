#pragma once
// The cleanup dialog ("Eliminazione file temporanei"): empties the user's
// temporary folder, or starts the cleaning program the user names.
#include <windows.h>

// What the dialog ends with: 0 cleaned (or tried), 3 not cleaned by choice,
// 2 cancelled or refused (the run that asked is abandoned as well).
constexpr int kCleanupResultDone = 0;
constexpr int kCleanupResultCancelled = 2;
constexpr int kCleanupResultSkipped = 3;

// Runs the dialog modally over `owner`; with `automatic` the cleanup starts
// at once.
int RunCleanupDialog(HWND owner, bool automatic);

// The unattended mode: the cleanup the dialog would start by itself, without
// a window or a message; refusals end it with 2.
int RunCleanupUnattended();
