#pragma once
// Language files: "Ordalis_" + two-letter code + ".lng" in the language
// folder, in the program's text-file format. A free header comes first; the
// display name stands on a line "LNG=" + name; every other line is
// "id=text". Loading one fills the display-text table.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "util/UnicodeTextFile.h"

constexpr wchar_t kBuiltInLanguageCode[] = L"IT";
constexpr wchar_t kBuiltInLanguageName[] = L"Italiano";
constexpr wchar_t kLanguageFilePattern[] = L"ordalis_*.lng";
// How much of a file's start is searched for its display name, and from
// which character on (the byte-order mark counts as the first character).
constexpr size_t kLanguageNameWindowBytes = 4096;
constexpr size_t kLanguageNameFirstChar = 256;
constexpr size_t kLanguageNameMaxLength = 255;

constexpr int kLanguageFileMissing = -21;
constexpr int kLanguageFileNoMemory = -22;

// "Ordalis_" + code + ".lng".
std::wstring LanguageFileName(const std::wstring& code);
// The two characters before ".lng" of a file name; empty when too short.
std::wstring LanguageCodeOfFile(const std::wstring& fileName);

// The display name from the first bytes of a language file (at most
// kLanguageNameWindowBytes are looked at); empty when none is found.
std::wstring LanguageDisplayName(const uint8_t* bytes, size_t length);

// Empties the display-text table and fills it from an opened language file.
void ReadLanguageFile(UnicodeTextReader& reader);

// The texts of a few entries are padded for the controls that show them.
void PadLanguageTextsForLayout();

// The language code for a locale identifier of four hexadecimal digits
// ("0407" gives "DE"); "EN" for a locale not in the table.
std::wstring LanguageCodeForLocale(const std::wstring& localeHex);

struct LanguageEntry {
  uint32_t command;
  std::wstring name;
  std::wstring code;
};

struct FoundLanguageFile {
  std::wstring code;
  std::wstring name;
};

// The language list: the built-in language first (4000), then the files in
// the order found (4001 on, a file with the built-in code left out), sorted
// by display name.
std::vector<LanguageEntry> MakeLanguageList(const std::vector<FoundLanguageFile>& found);
