#pragma once
// The settings file "ordalis.ini": a version mark, then one "KEY=value" line
// per preference in a fixed order, then the recent profiles between
// "[Profiles]" and "[\Profiles]". Reading sets gSettings' fields (and the
// host's columns and priority) line by line; writing builds the lines from
// them. The effects of what was read (the window on top, the strategy, ...)
// are the caller's to apply.
#include <string>
#include <vector>

#include "options/SettingsHost.h"
#include "util/UnicodeTextFile.h"

constexpr wchar_t kSettingsFileName[] = L"ordalis.ini";
constexpr wchar_t kSettingsVersionMark[] = L"RX1.00";

// Largest size limit the file may set, in KiB.
constexpr int64_t kMaxSizeLimitKiB = 999999999;

// Sets the dialog and window sizes of gSettings to their defaults, scaled by
// the screen's horizontal and vertical factors (1.0 at 96 dots per inch) and
// rounded down.
void SetScaledSizeDefaults(double scaleX, double scaleY);

// Reads an opened settings file. A first line other than the version mark
// (ignoring case) leaves everything as it was.
void ReadSettingsFile(UnicodeTextReader& reader, SettingsHost& host);

// The lines of the file, version mark first, in the file's order.
std::vector<std::wstring> SettingsFileLines(SettingsHost& host);

// Forgets the column values kept for a list view that did not exist while
// the file was read (they are written back unchanged otherwise).
void ResetSettingsFileState();
