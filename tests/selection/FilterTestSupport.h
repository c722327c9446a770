#pragma once
// Helpers of the filter tests: a clean pair of lists and settings for every
// test, and the stored lines of a list in its order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "selection/Filters.h"
#include "options/Settings.h"

class FilterTest : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }
  static void Reset() {
    ClearFilterList(gExclusions);
    ClearFilterList(gInclusions);
    gSettings.excludeBySize = false;
    gSettings.maxFileSizeKiB = 0;
  }
};

inline std::vector<std::wstring> StoredLines(const FilterList& list) {
  std::vector<std::wstring> lines;
  for (const FilterEntry* entry = list.head; entry; entry = entry->next) lines.push_back(entry->storedLine);
  return lines;
}
