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
// The program's table: the texts the program added to the first 512 are
// numbered from 510 on (StringIds.h), and a language file must reach them.
constexpr size_t kProgramTextCapacity = 1024;

struct TextTable {
  std::vector<std::wstring> entries = std::vector<std::wstring>(kDefaultTextCapacity);
  bool builtIn = true;  // the built-in Italian is in use: the table is not consulted
};
extern TextTable gTexts;

// The text of a control or a command, for tables of them: `id` names the
// control or command, the text is Text(textId, italian).
struct ControlText {
  uint32_t id;
  uint32_t textId;
  const wchar_t* italian;
};

// The text to show for (string id, Italian literal). The pointer stays valid
// until the table entry is changed or the table is cleared.
const wchar_t* Text(uint32_t id, const wchar_t* italianLiteral);

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
