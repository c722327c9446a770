#include <gtest/gtest.h>

#include "selection/Filters.h"

namespace {

struct Case {
  const wchar_t* path;
  const wchar_t* upperMask;
  bool matches;
};

void ExpectAll(std::initializer_list<Case> cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(WildcardMatch(c.path, c.upperMask), c.matches) << "path " << testing::PrintToString(std::wstring(c.path))
                                                             << " mask " << testing::PrintToString(std::wstring(c.upperMask));
  }
}

TEST(WildcardMatchTest, TheWholePathIsMatchedAndTheStarCrossesFolders) {
  ExpectAll({
      {L"C:\\dati\\x.tmp", L"*.TMP", true},
      {L"C:\\dati\\sotto\\x.tmp", L"*.TMP", true},
      {L"C:\\dati\\x.tmp.bak", L"*.TMP", false},
      // Without a leading star the mask must fit from the first character.
      {L"A:\\x.tmp", L"A*.TMP", true},
      {L"C:\\a.tmp", L"A*.TMP", false},
      {L"C:\\dati\\a.tmp", L"A.TMP", false},
      {L"C:\\Windows\\MEMORY.DMP", L"*\\MEMORY.DMP", true},
      {L"D:\\x\\y\\memory.dmp", L"*\\MEMORY.DMP", true},
      {L"D:\\x\\y\\notmemory.dmp", L"*\\MEMORY.DMP", false},
  });
}

TEST(WildcardMatchTest, RootOnlyBuiltInMasks) {
  ExpectAll({
      {L"C:\\IO.SYS", L"*:\\IO.SYS", true},
      {L"c:\\io.sys", L"*:\\IO.SYS", true},
      {L"C:\\dos\\io.sys", L"*:\\IO.SYS", false},
      {L"C:\\BootAuth1.sys", L"*\\BOOTAUTH?.SYS", true},
      {L"C:\\BootAuth.sys", L"*\\BOOTAUTH?.SYS", false},
      {L"C:\\BootAuth12.sys", L"*\\BOOTAUTH?.SYS", false},
      {L"E:\\PGPWDE01", L"*\\PGPWDE0*", true},
      {L"E:\\x\\$dcsys$", L"*\\$DCSYS$", true},
  });
}

TEST(WildcardMatchTest, StarsQuestionMarksAndBacktracking) {
  ExpectAll({
      {L"", L"", true},
      {L"", L"*", true},
      {L"", L"**", true},
      {L"", L"?", false},
      {L"ABC", L"", false},
      {L"ABC", L"ABC", true},
      {L"ABC", L"AB", false},
      {L"AB", L"ABC", false},
      {L"ABC", L"A?C", true},
      {L"ABC", L"???", true},
      {L"ABC", L"????", false},
      {L"ABC", L"ABC*", true},
      {L"ABC", L"ABC**", true},
      {L"ABC", L"*B*", true},
      {L"ABC", L"*?", true},
      {L"A", L"*?*?", false},
      // A later mismatch goes back to the last star and moves on by one.
      {L"AXBXBC", L"A*BC", true},
      {L"ABABAC", L"*ABAC", true},
      {L"MISSISSIPPI", L"M*ISS*PI", true},
      {L"MISSISSIPPI", L"M*ISS*PX", false},
      {L"X.TMP.TMP", L"*.TMP", true},
      // No escapes, no classes: brackets are ordinary characters.
      {L"[A]", L"[A]", true},
      {L"A", L"[A]", false},
  });
}

}  // namespace
