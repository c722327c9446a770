// The free-space map against the per-file scan of the bitmap, its reference:
// every answer must be the scan's, on layouts made to hit the scan's quirks,
// after changes read back into the map, and over whole sequences of
// relocations on random volumes.
#include "engine/FreeSpaceMap.h"

#include <chrono>
#include <cstdio>
#include <random>

#include "EngineTestSupport.h"

namespace {

#ifdef _WIN32
constexpr int kLayouts = 40;
constexpr int kVolumes = 120;
constexpr int kManyMoves = 200;
#else
constexpr int kLayouts = 600;
constexpr int kVolumes = 2000;
constexpr int kManyMoves = 1500;
#endif

class FreeSpaceMapTest : public SimTest {
 protected:
  void TearDown() override {
    gPerFileScan = false;
    SimTest::TearDown();
  }

  FsHandle Build(uint64_t clusters, const std::vector<SimRun>& used, uint32_t align = 8) {
    handle_ = BuildVolume(clusters, used, "bitmapAlign=" + std::to_string(align));
    std::wstring message;
    EXPECT_EQ(map_.Read(ui_, handle_, 1, message), 1);
    return handle_;
  }

  // The map's answers equal the scan's for these sizes, both strategies.
  ::testing::AssertionResult SameAnswers(const std::vector<uint64_t>& sizes) {
    for (uint64_t needed : sizes) {
      if (needed == 0) continue;
      for (bool smart : {false, true}) {
        int64_t scanned = 0;
        std::wstring message;
        FindFreeRun(ui_, handle_, needed, smart, scanned, message);
        const int64_t mapped = map_.Find(needed, smart);
        if (mapped != scanned) {
          return ::testing::AssertionFailure() << "needed " << needed << (smart ? " smart" : " quick")
                                               << ": map " << mapped << ", scan " << scanned;
        }
      }
    }
    return ::testing::AssertionSuccess();
  }

  std::vector<uint64_t> Sizes(std::mt19937_64& random) {
    uint64_t largest = 0;
    for (const auto& run : map_.Runs()) largest = std::max(largest, run.length);
    return {1, 2, 3, 5, 8, largest / 2, largest, largest + 1, largest + 2, 1 + random() % 300};
  }

  FreeSpaceMap map_;
  FsHandle handle_ = 0;
};

// Used and free stretches of random lengths; now and then the first free run
// starts exactly at the byte count of the first bitmap read, where the scan
// carries a run over one used cluster.
std::vector<SimRun> RandomUsed(std::mt19937_64& random, uint64_t clusters) {
  std::vector<SimRun> used;
  const uint64_t meanRun = 1 + random() % 200;
  uint64_t at = 0;
  if (random() % 3 == 0) {
    const uint64_t bytes = 16 + std::min<uint64_t>(4096, (clusters + 7) / 8);
    if (bytes + 4 < clusters) {
      used.push_back({0, bytes});
      at = bytes + 1 + random() % 4;
      const uint64_t gap = 1 + random() % 3;
      used.push_back({int64_t(at), std::min(gap, clusters - at)});
      at += gap + random() % 6;
    }
  }
  bool isUsed = random() % 2;
  while (at < clusters) {
    const uint64_t length = std::min<uint64_t>(1 + random() % (2 * meanRun), clusters - at);
    if (isUsed) used.push_back({int64_t(at), length});
    at += length;
    isUsed = !isUsed;
  }
  return used;
}

TEST_F(FreeSpaceMapTest, AnswersAsTheScanOnQuirkyLayouts) {
  // The scan's guard: a run starting at 4,112 (a full first read), or at
  // 16 + 2,500 on a volume of 20,000 clusters, is carried over one used
  // cluster; one starting there and reaching the end of a chunk is carried
  // into the next read, and one reaching the end of the volume is lost.
  struct Case {
    uint64_t clusters;
    std::vector<SimRun> used;
  };
  const Case cases[] = {
      {32768, {{0, 4112}, {4115, 1}, {4121, 32768 - 4121}}},
      {32768, {{0, 4113}, {4116, 1}, {4122, 32768 - 4122}}},
      {20000, {{0, 2516}, {2519, 1}, {2530, 20000 - 2530}}},
      {20000, {{0, 2516}}},
      {100000, {{0, 4112}}},
      {100000, {{0, 4112}, {40000, 1}, {40010, 2}}},
      {100000, {{0, 4112}, {32768, 1}, {32770, 1}, {70000, 3}}},
      {100000, {{0, 4112}, {32767, 2}, {65536, 1}}},
      {70000, {{0, 32760}, {32776, 70000 - 32776}}},
      {98304, {{0, 1}, {65535, 2}}},
      {50000, {{0, 50000}}},
      {50000, {}},
  };
  std::mt19937_64 random(3);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.clusters);
    Build(c.clusters, c.used);
    EXPECT_TRUE(SameAnswers(Sizes(random)));
  }
}

