#pragma once
// A folder tree on the in-memory file system whose files also live, with
// their clusters, on a simulated volume; a fresh item list and run state.
#include <gtest/gtest.h>

#include <functional>
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

// Leaves out what its rules say; with none, nothing: the runs' tests decide
// what is left out without the include and exclude lists.
struct ProbeFilter : RunFilter {
  std::function<bool(const std::wstring& path)> file;
  std::function<bool(const std::wstring& path)> folder;
  bool FileLeftOut(const std::wstring& path) const override { return file && file(path); }
  bool FolderLeftOut(const std::wstring& path) const override { return folder && folder(path); }
};

class RunFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    CreateSharedLock();
    ResetTexts();
    ClearItemList();
    ResetClusterSizeCache();
    filter_ = ProbeFilter{};
    options_ = RunOptions{};
    options_.solidStateFlags = Settings{}.solidStateFlags;
    options_.filter = &filter_;
    followUps_ = kNoFollowUps;
    options_.followUps = &followUps_;
    gRun = RunResults{};
  }
  void TearDown() override {
    if (CurrentVolumeAccess() != nullptr) ResetEngineState();
    SetVolumeAccess(nullptr);
    ClearItemList();
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

  static std::vector<std::wstring> FragmentedPaths() {
    std::vector<std::wstring> paths;
    for (const FragmentedFileRecord& record : gRun.fragmented) paths.push_back(record.path);
    return paths;
  }

  void Run(RunMode mode) { StartRun(mode, options_, ui_); }

  RunFollowUps followUps_;

  ScopedFakeFileQueries files_;
  std::unique_ptr<SimVolume> volume_;
  RecordingRunUi ui_;
  PortableItemPlatform items_;
  PortableNumberFormat numbers_;
  ProbeFilter filter_;
  RunOptions options_;
};

// Listed in the order the folder returns them. "big" needs 900 contiguous
// clusters and the largest free run is 479; "refused" has its first move
// refused with a status the system has no text for; "locked" cannot be
// opened; "skip.tmp" is left out by the filter.
inline const char* kRunTree =
    "volume letter=Z clusters=2000 clusterSize=4096\n"
    "file \"Z:\\single.bin\" size=8192 runs=500:1,510:1\n"
    "file \"Z:\\data\\a.bin\" size=16384 runs=100:2,110:2\n"
    "file \"Z:\\data\\sub\\b.bin\" size=16000 runs=200:4\n"
    "file \"Z:\\data\\sub\\c.bin\" size=12288 runs=300:1,310:1,320:1\n"
    "file \"Z:\\data\\locked.bin\" size=100 runs=400:1\n"
    "file \"Z:\\data\\skip.tmp\" size=8192 runs=410:1,420:1\n"
    "file \"Z:\\data\\refused.bin\" size=8000 runs=430:1,440:1\n"
    "file \"Z:\\data\\big.bin\" size=3686400 runs=1000:500,1600:400\n"
    "fault \"Z:\\data\\locked.bin\" control=open status=0xC0000043\n"
    "fault \"Z:\\data\\refused.bin\" control=move call=1 status=0xC0000999\n";

inline bool IsTemporary(const std::wstring& path) { return path.ends_with(L".tmp"); }

// Two items over that tree, ".tmp" files left out by the filter.
class TreeRunFixture : public RunFixture {
 protected:
  void SetUp() override {
    RunFixture::SetUp();
    Volume(kRunTree);
    ASSERT_EQ(AddItem(items_, true, L"Z:\\data"), kAddOk);
    ASSERT_EQ(AddItem(items_, false, L"Z:\\single.bin"), kAddOk);
    filter_.file = IsTemporary;
  }
};
