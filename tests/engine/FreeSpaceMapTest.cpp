// Whole runs of relocations on random volumes, each played twice from the
// same start: once searched through the free-space map, once by the
// per-file scan of the bitmap, its reference. Every outcome and every file's
// runs must be the same.
#include "engine/FreeSpaceMap.h"

#include <chrono>
#include <cstdio>
#include <random>

#include "EngineTestSupport.h"

namespace {

#ifdef _WIN32
constexpr int kVolumes = 120;
constexpr int kManyMoves = 200;
#else
constexpr int kVolumes = 2000;
constexpr int kManyMoves = 1500;
#endif

// One relocation of a scenario.
struct Step {
  std::wstring path;
  bool smart = false;
  bool checkpointAfter = false;
  bool takeDuring = false;  // another program takes clusters during the move
};

struct Scenario {
  std::string description;
  std::vector<Step> steps;
};

// Up to `count` reserved stretches of 1..`longest` clusters at random free
// spots of `used`.
std::string RandomReserves(std::mt19937_64& random, std::vector<bool>& used, int count, uint64_t longest) {
  std::string lines;
  for (int r = 0; r < count; ++r) {
    int64_t lcn;
    const uint64_t length = 1 + random() % longest;
    if (PlaceRandomRun(random, used, length, lcn)) {
      lines += "reserve " + std::to_string(lcn) + " " + std::to_string(length) + "\n";
    }
  }
  return lines;
}

// Up to `pieces` runs of 1..`longest` clusters at random free spots of
// `used`, as a file's runs are described, with a hole after some when
// `holes`; `vcns` receives the clusters they span, holes included.
std::string RandomRuns(std::mt19937_64& random, std::vector<bool>& used, int pieces, uint64_t longest, bool holes,
                       uint64_t& vcns) {
  std::string runs;
  vcns = 0;
  for (int r = 0; r < pieces; ++r) {
    int64_t lcn;
    const uint64_t count = 1 + random() % longest;
    if (!PlaceRandomRun(random, used, count, lcn)) break;
    runs += (runs.empty() ? "" : ",") + std::to_string(lcn) + ":" + std::to_string(count);
    vcns += count;
    if (holes && random() % 100 < 40) {
      const uint64_t hole = 1 + random() % 16;
      runs += ",*:" + std::to_string(hole);
      vcns += hole;
    }
  }
  return runs;
}

// Whatever the strategy, the volume's ways (checkpoints, partial moves,
// pending answers, bitmap rounding), compressed files, faults, refused
// targets and clusters taken under the run's feet.
Scenario RandomScenario(std::mt19937_64& random) {
  auto chance = [&](int percent) { return int(random() % 100) < percent; };
  Scenario s;
  const uint64_t clusters = 64 + random() % (chance(20) ? 150000 : 6000);
  std::vector<bool> used(clusters, false);
  // A granularity of 3 does not divide a chunk: the map leaves such a
  // volume to the scan.
  const uint32_t aligns[] = {1, 3, 64};
  char line[256];
  std::snprintf(line, sizeof line,
                "volume letter=Z clusters=%llu checkpoint=%s partialMoves=%s moveChunk=%u pending=%s "
                "bitmapAlign=%u inUseStatus=%s\n",
                static_cast<unsigned long long>(clusters), chance(40) ? "on" : "off",
                chance(30) ? "on" : "off", 1u << (random() % 6), chance(10) ? "on" : "off",
                chance(85) ? 8u : aligns[random() % 3], chance(50) ? "0xC0000021" : "0xC000000D");
  s.description = line;
  // Crumbled free space: many small reserved stretches.
  s.description += RandomReserves(random, used, int(random() % 200), 40);
  const int files = 2 + int(random() % 8);
  for (int f = 0; f < files; ++f) {
    Step step;
    step.path = L"Z:\\f" + std::to_wstring(f);
    const bool compressed = chance(10);
    const int pieces = 1 + int(random() % (chance(5) ? 400 : 10));
    uint64_t vcns = 0;
    const std::string runs = RandomRuns(random, used, pieces, chance(20) ? 200 : 20, compressed || chance(10), vcns);
    const std::string shape = runs.empty() ? (chance(50) ? "size=300 resident" : "size=0")
                                           : "size=" + std::to_string(vcns * 4096 - random() % 4096) +
                                                 " runs=" + runs + (compressed ? " compressed" : "");
    s.description += "file \"" + WideToUtf8(step.path) + "\" " + shape + "\n";
    if (chance(20)) {
      const char* controls[] = {"move", "move", "pointers", "open"};
      const char* statuses[] = {"0xC0000021", "0xC0000022", "0xC000000D", "0xC0000043", "0xC0001234"};
      const std::string control = controls[random() % 4];
      std::string text = "fault \"" + WideToUtf8(step.path) + "\" control=" + control;
      if (chance(50)) text += " call=" + std::to_string(1 + random() % 4);
      if (control == "move" && chance(30)) {
        text += " partial=" + std::to_string(1 + random() % 8);
      } else {
        if (chance(30)) text += " pending";
        text += std::string(" status=") + statuses[random() % 5];
      }
      s.description += text + "\n";
    }
    step.smart = chance(50);
    step.checkpointAfter = chance(30);
    s.steps.push_back(step);
  }
  for (const char* control : {"bitmap", "volume"}) {
    if (chance(3)) s.description += std::string("fault \"Z:\" control=") + control + " call=1 status=0xC0000022\n";
  }
  // Each file is relocated twice in a row now and then: the second finds
  // it contiguous, or finds the space its first move left.
  for (size_t i = 0, count = s.steps.size(); i < count; ++i) {
    if (!chance(20)) continue;
    Step again = s.steps[i];
    again.smart = !again.smart;
    again.checkpointAfter = chance(50);
    s.steps.push_back(again);
  }
  for (Step& step : s.steps) step.takeDuring = chance(10);
  return s;
}

struct Outcome {
  std::vector<std::wstring> codes;
  std::vector<std::vector<SimRun>> runsAfter;
  std::vector<SimFile> files;
  bool operator==(const Outcome&) const = default;
};

class FreeSpaceMapRunTest : public SimTest {
 protected:
  void TearDown() override {
    gPerFileScan = false;
    gFreeSpaceMap.SetBudget(FreeSpaceMap::kDefaultBudget);
    SimTest::TearDown();
  }