// Clusters taken and given back, read into the map each time, in the quirky
// start of the volume as anywhere else.
TEST_F(FreeSpaceMapTest, ChangesReadBackKeepTheAnswersTheScans) {
  std::mt19937_64 random(11);
  for (int layout = 0; layout < kLayouts; ++layout) {
    const uint64_t clusters = 1 + random() % (random() % 4 == 0 ? 200000 : 9000);
    SCOPED_TRACE("layout " + std::to_string(layout) + ", " + std::to_string(clusters) + " clusters");
    Build(clusters, RandomUsed(random, clusters));
    ASSERT_TRUE(SameAnswers(Sizes(random)));
    for (int change = 0; change < 6; ++change) {
      // Take a few free ranges (held: given back by the checkpoint).
      std::vector<ClusterRun> taken;
      const auto runs = map_.Runs();
      for (int i = 0; i < 3 && !runs.empty(); ++i) {
        const auto& run = runs[random() % runs.size()];
        const uint64_t offset = random() % run.length;
        const uint64_t count = 1 + random() % (run.length - offset);
        std::string error;
        if (volume().Hold(run.start + int64_t(offset), count, error)) {
          taken.push_back({run.start + int64_t(offset), count});
        }
      }
      std::wstring message;
      ASSERT_EQ(map_.Refresh(ui_, handle_, taken, message), 1);
      ASSERT_TRUE(SameAnswers(Sizes(random))) << "after taking";
      volume().Checkpoint();
      ASSERT_EQ(map_.Refresh(ui_, handle_, taken, message), 1);
      ASSERT_TRUE(SameAnswers(Sizes(random))) << "after giving back";
    }
  }
}

TEST_F(FreeSpaceMapTest, AVolumeThatRoundsReadsOddlyIsLeftToTheScan) {
  Build(70000, {{0, 100}}, 3);
  EXPECT_FALSE(map_.Regular());
  int64_t lcn = 0;
  std::wstring message;
  EXPECT_EQ(SearchFreeRun(ui_, handle_, 10, false, lcn, message), 1);
  EXPECT_EQ(lcn, 100);
}

// Random volumes, each defragmented file by file twice from the same start:
// once searched through the map, once by the per-file scan. Every outcome and
// every file's runs must be the same, whatever the strategy, the volume's
// ways (checkpoints, partial moves, pending answers, bitmap rounding),
// compressed files, faults, refused targets and clusters taken under the
// run's feet; and after each relocation the checker passes and no failure
// reads as moved.
struct Scenario {
  std::string description;
  std::vector<std::wstring> paths;
  std::vector<bool> smart;
  std::vector<bool> checkpointAfter;
  std::vector<int> takeDuring;  // file whose move sees clusters taken, -1 none
  std::vector<bool> faulted;
  std::vector<bool> neverOpens;  // every open of the file fails
  bool volumeFaulted = false;    // the bitmap or the volume open fails once
};

