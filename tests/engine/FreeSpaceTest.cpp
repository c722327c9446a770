// The free-space search: the first run that fits (quick) or the smallest
// (smart). Every answer is found three ways that must agree: the program's
// word-skipping walk, the bit-by-bit walk it replaced, and the free-space
// map read once and kept up to date, quirks of the bitmap reads included.
#include "engine/FreeSpace.h"

#include <random>

#include "EngineTestSupport.h"
#include "ReferenceScan.h"
#include "engine/FreeSpaceMap.h"

namespace {

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

  void Build(const Layout& layout, uint32_t align = 8) {
    handle_ = BuildVolume(layout.clusters, layout.used, "bitmapAlign=" + std::to_string(align));
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

  uint64_t Largest() {
    uint64_t largest = 0;
    for (const auto& run : FreeRuns()) largest = std::max(largest, run.length);
    return largest;
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
// Free 32760..32775 straddles the first chunk boundary.
const Layout kStraddling{70000, {{0, 32760}, {32776, 70000 - 32776}}};
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
      {"best fit, one run holds it", kFiveRuns, 15, true, 30},
      {"first fit, nothing fits", kFiveRuns, 21, false, -1},
      {"best fit, nothing fits", kFiveRuns, 21, true, -1},
      {"best fit, the earlier of equal runs", kEqualRuns, 7, true, 10},
      {"best fit, an exact fit far on", kEqualRuns, 5, true, 100000},
      {"first fit, a run across a chunk boundary", kStraddling, 16, false, 32760},
      {"best fit, a run across a chunk boundary", kStraddling, 16, true, 32760},
      {"first fit, one more than the boundary run", kStraddling, 17, false, -1},
      {"first fit, carried over by the guard", kGuarded, 8, false, 4112},
      {"best fit, carried over by the guard", kGuarded, 8, true, 4112},
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
    const uint64_t largest = Largest();
    for (uint64_t needed : {uint64_t(1), uint64_t(2), uint64_t(3), uint64_t(5), uint64_t(8), largest, largest + 1,
                            std::max<uint64_t>(1, largest / 2), uint64_t(1 + random() % 500)}) {
      if (needed == 0) continue;
      ASSERT_TRUE(Agree(needed, false));
      ASSERT_TRUE(Agree(needed, true));
    }
  }
}

}  // namespace