  // The map's reads so far after each file; the map's runs checked against
  // the volume's after each file (a walk over every cluster).
  std::vector<uint64_t> readsAfter_;
  bool checkRuns_ = true;

  Outcome Play(const Scenario& s, bool perFileScan) {
    ResetAll();
    readsAfter_.clear();
    // The description written out and read back is the same volume.
    Volume(WriteSimDescription(Volume(s.description)));
    gPerFileScan = perFileScan;
    Outcome out;
    for (const Step& step : s.steps) {
      // Another program takes clusters while the first extent moves: the
      // next extent's target, if it was free.
      bool taken = false;
      ui_.onProgress = [&](uint64_t position) {
        if (!step.takeDuring || position != 2 || taken) return;
        taken = true;
        const int64_t target = gEngine.moveJob.targetLcn + int64_t(gExtentList.Head()->clusterCount);
        std::string error;
        volume().Reserve(target, 1, error);
      };
      gEngine.flags = step.smart ? kSmartStrategy : 0;
      DefragmentFile(ui_, step.path, nullptr);
      ui_.onProgress = [](uint64_t) {};
      EXPECT_TRUE(Clean()) << "after " << WideToUtf8(step.path);
      readsAfter_.push_back(gFreeSpaceMap.BitmapReads());
      if (checkRuns_ && !perFileScan && gFreeSpaceMap.Regular() &&
          gFreeSpaceMap.ReadFor(gVolumeCache.handle, gVolumeCache.generation)) {
        // What a checkpoint freed is read before the next search; read it now.
        std::wstring message;
        EXPECT_EQ(gFreeSpaceMap.RefreshHeld(ui_, gVolumeCache.handle, message), 1);
        // Under its budget the map keeps every run at least as long as its
        // threshold, and maybe a few shorter ones.
        auto longOnes = [](std::vector<FreeSpaceMap::Run> runs) {
          std::erase_if(runs, [](const auto& run) { return run.length < gFreeSpaceMap.Threshold(); });
          return runs;
        };
        EXPECT_EQ(longOnes(gFreeSpaceMap.Runs()), longOnes(FreeRuns())) << "the map after " << WideToUtf8(step.path);
      }
      out.codes.push_back(gEngine.moveResultCode);
      out.runsAfter.push_back(volume().FindFile(step.path)->runs);
      if (step.checkpointAfter) volume().Checkpoint();
    }
    out.files = volume().Files();
    return out;
  }

