#include "options/CommandLine.h"

#include <gtest/gtest.h>

#include <utility>

#include "options/RunFlags.h"
#include "FakeFileQueries.h"

namespace {

uint32_t Flags(std::vector<std::wstring> args) {
  CommandLineChoices choices;
  return ParseOptions(args, choices);
}

TEST(CommandLineOptions, WholeOptionsMatchInAnyCaseButOnlyWhole) {
  EXPECT_EQ(Flags({L"/nogui", L"/Analyze", L"/DEFRAG"}), kRunNoGui | kRunAnalyze | kRunDefrag);
  EXPECT_EQ(Flags({L"/sr"}), kRunShowReport);
  EXPECT_EQ(Flags({L"/?"}), kRunHelp);
  EXPECT_EQ(Flags({L"/help"}), kRunHelp);
  EXPECT_EQ(Flags({L"/CLOSEIFOK"}), kRunCloseIfOk);  // not also "/CLOSE"
  EXPECT_EQ(Flags({L"/NOGUIX", L"/CLOS", L"NOGUI"}), 0u);
}

TEST(CommandLineOptions, ValueOptionsAreFoundInsideTheArgumentAndKeepTheirCase) {
  CommandLineChoices choices;
  uint32_t flags = ParseOptions({L"/prof:C:\\Profili\\Lavoro.olp"}, choices);
  EXPECT_EQ(flags, kRunProfile);
  EXPECT_EQ(choices.profilePath, L"C:\\Profili\\Lavoro.olp");

  // One argument may carry several options.
  choices = {};
  flags = ParseOptions({L"/LANG:en/CHKDSK:2"}, choices);
  EXPECT_EQ(flags, kRunLanguage | kRunDiskCheckGiven);
  EXPECT_EQ(choices.languageCode, L"en");
  EXPECT_EQ(choices.diskCheckCommand, 9059u);

  choices = {};
  ParseOptions({L"/LANG:auto"}, choices);
  EXPECT_EQ(choices.languageCode, L"AUTO");
}

TEST(CommandLineOptions, ProfilePathsOnTheNetworkOrWithTheLongPrefixKeepTheirLeadingPair) {
  // The arguments come split, with the doubling already undone once.
  for (const wchar_t* path : {L"\\\\srv\\share\\p.olp", L"\\\\?\\C:\\p.olp", L"C:\\a\\\\b.olp"}) {
    CommandLineChoices choices;
    ParseOptions({std::wstring(L"/PROF:") + path}, choices);
    EXPECT_EQ(choices.profilePath, path);
  }
}

TEST(CommandLineOptions, DiskCheckAndCleanupDigitsChooseCommandsOtherDigitsOnlySetTheFlag) {
  const std::pair<const wchar_t*, uint32_t> diskChecks[] = {
      {L"/CHKDSK:0", 9058}, {L"/CHKDSK:1", 9057}, {L"/CHKDSK:2", 9059}, {L"/CHKDSK:7", 0}, {L"/CHKDSK:", 0}};
  for (const auto& [arg, command] : diskChecks) {
    CommandLineChoices choices;
    EXPECT_EQ(ParseOptions({arg}, choices), kRunDiskCheckGiven) << arg;
    EXPECT_EQ(choices.diskCheckCommand, command) << arg;
  }
  const std::pair<const wchar_t*, uint32_t> cleanups[] = {
      {L"/CLEAN:0", 9054}, {L"/CLEAN:1", 9053}, {L"/CLEAN:2", 9055}, {L"/CLEAN:9", 0}};
  for (const auto& [arg, command] : cleanups) {
    CommandLineChoices choices;
    EXPECT_EQ(ParseOptions({arg}, choices), kRunCleanupGiven) << arg;
    EXPECT_EQ(choices.cleanupCommand, command) << arg;
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
      {kRunClose | kRunCloseIfOk | kRunShutdown, kRunShutdown},
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
  EXPECT_EQ(UndoubleBackslashes(L"C:\\\\a\\\\\\\\b"), L"C:\\a\\\\b");
  for (const wchar_t* text : {L"", L"\\", L"\\\\\\", L"a\\b\\\\c\\"}) {
    EXPECT_EQ(UndoubleBackslashes(DoubleBackslashes(text)), text);
  }
}

// Path arguments, with a recording item list and an in-memory file system.
class PathArguments : public ::testing::Test, public PathArgumentsUi {
 protected:
  void ConsoleText(const std::wstring& text) override { console += text; }
  void ShowMessage(const std::wstring& text) override { messages.push_back(text); }
  void AfterPath() override { ++refreshes; }
  void AddPath(bool isFolder, const std::wstring& path) override { added.emplace_back(isFolder, path); }
  bool Run(std::vector<std::wstring> args, uint32_t flags = 0) { return AddPathArguments(args, flags, *this); }

  ScopedFakeFileQueries fs;
  std::wstring console;
  std::vector<std::wstring> messages;
  std::vector<std::pair<bool, std::wstring>> added;
  int refreshes = 0;
};

TEST_F(PathArguments, MissingItemIsReportedOnTheConsoleOrInABox) {
  fs.fake.AddDrive(L'Z');
  EXPECT_TRUE(Run({L"Z:\\no\\such\\file.txt"}, kRunNoGui | kRunClose));
  EXPECT_EQ(console, L"Cannot find the following item : Z:\\no\\such\\file.txt \r\n\r\n");
  EXPECT_TRUE(messages.empty());
  EXPECT_TRUE(added.empty());

  console.clear();
  EXPECT_TRUE(Run({L"Z:\\no\\such\\file.txt"}));
  EXPECT_EQ(console, L"");
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0], L"Cannot find the following item:\r\n\r\nZ:\\no\\such\\file.txt\r\n");
  EXPECT_EQ(refreshes, 2);
}

