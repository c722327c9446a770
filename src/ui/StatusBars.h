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

// Changes a control's text (or whatever `message` changes) and leaves the
// control to be painted with the window's next paint. The status bar and the
// static texts paint as soon as their text changes; during a run they change
// with every file, and the window's paints come at most a few times a second.
// Nothing is sent when the text is the one the control already shows.
void SetTextPaintedLater(HWND control, UINT message, WPARAM wParam, const std::wstring& text,
                         std::wstring& shown);
