#include <gtest/gtest.h>

#include "util/Text.h"

namespace {

class TextTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetTexts(); }
  void TearDown() override { ResetTexts(); }
};

TEST_F(TextTest, BuiltInFlagShowsLiteralEvenWhenTableHasEntry) {
  ASSERT_TRUE(SetText(5, L"Fragmented"));
  EXPECT_TRUE(BuiltInTexts());
  EXPECT_STREQ(Text(5, L"Frammentato"), L"Frammentato");
  SetBuiltInTexts(false);
  EXPECT_STREQ(Text(5, L"Frammentato"), L"Fragmented");
}

TEST_F(TextTest, LoadedLanguageShowsEmptyTextForMissingOrOutOfRangeIds) {
  SetBuiltInTexts(false);
  EXPECT_STREQ(Text(6, L"Non frammentato"), L"");
  EXPECT_STREQ(Text(599, L"x"), L"");
  EXPECT_STREQ(Text(600, L"x"), L"");
  EXPECT_FALSE(SetText(600, L"beyond"));
  EXPECT_TRUE(SetText(599, L"last"));
  EXPECT_STREQ(Text(599, L"x"), L"last");
}

TEST_F(TextTest, CapacityAndClearEmptyTheTable) {
  SetTextCapacity(1000);
  EXPECT_EQ(TextCapacity(), 1000u);
  ASSERT_TRUE(SetText(900, L"nine hundred"));
  SetBuiltInTexts(false);
  EXPECT_STREQ(Text(900, L"x"), L"nine hundred");
  ClearTexts();
  EXPECT_EQ(TextCapacity(), 1000u);
  EXPECT_STREQ(Text(900, L"x"), L"");
  SetTextCapacity(10);
  EXPECT_FALSE(SetText(10, L"x"));
}

TEST_F(TextTest, CopyTextTruncatesAndTerminates) {
  wchar_t buffer[6];
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 6), 5u);
  EXPECT_STREQ(buffer, L"Error");
  EXPECT_EQ(CopyText(7, L"Err", buffer, 6), 3u);
  EXPECT_STREQ(buffer, L"Err");
  SetBuiltInTexts(false);
  buffer[0] = L'x';
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 6), 0u);
  EXPECT_STREQ(buffer, L"");
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 0), 0u);
}

}  // namespace
