#pragma once
// The standard open dialog for several files at once: the full paths
// chosen, none when the user cancelled.
#include <windows.h>

#include <string>
#include <vector>

std::vector<std::wstring> AskFilesToOpen(HWND owner, const wchar_t* title, const wchar_t* filterText);
