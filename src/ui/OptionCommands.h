#pragma once
// The option commands of the main menu: each flips its check mark or moves
// its radio mark and changes the preference behind it at once.
#include <windows.h>

#include <cstdint>

// One function per option (or group of radio options), each the handler of
// its command's row in the window's table of commands.
void FlipOnTop(HWND window);
void FlipFullRow();
// The marks that only a run or the end of a run reads: confirmations, the
// follow-ups, following the item, the cleanup's errors.
void FlipMark(unsigned command);
// The toolbar, the bottom panel and the status bars.
void FlipPanel(unsigned command);
void FlipStateIcons();
void FlipSystemIcons();
void FlipSkipSolidState();
void FlipNoSolidStateDetection(HWND window);
void ChooseStrategy(unsigned command);
void ChooseDiskCheck(unsigned command);
void ChooseCleanup(unsigned command);
void ChoosePriority(unsigned command);

// Maps one of the five priority commands (9047..9051) to the process's
// priority class. Returns 1 on success (the menu mark follows), 0 otherwise.
uint32_t SetProcessPriority(uint32_t command);

// Shows or hides the toolbar, the bottom panel and the status bars as their
// menu marks say (after a change, and once the settings are read).
void ApplyPanelMarks();

// The marks that the command line's options set, after the settings file
// was read: they win for this run.
struct CommandLineChoices;
void ApplyCommandLineMarks(unsigned runFlags, const CommandLineChoices& choices);
