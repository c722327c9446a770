#pragma once
// Console text of the unattended mode: 8-bit text to standard output (so it
// can be redirected), or with "/VB" to the console of the parent process.
#include <string>

// Formats one text (no formatting when argument is null) into 2048 bytes.
void ConsoleWrite(const char* format, const char* argument = nullptr);
// Writes a wide text converted to the system's 8-bit code page.
void ConsoleWriteText(const std::wstring& text);
