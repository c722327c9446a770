// The NTFS volume against images made by mkntfs and fragmented through the
// on-disk format library, with The Sleuth Kit as the independent judge.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <cstring>
#include <memory>
#include <random>
#include <thread>

#include "NtfsTestSupport.h"

namespace {

TEST_F(NtfsVolumeTest, EveryFileAndFolderReadsAsIstatListsIt) {
  for (uint32_t seed : {1u, 2u}) {
    SCOPED_TRACE(seed);
    Make(seed, 1);
    ASSERT_TRUE(CheckBitmapAgainstOwners(image_).empty());
    OpenVolume(false);
    uint64_t fragmented = 0;
    for (const std::string& path : filled_.files) {
      std::vector<PhysicalRun> expected;
      ASSERT_TRUE(IstatRuns(image_, path, expected)) << path;
      const FsHandle file = Va().OpenFileForMoving(EnginePath(path));
      ASSERT_NE(file, kInvalidHandle) << path;
      EXPECT_EQ(ControlRuns(file), expected) << path;
      Va().Close(file);
      FileAnalysis analysis;
      ASSERT_EQ(AnalyseFile(EnginePath(path), analysis), 1);
      EXPECT_EQ(analysis.fragments, expected.size()) << path;
      if (expected.size() > 1) ++fragmented;
    }
    EXPECT_GE(fragmented, 5u);
    for (const std::string& folder : filled_.folders) {
      std::vector<PhysicalRun> expected;
      ASSERT_TRUE(IstatRuns(image_, folder, expected)) << folder;
      const FsHandle handle = Va().OpenFileBackupSemantics(EnginePath(folder));
      ASSERT_NE(handle, kInvalidHandle);
      EXPECT_EQ(ControlRuns(handle), expected) << folder;
      Va().Close(handle);
    }
    CloseVolume();
  }
}

TEST_F(NtfsVolumeTest, RetrievalPointersKeepTheRecordRules) {
  Make(3, 1);
  OpenVolume(false);
  alignas(8) uint8_t out[64];
  auto read = [&](FsHandle file, int64_t vcn, uint32_t length, IoStatusBlock& block) {
    return Va().GetRetrievalPointers(file, block, &vcn, sizeof vcn, out, length);
  };
  const FsHandle log = Va().OpenFileForMoving(L"N:\\Users\\ann\\a.log");
  ASSERT_NE(log, kInvalidHandle);
  // One whole extent per 32-byte call, the caller continuing from its end,
  // gives back the full list.
  IoStatusBlock block{};
  int64_t vcn = 0;
  uint64_t calls = 0;
  NtStatus status;
  do {
    status = read(log, vcn, 32, block);
    ASSERT_TRUE(status == kStatusSuccess || status == kStatusBufferOverflow);
    RetrievalPointersHeader header;
    std::memcpy(&header, out, sizeof header);
    ASSERT_EQ(header.extentCount, 1u);
    ASSERT_EQ(header.startingVcn, vcn);
    EXPECT_EQ(block.information, 32u);
    RetrievalExtent extent;
    std::memcpy(&extent, out + 16, sizeof extent);
    vcn = extent.nextVcn;
    ++calls;
  } while (status == kStatusBufferOverflow);
  EXPECT_EQ(calls, 799u);  // a cluster and a hole, 400 times, the last hole never written
  std::string output;
  RunCommand("istat -f ntfs " + Quoted(image_) + " $(ifind -f ntfs -n /Users/ann/a.log " + Quoted(image_) + ")", output);
  EXPECT_NE(output.find("$ATTRIBUTE_LIST"), std::string::npos);
  // A start inside an extent is rounded down to it; past the end is end of file.
  {
    const FsHandle sparse = Va().OpenFileForMoving(L"N:\\data\\sparse.img");
    IoStatusBlock b{};
    ASSERT_EQ(read(sparse, 0, sizeof out, b), kStatusBufferOverflow);
    RetrievalPointersHeader header;
    std::memcpy(&header, out, sizeof header);
    RetrievalExtent first;
    std::memcpy(&first, out + 16, sizeof first);
    if (first.nextVcn > 1) {
      ASSERT_EQ(read(sparse, first.nextVcn - 1, sizeof out, b), kStatusBufferOverflow);
      std::memcpy(&header, out, sizeof header);
      EXPECT_EQ(header.startingVcn, 0);
    }
    // Holes read as runs without clusters.
    bool hole = false;
    int64_t at = 0;
    do {
      status = read(sparse, at, sizeof out, b);
      std::memcpy(&header, out, sizeof header);
      for (uint32_t i = 0; i < header.extentCount; ++i) {
        RetrievalExtent e;
        std::memcpy(&e, out + 16 + 16 * i, sizeof e);
        hole = hole || e.lcn == -1;
        at = e.nextVcn;
      }
    } while (status == kStatusBufferOverflow);
    EXPECT_TRUE(hole);
    IoStatusBlock untouched{};
    untouched.information = 77;
    EXPECT_EQ(read(sparse, at, sizeof out, untouched), kStatusEndOfFile);
    EXPECT_EQ(untouched.information, 77u);  // left alone on a failure
    EXPECT_EQ(read(sparse, -1, sizeof out, b), kStatusInvalidParameter);
    EXPECT_EQ(read(sparse, 0, 31, b), kStatusBufferTooSmall);
    Va().Close(sparse);
  }
  // A small file kept inside its record and an empty file: end of file.
  const FsHandle small = Va().OpenFileForMoving(L"N:\\many\\small-0.txt");
  ASSERT_NE(small, kInvalidHandle);
  EXPECT_EQ(read(small, 0, sizeof out, block), kStatusEndOfFile);
  Va().Close(small);
  // A folder opens only with backup semantics.
  EXPECT_EQ(Va().OpenFileForMoving(L"N:\\many"), kInvalidHandle);
  EXPECT_EQ(Va().LastError(), kErrorAccessDenied);
  Va().Close(log);
}

TEST_F(NtfsVolumeTest, CompressedFilesReadInUnitsOfSixteenClusters) {
  Make(4, 1);
  OpenVolume(false);
  const FsHandle packed = Va().OpenFileForMoving(L"N:\\packed\\notes.txt");
  ASSERT_NE(packed, kInvalidHandle);
  alignas(8) uint8_t out[kSharedBufferLength];
  IoStatusBlock block{};
  int64_t vcn = 0;
  ASSERT_EQ(Va().GetRetrievalPointers(packed, block, &vcn, 8, out, sizeof out), kStatusSuccess);
  RetrievalPointersHeader header;
  std::memcpy(&header, out, sizeof header);
  bool saved = false;
  for (uint32_t i = 0; i < header.extentCount; ++i) {
    RetrievalExtent e;
    std::memcpy(&e, out + 16 + 16 * i, sizeof e);
    // Every hole ends a compression unit.
    if (e.lcn == -1) {
      saved = true;
      EXPECT_EQ(e.nextVcn % 16, 0) << i;
    }
  }
  EXPECT_TRUE(saved);
  Va().Close(packed);
}

TEST_F(NtfsVolumeTest, BitmapKeepsTheRecordRules) {
  Make(5, 0);
  OpenVolume(false);
  FsHandle volume = Va().OpenVolume("\\\\.\\N:");
  ASSERT_NE(volume, kInvalidHandle);
  const int64_t clusters = int64_t(volume_->ClusterCount());
  alignas(8) uint8_t out[kSharedBufferLength];
  IoStatusBlock block{};
  int64_t lcn = 13;
  ASSERT_EQ(Va().GetVolumeBitmap(volume, block, &lcn, 8, out, 40), kStatusBufferOverflow);
  VolumeBitmapHeader header;
  std::memcpy(&header, out, sizeof header);
  EXPECT_EQ(header.startingLcn, 8);
  EXPECT_EQ(header.bitmapSize, clusters - 8);  // to the end even on overflow
  EXPECT_EQ(block.information, 40u);
  EXPECT_EQ(out[16] & 1, 1);  // the boot sector's clusters are in use
  lcn = clusters - 3;
  ASSERT_EQ(Va().GetVolumeBitmap(volume, block, &lcn, 8, out, sizeof out), kStatusSuccess);
  std::memcpy(&header, out, sizeof header);
  EXPECT_EQ(header.bitmapSize, clusters - header.startingLcn);
  // Bits past the end of the volume read as in use.
  const int64_t valid = header.bitmapSize;
  EXPECT_EQ(out[16 + (valid - 1) / 8] | uint8_t((1u << (valid % 8 ? valid % 8 : 8)) - 1), 0xFF);
  lcn = clusters;
  EXPECT_EQ(Va().GetVolumeBitmap(volume, block, &lcn, 8, out, sizeof out), kStatusInvalidParameter);
  lcn = 0;
  EXPECT_EQ(Va().GetVolumeBitmap(volume, block, &lcn, 8, out, 23), kStatusBufferTooSmall);
  EXPECT_EQ(Va().OpenVolume("\\\\.\\C:"), kInvalidHandle);
  Va().Close(volume);
}

TEST_F(NtfsVolumeTest, DefragmentedFilesAreOneRunWhereTheEngineChoseAndNothingElseChanges) {
  for (uint32_t seed : {6u, 7u}) {
    SCOPED_TRACE(seed);
    Make(seed, 1);
    const auto before = IcatHashes(image_, filled_.files);
    OpenVolume(true);
    gEngine.flags = seed % 2 ? kSmartStrategy : 0;
    std::map<std::string, int64_t> chosen;
    for (const std::string& path : filled_.files) {
      FileAnalysis counts;
      DefragmentFile(EnginePath(path), &counts);
      if (gEngine.moveResultCode.empty()) {
        chosen[path] = gEngine.moveJob.targetLcn;
      } else {
        EXPECT_TRUE(gEngine.moveResultCode == kMoveAlreadyContiguous || gEngine.moveResultCode == kMoveNoFreeRun)
            << path << ": " << WideToUtf8(gEngine.moveResultCode);
      }
    }
    EXPECT_GE(chosen.size(), 5u);
    CloseVolume();
    for (const auto& [path, target] : chosen) {
      std::vector<PhysicalRun> runs;
      ASSERT_TRUE(IstatRuns(image_, path, runs));
      ASSERT_FALSE(runs.empty()) << path;
      EXPECT_EQ(runs.size(), 1u) << path;
      EXPECT_EQ(runs[0].lcn, target) << path;
    }
    ExpectSound(before);
  }
}

TEST_F(NtfsVolumeTest, MovesTheVolumeCannotTakeAreRefused) {
  Make(8, 1);
  OpenVolume(true);
  const FsHandle volume = Va().OpenVolume("\\\\.\\N:");
  const FsHandle log = Va().OpenFileForMoving(L"N:\\Users\\ann\\a.log");
  const FsHandle mft = Va().OpenFileForMoving(L"N:\\$MFT");
  ASSERT_NE(log, kInvalidHandle);
  ASSERT_NE(mft, kInvalidHandle);
  auto move = [&](FsHandle file, int64_t vcn, int64_t target, uint32_t count) {
    MoveFileRecord record{uint64_t(file), vcn, target, count, 0};
    IoStatusBlock block{};
    return Va().MoveClusters(volume, block, &record, sizeof record);
  };
  const int64_t clusters = int64_t(volume_->ClusterCount());
  EXPECT_EQ(move(mft, 0, clusters / 2, 1), kStatusAccessDenied);
  EXPECT_EQ(move(log, 0, 0, 1), kStatusAlreadyCommitted);  // the boot sector's cluster
  EXPECT_EQ(move(log, 0, clusters - 1, 2), kStatusInvalidParameter);
  EXPECT_EQ(move(log, 798, clusters / 2, 2), kStatusInvalidParameter);
  EXPECT_EQ(move(log, 0, clusters / 2, 0), kStatusInvalidParameter);
  Va().Close(log);
  Va().Close(mft);
  Va().Close(volume);
  // Read-only: nothing is ever written.
  OpenVolume(false);
  const FsHandle readOnlyVolume = Va().OpenVolume("\\\\.\\N:");
  const FsHandle again = Va().OpenFileForMoving(L"N:\\Users\\ann\\a.log");
  MoveFileRecord record{uint64_t(again), 0, clusters / 2, 1, 0};
  IoStatusBlock block{};
  EXPECT_EQ(Va().MoveClusters(readOnlyVolume, block, &record, sizeof record), kStatusMediaWriteProtected);
}

TEST_F(NtfsVolumeTest, ARunKilledMidMoveLosesNoDataAndSharesNoCluster) {
  std::mt19937 random(9);
  for (int attempt = 0; attempt < 4; ++attempt) {
    SCOPED_TRACE(attempt);
    Make(10 + attempt, 1);
    const auto before = IcatHashes(image_, filled_.files);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      OpenVolume(true);
      for (int round = 0; round < 3; ++round) {
        for (const std::string& path : filled_.files) DefragmentFile(EnginePath(path), nullptr);
      }
      _exit(0);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20 + random() % 300));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(IcatHashes(image_, filled_.files), before);
    // Clusters claimed for a copy that was never taken over may stay in
    // use; nothing else may differ.
    std::string violations;
    for (const std::string& v : CheckBitmapAgainstOwners(image_)) {
      if (v.find("owned by nobody") == std::string::npos) violations += v + "\n";
    }
    EXPECT_EQ(violations, "");
  }
}

}  // namespace

