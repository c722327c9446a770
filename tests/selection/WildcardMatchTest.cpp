#include <gtest/gtest.h>

#include "selection/Filters.h"

namespace {

// The path is matched whole against an upper-case mask; '*' crosses folders.
TEST(WildcardMatchTest, StarsQuestionMarksAndBacktrackingOverTheWholePath) {
  const struct {
    const wchar_t* path;
    const wchar_t* upperMask;
    bool matches;
  } cases[] = {
      {L"C:\\dati\\sotto\\x.tmp", L"*.TMP", true},
      {L"C:\\dati\\x.tmp.bak", L"*.TMP", false},
      // Without a leading star the mask must fit from the first character.
      {L"A:\\x.tmp", L"A*.TMP", true},
      {L"C:\\a.tmp", L"A*.TMP", false},
      {L"D:\\x\\y\\memory.dmp", L"*\\MEMORY.DMP", true},
      {L"D:\\x\\y\\notmemory.dmp", L"*\\MEMORY.DMP", false},
      {L"c:\\io.sys", L"*:\\IO.SYS", true},
      // '?' is exactly one character.
      {L"C:\\BootAuth1.sys", L"*\\BOOTAUTH?.SYS", true},
      {L"C:\\BootAuth.sys", L"*\\BOOTAUTH?.SYS", false},
      {L"C:\\BootAuth12.sys", L"*\\BOOTAUTH?.SYS", false},
      {L"", L"", true},
      {L"", L"**", true},
      {L"", L"?", false},
      {L"ABC", L"", false},
      {L"ABC", L"AB", false},
      {L"AB", L"ABC", false},
      {L"ABC", L"A?C", true},
      {L"ABC", L"????", false},
      {L"ABC", L"ABC**", true},
      {L"ABC", L"*B*", true},
      {L"A", L"*?*?", false},
      // A later mismatch goes back to the last star and moves on by one.
      {L"AXBXBC", L"A*BC", true},
      {L"ABABAC", L"*ABAC", true},
      {L"MISSISSIPPI", L"M*ISS*PI", true},
      {L"MISSISSIPPI", L"M*ISS*PX", false},
      // No escapes, no classes: brackets are ordinary characters.
      {L"[A]", L"[A]", true},
      {L"A", L"[A]", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WildcardMatch(c.path, c.upperMask), c.matches)
        << "path " << testing::PrintToString(std::wstring(c.path)) << " mask "
        << testing::PrintToString(std::wstring(c.upperMask));
  }
}

}  // namespace
