// Random volumes, random fragmentation, random sets of files to defragment,
// some runs killed in the middle of a move; every check after each volume:
// contents as before, every moved file one run where the engine chose, no
// cluster owned twice or owned but free. ORDALIS_NTFS_SOAK_VOLUMES sets how
// many volumes: 100 by default, sized for every test run; a long run asks for
// more, e.g. ORDALIS_NTFS_SOAK_VOLUMES=1000 build/native/tests/engine/engine_ntfs_soak
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <random>

#include "NtfsTestSupport.h"

namespace {

TEST_F(NtfsVolumeTest, RandomVolumesStaySoundUnderRandomDefragmentations) {
  const char* wanted = std::getenv("ORDALIS_NTFS_SOAK_VOLUMES");
  const int volumes = wanted != nullptr ? std::atoi(wanted) : 100;
  std::mt19937 random(2026);
  int killed = 0, moved = 0;
  for (int v = 0; v < volumes && !HasFailure(); ++v) {
    const uint32_t seed = 1000 + uint32_t(v);
    SCOPED_TRACE("volume " + std::to_string(v) + " seed " + std::to_string(seed));
    const uint64_t bytes = (64ull << 20) << (random() % 4);
    Make(seed, random() % 4 == 0 ? 1 : 0, bytes);
    const auto before = Hashes();
    std::vector<std::string> chosen;
    for (const std::string& path : filled_.files) {
      if (random() % 3 != 0) chosen.push_back(path);
    }
    const bool smart = random() % 2 == 0;
    const bool kill = random() % 5 == 0;
    std::map<std::string, int64_t> targets;
    if (kill) {
      const pid_t child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        OpenVolume(true);
        gEngine.flags = smart ? kSmartStrategy : 0;
        for (int round = 0; round < 4; ++round) {
          for (const std::string& path : chosen) DefragmentFile(ui_, EnginePath(path), nullptr);
        }
        _exit(0);
      }
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 200000));
      ::kill(child, SIGKILL);
      int status = 0;
      waitpid(child, &status, 0);
      ++killed;
    } else {
      OpenVolume(true);
      gEngine.flags = smart ? kSmartStrategy : 0;
      for (const std::string& path : chosen) {
        DefragmentFile(ui_, EnginePath(path), nullptr);
        if (gEngine.moveResultCode.empty()) {
          targets[path] = gEngine.moveJob.targetLcn;
        } else {
          ASSERT_TRUE(gEngine.moveResultCode == kMoveAlreadyContiguous || gEngine.moveResultCode == kMoveNoFreeRun)
              << path << ": " << WideToUtf8(gEngine.moveResultCode);
        }
      }
      CloseVolume();
      moved += int(targets.size());
    }
    EXPECT_EQ(Hashes(), before);
    {
      TskView view(image_);
      for (const auto& [path, target] : targets) {
        std::vector<PhysicalRun> runs;
        ASSERT_TRUE(view.Runs(path, runs));
        // Compressed and sparse files too: their holes aside, one run.
        ASSERT_EQ(runs.size(), 1u) << path;
        EXPECT_EQ(runs[0].lcn, target) << path;
      }
    }
    if (kill) {
      ExpectIntact(before, "killed");
    } else {
      EXPECT_EQ(Violations(), "");
      std::string output;
      EXPECT_TRUE(NtfsfixClean(image_, output)) << output;
    }
    // ntfs-3g's own mount opens the result and reads every file (after a
    // kill, once the next opening has completed the switch it interrupted).
    if (v % 10 == 0) {
      EXPECT_EQ(ReadThroughMount(), "");
    }
  }
  std::printf("%d volumes, %d killed mid-run, %d files moved and checked\n", volumes, killed, moved);
  EXPECT_GE(moved, volumes);
}

}  // namespace
