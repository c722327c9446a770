// Highlight colours of a row: category order, enabling, full-row highlighting.
#include "items/ItemColours.h"

#include <gtest/gtest.h>

namespace {

constexpr uint32_t kGrey = 0x6E6E6E;
constexpr uint32_t kColours[kHighlightCategoryCount] = {0x0000FF, 0x00FF00, 0xFF0000, 0x00FFFF, 0xFF00FF};

// Order: fragmented 0x800, not fragmented 0x2000, defragmented 0x1000,
// errors 0x10000, skipped 0x8; the first enabled category the row has wins.
TEST(ItemColours, FirstEnabledCategoryInTheFixedOrderWins) {
  bool enabled[kHighlightCategoryCount] = {true, true, true, true, true};
  const HighlightChoice choice{kColours, enabled, false};
  const std::pair<uint32_t, uint32_t> cases[] = {
      {0x800 | 0x8, kColours[0]},    {0x2000 | 0x1000, kColours[1]}, {0x1000 | 0x10000, kColours[2]},
      {0x10000 | 0x8, kColours[3]},  {0x8, kColours[4]},
      {0x1 | 0x8000, kListDefaultColour},  // folder and processing bits are no category
  };
  for (auto [flags, colour] : cases) EXPECT_EQ(HighlightColour(flags, choice), colour) << std::hex << flags;

  enabled[0] = false;
  EXPECT_EQ(HighlightColour(0x800 | 0x8, choice), kColours[4]) << "a disabled category is passed over";
  enabled[4] = false;
  EXPECT_EQ(HighlightColour(0x800 | 0x8, choice), kListDefaultColour);
}

// The other columns take the name's colour only with full-row highlighting,
// the default one included.
TEST(ItemColours, DetailColumnsFollowTheNameOnlyWithFullRow) {
  const bool enabled[kHighlightCategoryCount] = {true, true, true, true, true};
  const RowColours nameOnly = ItemRowColours(0x800, {kColours, enabled, false}, kGrey);
  EXPECT_EQ(std::make_pair(nameOnly.name, nameOnly.details), std::make_pair(kColours[0], kGrey));
  const RowColours fullRow = ItemRowColours(0x800, {kColours, enabled, true}, kGrey);
  EXPECT_EQ(std::make_pair(fullRow.name, fullRow.details), std::make_pair(kColours[0], kColours[0]));
  const RowColours plain = ItemRowColours(0, {kColours, enabled, true}, kGrey);
  EXPECT_EQ(std::make_pair(plain.name, plain.details), std::make_pair(kListDefaultColour, kListDefaultColour));
}

}  // namespace
