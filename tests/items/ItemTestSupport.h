#pragma once
// A fresh item list over an in-memory file system, with hooks that record
// what adding asks of the window.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FakeFileQueries.h"
#include "items/ItemCells.h"
#include "items/ItemList.h"
#include "options/StringIds.h"
#include "util/Text.h"

class ItemListFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetTexts();
    ClearItemList();
    ResetClusterSizeCache();
    gItemSettings.hooks = PortableItemHooks();
    gItemSettings.hooks.setBusyState = [this](uint32_t state) { busyStates.push_back(state); };
    gItemSettings.hooks.showAccessError = [this](const std::wstring& text) { messages.push_back(text); };
    gItemSettings.hooks.cacheIcon = [this](const std::wstring& path) { iconPaths.push_back(path); };
    gItemSettings.suppressMessages = false;
    gItemCellSettings.numbers = PortableNumberFormatHooks();
  }
  void TearDown() override {
    ClearItemList();
    ResetClusterSizeCache();
    gItemSettings = ItemSettings();
    ResetTexts();
  }

  // The paths from the head, walking the links.
  static std::vector<std::wstring> WalkPaths() {
    std::vector<std::wstring> paths;
    for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) paths.push_back(node->record.path);
    return paths;
  }
  // The paths by row number.
  static std::vector<std::wstring> RowPaths() {
    std::vector<std::wstring> paths;
    for (uint64_t row = 0; row < ItemCount(); ++row) paths.push_back(ItemAtRow(row)->path);
    EXPECT_EQ(ItemAtRow(ItemCount()), nullptr);
    return paths;
  }

  ScopedFakeFileQueries fs;
  std::vector<uint32_t> busyStates;
  std::vector<std::wstring> messages;
  std::vector<std::wstring> iconPaths;
};
