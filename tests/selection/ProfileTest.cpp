#include <gtest/gtest.h>

#include "ItemTestSupport.h"
#include "ScratchFile.h"
#include "selection/Profile.h"
#include "util/UnicodeTextFile.h"

namespace {

// Imports into a fresh item list from a file in the temporary folder; answers
// the question as told and records what the import reported; asks to stop
// once it has seen `stopAfterSteps` progress steps (0: never).
class ProfileTest : public ItemListTest, public ProfileImportUi {
 protected:
  ImportChoice AskAddOrReplace() override {
    ++questions;
    return answer;
  }
  void ListCleared() override {}
  void Begin(uint64_t total) override { totals.push_back(total); }
  void Progress(uint64_t done) override { progress.push_back(done); }
  bool StopRequested() override { return stopAfterSteps != 0 && progress.size() == stopAfterSteps; }
  void End() override {}
  std::wstring Path() const { return file_.path.wstring(); }
  ImportResult Import() { return ReadProfile(Path(), items, *this, missing); }

  ImportChoice answer = ImportChoice::Add;
  int questions = 0;
  std::vector<uint64_t> totals, progress;
  size_t stopAfterSteps = 0;
  ScratchFile file_{"ordalis-profile-", ".olp"};
  std::vector<MissingItem> missing;
};

// Only a file whose very first line is the mark, in any case, is a profile,
// and nothing is asked before that is known; then the answer decides between
// adding, replacing and nothing. Items that are gone are listed with their
// kinds; empty lines are not items. A saved list, an empty one too, imports
// again as itself.
TEST_F(ProfileTest, TheMarkThenTheAnswerDecideWhatTheListBecomesAndASavedListComesBack) {
  EXPECT_EQ(Import(), ImportResult::CannotOpen);
  ASSERT_TRUE(WriteProfile(Path()));
  EXPECT_EQ(file_.Read(), EncodeUnicodeText({L"KV70RX"}));
  EXPECT_EQ(Import(), ImportResult::Imported);
  EXPECT_EQ(ItemCount(), 0u);

  AddFiles({L"C:\\old.txt"});
  fs.fake.AddFolder(L"C:\\cartella");
  fs.fake.AddFile(L"C:\\c.txt");
  file_.Write(EncodeUnicodeText({L"KV70R", L"C:\\c.txt"}));
  EXPECT_EQ(Import(), ImportResult::NotProfile);
  file_.Write(EncodeUnicodeText({L"", L"KV70RX", L"C:\\c.txt"}));
  EXPECT_EQ(Import(), ImportResult::NotProfile);
  EXPECT_EQ(questions, 0);

  // An existing folder written once more without ">" (a file now, and a
  // duplicate path: nothing happens), a folder that is gone, and its path
  // once more without ">" (missing as a file).
  file_.Write(EncodeUnicodeText({L"kv70rx", L">C:\\cartella", L"", L"C:\\cartella", L">C:\\via", L"C:\\via",
                                 L"C:\\c.txt"}));
  answer = ImportChoice::Cancel;
  EXPECT_EQ(Import(), ImportResult::Cancelled);
  EXPECT_EQ(ListedPaths(), (Lines{L"C:\\old.txt"}));
  EXPECT_EQ(totals.size(), 1u) << "only the empty profile's import began";
  answer = ImportChoice::Add;
  EXPECT_EQ(Import(), ImportResult::Imported);
  EXPECT_EQ(ListedPaths(), (Lines{L"C:\\c.txt", L"C:\\cartella", L"C:\\old.txt"}));
  std::wstring kinds;
  for (const MissingItem& item : missing) kinds += item.kind + item.path;
  EXPECT_EQ(kinds, L"DC:\\viaFC:\\via");
  EXPECT_EQ(totals.back(), 5u) << "empty lines are not items";
  answer = ImportChoice::Replace;
  EXPECT_EQ(Import(), ImportResult::Imported);
  EXPECT_EQ(ListedPaths(), (Lines{L"C:\\c.txt", L"C:\\cartella"}));

  // New items go to the front, so a re-import reverses the rows; a folder
  // read as a file would be missing.
  ASSERT_TRUE(WriteProfile(Path()));
  EXPECT_EQ(file_.Read(), EncodeUnicodeText({L"KV70RX", L"C:\\c.txt", L">C:\\cartella"}));
  EXPECT_EQ(Import(), ImportResult::Imported);
  EXPECT_EQ(ListedPaths(), (Lines{L"C:\\cartella", L"C:\\c.txt"}));
  EXPECT_TRUE(missing.empty());
}

// Progress after each of the first 32 items, then every 64th: the 33rd step
// comes at the 64th item, and a stop asked for there ends the import.
TEST_F(ProfileTest, ProgressStepsAndAStopEndsTheImportEarly) {
  Lines lines{L"KV70RX"};
  for (int i = 0; i < 200; ++i) {
    std::wstring path = L"C:\\f" + std::to_wstring(i);
    fs.fake.AddFile(path);
    lines.push_back(path);
  }
  file_.Write(EncodeUnicodeText(lines));
  stopAfterSteps = 33;
  EXPECT_EQ(Import(), ImportResult::Imported);
  EXPECT_EQ(progress.back(), 64u);
  EXPECT_EQ(ItemCount(), 64u);
}

TEST(ProfileFileNameTest, OlpIsAppendedUnlessAlreadyThereInAnyCase) {
  EXPECT_EQ(ProfileFileName(L"C:\\p\\lista"), L"C:\\p\\lista.olp");
  EXPECT_EQ(ProfileFileName(L"C:\\p\\lista.OLP"), L"C:\\p\\lista.OLP");
  EXPECT_EQ(ProfileFileName(L"C:\\p\\lista.txt"), L"C:\\p\\lista.txt.olp");
  EXPECT_EQ(ProfileFileName(L"C:\\p.olp\\lista"), L"C:\\p.olp\\lista.olp");
}

}  // namespace
