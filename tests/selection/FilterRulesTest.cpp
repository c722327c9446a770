#include <gtest/gtest.h>

#include <utility>

#include "FakeFileQueries.h"
#include "ScratchFile.h"
#include "options/Settings.h"
#include "selection/Filters.h"
#include "util/ProgramFolder.h"
#include "util/UnicodeTextFile.h"

namespace {

// A clean pair of lists and size settings for every test.
class FilterTest : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }
  static void Reset() {
    ClearFilterList(gExclusions);
    ClearFilterList(gInclusions);
    gSettings.excludeBySize = false;
    gSettings.maxFileSizeKiB = 0;
  }
};

// The path is matched whole against an upper-case mask; '*' crosses folders.
TEST(WildcardMatchTest, StarsQuestionMarksAndBacktrackingOverTheWholePath) {
  const std::wstring deep = L"C:\\" + std::wstring(600, L'd') + L"\\x.tmp";
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
      // A path beyond the classic length limit is upper-cased all the same.
      {deep.c_str(), L"C:\\D*D\\X.TMP", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WildcardMatch(c.path, c.upperMask), c.matches)
        << "path " << testing::PrintToString(std::wstring(c.path)) << " mask "
        << testing::PrintToString(std::wstring(c.upperMask));
  }
}

// A file entry is one whole path; a folder entry cuts off every path that
// holds its text anywhere (the walk never reaches the files under it, so the
// file rule leaves folder entries alone); masks, the built-in ones too, count
// for both.
TEST_F(FilterTest, FileAndFolderRulesOverOneListOfEveryKind) {
  AddBuiltInMasks();
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
      {false, L"C:\\temp\\x.txt", 0},
      {false, L"C:\\IO.SYS", 1},
      {true, L"C:\\temp", 1},
      {true, L"\\\\?\\C:\\temp\\x", 1},
      {true, L"C:\\tem", 0},
      {true, L"D:\\web\\cache", 1},
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
  gSettings.maxFileSizeKiB = 999999999;  // the largest limit, beyond 32 bits in bytes
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\huge.bin"), 0);

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

// A hand-edited file is read as the program would have written it: empty
// lines skipped, a text held twice (in any case, under any kind) taken once,
// sorted by stored line whatever the case, an unknown kind letter kept; the
// inclusion file's first letter is not looked at. Saved, a list holds its
// stored lines without the masks of kind X and reads back whole, the longest
// entry a list accepts included: the reader stops at a line of 2,046
// characters, so an entry whose stored line would reach that must never get
// in, or saving it would silently drop it and every entry sorted after it at
// the next start. An emptied list deletes its file.
//
// The files are beside the program, in a folder of their own here, which the
// program joins with a backslash: in the native build that makes odd names
// beside the folder rather than files in it.
TEST_F(FilterTest, FilterFilesReadBackAsSavedAndEmptiedOnesDeleteTheirFiles) {
  const ScratchFile folder("ordalis-filters-");
  const ScratchFile exclude("ordalis-filters-", "\\Exclude.ini");
  const ScratchFile include("ordalis-filters-", "\\Include.ini");
  fs::create_directories(folder.path);
  const std::wstring savedFolder = std::exchange(gProgramFolder, folder.path.wstring());
  exclude.Write(EncodeUnicodeText({L"W*.tmp", L"", L"FC:\\b", L"Dc:\\B", L"Fc:\\a", L"X*.sys", L"?odd"}));
  include.Write(EncodeUnicodeText({L"Q*.dll"}));
  LoadFilterLists();
  EXPECT_EQ(gExclusions.count, 17u + 5u) << "the built-in masks and the file's";

  const std::wstring longest = L"*" + std::wstring(kMaxFilterTextCount - 1, L'a');
  EXPECT_EQ(AddExclusion(L'W', longest + L"a"), 0);
  EXPECT_EQ(AddExclusion(L'W', longest), 1);
  EXPECT_EQ(AddInclusion(L"*.exe"), 1);
  SaveExclusionList();
  SaveInclusionList();
  EXPECT_EQ(exclude.Read(), EncodeUnicodeText({L"?odd", L"Fc:\\a", L"FC:\\b", L"W*.tmp", L"W" + longest}));
  EXPECT_EQ(include.Read(), EncodeUnicodeText({L"W*.dll", L"W*.exe"}));
  LoadFilterLists();
  EXPECT_EQ(gExclusions.count, 17u + 5u);

  // Emptied, the lists delete their files; a removed text may come back.
  for (int i = 0; i < 5; ++i) RemoveFilterEntry(gExclusions, gExclusions.head);
  ClearFilterList(gInclusions);
  SaveExclusionList();
  SaveInclusionList();
  EXPECT_FALSE(fs::exists(exclude.path));
  EXPECT_FALSE(fs::exists(include.path));
  EXPECT_EQ(AddExclusion(L'W', L"*.tmp"), 1);
  gProgramFolder = savedFolder;
}

}  // namespace
