// Highlight colours of a row: category order, enabling, full-row highlighting.
#include "items/ItemColours.h"

#include <gtest/gtest.h>

namespace {

constexpr uint32_t kGrey = 0x6E6E6E;
constexpr uint32_t kColours[kHighlightCategoryCount] = {0x0000FF, 0x00FF00, 0xFF0000, 0x00FFFF, 0xFF00FF};

// Order: fragmented 0x800, not fragmented 0x2000, defragmented 0x1000,
// errors 0x10000, skipped 0x8; the first enabled category the row has wins.
// The other columns take the name's colour only with full-row highlighting,
// the default one included.
TEST(ItemColours, FirstEnabledCategoryColoursTheNameAndWithFullRowTheDetails) {
  const struct {
    uint32_t flags;
    int disabled;  // a category switched off, or -1
    bool fullRow;
    uint32_t name, details;
  } cases[] = {
      {0x800 | 0x8, -1, false, kColours[0], kGrey},
      {0x2000 | 0x1000, -1, true, kColours[1], kColours[1]},
      {0x1000 | 0x10000, -1, false, kColours[2], kGrey},
      {0x10000 | 0x8, -1, false, kColours[3], kGrey},
      {0x800 | 0x8, 0, true, kColours[4], kColours[4]},
      {0x800, 0, false, kListDefaultColour, kGrey},
      {0x1 | 0x8000, -1, true, kListDefaultColour, kListDefaultColour},  // folder and processing: no category
  };
  for (const auto& c : cases) {
    bool enabled[kHighlightCategoryCount] = {true, true, true, true, true};
    if (c.disabled >= 0) enabled[c.disabled] = false;
    const RowColours colours = ItemRowColours(c.flags, {kColours, enabled, c.fullRow}, kGrey);
    EXPECT_EQ(std::make_pair(colours.name, colours.details), std::make_pair(c.name, c.details))
        << std::hex << c.flags << (c.fullRow ? ", full row" : "");
  }
}

}  // namespace
