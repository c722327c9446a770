#pragma once
// The fragment details ("Frammenti"): the general data of a listed file or
// folder and the table of its fragments, read afresh from the file system.
#include <windows.h>

#include <string>
#include <vector>

class ItemPlatform;

// One item, with "<" and ">" disabled. `items` names the types of paths on
// neither list.
void ShowFragmentsDialog(HWND owner, ItemPlatform& items, const std::wstring& path);
// The selected items of a list in row order, starting at paths[current];
// "<" and ">" step through them.
void ShowFragmentsDialog(HWND owner, ItemPlatform& items, const std::vector<std::wstring>& paths, size_t current);
