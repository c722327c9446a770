#pragma once
// The list of fragmented files in the bottom panel: a virtual list over the
// run's fragmented-file records.
#include <windows.h>
#include <commctrl.h>

#include "ui/ListColumns.h"

extern const ColumnTable kResultColumnTable;

void InitResultListView(HWND list);
bool OnResultListNotify(HWND list, NMHDR* header, LRESULT& result);
// Sets the row count from the run's records and repaints.
void RefreshResultRows(HWND list);
