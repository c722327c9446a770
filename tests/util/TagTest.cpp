// The crash report's checkpoint code.
#include "util/Tag.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<uint32_t> gSeen;

TEST(Tag, ScopesSetTheirValueAndLeaveTheNeutralOneWhateverCameBefore) {
  SetTag(kTagStarting);
  gSeen.clear();
  SetTagObserver([](uint32_t tag) { gSeen.push_back(tag); });
  {
    TagScope reading(kTagReadingFiles);
    EXPECT_EQ(CurrentTag(), kTagReadingFiles);
    {
      TagScope adding(kTagAddingItems);
      EXPECT_EQ(CurrentTag(), kTagAddingItems);
    }
    // Back to neutral, not to the outer value: the first checkpoint ends the
    // time before it for good.
    EXPECT_EQ(CurrentTag(), kTagNeutral);
  }
  SetTagObserver(nullptr);
  EXPECT_EQ(CurrentTag(), kTagNeutral);
  EXPECT_EQ(gSeen, (std::vector<uint32_t>{kTagReadingFiles, kTagAddingItems, kTagNeutral, kTagNeutral}));
}

}  // namespace
