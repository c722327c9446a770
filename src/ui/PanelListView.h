#pragma once
// What the bottom panel's virtual report lists (the fragmented files and the
// errors) share: their styles, icons and columns, their row count, and the
// notifications they answer alike.
#include <windows.h>
#include <commctrl.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ui/ListColumns.h"

void InitPanelListView(HWND list, const ColumnTable& table, const std::vector<uint8_t>& visible);
// The row count after the run's list changed, without scrolling.
void SetPanelRowCount(HWND list, size_t rows);
// Cells come from `answerCell`; marquee selection and dragging are refused.
bool OnPanelListNotify(NMHDR* header, LRESULT& result, void (*answerCell)(NMLVDISPINFOW* info));
