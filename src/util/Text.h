#pragma once
// Display texts by string id. Every text the user sees exists as an Italian
// literal and has a number; while the built-in language is in use the literal
// is shown, otherwise the loaded language's entry for the number (an absent
// entry shows as an empty text).
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

constexpr size_t kDefaultTextCapacity = 512;
// The program's table: the 512 numbered texts, and room above them for the
// texts the program numbers from 512 on.
constexpr size_t kProgramTextCapacity = 1024;

struct TextTable {
  std::vector<std::wstring> entries = std::vector<std::wstring>(kDefaultTextCapacity);
  bool builtIn = true;  // the built-in Italian is in use: the table is not consulted
};
extern TextTable gTexts;

// The text to show for (string id, Italian literal). The pointer stays valid
// until the table entry is changed or the table is cleared.
const wchar_t* Text(uint32_t id, const wchar_t* italianLiteral);

// Copies Text(id, literal) into buffer (count characters including the
// terminating zero), truncating when needed. Returns the characters copied,
// not counting the terminating zero.
size_t CopyText(uint32_t id, const wchar_t* italianLiteral, wchar_t* buffer, size_t count);

// Sets the number of entries (done once at start-up); every entry is emptied.
void SetTextCapacity(size_t capacity);
size_t TextCapacity();
// Empties every entry; the capacity stays.
void ClearTexts();
// Sets one entry; false (and nothing changes) when id is beyond the capacity.
bool SetText(uint32_t id, std::wstring text);
void SetBuiltInTexts(bool builtIn);
bool BuiltInTexts();
// Back to the state at start: 512 empty entries, built-in texts.
void ResetTexts();
