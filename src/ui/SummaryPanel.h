#pragma once
// The last run's counters beside the bottom tabs ("Frammentati:",
// "Non frammentati:", "Deframmentati:", "Errori:"), in a framed box of their own
// that stays in view whichever tab is chosen, and the notices the two result
// lists show while they are empty.
#include <windows.h>

// Creates the box and its labels as children of the main window.
HWND CreateSummaryPanel(HWND window);
// The width the box needs at the window's scale for the current texts.
int SummaryPanelWidth();
void LayoutSummaryPanel(const RECT& bounds);
void ShowSummaryPanel(bool show);
// Writes the labels and the counters from the run's totals.
void UpdateSummaryPanel();
// What the fragmented-file list (errorsTab false) or the error list shows
// while it has no rows.
const wchar_t* EmptyListNotice(bool errorsTab);