  // Plays the scenario both ways; the number of files moved.
  int PlayBothWays(const Scenario& s) {
    const Outcome mapped = Play(s, false);
    mappedReads_ = readsAfter_;
    mappedHeld_ = gFreeSpaceMap.HeldRanges();
    mappedThreshold_ = gFreeSpaceMap.Threshold();
    const Outcome scanned = Play(s, true);
    int moved = 0;
    for (size_t i = 0; i < mapped.codes.size() && !HasFailure(); ++i) {
      EXPECT_EQ(WideToUtf8(mapped.codes[i]), WideToUtf8(scanned.codes[i])) << "file " << i;
      EXPECT_EQ(mapped.runsAfter[i], scanned.runsAfter[i]) << "file " << i;
      moved += mapped.codes[i].empty();
    }
    EXPECT_TRUE(mapped == scanned);
    return moved;
  }
  std::vector<uint64_t> mappedReads_;
  uint64_t mappedHeld_ = 0;
  uint64_t mappedThreshold_ = 1;
};

TEST_F(FreeSpaceMapRunTest, EveryPlacementIsTheScansOverRandomRuns) {
  std::mt19937_64 random(2024);
  const auto started = std::chrono::steady_clock::now();
  uint64_t relocations = 0, moved = 0;
  int shed = 0;
  for (int v = 0; v < kVolumes && !HasFailure(); ++v) {
    const Scenario s = RandomScenario(random);
    SCOPED_TRACE(s.description);
    // Every third volume with a budget too small for all of its free runs:
    // the map keeps only the long ones and leaves shorter searches to the
    // scan.
    const uint64_t budget = v % 3 == 2 ? (2 + random() % 40) << 10 : FreeSpaceMap::kDefaultBudget;
    SCOPED_TRACE("budget " + std::to_string(budget));
    gFreeSpaceMap.SetBudget(budget);
    moved += uint64_t(PlayBothWays(s));
    shed += mappedThreshold_ > 1;
    relocations += s.steps.size();
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::printf("differential: %d volumes (%d over their budget), %llu relocations each way (%llu moved) in %.1f s\n",
              kVolumes, shed, static_cast<unsigned long long>(relocations), static_cast<unsigned long long>(moved),
              seconds);
  EXPECT_GT(shed, 0);
}

// A volume that never frees what the moves leave (no checkpoint comes):
// many moves in a row, every placement still the scan's, and the bitmap
// reads per move do not grow with the moves made before.
TEST_F(FreeSpaceMapRunTest, ManyMovesOnAVolumeThatNeverFreesWhatTheyLeave) {
  std::mt19937_64 random(77);
  const uint64_t clusters = 200000;
  std::vector<bool> used(clusters, false);
  Scenario s;
  s.description = "volume letter=Z clusters=" + std::to_string(clusters) + " checkpoint=on\n";
  s.description += RandomReserves(random, used, 3000, 60);
  for (int f = 0; f < kManyMoves; ++f) {
    Step step;
    step.path = L"Z:\\m" + std::to_wstring(f);
    step.smart = f % 2 == 0;
    uint64_t vcns = 0;
    const std::string runs = RandomRuns(random, used, 2 + int(random() % 3), 12, false, vcns);
    if (runs.empty()) continue;
    s.description +=
        "file \"" + WideToUtf8(step.path) + "\" size=" + std::to_string(vcns * 4096) + " runs=" + runs + "\n";
    s.steps.push_back(step);
  }
  checkRuns_ = false;
  const int moved = PlayBothWays(s);
  EXPECT_GT(moved, kManyMoves * 9 / 10);
  // Everything the moves left is still held, and awaited.
  EXPECT_GE(mappedHeld_, uint64_t(moved) * 2);
  // A few chunks read per move (the target, the clusters left, the oldest
  // range still held), as many for the last moves as for the first.
  const std::vector<uint64_t>& reads = mappedReads_;
  const size_t n = reads.size();
  const uint64_t firstQuarter = reads[n / 4] - reads[0];
  const uint64_t lastQuarter = reads[n - 1] - reads[n - 1 - n / 4];
  EXPECT_LE(lastQuarter, firstQuarter + firstQuarter / 4)
      << "bitmap reads: " << firstQuarter << " for the first quarter of the files, " << lastQuarter
      << " for the last";
  EXPECT_LE(lastQuarter, 16 * (n / 4)) << lastQuarter << " bitmap reads for " << n / 4 << " files";
}

}  // namespace
