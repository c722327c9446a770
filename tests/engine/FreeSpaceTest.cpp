// The free-space search: the first run that fits (quick) or the smallest
// (smart). Every answer is found three ways that must agree: the program's
// word-skipping walk, the bit-by-bit walk it replaced, and the free-space
// map read once and kept up to date, quirks of the bitmap reads included.
// Whole runs of relocations on random volumes are played twice from the same
// start, searched through the map and by the per-file scan: every outcome
// and every file's runs must be the same.
#include "engine/FreeSpace.h"

#include <algorithm>
#include <cstdio>
#include <random>

#include "EngineTestSupport.h"
#include "ReferenceScan.h"
#include "engine/FreeSpaceMap.h"

namespace {

#ifdef _WIN32
constexpr int kVolumes = 120;
constexpr int kManyMoves = 200;
#else
constexpr int kVolumes = 2000;
constexpr int kManyMoves = 1500;
#endif

struct Layout {
  uint64_t clusters;
  std::vector<SimRun> used;  // everything else is free
};

class FreeSpaceTest : public SimTest {
 protected:
  void SetUp() override {
    SimTest::SetUp();
    ui_.pump = [this] {
      ++pumps_;
      return true;
    };
  }

  // The volume opened as the engine opens it, and the map read from it.
  void Build(const Layout& layout) {
    Volume("volume letter=Z clusters=" + std::to_string(layout.clusters) + "\n");
    std::string error;
    for (const SimRun& run : layout.used) EXPECT_TRUE(volume().Reserve(run.lcn, run.count, error)) << error;
    handle_ = Va().OpenVolume("\\\\.\\Z:");
    std::wstring message;
    EXPECT_EQ(map_.Read(ui_, handle_, 1, message), 1);
  }

  struct Outcome {
    int returned;
    int64_t lcn;
    uint64_t pumps;
    bool operator==(const Outcome&) const = default;
  };

  Outcome Search(ChunkScanner scanner, uint64_t needed, bool smart) {
    pumps_ = 0;
    Outcome out{};
    std::wstring message;
    out.returned = FindFreeRunWith(scanner, ui_, handle_, needed, smart, out.lcn, message);
    out.pumps = pumps_;
    return out;
  }

  // The word walk's answer; the bit walk (messages pumped alike) and the
  // map must give the same.
  ::testing::AssertionResult Agree(uint64_t needed, bool smart, int64_t* lcn = nullptr) {
    const Outcome words = Search(ScanChunkByWords, needed, smart);
    const Outcome bits = Search(ScanChunkBitByBit, needed, smart);
    const int64_t mapped = map_.Find(needed, smart);
    if (lcn != nullptr) *lcn = words.lcn;
    if (words.returned == 1 && words == bits && mapped == words.lcn) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "needed " << needed << (smart ? " smart" : " quick") << ": words "
                                         << words.lcn << " after " << words.pumps << " pumps, bits " << bits.lcn
                                         << " after " << bits.pumps << ", map " << mapped;
  }

