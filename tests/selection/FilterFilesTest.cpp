#include <gtest/gtest.h>

#include <cstring>

#include "FilterTestSupport.h"
#include "util/PathText.h"
#include "util/ProgramFolder.h"
#include "util/UnicodeTextFile.h"

namespace {

class FilterFilesTest : public FilterTest {
 protected:
  void SetUp() override {
    FilterTest::SetUp();
    folder_ = ScratchPath("ordalis-filters-");
    savedFolder_ = gProgramFolder;
    gProgramFolder = folder_.wstring();
    RemoveFiles();
    fs::create_directories(folder_);
  }
  void TearDown() override {
    RemoveFiles();
    gProgramFolder = savedFolder_;
    FilterTest::TearDown();
  }
  // Where the program puts the file: joined with a backslash, which in the
  // native build makes one odd name beside the folder rather than a file in it.
  fs::path File(const char* name) const {
    return fs::path(JoinPath(gProgramFolder, std::wstring(name, name + std::strlen(name))));
  }
  Bytes Read(const char* name) const { return ReadBytes(File(name)); }
  void Write(const char* name, const Bytes& bytes) const { WriteBytes(File(name), bytes); }

  void RemoveFiles() const {
    fs::remove(File("Exclude.ini"));
    fs::remove(File("Include.ini"));
    fs::remove_all(folder_);
  }

  fs::path folder_;
  std::wstring savedFolder_;
};

TEST_F(FilterFilesTest, SavedListsHoldTheStoredLinesWithoutBuiltInMasksAndEmptiedOnesDeleteTheirFiles) {
  LoadFilterLists();
  EXPECT_EQ(gExclusions.count, 17u) << "built-in masks only";
  EXPECT_EQ(gInclusions.count, 0u);
  AddExclusion(L'W', L"*.tmp");
  AddExclusion(L'F', L"C:\\dati\\a.dat");
  AddExclusion(L'D', L"C:\\temp");
  AddInclusion(L"*.exe");
  SaveExclusionList();
  SaveInclusionList();
  EXPECT_EQ(Read("Exclude.ini"), EncodeUnicodeText({L"DC:\\temp", L"FC:\\dati\\a.dat", L"W*.tmp"}));
  EXPECT_EQ(Read("Include.ini"), EncodeUnicodeText({L"W*.exe"}));

  Lines exclusions = StoredLines(gExclusions);
  LoadFilterLists();
  EXPECT_EQ(StoredLines(gExclusions), exclusions);
  EXPECT_EQ(StoredLines(gInclusions), (Lines{L"W*.exe"}));

  for (int i = 0; i < 3; ++i) RemoveFilterEntry(gExclusions, gExclusions.head);
  ClearFilterList(gInclusions);
  SaveExclusionList();
  SaveInclusionList();
  EXPECT_FALSE(fs::exists(File("Exclude.ini")));
  EXPECT_FALSE(fs::exists(File("Include.ini")));
  LoadFilterLists();
  EXPECT_EQ(gExclusions.count, 17u);
}

TEST_F(FilterFilesTest, HandEditedFilesAreReadAsTheProgramWouldHaveWrittenThem) {
  // Empty lines are skipped, duplicates dropped, the order restored; the
  // inclusion file's first letter is not looked at.
  Write("Exclude.ini", EncodeUnicodeText({L"W*.tmp", L"", L"FC:\\b", L"Fc:\\B", L"X*.sys", L"?odd"}));
  Write("Include.ini", EncodeUnicodeText({L"Q*.dll", L"W*.exe"}));
  LoadFilterLists();
  Lines lines = StoredLines(gExclusions);
  EXPECT_EQ(lines.size(), 17u + 4u);
  EXPECT_EQ(lines[0], L"?odd");
  EXPECT_NE(std::find(lines.begin(), lines.end(), L"FC:\\b"), lines.end());
  EXPECT_NE(std::find(lines.begin(), lines.end(), L"X*.sys"), lines.end());
  EXPECT_EQ(StoredLines(gInclusions), (Lines{L"W*.dll", L"W*.exe"}));

  // A hand-added X line is a mask like the built-in ones and is not saved.
  SaveExclusionList();
  EXPECT_EQ(Read("Exclude.ini"), EncodeUnicodeText({L"?odd", L"FC:\\b", L"W*.tmp"}));
}

// The reader stops at a line of 2,046 characters; an entry whose stored line
// would reach that must never get into a list, or saving it would silently
// drop it and every entry sorted after it at the next start.
TEST_F(FilterFilesTest, EverythingAListAcceptsIsReadBackWhole) {
  LoadFilterLists();
  const std::wstring longest = L"*" + std::wstring(kMaxFilterTextCount - 1, L'a');
  const std::wstring tooLong = longest + L"a";
  EXPECT_EQ(AddExclusion(L'W', tooLong), 0);
  EXPECT_EQ(AddInclusion(tooLong), 0);
  EXPECT_EQ(AddExclusion(L'F', L"C:\\" + tooLong), 0);
  EXPECT_FALSE(FitsFilterFile(tooLong));
  EXPECT_EQ(AddExclusion(L'W', longest), 1);
  EXPECT_EQ(AddInclusion(longest), 1);
  AddExclusion(L'W', L"*.zzz");
  AddInclusion(L"*.zzz");
  Lines exclusions = StoredLines(gExclusions);
  Lines inclusions = StoredLines(gInclusions);
  SaveExclusionList();
  SaveInclusionList();
  LoadFilterLists();
  EXPECT_EQ(StoredLines(gExclusions), exclusions);
  EXPECT_EQ(StoredLines(gInclusions), inclusions);
}

}  // namespace
