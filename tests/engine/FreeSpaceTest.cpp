#include "engine/FreeSpace.h"

#include <random>

#include "EngineTestSupport.h"
#include "ReferenceScan.h"

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

  void Build(const Layout& layout) { volume_handle_ = BuildVolume(layout.clusters, layout.used); }

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
    out.returned = FindFreeRunWith(scanner, ui_, volume_handle_, needed, smart, out.lcn, message);
    out.pumps = pumps_;
    return out;
  }

  int64_t Find(uint64_t needed, bool smart) {
    Outcome words = Search(ScanChunkByWords, needed, smart);
    EXPECT_EQ(words, Search(ScanChunkBitByBit, needed, smart));
    EXPECT_EQ(words.returned, 1);
    return words.lcn;
  }

  FsHandle volume_handle_ = 0;
  uint64_t pumps_ = 0;
};

TEST_F(FreeSpaceTest, QuickTakesTheFirstRunThatFitsSmartTheSmallest) {
  // Free runs: 10..14 (5), 30..49 (20), 60..67 (8), 80..85 (6), 90..end (10).
  Build({100, {{0, 10}, {15, 15}, {50, 10}, {68, 12}, {86, 4}}});
  EXPECT_EQ(Find(5, false), 10);
  EXPECT_EQ(Find(6, false), 30);
  EXPECT_EQ(Find(7, true), 60);   // 8 is the smallest that holds 7
  EXPECT_EQ(Find(6, true), 80);   // an exact fit
  EXPECT_EQ(Find(9, true), 90);   // 10 at the very end, judged after the last chunk
  EXPECT_EQ(Find(15, true), 30);
  EXPECT_EQ(Find(21, false), -1);
  EXPECT_EQ(Find(21, true), -1);
}

TEST_F(FreeSpaceTest, SmartKeepsTheEarlierOfEqualRunsAndEndsEarlyOnAnExactFit) {
  // Two runs of 8, far later one of 5, then one of 2. Runs are judged one
  // late: the 5 is known complete when the 2 closes.
  Build({200000, {{0, 10}, {18, 12}, {38, 99962}, {100005, 49995}, {150002, 49998}}});
  EXPECT_EQ(Find(7, true), 10);
  const Outcome full = Search(ScanChunkByWords, 7, true);
  const Outcome exact = Search(ScanChunkByWords, 5, true);
  EXPECT_EQ(exact.lcn, 100000);
  EXPECT_LT(exact.pumps, full.pumps);  // the scan stopped at the exact fit
  EXPECT_EQ(full.pumps, (200000 + kPumpInterval - 1) / kPumpInterval);
}

TEST_F(FreeSpaceTest, ARunAcrossAChunkBoundaryIsJudgedAsOne) {
  // Free 32760..32775 straddles the first boundary; everything else is used.
  Build({70000, {{0, 32760}, {32776, 70000 - 32776}}});
  EXPECT_EQ(Find(16, false), 32760);
  EXPECT_EQ(Find(16, true), 32760);
  EXPECT_EQ(Find(17, false), -1);
}

TEST_F(FreeSpaceTest, TheGuardKeepsARunStartingAtTheReturnedByteCountOpen) {
  // One chunk of 32,768 clusters returns 16 + 4,096 bytes: a run starting at
  // cluster 4,112 is not closed by the single used cluster after it, and is
  // judged as 3 + 5 clusters.
  Build({32768, {{0, 4112}, {4115, 1}, {4121, 32768 - 4121}}});
  EXPECT_EQ(Find(8, false), 4112);
  EXPECT_EQ(Find(8, true), 4112);
  // One cluster later the guard does not apply.
  Build({32768, {{0, 4113}, {4116, 1}, {4122, 32768 - 4122}}});
  EXPECT_EQ(Find(8, false), -1);
  EXPECT_EQ(Find(5, false), 4117);
}

