#pragma once
// A folder tree on the in-memory file system whose files also live, with
// their clusters, on a simulated volume; a fresh item list and run state.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "FakeFileQueries.h"
#include "RecordingRunUi.h"
#include "engine/Relocation.h"
#include "engine/sim/SimVolume.h"
#include "items/ItemCells.h"
#include "items/ItemList.h"
#include "runs/RunDriver.h"
#include "runs/RunFilters.h"
#include "runs/RunOptions.h"
#include "runs/RunReport.h"
#include "runs/RunResults.h"
#include "options/Settings.h"
#include "util/SharedLock.h"
#include "util/Text.h"

class RunFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    CreateSharedLock();
    ResetTexts();
    ClearItemList();
    ResetClusterSizeCache();
    gRunFilters = RunFilterTests{};
    // No window: the waits for workers block on the workers alone.
    ui_ = RecordingRunUi();
    options_ = RunOptions{};
    options_.solidStateFlags = Settings{}.solidStateFlags;
    followUps_ = kNoFollowUps;
    options_.followUps = &followUps_;
    gRun = RunResults{};
  }
  void TearDown() override {
    if (CurrentVolumeAccess() != nullptr) ResetEngineState();
    SetVolumeAccess(nullptr);
    ClearItemList();
    gRunFilters = RunFilterTests{};
  }

  // Builds the volume and puts every described file (and its folders) on
  // the in-memory file system, in the order described.
  void Volume(const std::string& description) {
    if (CurrentVolumeAccess() != nullptr) ResetEngineState();
    volume_ = std::make_unique<SimVolume>();
    std::string error;
    ASSERT_TRUE(ParseSimDescription(description, *volume_, error)) << error;
    SetVolumeAccess(volume_.get());
    for (const SimFile& file : volume_->Files()) {
      if (files_.fake.Exists(file.path)) continue;
      if (file.directory) {
        files_.fake.AddFolder(file.path);
      } else {
        files_.fake.AddFile(file.path, file.size, kAttrArchive);
      }
    }
  }

  std::string Check() {
    std::string text;
    for (const std::string& violation : volume_->Check()) text += violation + "\n";
    return text.empty() ? "check ok" : text;
  }

  size_t Fragments(const std::wstring& path) { return volume_->FindFile(path)->runs.size(); }

  static std::wstring Joined(const std::vector<std::wstring>& texts) {
    std::wstring all;
    for (const std::wstring& text : texts) all += text;
    return all;
  }

  void Run(RunMode mode) { StartRun(mode, options_, ui_); }

  RunFollowUps followUps_;

  ScopedFakeFileQueries files_;
  std::unique_ptr<SimVolume> volume_;
  RecordingRunUi ui_;
  PortableItemPlatform items_;
  PortableNumberFormat numbers_;
  RunOptions options_;
};
