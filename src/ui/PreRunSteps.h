#pragma once
// The window side of the steps before a defragmentation: the stored
// disk-check and cleanup choices (of gSettings, shown in the options menu), the
// solid-state warning, the disk-check dialog with the question that follows
// errors, and the cleanup dialog, as the window's run asks them.
#include <windows.h>

#include <cstdint>
#include <vector>

// True when the user chose not to defragment the files on solid-state drives.
bool SolidStateWarningDialog(HWND owner);
// The disk check: the dialog (`automatic`: it starts by itself), or without
// one when unattended. Its result: Cancel 2, errors 0x4.
int DiskCheckForRun(HWND owner, bool automatic, bool unattended);
// Question 318 after a check that found errors: true when "Esci" closes.
bool CloseForDiskErrorsQuestion(HWND owner);
// The cleanup, as the disk check; false when it was cancelled.
bool CleanupForRun(HWND owner, bool automatic, bool unattended);

// The choices of "Verifica gli errori sul volume" and "Pulitura disco"
// (commands 9057..9059 and 9053..9055).
uint32_t DiskCheckChoice();
void SetDiskCheckChoice(uint32_t command);
uint32_t CleanupChoice();
void SetCleanupChoice(uint32_t command);
