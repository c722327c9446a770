// Emptying the temporary folder through the file-system seam, and how an
// external cleaning program is started.
#include <gtest/gtest.h>

#include <algorithm>

#include "FakeFileQueries.h"
#include "engine/Cleanup.h"
#include "engine/Relocation.h"
#include "RecordingRunUi.h"
#include "util/WideString.h"

namespace {

class CleanupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gEngine.flags = 0;
    gCleanupCount = 0;
  }
  ScopedFakeFileQueries files_;
  RecordingEngineUi ui_;
};

TEST_F(CleanupTest, EverythingBelowGoesReadOnlyFilesTooUntilAStop) {
  FakeFileQueries& fake = files_.fake;
  fake.AddFile(L"C:\\Temp\\a.tmp", 10);
  fake.AddFile(L"C:\\Temp\\locked.tmp", 10, kAttrReadOnly | kAttrArchive);
  fake.AddFile(L"C:\\Temp\\deep\\deeper\\b.tmp", 10, kAttrReadOnly);
  fake.AddFolder(L"C:\\Temp\\empty");
  fake.AddFile(L"C:\\Other\\keep.txt", 10);
  int pumps = 0;
  ui_.pump = [&] {
    // The user cancels during the second round of messages.
    if (++pumps == 2) gEngine.flags.fetch_or(kStopRequested);
    return true;
  };
  DeleteFolderContents(ui_, L"C:\\Temp");
  EXPECT_TRUE(fake.Exists(L"C:\\Temp"));
  for (const wchar_t* gone : {L"C:\\Temp\\a.tmp", L"C:\\Temp\\locked.tmp", L"C:\\Temp\\deep", L"C:\\Temp\\empty"}) {
    EXPECT_FALSE(fake.Exists(gone)) << WideToUtf8(gone);
  }
  EXPECT_TRUE(fake.Exists(L"C:\\Other\\keep.txt"));
  EXPECT_EQ(gCleanupCount, 6u);  // a.tmp, locked.tmp, deep, deeper, b.tmp, empty
  EXPECT_EQ(pumps, 0);           // three files deleted: no fourth yet

  // Messages flow every fourth file; a stop ends the walk.
  gCleanupCount = 0;
  for (int i = 0; i < 10; ++i) fake.AddFile(L"C:\\Temp\\f" + std::to_wstring(i), 1);
  DeleteFolderContents(ui_, L"C:\\Temp");
  EXPECT_EQ(pumps, 2);
  EXPECT_EQ(gCleanupCount, 8u);
  EXPECT_TRUE(fake.Exists(L"C:\\Temp\\f8"));
  EXPECT_FALSE(fake.Exists(L"C:\\Temp\\f7"));
}

// The temporary folder is its user's: a link in it, listed as a link or
// swapped in for a folder after the listing, is removed as the link, and
// what it shows (the target's content) is never entered.
TEST_F(CleanupTest, ALinkIsRemovedAsALinkAndNeverEntered) {
  FakeFileQueries& fake = files_.fake;
  fake.AddFile(L"C:\\Users\\me\\Documents\\thesis.doc", 100);
  fake.AddLink(L"C:\\Temp\\docs", L"C:\\Users\\me\\Documents");
  fake.AddFile(L"C:\\Windows\\System32\\config.sys", 100);
  fake.AddFile(L"C:\\Temp\\work\\a.tmp", 1);
  fake.beforeOpenForRemoval = [&fake](const std::wstring& path) {
    if (path != L"C:\\Temp\\work") return;
    fake.Remove(path);
    fake.AddLink(path, L"C:\\Windows\\System32");
  };
  DeleteFolderContents(ui_, L"C:\\Temp\\");
  EXPECT_FALSE(fake.Exists(L"C:\\Temp\\docs"));
  EXPECT_FALSE(fake.Exists(L"C:\\Temp\\work"));
  EXPECT_TRUE(fake.Exists(L"C:\\Users\\me\\Documents\\thesis.doc"));
  EXPECT_TRUE(fake.Exists(L"C:\\Windows\\System32\\config.sys"));
}

TEST(CleanupRulesTest, ProgramLaunch) {
  // A path with blanks is the application name whole: never "C:\Program.exe".
  const ProgramLaunch launch = LaunchOf(L"C:\\Program Files\\Cleaner\\clean.exe", L"/a /b");
  EXPECT_EQ(launch.applicationName, L"C:\\Program Files\\Cleaner\\clean.exe");
  EXPECT_EQ(launch.commandLine, L"\"C:\\Program Files\\Cleaner\\clean.exe\" \"/a /b\"");
  EXPECT_EQ(LaunchOf(L"C:\\clean.exe", L"").commandLine, L"\"C:\\clean.exe\"");
}

}  // namespace
