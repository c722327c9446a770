#pragma once
// The item list view: a virtual list whose row i is the item list's i-th
// record. It answers cell requests and each row's box, colours the cells,
// sorts on a header click and refuses rubber-band selection. The name
// column's header holds a box that ticks or unticks every item.
#include <windows.h>
#include <commctrl.h>

#include <vector>

#include "ui/ListColumns.h"

extern const ColumnTable kItemColumnTable;

void InitItemListView(HWND list);
// Handles the list's notifications; true when handled, with the result.
bool OnItemListNotify(HWND list, NMHDR* header, LRESULT& result);
// A header click: the same column again reverses, another sorts ascending.
// Nothing happens with an empty list or during a run.
void SortItemsOnColumnClick(HWND list, int column);
// Flips the ticks of the rows given and repaints.
void ToggleItemChecks(HWND list, const std::vector<int>& rows);
// Sets the row count again without scrolling and repaints the rows.
void RefreshItemRows(HWND list);
// Repaints the rows in view (the list's empty space below them is left as
// it is, which under some systems costs more to paint than the rows).
void RedrawShownItemRows(HWND list);
// Sorting and command refresh are suspended while a run goes on.
void SetItemListRunning(bool running);
bool ItemListRunning();
