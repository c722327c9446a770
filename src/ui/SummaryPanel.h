#pragma once
// The summary tab of the bottom panel: four counters of the last run and a
// notice line, hosted in the tab body.
#include <windows.h>

void CreateSummaryPanel(HWND body);
void LayoutSummaryPanel(const RECT& inside);
void ShowSummaryPanel(bool show);
// Writes the counters and chooses the notice from the run's totals.
void UpdateSummaryPanel();
