#pragma once
// The filter dialog ("Filtro"), the duplicate-mask warning and the command
// that excludes the selected rows of a list.
#include <windows.h>

void ShowFilterDialog(HWND owner);

// True when an exclusion mask is also an inclusion mask and the user chose
// to go back and edit the masks.
bool CheckDuplicateMasks(HWND owner);

// Which list the rows come from.
enum class ExcludeSource { ItemList = 0, FragmentedFiles = 1, Errors = 2 };
// Adds the selected rows of `listView` to the exclusions (folders of the
// item list as folders, everything else as files), says what happened and,
// with saveNow, writes "Exclude.ini". In the result lists the path is the
// text of the first column.
void AddSelectedToExclusions(HWND owner, HWND listView, ExcludeSource which, bool saveNow);
