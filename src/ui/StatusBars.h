#pragma once
// The two status bars: the upper one of two parts (what the program does,
// the file or total), the lower one a single part with an icon.
#include <windows.h>

#include <cstdint>
#include <string>

constexpr uint32_t kStatusItemCount = 0x02;    // upper 0: the number of items in the list
constexpr uint32_t kStatusIdle = 0x04;         // lower: no icon, "In attesa"
constexpr uint32_t kStatusProcessed = 0x08;    // upper 1: the number of files processed
constexpr uint32_t kStatusRunStarting = 0x10;  // upper 0 and lower: a run begins
constexpr uint32_t kStatusWaitForStop = 0x20;  // lower: the run is being stopped
constexpr uint32_t kStatusText = 0x40;         // upper 1: the given text

void InitStatusBars(HWND upper, HWND lower);
void UpdateStatus(uint32_t flags, const std::wstring& text = std::wstring());
// The upper bar's part (0 or 1) and the lower bar's icon, as the engine sets them.
void SetUpperStatusPart(int part, const std::wstring& text);
void SetLowerStatusIcon(bool working);
