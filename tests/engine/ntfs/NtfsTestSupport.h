#pragma once
// The NTFS volume installed for the engine over an image made for the test,
// with the engine's process-wide state reset around it.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <memory>
#include <thread>

#include "NtfsImages.h"
#include "RecordingRunUi.h"
#include "app/ntfs/NtfsPaths.h"
#include "engine/Relocation.h"
#include "engine/ntfs/NtfsVolume.h"
#include "engine/sim/SimVolume.h"


// The physical runs of a file read through the retrieval-pointer control,
// runs that continue each other (across holes too) joined, as The Sleuth
// Kit's view gives them.
inline std::vector<PhysicalRun> ControlRuns(FsHandle file) {
  std::vector<PhysicalRun> runs;
  int64_t vcn = 0;
  NtStatus status;
  do {
    IoStatusBlock block{};
    status = Va().GetRetrievalPointers(file, block, &vcn, sizeof vcn, gSharedBuffer.bytes,
                                       kSharedBufferLength);
    if (status != kStatusSuccess && status != kStatusBufferOverflow) break;
    RetrievalPointersHeader header;
    std::memcpy(&header, gSharedBuffer.bytes, sizeof header);
    int64_t previous = header.startingVcn;
    for (uint32_t i = 0; i < header.extentCount; ++i) {
      RetrievalExtent e;
      std::memcpy(&e, gSharedBuffer.bytes + 16 + 16 * i, sizeof e);
      const int64_t length = e.nextVcn - previous;
      previous = e.nextVcn;
      if (e.lcn == -1) continue;
      if (!runs.empty() && runs.back().lcn + runs.back().count == e.lcn) {
        runs.back().count += length;
      } else {
        runs.push_back({e.lcn, length});
      }
    }
    vcn = previous;
  } while (status == kStatusBufferOverflow);
  return runs;
}

class NtfsVolumeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    image_ = ::testing::TempDir() + "ordalis-ntfs-" + std::to_string(getpid()) + ".img";
  }
  void TearDown() override {
    CloseVolume();
    std::remove(image_.c_str());
  }
  // No window: the waits for the move thread block on the thread alone.
  RecordingEngineUi ui_;
  void CloseVolume() {
    if (CurrentVolumeAccess() != nullptr) ResetEngineState();
    SetVolumeAccess(nullptr);
    SetFileQueries(nullptr);
    queries_.reset();
    volume_.reset();
  }
  void Make(uint32_t seed, int scale, uint64_t bytes = 64ull << 20) {
    std::string error;
    ASSERT_TRUE(MakeNtfsImage(image_, bytes, error)) << error;
    ASSERT_TRUE(FillRandomly(image_, seed, scale, filled_, error)) << error;
  }
  void OpenVolume(bool writable) {
    CloseVolume();
    volume_ = std::make_unique<NtfsVolume>();
    std::string message;
    ASSERT_EQ(volume_->Open(image_, writable, L'N', message), NtfsOpenFailure::None) << message;
    queries_ = std::make_unique<NtfsFileQueries>(*volume_);
    SetVolumeAccess(volume_.get());
    SetFileQueries(queries_.get());
  }
  // The files' contents and runs as The Sleuth Kit reads the closed image.
  std::map<std::string, std::string> Hashes() {
    TskView view(image_);
    EXPECT_TRUE(view.Opened());
    std::map<std::string, std::string> hashes;
    for (const std::string& file : filled_.files) hashes[file] = view.Hash(file);
    return hashes;
  }
  std::vector<PhysicalRun> Runs(const std::string& volumePath) {
    TskView view(image_);
    std::vector<PhysicalRun> runs;
    EXPECT_TRUE(view.Runs(volumePath, runs)) << volumePath;
    return runs;
  }
  // The checker's findings; after a kill, clusters claimed for a copy that
  // no file took over may stay in use, and nothing else may differ.
  std::string Violations(bool killed = false) {
    std::string violations;
    for (const std::string& v : CheckBitmapAgainstOwners(image_)) {
      if (!killed || v.find("owned by nobody") == std::string::npos) violations += v + "\n";
    }
    return violations;
  }
  std::string ImageHash() {
    std::string output;
    RunCommand("sha256sum " + Quoted(image_), output);
    return output;
  }
  // Every check after a defragmentation, on the closed image.
  void ExpectSound(const std::map<std::string, std::string>& hashesBefore) {
    EXPECT_EQ(Hashes(), hashesBefore);
    EXPECT_EQ(Violations(), "");
    std::string output;
    EXPECT_TRUE(NtfsfixClean(image_, output)) << output;
  }

  std::string image_;
  FilledImage filled_;
  std::unique_ptr<NtfsVolume> volume_;
  std::unique_ptr<NtfsFileQueries> queries_;
};