  FreeSpaceMap map_;
  FsHandle handle_ = 0;
  uint64_t pumps_ = 0;
};

// Free: 10..14 (5), 30..49 (20), 60..67 (8), 80..85 (6), 90..99 (10).
const Layout kFiveRuns{100, {{0, 10}, {15, 15}, {50, 10}, {68, 12}, {86, 4}}};
// Two runs of 8 (10, 30), far later one of 5, then one of 2. Runs are judged
// one late: the 5 is known complete when the 2 closes.
const Layout kEqualRuns{200000, {{0, 10}, {18, 12}, {38, 99962}, {100005, 49995}, {150002, 49998}}};
// One chunk of 32,768 clusters returns 16 + 4,096 bytes: a run starting at
// cluster 4,112 is not closed by the single used cluster after it, and is
// judged as 3 + 5 clusters. One cluster later the guard does not apply.
const Layout kGuarded{32768, {{0, 4112}, {4115, 1}, {4121, 32768 - 4121}}};
const Layout kPastTheGuard{32768, {{0, 4113}, {4116, 1}, {4122, 32768 - 4122}}};

TEST_F(FreeSpaceTest, QuickTakesTheFirstRunThatFitsSmartTheSmallest) {
  const struct {
    const char* what;
    const Layout& layout;
    uint64_t needed;
    bool smart;
    int64_t lcn;
  } kCases[] = {
      {"first fit, an exact fit", kFiveRuns, 5, false, 10},
      {"first fit, a larger run", kFiveRuns, 6, false, 30},
      {"best fit, the smallest that holds it", kFiveRuns, 7, true, 60},
      {"best fit, an exact fit", kFiveRuns, 6, true, 80},
      {"best fit, the last run judged after the last chunk", kFiveRuns, 9, true, 90},
      {"first fit, nothing fits", kFiveRuns, 21, false, -1},
      {"best fit, the earlier of equal runs", kEqualRuns, 7, true, 10},
      {"best fit, an exact fit far on", kEqualRuns, 5, true, 100000},
      {"first fit, carried over by the guard", kGuarded, 8, false, 4112},
      {"first fit, no guard one cluster later", kPastTheGuard, 8, false, -1},
      {"first fit, the run after the used cluster", kPastTheGuard, 5, false, 4117},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    Build(c.layout);
    int64_t lcn = 0;
    EXPECT_TRUE(Agree(c.needed, c.smart, &lcn));
    EXPECT_EQ(lcn, c.lcn);
  }
}

TEST_F(FreeSpaceTest, SmartEndsTheScanAtAnExactFit) {
  Build(kEqualRuns);
  const Outcome full = Search(ScanChunkByWords, 7, true);
  const Outcome exact = Search(ScanChunkByWords, 5, true);
  EXPECT_LT(exact.pumps, full.pumps);
  EXPECT_EQ(full.pumps, (200000 + kPumpInterval - 1) / kPumpInterval);
}

// Layouts meant to break a word-skipping walk or the map's replay of the
// scan: runs of every length around word, byte, pump and chunk boundaries,
// runs starting at the guard values, volumes whose size is no multiple of
// anything.
std::vector<Layout> HardLayouts() {
  std::vector<Layout> layouts;
  for (uint64_t clusters : {1ull, 7ull, 64ull, 65ull, 2047ull, 2049ull, 32768ull, 32769ull,
                            65536ull + 13, 98304ull}) {
    layouts.push_back({clusters, {}});
    layouts.push_back({clusters, {{0, clusters}}});
  }
  for (int64_t boundary : {32768, 65536}) {
    for (int64_t offset : {-65, -64, -63, -9, -8, -1, 0, 1, 8, 63, 64}) {
      for (uint64_t length : {1ull, 2ull, 63ull, 64ull, 65ull, 130ull}) {
        const int64_t start = boundary + offset;
        layouts.push_back({100000, {{0, uint64_t(start)}, {start + int64_t(length),
                                                            100000 - uint64_t(start) - length}}});
      }
    }
  }
  // Starts equal to the byte count the first read returns: 4,112 for a full
  // chunk, 16 + 2,500 for a volume of 20,000 clusters (and one off it); a
  // run starting there and reaching the end of a chunk is carried into the
  // next read, one reaching the end of the volume is lost.
  for (auto [clusters, guard] : {std::pair<uint64_t, int64_t>{42000, 4112}, {20000, 2516}, {20000, 2515}}) {
    for (uint64_t gap : {1ull, 2ull, 3ull, 70ull}) {
      layouts.push_back({clusters, {{0, uint64_t(guard)}, {guard + 3, gap},
                                    {guard + 3 + int64_t(gap) + 5, clusters - uint64_t(guard) - 8 - gap}}});
    }
  }
  layouts.push_back({20000, {{0, 2516}}});
  layouts.push_back({100000, {{0, 4112}, {32768, 1}, {32770, 1}, {70000, 3}}});
  layouts.push_back({100000, {{0, 4112}, {32767, 2}, {65536, 1}}});
  for (uint64_t period : {1ull, 2ull, 3ull, 63ull, 64ull, 65ull, 2048ull}) {
    Layout alternating{70000, {}};
    for (uint64_t at = 0; at + period <= alternating.clusters; at += 2 * period) {
      alternating.used.push_back({int64_t(at), period});
    }
    layouts.push_back(alternating);
  }
  return layouts;
}

TEST_F(FreeSpaceTest, TheWordWalkTheBitWalkAndTheMapAgreeOnEveryInput) {
  std::mt19937_64 random(20240601);
  const std::vector<Layout> layouts = HardLayouts();
  for (size_t i = 0; i < layouts.size(); ++i) {
    SCOPED_TRACE("layout " + std::to_string(i) + " of " + std::to_string(layouts[i].clusters) + " clusters");
    Build(layouts[i]);
    uint64_t largest = 0;
    for (const auto& run : FreeRuns()) largest = std::max(largest, run.length);
    for (uint64_t needed : {uint64_t(1), uint64_t(2), uint64_t(3), uint64_t(5), uint64_t(8), largest, largest + 1,
                            std::max<uint64_t>(1, largest / 2), uint64_t(1 + random() % 500)}) {
      if (needed == 0) continue;
      ASSERT_TRUE(Agree(needed, false));
      ASSERT_TRUE(Agree(needed, true));
    }
  }
}

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

// Up to `pieces` runs of 1..`longest` clusters at random free spots of
// `used` (twenty tries each), as a file's runs are described, with a hole
// after some when `holes`; `vcns` receives the clusters they span, holes
// included.
std::string RandomRuns(std::mt19937_64& random, std::vector<bool>& used, int pieces, uint64_t longest, bool holes,
                       uint64_t& vcns) {
  std::string runs;
  vcns = 0;
  for (int r = 0; r < pieces; ++r) {
    const uint64_t count = 1 + random() % longest;
    if (count > used.size()) break;
    uint64_t at = 0;
    bool free = false;
    for (int attempt = 0; attempt < 20 && !free; ++attempt) {
      at = random() % (used.size() - count + 1);
      free = std::find(used.begin() + at, used.begin() + at + count, true) == used.begin() + at + count;
    }
    if (!free) break;
    std::fill(used.begin() + at, used.begin() + at + count, true);
    runs += (runs.empty() ? "" : ",") + std::to_string(at) + ":" + std::to_string(count);
    vcns += count;
    if (holes && random() % 100 < 40) {
      const uint64_t hole = 1 + random() % 16;
      runs += ",*:" + std::to_string(hole);
      vcns += hole;
    }
  }
  return runs;
}

// A file in up to `pieces` pieces of 1..`longest` clusters; none when no
// piece found room.
std::string FileOfRuns(std::mt19937_64& random, std::vector<bool>& used, const std::wstring& path, int pieces,
                       uint64_t longest) {
  uint64_t vcns = 0;
  const std::string runs = RandomRuns(random, used, pieces, longest, false, vcns);
  if (runs.empty()) return "";
  return "file \"" + WideToUtf8(path) + "\" size=" + std::to_string(vcns * 4096) + " runs=" + runs + "\n";
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
  // Crumbled free space: a file in many pieces that no step moves.
  s.description += FileOfRuns(random, used, L"Z:\\crumbs", int(random() % 200), 40);
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
    // The description written out reads back as the same volume.
    const std::vector<SimFile> described = Volume(s.description).Files();
    Volume(WriteSimDescription(volume()));
    EXPECT_TRUE(volume().Files() == described);
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
    EXPECT_EQ(mapped.runsAfter, scanned.runsAfter);
    EXPECT_TRUE(mapped == scanned);
    return int(std::count(mapped.codes.begin(), mapped.codes.end(), L""));
  }
  std::vector<uint64_t> mappedReads_;
  uint64_t mappedHeld_ = 0;
  uint64_t mappedThreshold_ = 1;
};

TEST_F(FreeSpaceMapRunTest, EveryPlacementIsTheScansOverRandomRuns) {
  std::mt19937_64 random(2024);
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
    PlayBothWays(s);
    shed += mappedThreshold_ > 1;
  }
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
  s.description += FileOfRuns(random, used, L"Z:\\crumbs", 3000, 60);
  for (int f = 0; f < kManyMoves; ++f) {
    const std::wstring path = L"Z:\\m" + std::to_wstring(f);
    const std::string file = FileOfRuns(random, used, path, 2 + int(random() % 3), 12);
    if (file.empty()) continue;
    s.description += file;
    s.steps.push_back({.path = path, .smart = f % 2 == 0});
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
