#include <gtest/gtest.h>

#include <vector>

#include "util/Numbers.h"
#include "util/PathText.h"
#include "util/Tag.h"
#include "util/WideString.h"

namespace {

TEST(WideStringTest, ComparesUpperCasedUnits) {
  EXPECT_EQ(CompareNoCase(L"C:\\Dati\\File.TXT", L"c:\\dati\\file.txt"), 0);
  EXPECT_TRUE(EqualNoCase(L"\u00E8\u00E9\u0111\u03C3\u0436", L"\u00C8\u00C9\u0110\u03A3\u0416"));
  // Letters compare as capitals: "a" sorts before "_" (0x41 < 0x5F).
  EXPECT_LT(CompareNoCase(L"a", L"_"), 0);
  EXPECT_LT(CompareNoCase(L"ab", L"ABC"), 0);
  EXPECT_EQ(UpperCase(L"\u00FFx\u0131\u017E\u00DF"), L"\u0178XI\u017D\u00DF");
  EXPECT_EQ(HashNoCase(L"C:\\Some\\Path\u00E8"), HashNoCase(L"c:\\SOME\\path\u00C8"));
}

TEST(WideStringTest, FillsPercentSWithoutPrintf) {
  EXPECT_EQ(FormatWithStrings(L"Impossibile accedere a %s.", {L"C:\\x %d"}), L"Impossibile accedere a C:\\x %d.");
  EXPECT_EQ(FormatWithStrings(L"%s e %s: 100%%", {L"a", L"b"}), L"a e b: 100%");
  EXPECT_EQ(FormatWithStrings(L"%s %s", {L"only"}), L"only ");
}

TEST(WideStringTest, Utf8RoundTripsAndRefusesWhatIsNotWellFormed) {
  EXPECT_EQ(WideToUtf8(L"\u00E8/\u20AC"), "\xC3\xA8/\xE2\x82\xAC");
  const std::wstring text = L"a\u00E8\u20AC\U0001F600z";
  EXPECT_EQ(WideFromUtf8(WideToUtf8(text)), text);
  // Found by fuzzing: an overlong form of '"' decoded to a real quote and
  // changed how a quoted path was read back.
  EXPECT_EQ(WideFromUtf8("\xC0\xA2"), L"\uFFFD\uFFFD");
  EXPECT_EQ(WideFromUtf8("\xC0" "b"), L"\uFFFDb");                 // lead byte without continuation
  EXPECT_EQ(WideFromUtf8("\xE2\x82"), L"\uFFFD\uFFFD");          // cut short
  EXPECT_EQ(WideFromUtf8("\xED\xA0\x80"), L"\uFFFD\uFFFD\uFFFD");  // an encoded surrogate
  EXPECT_EQ(WideFromUtf8("\xF4\x90\x80\x80"), L"\uFFFD\uFFFD\uFFFD\uFFFD");  // past U+10FFFF
  EXPECT_EQ(WideFromUtf8(std::string("x\0y", 3)), std::wstring(L"x\0y", 3));
}

// Digit groups and KB sizes are read off the item list's cells; here the
// separators a locale brings and a size beyond 32 bits.
TEST(NumbersTest, GroupsAndPads) {
  EXPECT_EQ(GroupDigits(-1234567, L'.'), L"-1.234.567");
  EXPECT_EQ(FormatKBSizeFixed(5ull << 30), L"5,242,880 KB");
  EXPECT_EQ(FormatHundredths(12345678, L'.', L','), L"123.456,78");
}

TEST(PathTextTest, LongPrefixRootsAndJoins) {
  // Any third character "?" counts as a prefix.
  EXPECT_EQ(DisplayPath(L"ab?defg"), L"efg");
  EXPECT_TRUE(IsDriveRoot(L"\\\\?\\d:\\"));
  EXPECT_FALSE(IsDriveRoot(L"C:"));
  EXPECT_FALSE(IsDriveRoot(L"1:\\"));
  EXPECT_EQ(JoinPath(L"C:\\", L"*"), L"C:\\*");
  EXPECT_EQ(JoinPath(L"C:\\a", L"*"), L"C:\\a\\*");
  EXPECT_EQ(JoinPath(L"C:\\a\\", L"\\b"), L"C:\\a\\b");
}

// The crash report's checkpoint code: a scope ends at the neutral value, not
// at the one before it, since the first checkpoint ends the time before it
// for good.
TEST(Tag, AScopeLeavesTheNeutralValueWhateverCameBefore) {
  SetTag(kTagStarting);
  {
    TagScope adding(kTagAddingItems);
    EXPECT_EQ(CurrentTag(), kTagAddingItems);
  }
  EXPECT_EQ(CurrentTag(), kTagNeutral);
}

}  // namespace
