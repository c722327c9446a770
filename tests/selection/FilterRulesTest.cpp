#include <gtest/gtest.h>

#include "FakeFileQueries.h"
#include "FilterTestSupport.h"

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
      {L"D:\\x\\y\\notmemory.dmp", L"*\\MEMORY.DMP", false},
      // '?' is exactly one character, before a star, after it and between.
      {L"C:\\BootAuth1.sys", L"*\\BOOTAUTH?.SYS", true},
      {L"C:\\BootAuth.sys", L"*\\BOOTAUTH?.SYS", false},
      {L"C:\\BootAuth12.sys", L"*\\BOOTAUTH?.SYS", false},
      {L"XABCDEY", L"*AB?D*", true},
      {L"", L"**", true},
      {L"A", L"*?*?", false},
      // A later mismatch goes back to the last star and moves on by one.
      {L"AXBXBC", L"A*BC", true},
      {L"ABABAC", L"*ABAC", true},
      {L"MISSISSIPPI", L"M*ISS*PX", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WildcardMatch(c.path, c.upperMask), c.matches)
        << "path " << testing::PrintToString(std::wstring(c.path)) << " mask "
        << testing::PrintToString(std::wstring(c.upperMask));
  }
}

// A list is sorted by stored line and refuses a text it holds under any case
// or kind; an entry is removed only from its own list, and may come back.
TEST_F(FilterTest, ListsStaySortedByStoredLineAndRefuseATextTwiceWhateverItsKind) {
  for (auto [kind, text] : {std::pair{L'W', L"*.tmp"}, {L'F', L"C:\\dati\\b.dat"}, {L'D', L"C:\\temp"},
                            {L'F', L"c:\\Dati\\A.dat"}}) {
    EXPECT_EQ(AddExclusion(kind, text), 1);
  }
  EXPECT_EQ(AddExclusion(L'F', L"C:\\DATI\\B.DAT"), 0);
  EXPECT_EQ(AddExclusion(L'D', L"C:\\dati\\b.dat"), 0);
  EXPECT_EQ(AddInclusion(L"*.dll"), 1);
  EXPECT_EQ(AddInclusion(L"*.DLL"), 0);
  EXPECT_EQ(StoredLines(gExclusions), (Lines{L"DC:\\temp", L"Fc:\\Dati\\A.dat", L"FC:\\dati\\b.dat", L"W*.tmp"}));

  EXPECT_FALSE(RemoveFilterEntry(gInclusions, gExclusions.head));
  EXPECT_TRUE(RemoveFilterEntry(gExclusions, gExclusions.head));
  EXPECT_EQ(gExclusions.count, 3u);
  EXPECT_EQ(AddExclusion(L'F', L"C:\\temp"), 1);
}

// A file entry is one whole path; a folder entry cuts off every path that
// holds its text anywhere (the walk never reaches the files under it, so the
// file rule leaves folder entries alone); masks count for both.
TEST_F(FilterTest, FileAndFolderRulesOverOneListOfEveryKind) {
  ScopedFakeFileQueries fs;
  AddBuiltInMasks();
  EXPECT_EQ(gExclusions.count, 17u);
  AddExclusion(L'F', L"C:\\dati\\a.dat");
  AddExclusion(L'W', L"a*.tmp");
  AddExclusion(L'D', L"C:\\temp");
  AddExclusion(L'W', L"*\\CACHE");
  const struct {
    bool folder;
    const wchar_t* path;
    int excluded;
  } cases[] = {
      {false, L"c:\\DATI\\A.DAT", 1},
      {false, L"C:\\dati\\a.dat2", 0},
      {false, L"D:\\C:\\dati\\a.dat", 0},
      {false, L"A:\\x.tmp", 1},
      {false, L"C:\\a.tmp", 0},
      {false, L"C:\\temp\\x.txt", 0},
      {false, L"C:\\IO.SYS", 1},
      {false, L"C:\\dos\\io.sys", 0},
      {false, L"D:\\dumps\\old\\memory.dmp", 1},
      {true, L"C:\\temp", 1},
      {true, L"\\\\?\\C:\\temp\\x", 1},
      {true, L"C:\\tem", 0},
      {true, L"D:\\web\\cache", 1},
      {true, L"D:\\web\\cache2", 0},
      {true, L"C:\\bootwiz", 1},
      {true, L"C:\\dati\\a.dat", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(c.path)));
    EXPECT_EQ(c.folder ? IsFolderExcluded(c.path) : IsFileExcluded(c.path), c.excluded);
  }
}

// With the size rule on, a file above the limit or without a size is left
// out. Inclusion masks, when there are any, restrict files but never
// folders, and an exclusion wins over them.
TEST_F(FilterTest, SizeAndInclusionRulesForFiles) {
  ScopedFakeFileQueries fs;
  fs.fake.AddFile(L"C:\\d\\exact.bin", 1024);
  fs.fake.AddFile(L"C:\\d\\over.bin", 1025);
  fs.fake.AddFile(L"C:\\d\\huge.bin", 5'000'000'000ull);
  gSettings.maxFileSizeKiB = 1;
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\over.bin"), 0) << "no size rule and no inclusion mask: every file passes";
  gSettings.excludeBySize = true;
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\exact.bin"), 0);
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\over.bin"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\gone.bin"), 1);
  fs.fake.InjectError(L"C:\\d\\exact.bin", kErrAccessDenied);
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\exact.bin"), 1);
  fs.fake.ClearErrors();
  gSettings.maxFileSizeKiB = 999999999;  // the largest limit, beyond 32 bits in bytes
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\huge.bin"), 0);
  gSettings.maxFileSizeKiB = 4'882'812;  // 4,999,999,488 bytes
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\huge.bin"), 1);

  // Within the limit, a file still has to pass the inclusion masks.
  gSettings.maxFileSizeKiB = 1;
  AddInclusion(L"*.dll");
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\exact.bin"), 1);
  gSettings.excludeBySize = false;
  EXPECT_EQ(IsFileExcluded(L"C:\\sys\\y.DLL"), 0);
  EXPECT_EQ(IsFolderExcluded(L"C:\\bin"), 0);
  AddInclusion(L"*.bin");
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\exact.bin"), 0);
  AddExclusion(L'W', L"*.dll");
  EXPECT_EQ(IsFileExcluded(L"C:\\sys\\y.dll"), 1);
}

}  // namespace
