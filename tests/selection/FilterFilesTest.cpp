#include <gtest/gtest.h>

#include "FilterTestSupport.h"
#include "util/ProgramFolder.h"
#include "util/UnicodeTextFile.h"

namespace {

class FilterFilesTest : public FilterTest {
 protected:
  void SetUp() override {
    FilterTest::SetUp();
    savedFolder_ = gProgramFolder;
    gProgramFolder = folder_.path.wstring();
    fs::create_directories(folder_.path);
  }
  void TearDown() override {
    gProgramFolder = savedFolder_;
    FilterTest::TearDown();
  }

  // Where the program puts its files: joined with a backslash, which in the
  // native build makes odd names beside the folder rather than files in it.
  ScratchFile folder_{"ordalis-filters-"};
  ScratchFile exclude_{"ordalis-filters-", "\\Exclude.ini"};
  ScratchFile include_{"ordalis-filters-", "\\Include.ini"};
  std::wstring savedFolder_;
};

// Saved lists hold their stored lines without the built-in masks and read
// back as they were, the longest entry a list accepts included: the reader
// stops at a line of 2,046 characters, so an entry whose stored line would
// reach that must never get in, or saving it would silently drop it and every
// entry sorted after it at the next start. An emptied list deletes its file.
TEST_F(FilterFilesTest, SavedListsReadBackWholeAndEmptiedOnesDeleteTheirFiles) {
  LoadFilterLists();
  EXPECT_EQ(gExclusions.count, 17u) << "built-in masks only";
  EXPECT_EQ(gInclusions.count, 0u);
  const std::wstring longest = L"*" + std::wstring(kMaxFilterTextCount - 1, L'a');
  EXPECT_EQ(AddExclusion(L'W', longest + L"a"), 0);
  EXPECT_EQ(AddInclusion(longest + L"a"), 0);
  EXPECT_EQ(AddExclusion(L'F', L"C:\\" + longest), 0);
  EXPECT_EQ(AddExclusion(L'W', longest), 1);
  EXPECT_EQ(AddInclusion(longest), 1);
  AddExclusion(L'W', L"*.tmp");
  AddExclusion(L'F', L"C:\\dati\\a.dat");
  AddExclusion(L'D', L"C:\\temp");
  AddInclusion(L"*.exe");
  SaveExclusionList();
  SaveInclusionList();
  EXPECT_EQ(exclude_.Read(), EncodeUnicodeText({L"DC:\\temp", L"FC:\\dati\\a.dat", L"W*.tmp", L"W" + longest}));
  EXPECT_EQ(include_.Read(), EncodeUnicodeText({L"W*.exe", L"W" + longest}));

  Lines exclusions = StoredLines(gExclusions);
  LoadFilterLists();
  EXPECT_EQ(StoredLines(gExclusions), exclusions);
  EXPECT_EQ(StoredLines(gInclusions), (Lines{L"W*.exe", L"W" + longest}));

  for (int i = 0; i < 4; ++i) RemoveFilterEntry(gExclusions, gExclusions.head);
  ClearFilterList(gInclusions);
  SaveExclusionList();
  SaveInclusionList();
  EXPECT_FALSE(fs::exists(exclude_.path));
  EXPECT_FALSE(fs::exists(include_.path));
}

TEST_F(FilterFilesTest, HandEditedFilesAreReadAsTheProgramWouldHaveWrittenThem) {
  // Empty lines are skipped, duplicates dropped, the order restored; the
  // inclusion file's first letter is not looked at.
  exclude_.Write(EncodeUnicodeText({L"W*.tmp", L"", L"FC:\\b", L"Fc:\\B", L"X*.sys", L"?odd"}));
  include_.Write(EncodeUnicodeText({L"Q*.dll", L"W*.exe"}));
  LoadFilterLists();
  Lines lines = StoredLines(gExclusions);
  EXPECT_EQ(lines.size(), 17u + 4u);
  EXPECT_EQ(lines[0], L"?odd");
  EXPECT_NE(std::find(lines.begin(), lines.end(), L"FC:\\b"), lines.end());
  EXPECT_NE(std::find(lines.begin(), lines.end(), L"X*.sys"), lines.end());
  EXPECT_EQ(StoredLines(gInclusions), (Lines{L"W*.dll", L"W*.exe"}));

  // A hand-added X line is a mask like the built-in ones and is not saved.
  SaveExclusionList();
  EXPECT_EQ(exclude_.Read(), EncodeUnicodeText({L"?odd", L"FC:\\b", L"W*.tmp"}));
}

}  // namespace
