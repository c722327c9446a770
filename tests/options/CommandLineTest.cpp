#include "options/CommandLine.h"

#include <gtest/gtest.h>

#include <utility>

#include "options/HandedPaths.h"
#include "options/RunFlags.h"
#include "FakeFileQueries.h"

namespace {

// Whole options match in any case but only whole; value options are found
// inside the argument, one argument may carry several, and their values keep
// their case. Disk check and cleanup digits choose commands, other digits
// only set the flag. The arguments come split, with the backslash doubling
// undone once: a network or long-prefix profile path keeps its leading pair.
TEST(CommandLineOptions, SwitchesTheirFlagsAndTheirValues) {
  const struct {
    std::vector<std::wstring> args;
    uint32_t flags;
    CommandLineChoices choices;
  } cases[] = {
      {{L"/nogui", L"/Analyze", L"/DEFRAG"}, kRunNoGui | kRunAnalyze | kRunDefrag, {}},
      {{L"/sr", L"/?"}, kRunShowReport | kRunHelp, {}},
      {{L"/CLOSEIFOK"}, kRunCloseIfOk, {}},
      {{L"/NOGUIX", L"/CLOS", L"NOGUI"}, 0, {}},
      {{L"/prof:C:\\Profili\\Lavoro.olp"}, kRunProfile, {0, 0, L"", L"C:\\Profili\\Lavoro.olp"}},
      {{L"/PROF:\\\\srv\\share\\p.olp"}, kRunProfile, {0, 0, L"", L"\\\\srv\\share\\p.olp"}},
      {{L"/LANG:en/CHKDSK:2"}, kRunLanguage | kRunDiskCheckGiven, {9059, 0, L"en", L""}},
      {{L"/LANG:auto"}, kRunLanguage, {0, 0, L"AUTO", L""}},
      {{L"/CHKDSK:0"}, kRunDiskCheckGiven, {9058, 0, L"", L""}},
      {{L"/CHKDSK:7"}, kRunDiskCheckGiven, {}},
      {{L"/CLEAN:0"}, kRunCleanupGiven, {0, 9054, L"", L""}},
      {{L"/CLEAN:2"}, kRunCleanupGiven, {0, 9055, L"", L""}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.args));
    CommandLineChoices choices;
    EXPECT_EQ(ParseOptions(c.args, choices), c.flags);
    EXPECT_EQ(choices.diskCheckCommand, c.choices.diskCheckCommand);
    EXPECT_EQ(choices.cleanupCommand, c.choices.cleanupCommand);
    EXPECT_EQ(choices.languageCode, c.choices.languageCode);
    EXPECT_EQ(choices.profilePath, c.choices.profilePath);
  }
}

TEST(CommandLineOptions, InteractionsApplyInTheirOrder) {
  struct Case {
    uint32_t given;
    uint32_t kept;
  } cases[] = {
      {kRunClose | kRunCloseIfOk, kRunClose},
      {kRunClose | kRunShutdown, kRunShutdown},
      {kRunCloseIfOk | kRunShutdown, kRunShutdown},
      {kRunNoGui, kRunNoGui | kRunClose},
      {kRunNoGui | kRunCloseIfOk, kRunNoGui | kRunCloseIfOk},
      {kRunNoGui | kRunShutdown, kRunNoGui | kRunShutdown | kRunClose},
      {kRunShowReport, 0},
      {kRunShowReport | kRunNoGui, kRunShowReport | kRunNoGui | kRunClose},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ApplyOptionInteractions(c.given), c.kept) << std::hex << c.given;
  }
}

TEST(CommandLineText, BackslashDoublingSurvivesTheRoundTrip) {
  EXPECT_EQ(DoubleBackslashes(L"\"C:\\\" a\\b"), L"\"C:\\\\\" a\\\\b");
  for (const wchar_t* text : {L"", L"\\", L"\\\\\\", L"a\\b\\\\c\\"}) {
    EXPECT_EQ(UndoubleBackslashes(DoubleBackslashes(text)), text);
  }
}

// Path arguments against one in-memory file system, recording what reaches
// the item list, the console and the message boxes.
class PathArguments : public ::testing::Test, public PathArgumentsUi {
 protected:
  void ConsoleText(const std::wstring& text) override { console += text; }
  void ShowMessage(const std::wstring& text) override { messages.push_back(text); }
  void AfterPath() override { ++refreshes; }
  void AddPath(bool isFolder, const std::wstring& path) override { added.emplace_back(isFolder, path); }

  ScopedFakeFileQueries fs;
  std::wstring console;
  std::vector<std::wstring> messages;
  std::vector<std::pair<bool, std::wstring>> added;
  int refreshes = 0;
};

const std::wstring kNotFound = L"Cannot find the following item : ";
const std::wstring kRefused =
    L" \r\nThe drive is a remote (network) drive, the drive is a DVD-ROM drive or there is no volume "
    L"mounted at the specified path.\r\n\r\n";

