#pragma once
// The option commands of the main menu: each changes its field of gSettings
// and applies it at once; the menus take their marks from the same fields.
#include <windows.h>

#include <cstdint>

// One function per option (or group of radio options), each the handler of
// its command's row in the window's table of commands.
void FlipOnTop(HWND window);
void FlipFullRow();
// The options that only a run or the end of a run reads: confirmations, the
// follow-ups, following the item, the cleanup's errors.
void FlipOption(unsigned command);
// The toolbar, the bottom panel and the status bars.
void FlipPanel(unsigned command);
void FlipStateIcons();
void FlipSystemIcons();
void FlipSkipSolidState();
void FlipNoSolidStateDetection();
void ChooseStrategy(unsigned command);
void ChooseDiskCheck(unsigned command);
void ChooseCleanup(unsigned command);
void ChoosePriority(unsigned command);

// Whether the menu item of an option command shows its check or radio mark,
// as gSettings says.
bool OptionMarked(uint32_t command);

// Gives the process the priority of one of the five priority commands
// (9047..9051). Returns true when the system took it.
bool ApplyProcessPriority(uint32_t command);
// As above, and then the settings keep it (the menu's mark follows).
// Returns 1 on success, 0 otherwise.
uint32_t SetProcessPriority(uint32_t command);

// Applies what the settings file set: the window on top, full-row
// selection, the state icons, the strategy, the toolbar, the bottom panel
// and the status bars.
void ApplyOptions();

// The options that the command line's switches set, after the settings
// file was read: they win for this run (and are kept, as any change).
struct CommandLineChoices;
void ApplyCommandLineOptions(unsigned runFlags, const CommandLineChoices& choices);
