#pragma once
// A simulated volume built from a description and installed for the engine,
// with the engine's process-wide state reset around every test.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/FreeSpace.h"
#include "engine/Relocation.h"
#include "engine/sim/SimVolume.h"
#include "RecordingRunUi.h"

class SimTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetAll(); }
  void TearDown() override {
    ResetAll();
    SetVolumeAccess(nullptr);
  }

  void ResetAll() {
    if (CurrentVolumeAccess() != nullptr) ResetEngineState();
    // No window: the waits for workers block on the workers alone.
    ui_ = RecordingEngineUi();
    ResetExtentAllocator();
  }

  // Builds and installs the volume; fails the test on a bad description.
  SimVolume& Volume(const std::string& description) {
    // The cached volume handle belongs to the volume being replaced.
    if (CurrentVolumeAccess() != nullptr) ResetEngineState();
    volume_ = std::make_unique<SimVolume>();
    std::string error;
    EXPECT_TRUE(ParseSimDescription(description, *volume_, error)) << error;
    SetVolumeAccess(volume_.get());
    return *volume_;
  }

  SimVolume& volume() { return *volume_; }

  // The volume's maximal free runs, cluster by cluster.
  std::vector<FreeRunSearch::Run> FreeRuns() {
    std::vector<FreeRunSearch::Run> runs;
    for (uint64_t c = 0; c < volume_->Settings().clusters; ++c) {
      if (volume_->InUse(int64_t(c))) continue;
      if (!runs.empty() && runs.back().start + int64_t(runs.back().length) == int64_t(c)) {
        ++runs.back().length;
      } else {
        runs.push_back({int64_t(c), 1});
      }
    }
    return runs;
  }

  ::testing::AssertionResult Clean() {
    auto violations = volume_->Check();
    if (violations.empty()) return ::testing::AssertionSuccess();
    auto failure = ::testing::AssertionFailure();
    for (const auto& v : violations) failure << v << "\n";
    return failure;
  }

  std::unique_ptr<SimVolume> volume_;
  RecordingEngineUi ui_;
};