namespace {

class NtfsCommandTest : public NtfsVolumeTest {
 protected:
  int Command(const std::string& arguments, std::string& output) {
    return RunCommand(std::string(ORDALIS_NTFS_PROGRAM) + " " + arguments, output);
  }
};

TEST_F(NtfsCommandTest, AnalysesAndDefragmentsWithTheUnattendedSummaryAndCodes) {
  Make(21, 1);
  const auto before = IcatHashes(image_, filled_.files);
  std::string output, imageBefore, imageAfter;
  RunCommand("sha256sum " + Quoted(image_), imageBefore);
  EXPECT_EQ(Command("--analyze " + Quoted(image_) + " /Users /data/sparse.img /missing", output), 0) << output;
  RunCommand("sha256sum " + Quoted(image_), imageAfter);
  EXPECT_EQ(imageAfter, imageBefore);  // an analysis writes nothing
  EXPECT_NE(output.find("Analyzed folder : /Users\nFolder is Fragmented"), std::string::npos) << output;
  EXPECT_NE(output.find("Analyzed file : /data/sparse.img\nFile is in "), std::string::npos) << output;
  EXPECT_NE(output.find("/missing could not be added"), std::string::npos) << output;
  EXPECT_EQ(Command("--defrag " + Quoted(image_) + " /Users /data /packed /many", output), 0) << output;
  EXPECT_NE(output.find("Number of files that were not defragmented due to processing errors : 0"),
            std::string::npos) << output;
  ExpectSound(before);
  EXPECT_EQ(Command("--analyze " + Quoted(image_) + " /Users/ann/b.log", output), 0);
  EXPECT_NE(output.find("File is in 1 fragments (Contiguous)"), std::string::npos) << output;
  EXPECT_EQ(Command("--analyze " + Quoted(image_) + " /missing", output), 5);
  EXPECT_EQ(Command("--analyze " + Quoted(image_), output), 6);
}

// A volume its own system must see first, or that something else holds, is
// refused before anything is written, by the command and the volume alike.
TEST_F(NtfsCommandTest, RefusesMarkedAndHeldVolumesAndWritesNothing) {
  struct Case {
    const char* name;
    std::function<bool(const std::string&)> mark;
    NtfsOpenFailure failure;
    const char* says;
  } cases[] = {
      {"dirty", MarkDirty, NtfsOpenFailure::Dirty, "disk check"},
      {"hibernated", MarkHibernated, NtfsOpenFailure::Hibernated, "hibernated"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Make(22, 0);
    ASSERT_TRUE(c.mark(image_));
    std::string output, hashBefore, hashAfter;
    RunCommand("sha256sum " + Quoted(image_), hashBefore);
    for (const char* mode : {"--analyze", "--defrag"}) {
      EXPECT_EQ(Command(std::string(mode) + " " + Quoted(image_) + " /Users", output), 7) << output;
      EXPECT_NE(output.find(c.says), std::string::npos) << output;
      EXPECT_NE(output.find("nothing was written"), std::string::npos) << output;
    }
    NtfsVolume volume;
    std::string message;
    EXPECT_EQ(volume.Open(image_, true, L'N', message), c.failure) << message;
    RunCommand("sha256sum " + Quoted(image_), hashAfter);
    EXPECT_EQ(hashBefore, hashAfter);
  }
  // Open in another run: the second opening for writing waits for none.
  Make(22, 0);
  NtfsVolume first, second;
  std::string message;
  ASSERT_EQ(first.Open(image_, true, L'N', message), NtfsOpenFailure::None) << message;
  EXPECT_EQ(second.Open(image_, false, L'N', message), NtfsOpenFailure::Mounted);
  EXPECT_NE(message.find("another run"), std::string::npos) << message;
  first.Unmount();
  EXPECT_EQ(second.Open(image_, false, L'N', message), NtfsOpenFailure::None) << message;
}

// An image attached to a loop device is refused whether the loop device is
// mounted or not, and so is the loop device itself while mounted.
TEST_F(NtfsCommandTest, RefusesAnImageBehindALoopDevice) {
  Make(23, 0);
  std::string output, loop;
  if (RunCommand("losetup -f --show " + Quoted(image_), loop) != 0) {
    GTEST_SKIP() << "loop devices cannot be attached here: " << loop;
  }
  loop.erase(loop.find_last_not_of("\n") + 1);
  const std::string mount = image_ + ".loop";
  struct Detach {
    std::string loop, mount;
    ~Detach() {
      std::string ignored;
      RunCommand("umount " + Quoted(mount), ignored);
      RunCommand("losetup -d " + Quoted(loop), ignored);
      RunCommand("rmdir " + Quoted(mount), ignored);
    }
  } detach{loop, mount};
  std::string hashBefore, hashAfter;
  RunCommand("sha256sum " + Quoted(image_), hashBefore);
  EXPECT_EQ(Command("--defrag " + Quoted(image_) + " /Users", output), 7) << output;
  EXPECT_NE(output.find("is attached to " + loop), std::string::npos) << output;

  RunCommand("mkdir -p " + Quoted(mount), output);
  if (RunCommand("ntfs-3g " + Quoted(loop) + " " + Quoted(mount), output) != 0) {
    GTEST_SKIP() << "ntfs-3g cannot mount " << loop << " here: " << output;
  }
  EXPECT_EQ(Command("--defrag " + Quoted(image_) + " /Users", output), 7) << output;
  EXPECT_NE(output.find("is mounted on " + mount + " through " + loop), std::string::npos) << output;
  EXPECT_EQ(Command("--analyze " + Quoted(loop) + " /Users", output), 7) << output;
  EXPECT_NE(output.find("mounted"), std::string::npos) << output;
  RunCommand("umount " + Quoted(mount), output);
  RunCommand("sha256sum " + Quoted(image_), hashAfter);
  EXPECT_EQ(hashBefore, hashAfter);
}

// A check that cannot be made refuses as a mount does: run in a mount
// namespace of its own where the system's lists are missing.
TEST_F(NtfsCommandTest, RefusesWhenItCannotCheckForMounts) {
  Make(25, 0);
  std::string output;
  if (RunCommand("unshare -m true", output) != 0) GTEST_SKIP() << "no mount namespaces here: " << output;
  const std::string program = std::string(ORDALIS_NTFS_PROGRAM) + " --analyze " + Quoted(image_) + " /Users";
  for (const char* hide : {"mount -t tmpfs none /sys && touch /sys/block", "mount -t tmpfs none /proc"}) {
    SCOPED_TRACE(hide);
    const int code = RunCommand("unshare -m sh -c " + Quoted(std::string(hide) + " && exec " + program), output);
    EXPECT_EQ(code, 7) << output;
    EXPECT_NE(output.find("could not be checked"), std::string::npos) << output;
  }
}

// A run list that points past the end of the volume is an error of that
// file, with the system's text, in the analysis and the defragmentation;
// the other files are processed as ever.
TEST_F(NtfsCommandTest, ARunOutsideTheVolumeIsAnErrorOfThatFile) {
  Make(24, 1);
  ASSERT_TRUE(PointRunOutside(image_, "/Users/ann/b.log"));
  std::string output;
  const std::string report = image_ + ".txt";
  EXPECT_EQ(Command("--analyze --report " + Quoted(report) + " " + Quoted(image_) + " /Users/ann/b.log /Users", output), 4)
      << output;
  EXPECT_NE(output.find("Analyzed file : /Users/ann/b.log\nAn error was encountered while processing the file"),
            std::string::npos) << output;
  std::string written;
  RunCommand("iconv -f UTF-16LE -t UTF-8 " + Quoted(report), written);
  std::remove(report.c_str());
  EXPECT_NE(written.find("The file or directory is corrupted and unreadable."), std::string::npos) << written;
  EXPECT_EQ(Command("--defrag " + Quoted(image_) + " /Users", output), 4) << output;
  EXPECT_NE(output.find("processing errors : 1"), std::string::npos) << output;
  OpenVolume(false);
  FileAnalysis analysis;
  EXPECT_EQ(AnalyseFile(EnginePath("/Users/ann/b.log"), analysis), 0);
  EXPECT_EQ(WideToUtf8(analysis.outcome), "The file or directory is corrupted and unreadable.\r\n");
}

}  // namespace

namespace {

// A tree written by ntfs-3g's own mount, as a user would: a volume filled,
// every other file deleted, large files with long names written into the
// gaps, a folder of thousands of entries.
TEST_F(NtfsCommandTest, ImagesWrittenThroughTheMountHoldEveryCheck) {
  std::string error, output;
  ASSERT_TRUE(MakeNtfsImage(image_, 128ull << 20, error)) << error;
  const std::string mount = image_ + ".mnt";
  RunCommand("mkdir -p " + Quoted(mount), output);
  if (RunCommand("ntfs-3g " + Quoted(image_) + " " + Quoted(mount), output) != 0) {
    GTEST_SKIP() << "ntfs-3g cannot mount here: " << output;
  }
  const std::string m = Quoted(mount);
  const std::string script =
      "set -e; mkdir " + m + "/fill " + m + "/thousands " + m + "/Users; "
      "for i in $(seq 1 1400); do head -c 65536 /dev/urandom > " + m + "/fill/f$i 2>/dev/null || break; done; "
      "for i in $(seq 2 2 1400); do rm -f " + m + "/fill/f$i; done; "
      "for k in 1 2 3 4 5 6 7 8; do for n in 1 2 3; do "
      "head -c 262144 /dev/urandom >> " + m + "/Users/\"a rather long file name for video number $n.mp4\"; done; done; "
      "for i in $(seq 1 3000); do echo \"entry $i\" > " + m + "/thousands/\"small file with a long name $i.txt\"; done; "
      "head -c 3000000 /dev/urandom > " + m + "/Users/été-résumé.bin";
  const int wrote = RunCommand("bash -c " + Quoted(script), output);
  // A mounted volume is refused, nothing written.
  std::string refused;
  EXPECT_EQ(Command("--analyze " + Quoted(image_) + " /Users", refused), 7) << refused;
  EXPECT_NE(refused.find("mounted"), std::string::npos) << refused;
  std::string sumsBefore, sumsAfter;
  RunCommand("cd " + m + " && find . -type f | sort | xargs -d '\\n' sha256sum", sumsBefore);
  ASSERT_EQ(RunCommand("umount " + m, output), 0) << output;
  ASSERT_EQ(wrote, 0) << output;

  filled_.files = {"/Users/été-résumé.bin"};
  for (int n = 1; n <= 3; ++n) {
    filled_.files.push_back("/Users/a rather long file name for video number " + std::to_string(n) + ".mp4");
  }
  for (int i = 1; i < 1400; i += 50) filled_.files.push_back("/fill/f" + std::to_string(i));
  for (int i = 1; i <= 3000; i += 500) {
    filled_.files.push_back("/thousands/small file with a long name " + std::to_string(i) + ".txt");
  }
  // The analysis counts what istat lists.
  int fragmented = 0;
  for (const std::string& path : filled_.files) {
    std::vector<PhysicalRun> runs;
    ASSERT_TRUE(IstatRuns(image_, path, runs)) << path;
    if (runs.empty()) continue;  // kept inside its record
    fragmented += runs.size() > 1;
    ASSERT_EQ(Command("--analyze " + Quoted(image_) + " " + Quoted(path), output), 0) << output;
    EXPECT_NE(output.find("File is in " + std::to_string(runs.size()) + " fragments"), std::string::npos)
        << path << "\n" << output;
  }
  EXPECT_GE(fragmented, 3);
  std::vector<PhysicalRun> folderRuns;
  ASSERT_TRUE(IstatRuns(image_, "/thousands", folderRuns));
  EXPECT_FALSE(folderRuns.empty());  // an index allocation of its own

  const auto before = IcatHashes(image_, filled_.files);
  EXPECT_EQ(Command("--analyze --defrag " + Quoted(image_) + " /", output), 0) << output;
  for (int n = 1; n <= 3; ++n) {
    std::vector<PhysicalRun> runs;
    IstatRuns(image_, filled_.files[size_t(n)], runs);
    EXPECT_EQ(runs.size(), 1u) << filled_.files[size_t(n)];
  }
  ExpectSound(before);
  // ntfs-3g mounts the result and reads every file as it was.
  ASSERT_EQ(RunCommand("ntfs-3g " + Quoted(image_) + " " + m, output), 0) << output;
  RunCommand("cd " + m + " && find . -type f | sort | xargs -d '\\n' sha256sum", sumsAfter);
  RunCommand("umount " + m, output);
  EXPECT_EQ(sumsAfter, sumsBefore);
  RunCommand("rmdir " + m, output);
}

}  // namespace

namespace {

// A volume with a file of 10,000 one-cluster pieces (its run list spread
// over many records through an attribute list) beside the random tree
// (a sparse file with an attribute list, a compressed one), stopped at
// chosen writes. After each stop, and after the next opening (which
// completes a switch the stop left half-done), every file reads as before,
// no cluster is owned twice or owned but free, and a stop after the first
// write leaves the volume marked for a disk check.
class NtfsStopTest : public NtfsCommandTest {
 protected:
  void TearDown() override {
    std::remove(original_.c_str());
    NtfsCommandTest::TearDown();
  }
  // With the file of 10,000 pieces, or the random tree alone on a smaller
  // volume (where its compressed file is in pieces).
  void Prepare(bool manyPieces = true) {
    Make(31, 1, manyPieces ? 384ull << 20 : 64ull << 20);
    if (manyPieces) {
      std::string error;
      ASSERT_TRUE(AddFragmentedFile(image_, "fragmented.bin", 10000, error)) << error;
      filled_.files.push_back("/fragmented.bin");
    }
    hashes_ = Hashes();
    original_ = image_ + ".original";
    Restore(image_, original_);
  }
  void Restore(const std::string& from, const std::string& to) {
    std::string output;
    ASSERT_EQ(RunCommand("cp --sparse=always " + Quoted(from) + " " + Quoted(to), output), 0) << output;
  }
  void Restore() { Restore(original_, image_); }
  // Through The Sleuth Kit's library, as icat reads them, without a process
  // per file.
  std::map<std::string, std::string> Hashes() {
    TskView view(image_);
    std::map<std::string, std::string> hashes;
    for (const std::string& file : filled_.files) hashes[file] = view.Hash(file);
    return hashes;
  }
  // True when the next opening completed a switch left half-done.
  bool ExpectIntact(const std::string& what) {
    SCOPED_TRACE(what);
    std::string output;
    // Refused while the mark is there, but a switch left half-done is
    // completed first.
    Command("--defrag " + Quoted(image_) + " /Users/ann/a.log", output);
    const bool completed = output.find("now completed") != std::string::npos;
    EXPECT_EQ(Hashes(), hashes_);
    std::string violations;
    for (const std::string& v : CheckBitmapAgainstOwners(image_)) {
      if (v.find("owned by nobody") == std::string::npos) violations += v + "\n";
    }
    EXPECT_EQ(violations, "");
    RunCommand("ntfsresize --info --force --no-action " + Quoted(image_), output);
    EXPECT_EQ(output.find("multiple"), std::string::npos) << output;
    EXPECT_EQ(output.find("missing"), std::string::npos) << output;
    return completed;
  }
  std::string original_;
  std::map<std::string, std::string> hashes_;
};

// The writes of a run, counted per thread as the tracer counts them: a kill
// at the n-th write of either thread.
TEST_F(NtfsStopTest, KilledAtTheNthWriteOfAMoveLosesNothingAndLeavesTheMark) {
  int points = 0, completed = 0;
  for (const std::string path : {"/fragmented.bin", "/Users/ann/a.log", "/packed/notes.txt"}) {
    if (path != "/packed/notes.txt") Prepare(path == "/fragmented.bin");
    const std::string run = std::string(ORDALIS_NTFS_PROGRAM) + " --defrag " + Quoted(image_) + " " + Quoted(path);
    std::string output;
    Restore();
    const std::string trace = image_ + ".trace";
    ASSERT_EQ(RunCommand("strace -f -q -o " + Quoted(trace) + " -e trace=pwrite64 " + run, output), 0) << output;
    // The most writes of one thread.
    RunCommand("awk '/pwrite64/ {n[$1]++} END {m = 0; for (t in n) if (n[t] > m) m = n[t]; print m}' " +
                   Quoted(trace), output);
    std::remove(trace.c_str());
    const int writes = std::atoi(output.c_str());
    ASSERT_GT(writes, 10) << path;
    ExpectIntact(path + " moved");
    // Every write in the long run of the benchmarks; every third here.
    for (int n = 1; n <= writes; n += 3) {
      Restore();
      const int status = RunCommand("strace -f -q -o /dev/null -e trace=pwrite64 -e inject=pwrite64:signal=KILL:when=" +
                                        std::to_string(n) + " " + run,
                                    output);
      // The first two writes are the mark itself (its record, then the
      // record's mirror, which the library insists matches).
      if (status != 0 && n > 2) {
        EXPECT_TRUE(MarkedDirty(image_)) << path << " killed at write " << n;
      }
      points += status != 0;
      completed += ExpectIntact(path + " killed at write " + std::to_string(n));
    }
  }
  EXPECT_GE(points, 20);
  EXPECT_GE(completed, 1);  // some kills fell while a switch reached its places
}

// A device whose n-th write fails: the move is refused, the file as it was,
// and a volume left in doubt keeps its mark.
TEST_F(NtfsStopTest, AWriteThatFailsLosesNothing) {
  Prepare();
  int refused = 0;
  for (uint64_t n = 1; n <= 31; n += 3) {
    Restore();
    OpenVolume(true);
    SwitchJournal::FailWrite(n);
    FileAnalysis counts;
    DefragmentFile(EnginePath("/fragmented.bin"), &counts);
    refused += !gEngine.moveResultCode.empty();
    SwitchJournal::FailWrite(0);
    const bool closed = volume_->Unmount();
    CloseVolume();
    // Closed cleanly only when nothing was left in doubt.
    EXPECT_EQ(MarkedDirty(image_), !closed) << n;
    ExpectIntact("write " + std::to_string(n) + " failed");
  }
  EXPECT_GE(refused, 5);
}

}  // namespace

namespace {

// Ctrl-C during the first move: that file is finished, the run stops with
// its summary and code 3, and the volume is closed cleanly, without the mark.
TEST_F(NtfsStopTest, AnInterruptFinishesTheFileAndStopsCleanly) {
  Prepare(false);
  std::string output;
  const int status = RunCommand("strace -f -q -o /dev/null -e trace=pwrite64 -e inject=pwrite64:signal=INT:when=3 " +
                                    std::string(ORDALIS_NTFS_PROGRAM) + " --defrag " + Quoted(image_) + " /",
                                output);
  EXPECT_EQ(status, 3) << output;
  EXPECT_NE(output.find("Number of defragmented files : 1\n"), std::string::npos) << output;
  EXPECT_FALSE(MarkedDirty(image_));
  ExpectIntact("interrupted");
  EXPECT_TRUE(NtfsfixClean(image_, output)) << output;
}

}  // namespace
