#pragma once
// The fragment details ("Frammenti"): the general data of a listed file or
// folder and the table of its fragments, read afresh from the file system.
#include <windows.h>

#include <string>
#include <vector>

// One item, with "<" and ">" disabled.
void ShowFragmentsDialog(HWND owner, const std::wstring& path);
// The selected items of a list in row order, starting at paths[current];
// "<" and ">" step through them.
void ShowFragmentsDialog(HWND owner, const std::vector<std::wstring>& paths, size_t current);