Scenario RandomScenario(std::mt19937_64& random) {
  auto chance = [&](int percent) { return int(random() % 100) < percent; };
  Scenario s;
  const uint64_t clusters = 64 + random() % (chance(20) ? 150000 : 6000);
  std::vector<bool> used(clusters, false);
  const uint32_t aligns[] = {1, 64};
  char line[256];
  std::snprintf(line, sizeof line,
                "volume letter=Z clusters=%llu checkpoint=%s partialMoves=%s moveChunk=%u pending=%s "
                "bitmapAlign=%u inUseStatus=%s\n",
                static_cast<unsigned long long>(clusters), chance(40) ? "on" : "off",
                chance(30) ? "on" : "off", 1u << (random() % 6), chance(10) ? "on" : "off",
                chance(85) ? 8u : aligns[random() % 2], chance(50) ? "0xC0000021" : "0xC000000D");
  s.description = line;
  auto place = [&](uint64_t count, int64_t& lcn) { return PlaceRandomRun(random, used, count, lcn); };
  // Crumbled free space: many small reserved stretches.
  for (int r = int(random() % 200); r > 0; --r) {
    int64_t lcn;
    const uint64_t count = 1 + random() % 40;
    if (place(count, lcn)) {
      s.description += "reserve " + std::to_string(lcn) + " " + std::to_string(count) + "\n";
    }
  }
  const int files = 2 + int(random() % 8);
  for (int f = 0; f < files; ++f) {
    const std::wstring path = L"Z:\\f" + std::to_wstring(f);
    std::string runs;
    uint64_t vcns = 0;
    const bool compressed = chance(10);
    const bool holes = compressed || chance(10);
    for (int r = 1 + int(random() % (chance(5) ? 400 : 10)); r > 0; --r) {
      int64_t lcn;
      const uint64_t count = 1 + random() % (chance(20) ? 200 : 20);
      if (!place(count, lcn)) break;
      runs += (runs.empty() ? "" : ",") + std::to_string(lcn) + ":" + std::to_string(count);
      vcns += count;
      if (holes && chance(40)) {
        const uint64_t hole = 1 + random() % 16;
        runs += ",*:" + std::to_string(hole);
        vcns += hole;
      }
    }
    const std::string shape = runs.empty() ? (chance(50) ? "size=300 resident" : "size=0")
                                           : "size=" + std::to_string(vcns * 4096 - random() % 4096) +
                                                 " runs=" + runs + (compressed ? " compressed" : "");
    s.description += "file \"" + WideToUtf8(path) + "\" " + shape + "\n";
    const bool fault = chance(20);
    bool neverOpens = false;
    if (fault) {
      const char* controls[] = {"move", "move", "pointers", "open"};
      const char* statuses[] = {"0xC0000021", "0xC0000022", "0xC000000D", "0xC0000043", "0xC0001234"};
      const std::string control = controls[random() % 4];
      std::string text = "fault \"" + WideToUtf8(path) + "\" control=" + control;
      if (chance(50)) {
        text += " call=" + std::to_string(1 + random() % 4);
      } else {
        neverOpens = control == "open";
      }
      if (control == "move" && chance(30)) {
        text += " partial=" + std::to_string(1 + random() % 8);
      } else {
        if (chance(30)) text += " pending";
        text += std::string(" status=") + statuses[random() % 5];
      }
      s.description += text + "\n";
    }
    s.paths.push_back(path);
    s.faulted.push_back(fault);
    s.neverOpens.push_back(neverOpens);
    s.smart.push_back(chance(50));
    s.checkpointAfter.push_back(chance(30));
  }
  for (const char* control : {"bitmap", "volume"}) {
    if (!chance(3)) continue;
    s.description += std::string("fault \"Z:\" control=") + control + " call=1 status=0xC0000022\n";
    s.volumeFaulted = true;
  }
  // Each file is relocated twice in a row now and then: the second finds
  // it contiguous, or finds the space its first move left.
  const size_t count = s.paths.size();
  for (size_t i = 0; i < count; ++i) {
    if (chance(20)) {
      s.paths.push_back(s.paths[i]);
      s.faulted.push_back(s.faulted[i]);
      s.neverOpens.push_back(s.neverOpens[i]);
      s.smart.push_back(!s.smart[i]);
      s.checkpointAfter.push_back(chance(50));
    }
  }
  for (size_t i = 0; i < s.paths.size(); ++i) s.takeDuring.push_back(chance(10) ? int(i) : -1);
  return s;
}

// True when some run continues its predecessor physically: the extent list
// then carries clusters into later nodes and a move cannot be expected to
// leave the file in one piece.
bool HasContinuingRuns(const SimFile& file) {
  int64_t end = 0;
  for (const SimRun& run : file.runs) {
    if (run.lcn == -1) continue;
    if (run.lcn == end) return true;
    end = run.lcn + int64_t(run.count);
  }
  return false;
}

struct Outcome {
  std::vector<std::wstring> codes;
  std::vector<std::vector<SimRun>> runsAfter;
  std::vector<SimFile> files;
  bool operator==(const Outcome&) const = default;
};

class FreeSpaceMapRunTest : public SimTest {
 protected:
  // The volume's maximal free runs, cluster by cluster.
  std::vector<FreeSpaceMap::Run> FreeRuns() {
    std::vector<FreeSpaceMap::Run> runs;
    for (uint64_t c = 0; c < volume().Settings().clusters; ++c) {
      if (volume().InUse(int64_t(c))) continue;
      if (!runs.empty() && runs.back().start + int64_t(runs.back().length) == int64_t(c)) {
        ++runs.back().length;
      } else {
        runs.push_back({int64_t(c), 1});
      }
    }
    return runs;
  }

