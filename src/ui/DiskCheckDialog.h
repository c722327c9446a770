#pragma once
// The disk-check dialog ("Controllo disco"): the drives of the listed items,
// each checked in turn by the system's checker while its report streams into
// the dialog.
#include <windows.h>

#include <cstdint>

// What the dialog ends with: 2 cancelled, 3 not checked by choice, or after
// a check 1 + 4 (errors found) + 8 (go on by itself).
constexpr int kDiskCheckResultCancelled = 2;
constexpr int kDiskCheckResultSkipped = 3;

// Runs the dialog modally over `owner`; with `automatic` the check starts at
// once.
int RunDiskCheckDialog(HWND owner, bool automatic);

// The unattended mode: every drive of the listed items is checked without a
// window, as the dialog would with every row ticked, and the result is the
// one the dialog ends with by itself after a check.
int RunDiskCheckUnattended();
