#pragma once
// The NTFS volume installed for the engine over an image made for the test,
// with the engine's process-wide state reset around it.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "NtfsImages.h"
#include "RecordingRunUi.h"
#include "app/ntfs/NtfsPaths.h"
#include "engine/Relocation.h"
#include "engine/ntfs/NtfsVolume.h"
#include "engine/sim/SimVolume.h"

// The physical runs of a file through the retrieval-pointer control, at
// most `room` bytes of answer a call, runs that continue each other (across
// holes too) joined, as The Sleuth Kit's view gives them; every extent, holes
// too, in `extents`. Every answer is held to the rules its callers rely on:
// it starts where it was asked to, or at the start of the extent asked into,
// holds whole extents in order, as many as fit when more are left, and says
// how many bytes they fill; the call after the last extent is the end of the
// file, the status block left as the caller set it.
inline std::vector<PhysicalRun> ControlRuns(FsHandle file, uint32_t room = kSharedBufferLength,
                                            std::vector<RetrievalExtent>* extents = nullptr) {
  std::vector<PhysicalRun> runs;
  RetrievalPointersHeader header;
  auto read = [&](int64_t vcn, IoStatusBlock& block) {
    const NtStatus status = Va().GetRetrievalPointers(file, block, &vcn, sizeof vcn, gSharedBuffer.bytes, room);
    std::memcpy(&header, gSharedBuffer.bytes, sizeof header);
    return status;
  };
  NtStatus previous = kStatusEndOfFile;
  for (int64_t vcn = 0;;) {
    IoStatusBlock block{};
    block.information = 77;
    const NtStatus status = read(vcn, block);
    if (status != kStatusSuccess && status != kStatusBufferOverflow) {
      EXPECT_EQ(status, kStatusEndOfFile) << "at " << vcn;
      EXPECT_NE(previous, kStatusBufferOverflow) << "at " << vcn;
      EXPECT_EQ(block.information, 77u);
      return runs;
    }
    EXPECT_NE(previous, kStatusSuccess) << "at " << vcn;
    if (status == kStatusBufferOverflow) {
      EXPECT_EQ(header.extentCount, (room - 16) / 16);
    }
    previous = status;
    EXPECT_EQ(header.startingVcn, vcn);
    EXPECT_GE(header.extentCount, 1u);
    EXPECT_EQ(block.information, 16 + 16 * header.extentCount);
    EXPECT_LE(block.information, room);
    const int64_t start = vcn;
    int64_t firstEnd = vcn;
    for (uint32_t i = 0; i < header.extentCount; ++i) {
      RetrievalExtent e;
      std::memcpy(&e, gSharedBuffer.bytes + 16 + 16 * i, sizeof e);
      EXPECT_GT(e.nextVcn, vcn);
      if (i == 0) firstEnd = e.nextVcn;
      if (extents != nullptr) extents->push_back(e);
      const int64_t length = e.nextVcn - vcn;
      vcn = e.nextVcn;
      if (e.lcn == -1) continue;
      if (!runs.empty() && runs.back().lcn + runs.back().count == e.lcn) {
        runs.back().count += length;
      } else {
        runs.push_back({e.lcn, length});
      }
    }
    if (header.extentCount == 0) return runs;
    if (firstEnd - start > 1) {
      IoStatusBlock inside{};
      EXPECT_NE(read(firstEnd - 1, inside), kStatusEndOfFile);
      EXPECT_EQ(header.startingVcn, start);
    }
  }
}

class NtfsVolumeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    image_ = ::testing::TempDir() + "ordalis-ntfs-" + std::to_string(getpid()) + ".img";
  }
  void TearDown() override {
    CloseVolume();
    // The image and whatever a test wrote beside it (the copy as made, the
    // command's documents and report).
    for (const char* suffix : {"", ".original", ".json", ".plan.json", ".report"}) {
      std::remove((image_ + suffix).c_str());
    }
  }
  // Where a test keeps a copy of the image as it was made.
  std::string Original() const { return image_ + ".original"; }
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
  std::string Violations(bool killed = false) { return ClusterAccountingFaults(image_, killed); }
  // After a stop, as any other tool finds the volume and again after the
  // next opening, which completes a switch the stop left half-done: at most
  // clusters in use that no file owns, and after that opening every file
  // reads as before. A stop between the table's first records and their
  // mirror copy leaves a volume ntfsresize refuses until that opening brings
  // the mirror in line. True when the opening completed a switch.
  bool ExpectIntact(const std::map<std::string, std::string>& hashes, const std::string& what) {
    SCOPED_TRACE(what);
    const std::string early = Violations(true);
    if (early.find("$MFTMirr does not match") == std::string::npos) {
      EXPECT_EQ(early, "") << "before the next opening";
    }
    std::string message;
    NtfsVolume().Open(image_, true, L'N', message);
    EXPECT_EQ(Hashes(), hashes);
    EXPECT_EQ(Violations(true), "");
    return message.find("now completed") != std::string::npos;
  }
  // The command that runs the engine over images, with `arguments`.
  int Command(const std::string& arguments, std::string& output) {
    return RunCommand(std::string(ORDALIS_NTFS_PROGRAM) + " " + arguments, output);
  }
  static void Copy(const std::string& from, const std::string& to) {
    std::string output;
    ASSERT_EQ(RunCommand("cp --sparse=always " + Quoted(from) + " " + Quoted(to), output), 0) << output;
  }
  std::string ImageHash() {
    std::string output;
    RunCommand("sha256sum " + Quoted(image_), output);
    return output;
  }
  // ntfs-3g's own mount opens the closed image read-only and reads every
  // file: what went wrong, empty when nothing did.
  std::string ReadThroughMount() {
    const std::string mount = Quoted(image_ + ".mnt");
    std::string output, errors;
    RunCommand("mkdir -p " + mount, output);
    if (RunCommand("ntfs-3g -o ro " + Quoted(image_) + " " + mount, errors) != 0) {
      errors = "ntfs-3g cannot mount the volume: " + errors;
    } else {
      if (RunCommand("(cd " + mount + " && find . -type f -exec cat {} + 2>&1 >/dev/null)", errors) != 0) {
        errors += "(not every file could be read)";
      }
      RunCommand("umount " + mount, output);
    }
    RunCommand("rmdir " + mount, output);
    return errors;
  }

  std::string image_;
  FilledImage filled_;
  std::unique_ptr<NtfsVolume> volume_;
  std::unique_ptr<NtfsFileQueries> queries_;
};
