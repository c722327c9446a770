#include <gtest/gtest.h>

#include "FakeFileQueries.h"
#include "FilterTestSupport.h"

namespace {

using Lines = std::vector<std::wstring>;

TEST_F(FilterTest, ListsStaySortedByStoredLineAndRefuseATextTwiceWhateverItsKind) {
  EXPECT_EQ(AddExclusion(L'W', L"*.tmp"), 1);
  EXPECT_EQ(AddExclusion(L'F', L"C:\\dati\\b.dat"), 1);
  EXPECT_EQ(AddExclusion(L'D', L"C:\\temp"), 1);
  EXPECT_EQ(AddExclusion(L'F', L"c:\\Dati\\A.dat"), 1);
  EXPECT_EQ(AddExclusion(L'X', L"*\\memory.dmp"), 1);
  EXPECT_EQ(AddExclusion(L'W', L"*.bak"), 1);
  // The same text under another case or another kind adds nothing.
  EXPECT_EQ(AddExclusion(L'F', L"C:\\DATI\\B.DAT"), 0);
  EXPECT_EQ(AddExclusion(L'D', L"C:\\dati\\b.dat"), 0);
  EXPECT_EQ(AddExclusion(L'W', L"*.TMP"), 0);
  EXPECT_EQ(StoredLines(gExclusions), (Lines{L"DC:\\temp", L"Fc:\\Dati\\A.dat", L"FC:\\dati\\b.dat",
                                             L"W*.bak", L"W*.tmp", L"X*\\memory.dmp"}));
  EXPECT_EQ(gExclusions.count, 6u);

  EXPECT_EQ(AddInclusion(L"*.exe"), 1);
  EXPECT_EQ(AddInclusion(L"*.dll"), 1);
  EXPECT_EQ(AddInclusion(L"*.DLL"), 0);
  EXPECT_EQ(StoredLines(gInclusions), (Lines{L"W*.dll", L"W*.exe"}));

  const FilterEntry* folder = gExclusions.head;
  EXPECT_EQ(folder->kind, FilterKind::Folder);
  EXPECT_EQ(folder->upperText, L"C:\\TEMP*");
  EXPECT_TRUE(RemoveFilterEntry(gExclusions, folder));
  EXPECT_FALSE(RemoveFilterEntry(gInclusions, gExclusions.head));
  EXPECT_EQ(gExclusions.count, 5u);
  // Removed, the text may come back.
  EXPECT_EQ(AddExclusion(L'F', L"C:\\temp"), 1);
}

TEST_F(FilterTest, BuiltInMasksProtectRootBootFilesAndNamedFilesAnywhere) {
  ScopedFakeFileQueries fs;
  AddBuiltInMasks();
  EXPECT_EQ(gExclusions.count, 17u);
  EXPECT_EQ(gExclusions.head->storedLine, L"X*:\\drbios.sys");
  EXPECT_EQ(IsFileExcluded(L"C:\\IO.SYS"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\dos\\io.sys"), 0);
  EXPECT_EQ(IsFileExcluded(L"C:\\Windows\\MEMORY.DMP"), 1);
  EXPECT_EQ(IsFileExcluded(L"D:\\dumps\\old\\memory.dmp"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\Boot\\bootstat.dat"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\Boot\\bootstat.dat.old"), 0);
  EXPECT_EQ(IsFolderExcluded(L"C:\\bootwiz"), 1);
  EXPECT_EQ(IsFolderExcluded(L"C:\\boot"), 0);
}

TEST_F(FilterTest, FileRuleComparesWholePathsAndMasksButNotFolderEntries) {
  ScopedFakeFileQueries fs;
  AddExclusion(L'F', L"C:\\dati\\a.dat");
  AddExclusion(L'W', L"a*.tmp");
  AddExclusion(L'D', L"C:\\temp");
  EXPECT_EQ(IsFileExcluded(L"c:\\DATI\\A.DAT"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\dati\\a.dat2"), 0);
  EXPECT_EQ(IsFileExcluded(L"D:\\C:\\dati\\a.dat"), 0);
  EXPECT_EQ(IsFileExcluded(L"A:\\x.tmp"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\a.tmp"), 0);
  // The walk never reaches files under an excluded folder; the file rule
  // itself leaves folder entries alone.
  EXPECT_EQ(IsFileExcluded(L"C:\\temp\\x.txt"), 0);
}

TEST_F(FilterTest, FolderRuleTakesTheFolderTextAnywhereInThePath) {
  AddExclusion(L'D', L"C:\\temp");
  AddExclusion(L'F', L"C:\\dati");
  AddExclusion(L'W', L"*\\CACHE");
  AddInclusion(L"*.dll");
  EXPECT_EQ(IsFolderExcluded(L"C:\\temp"), 1);
  EXPECT_EQ(IsFolderExcluded(L"c:\\TEMP2"), 1);
  EXPECT_EQ(IsFolderExcluded(L"C:\\temp\\x"), 1);
  EXPECT_EQ(IsFolderExcluded(L"\\\\?\\C:\\temp\\x"), 1);
  EXPECT_EQ(IsFolderExcluded(L"C:\\tem"), 0);
  EXPECT_EQ(IsFolderExcluded(L"D:\\web\\cache"), 1);
  EXPECT_EQ(IsFolderExcluded(L"D:\\web\\cache2"), 0);
  // File entries and the inclusion masks play no part for folders.
  EXPECT_EQ(IsFolderExcluded(L"C:\\dati"), 0);
  EXPECT_EQ(IsFolderExcluded(L"D:\\bin"), 0);
}

TEST_F(FilterTest, InclusionRestrictsFilesAndExclusionWins) {
  ScopedFakeFileQueries fs;
  EXPECT_EQ(IsFileExcluded(L"C:\\x.exe"), 0) << "no inclusion mask: every file passes";
  AddInclusion(L"*.dll");
  EXPECT_EQ(IsFileExcluded(L"C:\\x.exe"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\sys\\y.DLL"), 0);
  AddInclusion(L"*.exe");
  EXPECT_EQ(IsFileExcluded(L"C:\\x.exe"), 0);
  AddExclusion(L'W', L"*.dll");
  EXPECT_EQ(IsFileExcluded(L"C:\\sys\\y.dll"), 1);
  AddExclusion(L'F', L"C:\\x.exe");
  EXPECT_EQ(IsFileExcluded(L"C:\\X.EXE"), 1);
}

TEST_F(FilterTest, SizeRuleSkipsFilesAboveTheLimitAndFilesWithoutASize) {
  ScopedFakeFileQueries fs;
  fs.fake.AddFile(L"C:\\d\\exact.bin", 1024);
  fs.fake.AddFile(L"C:\\d\\over.bin", 1025);
  fs.fake.AddFile(L"C:\\d\\huge.bin", 5'000'000'000ull);
  gSettings.maxFileSizeKiB = 1;
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\over.bin"), 0) << "the rule is off";
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\gone.bin"), 0);

  gSettings.excludeBySize = true;
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\exact.bin"), 0);
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\over.bin"), 1);
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\gone.bin"), 1);
  fs.fake.InjectError(FakeQuery::FindEntries, L"C:\\d\\exact.bin", kErrAccessDenied);
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\exact.bin"), 1);

  gSettings.maxFileSizeKiB = 999999999;  // the largest limit, beyond 32 bits in bytes
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\huge.bin"), 0);
  gSettings.maxFileSizeKiB = 4'882'812;  // 4,999,999,488 bytes
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\huge.bin"), 1);

  // A file within the limit still has to pass the inclusion masks.
  AddInclusion(L"*.txt");
  gSettings.maxFileSizeKiB = 1;
  fs.fake.ClearErrors();
  EXPECT_EQ(IsFileExcluded(L"C:\\d\\exact.bin"), 1);
}

}  // namespace
