#include <gtest/gtest.h>

#include "util/Text.h"

namespace {

class TextTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetTexts(); }
  void TearDown() override { ResetTexts(); }
};

// Until a language is loaded the built-in text shows even where the table has
// an entry; once loaded, a missing or out-of-range id shows nothing.
TEST_F(TextTest, BuiltInTextsUntilALanguageIsLoadedThenTheTableOnly) {
  ASSERT_TRUE(SetText(5, L"Fragmented"));
  EXPECT_STREQ(Text(5, L"Frammentato"), L"Frammentato");
  SetBuiltInTexts(false);
  EXPECT_STREQ(Text(5, L"Frammentato"), L"Fragmented");
  EXPECT_STREQ(Text(6, L"Non frammentato"), L"");
  constexpr uint32_t last = kDefaultTextCapacity - 1;
  EXPECT_FALSE(SetText(last + 1, L"beyond"));
  EXPECT_STREQ(Text(last + 1, L"x"), L"");
  EXPECT_TRUE(SetText(last, L"last"));
  EXPECT_STREQ(Text(last, L"x"), L"last");

  SetTextCapacity(1000);
  ASSERT_TRUE(SetText(900, L"nine hundred"));
  EXPECT_STREQ(Text(900, L"x"), L"nine hundred");
  ClearTexts();
  EXPECT_EQ(TextCapacity(), 1000u);
  EXPECT_STREQ(Text(900, L"x"), L"");
}

TEST_F(TextTest, CopyTextTruncatesAndTerminates) {
  wchar_t buffer[6];
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 6), 5u);
  EXPECT_STREQ(buffer, L"Error");
  SetBuiltInTexts(false);
  buffer[0] = L'x';
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 6), 0u);
  EXPECT_STREQ(buffer, L"");
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 0), 0u);
}

}  // namespace
