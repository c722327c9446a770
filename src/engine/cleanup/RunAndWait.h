#pragma once
// Starts an external program (the cleaning program, the file manager) and,
// when asked, waits for it while the window keeps handling its messages.
#include <string>

// 1 when the program was seen to end while being waited for, else 0 (also
// when it could not be started, which is not reported, and when a stop
// request among the window's messages ended the wait first).
int RunAndWait(const std::wstring& program, const std::wstring& parameters, int showCommand, bool wait);
