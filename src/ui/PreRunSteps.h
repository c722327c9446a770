#pragma once
// The window side of the steps before a defragmentation: the stored
// disk-check and cleanup choices (the radio marks of the options menu), the
// solid-state warning, the disk-check dialog with the question that follows
// errors, and the cleanup dialog, installed as the run's hooks.
#include <windows.h>

#include <cstdint>
#include <vector>

// Fills the run hooks of these steps for the main window.
void InstallPreRunSteps(HWND mainWindow);

// The radio marks of "Verifica gli errori sul volume" and "Pulitura disco"
// (commands 9057..9059 and 9053..9055).
uint32_t DiskCheckChoice();
void SetDiskCheckChoice(uint32_t command);
uint32_t CleanupChoice();
void SetCleanupChoice(uint32_t command);

// An empty dialog template in the program's font with the given style; the
// dialogs of these steps make their controls at initialisation.
std::vector<WORD> EmptyDialogTemplate(DWORD style);
