#pragma once
// The two status bars: the upper one of two parts (what the program does,
// the file or total), the lower one a single part with an icon.
#include <windows.h>

#include <cstdint>
#include <string>

#include "runs/RunUi.h"

// The update flags are the runs' (kStatusItemCount, kStatusWaiting,
// kStatusProcessedCount, kStatusRunStarting, kStatusPleaseWait), and one more:
constexpr uint32_t kStatusText = 0x40;  // upper 1: the given text

void InitStatusBars(HWND upper, HWND lower);
void UpdateStatus(uint32_t flags, const std::wstring& text = std::wstring());
// The upper bar's part (0 or 1) and the lower bar's icon, as the engine sets them.
void SetUpperStatusPart(int part, const std::wstring& text);
void SetLowerStatusIcon(bool working);
