#pragma once
// An item's texts as Windows gives them: the shell's type name and the
// user's locale for the modification time and the numbers.
#include <cstdint>
#include <string>

// The shell's type name, asked with a folder's or a normal file's
// attributes so that the file is not opened; empty when the shell has none.
std::wstring ShellTypeName(const std::wstring& path, bool isFolder);
// The last-write time (100-ns ticks since 1601, UTC) as the local short date
// + " " + time without seconds, and as "yyyyMMdd" + the same time.
void LocalDateTexts(uint64_t lastWriteTime, std::wstring& text, std::wstring& key);

class NumberFormat;
// Numbers as the user's locale writes them: the shell's kilobytes, the
// locale's grouping and decimals, a blank before "%".
const NumberFormat& LocaleNumbers();
