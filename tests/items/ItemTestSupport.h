#pragma once
// A fresh item list over an in-memory file system, with an item platform
// that records what adding asks of the window.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FakeFileQueries.h"
#include "items/ItemCells.h"
#include "items/ItemList.h"
#include "options/StringIds.h"
#include "util/Text.h"

// The portable texts; records the messages, the icons asked for and the
// files asked about their clusters. Unattended, it refuses an unreadable
// folder without a message.
class RecordingItemPlatform final : public PortableItemPlatform {
 public:
  void CacheIcon(const std::wstring& path) override { iconPaths.push_back(path); }
  bool ShowAccessError(const std::wstring& message) override {
    if (unattended) return false;
    messages.push_back(message);
    return true;
  }
  bool HasNoClusters(const std::wstring& longPath) override {
    askedForClusters.push_back(longPath);
    return noClusters;
  }

  bool unattended = false;
  bool noClusters = false;
  std::vector<std::wstring> messages;
  std::vector<std::wstring> iconPaths;
  std::vector<std::wstring> askedForClusters;
};

class ItemListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetTexts();
    ClearItemList();
    ResetClusterSizeCache();
  }
  void TearDown() override {
    ClearItemList();
    ResetClusterSizeCache();
    ResetTexts();
  }

  // Files of one byte, each added to the list.
  void AddFiles(const std::vector<std::wstring>& paths) {
    for (const std::wstring& path : paths) {
      fs.fake.AddFile(path, 1);
      ASSERT_EQ(AddItem(items, false, path), kAddOk) << std::string(path.begin(), path.end());
    }
  }
  // The paths from the head, walking the links; the rows by number must say
  // the same.
  static std::vector<std::wstring> ListedPaths() {
    std::vector<std::wstring> paths;
    std::vector<std::wstring> rows;
    for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) paths.push_back(node->record.path);
    for (uint64_t row = 0; row < ItemCount(); ++row) rows.push_back(ItemAtRow(row)->path);
    EXPECT_EQ(rows, paths);
    EXPECT_EQ(ItemAtRow(ItemCount()), nullptr);
    return paths;
  }

  ScopedFakeFileQueries fs;
  RecordingItemPlatform items;
  PortableNumberFormat numbers;
};
