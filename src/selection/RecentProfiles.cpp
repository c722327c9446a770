#include "selection/RecentProfiles.h"

#include <algorithm>
#include <new>
#include <vector>

#include "engine/FileQueries.h"
#include "options/Settings.h"
#include "util/SortLinkedList.h"
#include "util/WideString.h"

RecentProfileList gRecentProfiles;

namespace {


void Unlink(RecentProfile** link) {
  RecentProfile* gone = *link;
  *link = gone->next;
  delete gone;
  --gRecentProfiles.count;
}

void RemoveOldest() {
  RecentProfile** oldest = nullptr;
  for (RecentProfile** link = &gRecentProfiles.head; *link; link = &(*link)->next) {
    if (!oldest || (*link)->menuId < (*oldest)->menuId) oldest = link;
  }
  if (oldest) Unlink(oldest);
}

void MirrorToSettings() {
  gSettings.recentProfiles.clear();
  for (const RecentProfile* entry = gRecentProfiles.head; entry; entry = entry->next) {
    gSettings.recentProfiles.push_back(entry->path);
  }
}

// The ids live between the placeholder's and the first command's. A session
// that adds thousands of profiles would run past them into the commands, so
// the entries are numbered again from the first id, oldest first: age is kept,
// only the numbers change.
void RenumberWhenIdsRunOut() {
  if (kFirstRecentProfileId + uint64_t(gRecentProfiles.counter) <= kLastRecentProfileId) return;
  std::vector<RecentProfile*> byAge;
  for (RecentProfile* entry = gRecentProfiles.head; entry; entry = entry->next) byAge.push_back(entry);
  std::sort(byAge.begin(), byAge.end(),
            [](const RecentProfile* a, const RecentProfile* b) { return a->menuId < b->menuId; });
  gRecentProfiles.counter = 0;
  for (RecentProfile* entry : byAge) entry->menuId = kFirstRecentProfileId + gRecentProfiles.counter++;
}

}  // namespace

void AddRecentProfile(const std::wstring& path) {
  auto* entry = new (std::nothrow) RecentProfile;
  if (!entry) return;
  entry->path = path;
  entry->pathKey = path;
  RenumberWhenIdsRunOut();
  entry->menuId = kFirstRecentProfileId + gRecentProfiles.counter++;
  entry->next = gRecentProfiles.head;
  gRecentProfiles.head = entry;
  ++gRecentProfiles.count;
  // The sort is stable and the new entry stood first, so of two equal
  // neighbours the second is the older one.
  gRecentProfiles.head = SortLinkedList(gRecentProfiles.head, [](const RecentProfile& x, const RecentProfile& y) {
    return CompareNoCase(x.pathKey, y.pathKey) < 0;
  });
  for (RecentProfile* node = gRecentProfiles.head; node && node->next;) {
    if (EqualNoCase(node->pathKey, node->next->pathKey)) {
      Unlink(&node->next);
    } else {
      node = node->next;
    }
  }
  if (static_cast<int64_t>(gRecentProfiles.count) > gSettings.maxRecentProfiles) RemoveOldest();
  MirrorToSettings();
}

void TrimRecentProfiles(uint64_t n) {
  for (uint64_t i = 0; i < n && gRecentProfiles.count > 0; ++i) RemoveOldest();
  MirrorToSettings();
}

const RecentProfile* RecentProfileById(uint32_t menuId) {
  for (const RecentProfile* entry = gRecentProfiles.head; entry; entry = entry->next) {
    if (entry->menuId == menuId) return entry;
  }
  return nullptr;
}

void ClearRecentProfiles() {
  while (gRecentProfiles.head) Unlink(&gRecentProfiles.head);
  gRecentProfiles = RecentProfileList{};
}

void LoadRecentProfilesFromSettings() {
  std::vector<std::wstring> paths = gSettings.recentProfiles;
  ClearRecentProfiles();
  for (const std::wstring& path : paths) {
    if (gSettings.removeMissingRecentProfiles && Fs().GetAttributes(path) == kInvalidAttributes) continue;
    AddRecentProfile(path);
  }
  MirrorToSettings();
}
