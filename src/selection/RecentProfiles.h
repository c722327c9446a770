#pragma once
// The recent-profiles list under the "Profili" menu. Sorted by path,
// case-insensitively, so the menu reads alphabetically; age is carried by the
// menu id alone (4501 plus a counter that grows at every insertion), so the
// oldest entry is the one with the smallest id.
//
// gSettings.recentProfiles mirrors the list's paths in list order after every
// change; the settings file reads and writes that copy.
#include <cstdint>
#include <string>

#include "options/CommandIds.h"

constexpr int64_t kMaxRecentProfilesLimit = 10;
// The menu shows at most this many characters of a path.
constexpr size_t kRecentProfileMenuChars = 32;

struct RecentProfile {
  std::wstring path;
  std::wstring pathKey;
  uint32_t menuId = 0;
  RecentProfile* next = nullptr;
};

struct RecentProfileList {
  RecentProfile* head = nullptr;
  uint64_t count = 0;
  uint32_t counter = 0;  // never falls, but when the ids run out
};
extern RecentProfileList gRecentProfiles;

// Inserts the path as the newest entry, drops an older entry of the same path
// and, when the list is then longer than the limit, its oldest entry.
void AddRecentProfile(const std::wstring& path);
// Removes the n oldest entries, one at a time.
void TrimRecentProfiles(uint64_t n);
// The entry of a menu id, or nullptr.
const RecentProfile* RecentProfileById(uint32_t menuId);
void ClearRecentProfiles();
// Builds the list from the paths the settings file held, in their order,
// without those that no longer exist when that option is on.
void LoadRecentProfilesFromSettings();
