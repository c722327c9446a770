#pragma once
// The folder of the program file, without a trailing backslash. The settings
// file, the filter files and the language folder lie in it.
#include <string>

extern std::wstring gProgramFolder;
