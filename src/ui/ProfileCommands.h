#pragma once
// The profile commands of the "Profili" menu, the recent-profiles menu and
// its options dialog, and the commands of the filters, for the main window.
#include <windows.h>

#include <cstdint>
#include <string>

#include "selection/Profile.h"

void SaveProfileCommand(HWND owner);
// Imports `path`, or asks for one when it is empty. In unattended mode
// (noGui) nothing is shown: the failure goes to the console.
ImportResult ImportProfile(HWND owner, const std::wstring& path, bool noGui);
void ShowRecentProfilesDialog(HWND owner);
// Replaces the recent-profile entries of a menu (everything from the first
// id of the recent range on) with the current list, or with the greyed
// "<vuoto>" placeholder.
void FillRecentProfilesMenu(HMENU menu);
// Fills again the menus of the main window that list the recent profiles
// (after the list or the language changed).
void RefreshRecentMenus();
// Imports the recent profile whose menu entry has this command number.
void ImportRecentProfile(HWND owner, uint32_t command);
// At start-up, after the settings: the lists of filters and recent profiles.
void LoadSelectionState();