  void TearDown() override {
    gPerFileScan = false;
    gFreeSpaceMap.SetBudget(FreeSpaceMap::kDefaultBudget);
    SimTest::TearDown();
  }

  // Moved means in one piece; a file that never opens is never moved;
  // moved in part, or failed other than for want of room, only with a
  // reason in the volume's ways or its faults.
  void ExpectNoFailureReadsAsMoved(const Scenario& s, size_t i, const SimFile& before, bool taken) {
    const SimFile& after = *volume().FindFile(s.paths[i]);
    const std::wstring& code = gEngine.moveResultCode;
    EXPECT_EQ(after.AllocatedClusters(), before.AllocatedClusters());
    EXPECT_EQ(after.VcnCount(), before.VcnCount());
    if (code == kMoveAlreadyContiguous || code == kMoveNoFreeRun) {
      EXPECT_EQ(after.runs, before.runs);
    }
    if (s.neverOpens[i]) {
      EXPECT_FALSE(code.empty()) << "a file that cannot be opened reads as moved";
    }
    const bool clean = !s.faulted[i] && !s.volumeFaulted && !taken && !volume().Settings().partialMoves &&
                       !before.MovesByUnits() && !HasContinuingRuns(before);
    FileAnalysis analysis;
    if (code.empty() && AnalyseFile(s.paths[i], analysis) == 1) {
      EXPECT_LE(analysis.fragments, 1u) << "moved but not contiguous";
    } else if (!code.empty() && clean && code != kMoveAlreadyContiguous && code != kMoveNoFreeRun) {
      ADD_FAILURE() << "failed without a reason: " << WideToUtf8(code);
    }
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
    for (size_t i = 0; i < s.paths.size(); ++i) {
      // Another program takes clusters while the first extent moves: the
      // next extent's target, if it was free.
      bool taken = false;
      ui_.onProgress = [&, i](uint64_t position) {
        if (s.takeDuring[i] != int(i) || position != 2 || taken) return;
        taken = true;
        const int64_t target = gEngine.moveJob.targetLcn + int64_t(gExtentList.Head()->clusterCount);
        std::string error;
        volume().Reserve(target, 1, error);
      };
      gEngine.flags = s.smart[i] ? kSmartStrategy : 0;
      const SimFile before = *volume().FindFile(s.paths[i]);
      DefragmentFile(ui_, s.paths[i], nullptr);
      ui_.onProgress = [](uint64_t) {};
      EXPECT_TRUE(Clean()) << "after " << WideToUtf8(s.paths[i]);
      ExpectNoFailureReadsAsMoved(s, i, before, taken);
      readsAfter_.push_back(gFreeSpaceMap.BitmapReads());
      if (checkRuns_ && !perFileScan && gFreeSpaceMap.Regular() && gFreeSpaceMap.ReadFor(gVolumeCache.handle, gVolumeCache.generation)) {
        // What a checkpoint freed is read before the next search; read it now.
        std::wstring message;
        EXPECT_EQ(gFreeSpaceMap.RefreshHeld(ui_, gVolumeCache.handle, message), 1);
        // Under its budget the map keeps every run at least as long as its
        // threshold, and maybe a few shorter ones.
        auto longOnes = [](std::vector<FreeSpaceMap::Run> runs) {
          std::erase_if(runs, [](const auto& run) { return run.length < gFreeSpaceMap.Threshold(); });
          return runs;
        };
        EXPECT_EQ(longOnes(gFreeSpaceMap.Runs()), longOnes(FreeRuns())) << "the map after " << WideToUtf8(s.paths[i]);
      }
      out.codes.push_back(gEngine.moveResultCode);
      out.runsAfter.push_back(volume().FindFile(s.paths[i])->runs);
      if (s.checkpointAfter[i]) volume().Checkpoint();
    }
    out.files = volume().Files();
    return out;
  }
};

