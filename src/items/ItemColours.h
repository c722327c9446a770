#pragma once
// Which text colours a row of the item list gets: the highlight categories
// are tried in their fixed order and the first enabled one whose outcome bit
// the item carries colours the name; the other columns are either a quieter
// detail colour or, with full-row highlighting, the name's colour again.
#include <cstdint>

constexpr int kHighlightCategoryCount = 5;
// The ItemFlags bit of each category, in the order they are tried:
// fragmented, not fragmented, defragmented, with errors, skipped.
constexpr uint32_t kHighlightCategoryFlags[kHighlightCategoryCount] = {0x800, 0x2000, 0x1000, 0x10000, 0x8};

// The list's own text colour (no colour of the program's).
constexpr uint32_t kListDefaultColour = 0xFFFFFFFF;

struct HighlightChoice {
  const uint32_t* colours;  // kHighlightCategoryCount colours, 0x00BBGGRR
  const bool* enabled;      // kHighlightCategoryCount flags
  bool fullRow = false;
};

struct RowColours {
  uint32_t name = kListDefaultColour;     // column 0
  uint32_t details = kListDefaultColour;  // columns 1 to 9
};

// The name's colour for an item's flags, or kListDefaultColour.
uint32_t HighlightColour(uint32_t itemFlags, const HighlightChoice& choice);
// detailColour: what columns 1 to 9 show without full-row highlighting.
RowColours ItemRowColours(uint32_t itemFlags, const HighlightChoice& choice, uint32_t detailColour);