TEST_F(PathArguments, FilesAndFoldersAreAddedAsWhatTheyAre) {
  fs.fake.AddFile(L"C:\\Dati\\disco.vhdx", 1 << 20);
  fs.fake.AddFolder(L"C:\\Dati\\Posta");
  EXPECT_TRUE(Run({L"/NOGUI", L"\"C:\\Dati\\disco.vhdx\"", L"C:\\Dati\\Posta\\"}));
  std::vector<std::pair<bool, std::wstring>> expected = {{false, L"C:\\Dati\\disco.vhdx"},
                                                         {true, L"C:\\Dati\\Posta"}};
  EXPECT_EQ(added, expected);
  EXPECT_EQ(console, L"");
}

TEST_F(PathArguments, DriveRootsInEveryWrittenFormBecomeRootFolders) {
  fs.fake.AddDrive(L'D');
  // As the argument splitter leaves them: the root with its backslash, the
  // old form whose backslash escaped the closing quote, and the bare letter.
  EXPECT_TRUE(Run({L"D:\\", L"D:\"", L"D:"}));
  std::vector<std::pair<bool, std::wstring>> expected = {
      {true, L"D:\\"}, {true, L"D:\\"}, {true, L"D:\\"}};
  EXPECT_EQ(added, expected);
  EXPECT_TRUE(messages.empty());
}

TEST_F(PathArguments, WildcardAddsMatchingFilesOnly) {
  fs.fake.AddFile(L"C:\\Img\\a.iso", 10);
  fs.fake.AddFile(L"C:\\Img\\b.iso", 10);
  fs.fake.AddFolder(L"C:\\Img\\c.iso");
  fs.fake.AddFile(L"C:\\Img\\d.txt", 10);
  EXPECT_TRUE(Run({L"C:\\Img\\*.iso"}));
  std::vector<std::pair<bool, std::wstring>> expected = {{false, L"C:\\Img\\a.iso"},
                                                         {false, L"C:\\Img\\b.iso"}};
  EXPECT_EQ(added, expected);

  // Folders alone matching is not "not found"; nothing matching at all is.
  added.clear();
  EXPECT_TRUE(Run({L"C:\\Img\\c.i?o", L"C:\\Img\\*.vhd"}, kRunNoGui));
  EXPECT_TRUE(added.empty());
  EXPECT_EQ(console, L"Cannot find the following item : C:\\Img\\*.vhd \r\n\r\n");
}

TEST_F(PathArguments, RemoteAndEmptyDrivesAreRefusedWithTwoLines) {
  fs.fake.AddDrive(L'N', 4096, DriveKind::Remote);
  fs.fake.AddFile(L"N:\\share\\x.db", 10);
  fs.fake.AddDrive(L'E', 2048, DriveKind::CdRom);
  EXPECT_TRUE(Run({L"N:\\share\\x.db", L"E:\\"}));
  const std::wstring refusal =
      L"The drive is a remote (network) drive, the drive is a DVD-ROM drive or there is no volume "
      L"mounted at the specified path.\r\n\r\n";
  EXPECT_EQ(console, L"Cannot process the following item : N:\\share\\x.db \r\n" + refusal +
                         L"Cannot process the following item : E:\\ \r\n" + refusal);
  EXPECT_TRUE(added.empty());
  EXPECT_TRUE(messages.empty());
}

TEST_F(PathArguments, RelativePathsAreMadeFullAndOptionsAreNotPaths) {
  fs.fake.AddFile(L"C:\\Lavoro\\mail.pst", 10);
  fs.fake.SetCurrentFolder(L"C:\\Lavoro");
  EXPECT_FALSE(Run({L"/DEFRAG", L"/PROF:x.olp"}));
  EXPECT_TRUE(Run({L"mail.pst"}));
  std::vector<std::pair<bool, std::wstring>> expected = {{false, L"C:\\Lavoro\\mail.pst"}};
  EXPECT_EQ(added, expected);
}

}  // namespace
