#pragma once
// The "Errori" list of the bottom panel: a virtual list over the run's
// error entries, one row per file that could not be analysed or moved, with
// its path and the reason.
#include <windows.h>
#include <commctrl.h>

#include "ui/ListColumns.h"

extern const ColumnTable kErrorColumnTable;

void InitErrorListView(HWND list);
bool OnErrorListNotify(HWND list, NMHDR* header, LRESULT& result);
// Sets the row count from the run's error entries and repaints.
void RefreshErrorRows(HWND list);