// A missing item is told on the console without the window, in a box with
// it. Files and folders are added as what they are; drive roots in every
// form the argument splitter leaves (with the backslash, the old form whose
// backslash escaped the closing quote, the bare letter) become root
// folders; a wildcard adds the matching files only, and folders alone
// matching is not "not found". Remote and empty drives are refused with two
// lines; relative paths are made full; options are not paths.
TEST_F(PathArguments, EachArgumentIsAddedOrReported) {
  fs.fake.AddDrive(L'Z');
  fs.fake.AddDrive(L'D');
  fs.fake.AddFile(L"C:\\Dati\\disco.vhdx", 1 << 20);
  fs.fake.AddFolder(L"C:\\Dati\\Posta");
  for (const wchar_t* path : {L"C:\\Img\\a.iso", L"C:\\Img\\b.iso", L"C:\\Img\\d.txt"}) fs.fake.AddFile(path, 10);
  fs.fake.AddFolder(L"C:\\Img\\c.iso");
  fs.fake.AddDrive(L'N', 4096, DriveKind::Remote);
  fs.fake.AddFile(L"N:\\share\\x.db", 10);
  fs.fake.AddDrive(L'E', 2048, DriveKind::CdRom);
  fs.fake.AddFile(L"C:\\Lavoro\\mail.pst", 10);
  fs.fake.SetCurrentFolder(L"C:\\Lavoro");
  const struct {
    std::vector<std::wstring> args;
    uint32_t flags;
    std::vector<std::pair<bool, std::wstring>> added;
    std::wstring console;
    std::vector<std::wstring> messages;
    int refreshes;
  } cases[] = {
      {{L"Z:\\no\\such\\file.txt"}, kRunNoGui | kRunClose, {}, kNotFound + L"Z:\\no\\such\\file.txt \r\n\r\n", {}, 1},
      {{L"Z:\\no\\such\\file.txt"}, 0, {}, L"",
       {L"Cannot find the following item:\r\n\r\nZ:\\no\\such\\file.txt\r\n"}, 1},
      {{L"/NOGUI", L"\"C:\\Dati\\disco.vhdx\"", L"C:\\Dati\\Posta\\"}, 0,
       {{false, L"C:\\Dati\\disco.vhdx"}, {true, L"C:\\Dati\\Posta"}}, L"", {}, 2},
      {{L"D:\\", L"D:\"", L"D:"}, 0, {{true, L"D:\\"}, {true, L"D:\\"}, {true, L"D:\\"}}, L"", {}, 3},
      {{L"C:\\Img\\*.iso"}, 0, {{false, L"C:\\Img\\a.iso"}, {false, L"C:\\Img\\b.iso"}}, L"", {}, 1},
      {{L"C:\\Img\\c.i?o", L"C:\\Img\\*.vhd"}, kRunNoGui, {}, kNotFound + L"C:\\Img\\*.vhd \r\n\r\n", {}, 2},
      {{L"N:\\share\\x.db", L"E:\\"}, 0, {},
       L"Cannot process the following item : N:\\share\\x.db" + kRefused +
           L"Cannot process the following item : E:\\" + kRefused, {}, 0},
      {{L"mail.pst"}, 0, {{false, L"C:\\Lavoro\\mail.pst"}}, L"", {}, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.args));
    console.clear();
    messages.clear();
    added.clear();
    refreshes = 0;
    EXPECT_TRUE(AddPathArguments(c.args, c.flags, *this));
    EXPECT_EQ(added, c.added);
    EXPECT_EQ(console, c.console);
    EXPECT_EQ(messages, c.messages);
    EXPECT_EQ(refreshes, c.refreshes);
  }
  EXPECT_FALSE(AddPathArguments({L"/DEFRAG", L"/PROF:x.olp"}, 0, *this)) << "options are not paths";
}

// The block of paths a second start hands over: what the running instance
// reads back, and the blocks from elsewhere it must refuse whole.
std::optional<std::vector<std::wstring>> Unpack(const std::wstring& block) {
  return UnpackHandedPaths(block.data(), block.size() * sizeof(wchar_t));
}

TEST(HandedPaths, PathsComeBackAsTheyWereSentAndMalformedBlocksAreRefused) {
  std::vector<std::wstring> paths{L"C:\\", L"D:\\cartella con spazi\\file.txt", L"\\\\?\\E:\\lungo"};
  EXPECT_EQ(Unpack(PackHandedPaths(paths)), paths);
  // Empty paths carry nothing and are dropped.
  EXPECT_EQ(Unpack(std::wstring(L"a\0\0b\0", 5)), (std::vector<std::wstring>{L"a", L"b"}));

  EXPECT_EQ(UnpackHandedPaths(nullptr, 0), std::nullopt);
  EXPECT_EQ(Unpack(L"C:\\unterminated"), std::nullopt);
  std::wstring block = PackHandedPaths({L"C:\\file"});
  // Half a character at the end.
  EXPECT_EQ(UnpackHandedPaths(block.data(), block.size() * sizeof(wchar_t) - 1), std::nullopt);
  EXPECT_EQ(Unpack(std::wstring(kMaxHandedPathsBytes / sizeof(wchar_t) + 1, L'\0')), std::nullopt);
}

}  // namespace
