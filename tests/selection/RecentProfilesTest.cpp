#include <gtest/gtest.h>

#include "FakeFileQueries.h"
#include "selection/RecentProfiles.h"
#include "options/Settings.h"

namespace {

using Lines = std::vector<std::wstring>;

class RecentProfilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ClearRecentProfiles();
    gSettings.maxRecentProfiles = 3;
    gSettings.removeMissingRecentProfiles = true;
    gSettings.recentProfiles.clear();
  }
  void TearDown() override { SetUp(); }

  // "path menuId" of each entry in list order.
  static Lines Entries() {
    Lines lines;
    for (const RecentProfile* e = gRecentProfiles.head; e; e = e->next) {
      lines.push_back(e->path + L" " + std::to_wstring(e->menuId));
    }
    return lines;
  }
};

// Sorted by path, aged by id; a profile used again is younger, the limit
// drops the oldest, and trimming removes the oldest first.
TEST_F(RecentProfilesTest, SortedByPathAgedByIdAndTheOldestGoFirst) {
  for (const wchar_t* path : {L"C:\\d.olp", L"C:\\a.olp", L"C:\\c.olp", L"C:\\b.olp"}) AddRecentProfile(path);
  EXPECT_EQ(Entries(), (Lines{L"C:\\a.olp 4502", L"C:\\b.olp 4504", L"C:\\c.olp 4503"}));
  AddRecentProfile(L"c:\\A.OLP");
  EXPECT_EQ(Entries(), (Lines{L"c:\\A.OLP 4505", L"C:\\b.olp 4504", L"C:\\c.olp 4503"}));
  EXPECT_EQ(RecentProfileById(4505)->path, L"c:\\A.OLP");
  EXPECT_EQ(RecentProfileById(4502), nullptr);
  TrimRecentProfiles(2);
  EXPECT_EQ(Entries(), (Lines{L"c:\\A.OLP 4505"}));
  EXPECT_EQ(gSettings.recentProfiles, (Lines{L"c:\\A.OLP"}));
}

TEST_F(RecentProfilesTest, IdsNeverReachTheCommandsAndKeepTheAgeOrder) {
  // Enough additions in one session to use every id of the range.
  const uint32_t additions = kLastRecentProfileId - kFirstRecentProfileId + 2;
  // The names go round 0..3 so that the last addition is "0".
  const uint32_t shift = (4 - (additions - 1) % 4) % 4;
  for (uint32_t i = 0; i < additions; ++i) AddRecentProfile(L"C:\\" + std::to_wstring((i + shift) % 4) + L".olp");
  // The run-out came at the last addition: the three kept then (1, 2, 3) were
  // numbered again from the start, oldest first, and the new 0 came after
  // them and pushed out the oldest.
  EXPECT_EQ(Entries(), (Lines{L"C:\\0.olp 4504", L"C:\\2.olp 4502", L"C:\\3.olp 4503"}));
  AddRecentProfile(L"C:\\1.olp");
  EXPECT_EQ(Entries(), (Lines{L"C:\\0.olp 4504", L"C:\\1.olp 4505", L"C:\\3.olp 4503"}));
}

TEST_F(RecentProfilesTest, LoadingFromTheSettingsRenumbersInFileOrderAndDropsMissingFiles) {
  ScopedFakeFileQueries fs;
  fs.fake.AddFile(L"C:\\a.olp");
  fs.fake.AddFile(L"C:\\c.olp");
  gSettings.recentProfiles = {L"C:\\a.olp", L"C:\\b.olp", L"C:\\c.olp"};
  LoadRecentProfilesFromSettings();
  EXPECT_EQ(Entries(), (Lines{L"C:\\a.olp 4501", L"C:\\c.olp 4502"}));
  EXPECT_EQ(gSettings.recentProfiles, (Lines{L"C:\\a.olp", L"C:\\c.olp"}));

  gSettings.removeMissingRecentProfiles = false;
  gSettings.recentProfiles = {L"C:\\a.olp", L"C:\\b.olp"};
  LoadRecentProfilesFromSettings();
  EXPECT_EQ(Entries(), (Lines{L"C:\\a.olp 4501", L"C:\\b.olp 4502"}));
}

}  // namespace
