// Highlight colours of a row: category order, enabling, full-row highlighting.
#include "items/ItemColours.h"

#include <gtest/gtest.h>

namespace {

constexpr uint32_t kGrey = 0x6E6E6E;
constexpr uint32_t kColours[kHighlightCategoryCount] = {0x0000FF, 0x00FF00, 0xFF0000, 0x00FFFF, 0xFF00FF};

struct Choice {
  bool enabled[kHighlightCategoryCount] = {true, true, true, true, true};
  HighlightChoice Get(bool fullRow = false) const { return {kColours, enabled, fullRow}; }
};

TEST(ItemColours, FirstEnabledCategoryInTheFixedOrderWins) {
  Choice choice;
  // Order: fragmented 0x800, not fragmented 0x2000, defragmented 0x1000, errors 0x10000, skipped 0x8.
  EXPECT_EQ(HighlightColour(0x800 | 0x8, choice.Get()), kColours[0]);
  EXPECT_EQ(HighlightColour(0x2000 | 0x1000, choice.Get()), kColours[1]);
  EXPECT_EQ(HighlightColour(0x1000 | 0x10000, choice.Get()), kColours[2]);
  EXPECT_EQ(HighlightColour(0x10000 | 0x8, choice.Get()), kColours[3]);
  EXPECT_EQ(HighlightColour(0x8, choice.Get()), kColours[4]);
  // Bits outside the categories (folder, processing) give no colour.
  EXPECT_EQ(HighlightColour(0x1 | 0x8000, choice.Get()), kListDefaultColour);

  choice.enabled[0] = false;
  EXPECT_EQ(HighlightColour(0x800 | 0x8, choice.Get()), kColours[4]) << "a disabled category is passed over";
  choice.enabled[4] = false;
  EXPECT_EQ(HighlightColour(0x800 | 0x8, choice.Get()), kListDefaultColour);
}

TEST(ItemColours, DetailColumnsFollowTheNameOnlyWithFullRow) {
  Choice choice;
  RowColours nameOnly = ItemRowColours(0x800, choice.Get(false), kGrey);
  EXPECT_EQ(nameOnly.name, kColours[0]);
  EXPECT_EQ(nameOnly.details, kGrey);

  RowColours fullRow = ItemRowColours(0x800, choice.Get(true), kGrey);
  EXPECT_EQ(fullRow.name, kColours[0]);
  EXPECT_EQ(fullRow.details, kColours[0]);

  // Full row without a matching category: the name's default colour runs across.
  RowColours plain = ItemRowColours(0, choice.Get(true), kGrey);
  EXPECT_EQ(plain.name, kListDefaultColour);
  EXPECT_EQ(plain.details, kListDefaultColour);
}

}  // namespace
