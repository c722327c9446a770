#include <gtest/gtest.h>

#include "util/Text.h"

namespace {

class TextTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetTexts(); }
  void TearDown() override { ResetTexts(); }
};

// Until a language is loaded the built-in text shows even where the table has
// an entry; once loaded, the table only. A copy is cut to its buffer and
// always ended there.
TEST_F(TextTest, BuiltInTextsUntilALanguageIsLoadedAndCopiesFitTheirBuffers) {
  ASSERT_TRUE(SetText(5, L"Fragmented"));
  EXPECT_STREQ(Text(5, L"Frammentato"), L"Frammentato");
  wchar_t buffer[6];
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 6), 5u);
  EXPECT_STREQ(buffer, L"Error");

  SetBuiltInTexts(false);
  EXPECT_STREQ(Text(5, L"Frammentato"), L"Fragmented");
  buffer[0] = L'x';
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 6), 0u);
  EXPECT_STREQ(buffer, L"");
  EXPECT_EQ(CopyText(7, L"Errore", buffer, 0), 0u);
}

}  // namespace