TEST_F(FreeSpaceMapRunTest, EveryPlacementIsTheScansOverRandomRuns) {
  std::mt19937_64 random(2024);
  const auto started = std::chrono::steady_clock::now();
  uint64_t relocations = 0, moved = 0;
  int shed = 0;
  for (int v = 0; v < kVolumes; ++v) {
    const Scenario s = RandomScenario(random);
    SCOPED_TRACE(s.description);
    // Every third volume with a budget too small for all of its free runs:
    // the map keeps only the long ones and leaves shorter searches to the
    // scan.
    const uint64_t budget = v % 3 == 2 ? (2 + random() % 40) << 10 : FreeSpaceMap::kDefaultBudget;
    SCOPED_TRACE("budget " + std::to_string(budget));
    gFreeSpaceMap.SetBudget(budget);
    const Outcome mapped = Play(s, false);
    shed += gFreeSpaceMap.Threshold() > 1;
    const Outcome scanned = Play(s, true);
    ASSERT_EQ(mapped.codes.size(), scanned.codes.size());
    for (size_t i = 0; i < mapped.codes.size(); ++i) {
      ASSERT_EQ(WideToUtf8(mapped.codes[i]), WideToUtf8(scanned.codes[i]))
          << "file " << i << " " << WideToUtf8(s.paths[i]);
      ASSERT_EQ(mapped.runsAfter[i], scanned.runsAfter[i]) << "file " << i;
      moved += mapped.codes[i].empty();
    }
    ASSERT_TRUE(mapped == scanned);
    relocations += s.paths.size();
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::printf("differential: %d volumes (%d over their budget), %llu relocations each way (%llu moved) in %.1f s\n",
              kVolumes, shed, static_cast<unsigned long long>(relocations),
              static_cast<unsigned long long>(moved), seconds);
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
  for (int r = 0; r < 3000; ++r) {
    int64_t lcn;
    const uint64_t count = 1 + random() % 60;
    if (PlaceRandomRun(random, used, count, lcn)) {
      s.description += "reserve " + std::to_string(lcn) + " " + std::to_string(count) + "\n";
    }
  }
  for (int f = 0; f < kManyMoves; ++f) {
    const std::wstring path = L"Z:\\m" + std::to_wstring(f);
    std::string runs;
    uint64_t vcns = 0;
    for (int r = 2 + int(random() % 3); r > 0; --r) {
      int64_t lcn;
      const uint64_t count = 1 + random() % 12;
      if (!PlaceRandomRun(random, used, count, lcn)) break;
      runs += (runs.empty() ? "" : ",") + std::to_string(lcn) + ":" + std::to_string(count);
      vcns += count;
    }
    if (runs.empty()) continue;
    s.description += "file \"" + WideToUtf8(path) + "\" size=" + std::to_string(vcns * 4096) + " runs=" + runs + "\n";
    s.paths.push_back(path);
    s.smart.push_back(f % 2 == 0);
    s.checkpointAfter.push_back(false);
    s.takeDuring.push_back(-1);
    s.faulted.push_back(false);
    s.neverOpens.push_back(false);
  }
  checkRuns_ = false;
  const Outcome mapped = Play(s, false);
  const std::vector<uint64_t> reads = readsAfter_;
  const uint64_t held = gFreeSpaceMap.HeldRanges();
  const Outcome scanned = Play(s, true);
  ASSERT_EQ(mapped.codes.size(), scanned.codes.size());
  int moved = 0;
  for (size_t i = 0; i < mapped.codes.size(); ++i) {
    ASSERT_EQ(WideToUtf8(mapped.codes[i]), WideToUtf8(scanned.codes[i])) << "file " << i;
    ASSERT_EQ(mapped.runsAfter[i], scanned.runsAfter[i]) << "file " << i;
    moved += mapped.codes[i].empty();
  }
  EXPECT_GT(moved, kManyMoves * 9 / 10);
  // Everything the moves left is still held, and awaited.
  EXPECT_GE(held, uint64_t(moved) * 2);
  // A few chunks read per move (the target, the clusters left, the oldest
  // range still held), as many for the last moves as for the first.
  const size_t n = reads.size();
  const uint64_t firstQuarter = reads[n / 4] - reads[0];
  const uint64_t lastQuarter = reads[n - 1] - reads[n - 1 - n / 4];
  EXPECT_LE(lastQuarter, firstQuarter + firstQuarter / 4)
      << "bitmap reads: " << firstQuarter << " for the first quarter of the files, " << lastQuarter
      << " for the last";
  EXPECT_LE(lastQuarter, 16 * (n / 4)) << lastQuarter << " bitmap reads for " << n / 4 << " files";
}

}  // namespace