// Layouts meant to break a word-skipping walk: runs of every length around
// word, byte, pump and chunk boundaries, runs starting at the guard values,
// volumes whose size is no multiple of anything.
std::vector<Layout> AdversarialLayouts() {
  std::vector<Layout> layouts;
  for (uint64_t clusters : {1ull, 7ull, 64ull, 65ull, 2047ull, 2049ull, 32768ull, 32769ull,
                            65536ull + 13, 98304ull}) {
    layouts.push_back({clusters, {}});
    layouts.push_back({clusters, {{0, clusters}}});
  }
  for (int64_t boundary : {32768, 65536}) {
    for (int64_t offset : {-65, -64, -63, -9, -8, -1, 0, 1, 8, 63, 64}) {
      for (uint64_t length : {1ull, 2ull, 63ull, 64ull, 65ull, 130ull}) {
        int64_t start = boundary + offset;
        layouts.push_back({100000, {{0, uint64_t(start)}, {start + int64_t(length),
                                                            100000 - uint64_t(start) - length}}});
      }
    }
  }
  // Starts equal to the byte count the first read returns: 4,112 for a full
  // chunk, 16 + 2,500 for a volume of 20,000 clusters (and one off it).
  for (auto [clusters, guard] : {std::pair<uint64_t, int64_t>{42000, 4112}, {20000, 2516}, {20000, 2515}}) {
    for (uint64_t gap : {1ull, 2ull, 3ull, 70ull}) {
      layouts.push_back({clusters, {{0, uint64_t(guard)}, {guard + 3, gap},
                                    {guard + 3 + int64_t(gap) + 5, clusters - uint64_t(guard) - 8 - gap}}});
    }
  }
  // Alternating patterns.
  for (uint64_t period : {1ull, 2ull, 3ull, 63ull, 64ull, 65ull, 2048ull}) {
    Layout l{70000, {}};
    for (uint64_t at = 0; at + period <= l.clusters; at += 2 * period) l.used.push_back({int64_t(at), period});
    layouts.push_back(l);
  }
  return layouts;
}

Layout RandomLayout(std::mt19937_64& random) {
  Layout layout;
  layout.clusters = 1 + random() % (random() % 4 == 0 ? 140000 : 5000);
  const uint64_t meanRun = 1 + random() % 300;
  uint64_t at = 0;
  bool used = random() % 2;
  while (at < layout.clusters) {
    uint64_t length = 1 + random() % (2 * meanRun);
    length = std::min(length, layout.clusters - at);
    if (used) layout.used.push_back({int64_t(at), length});
    at += length;
    used = !used;
  }
  return layout;
}

TEST_F(FreeSpaceTest, TheWordWalkEqualsTheBitWalkOnEveryInput) {
  std::mt19937_64 random(20240601);
  std::vector<Layout> layouts = AdversarialLayouts();
  for (int i = 0; i < 400; ++i) layouts.push_back(RandomLayout(random));
  for (size_t i = 0; i < layouts.size(); ++i) {
    SCOPED_TRACE("layout " + std::to_string(i));
    Build(layouts[i]);
    uint64_t largest = 0, current = 0;
    for (uint64_t c = 0; c < layouts[i].clusters; ++c) {
      current = volume().InUse(int64_t(c)) ? 0 : current + 1;
      largest = std::max(largest, current);
    }
    for (uint64_t needed : {uint64_t(1), uint64_t(2), uint64_t(3), largest, largest + 1,
                            std::max<uint64_t>(1, largest / 2), uint64_t(1 + random() % 500)}) {
      if (needed == 0) continue;
      for (bool smart : {false, true}) {
        Outcome words = Search(ScanChunkByWords, needed, smart);
        Outcome bits = Search(ScanChunkBitByBit, needed, smart);
        ASSERT_EQ(words, bits) << "needed " << needed << (smart ? " smart" : " quick");
      }
    }
    if (HasFailure()) break;
  }
}

}  // namespace
