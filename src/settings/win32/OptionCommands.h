#pragma once
// The option commands of the main menu: each flips its check mark or moves
// its radio mark and changes the preference behind it at once.
#include <windows.h>

// True when command was an option command (or a language, or the language
// viewer) and has been carried out.
bool HandleOptionCommand(HWND window, unsigned command);

// Shows or hides the toolbar, the bottom panel and the status bars as their
// menu marks say (after a change, and once the settings are read).
void ApplyPanelMarks();

// The marks that the command line's options set, after the settings file
// was read: they win for this run.
struct CommandLineChoices;
void ApplyCommandLineMarks(unsigned runFlags, const CommandLineChoices& choices);
