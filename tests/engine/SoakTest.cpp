// Thousands of random volumes, files and faults: every file is relocated and
// the checker must pass after each relocation.
#include <chrono>
#include <cstdio>
#include <random>

#include "EngineTestSupport.h"

namespace {

// Every relocation starts a move thread; thread starts cost far more under
// Wine than natively, so the Windows build soaks fewer volumes. On a machine
// busy with other work the soak stops at its time budget, but it must still
// have covered a useful number of volumes.
#ifdef _WIN32
constexpr int kVolumes = 3000;
constexpr int kMinimumVolumes = 500;
#else
constexpr int kVolumes = 10000;
constexpr int kMinimumVolumes = 2000;
#endif
constexpr std::chrono::seconds kBudget{240};

struct Generated {
  std::string description;
  std::vector<std::wstring> paths;
  std::vector<bool> faulted;
  std::vector<bool> neverOpens;  // every open of the file fails
  bool volumeFaulted = false;  // the bitmap or the volume open fails once
};

Generated RandomVolume(std::mt19937_64& random) {
  auto chance = [&](int percent) { return int(random() % 100) < percent; };
  Generated g;
  const uint64_t clusters = 64 + random() % (chance(15) ? 120000 : 6000);
  std::vector<bool> used(clusters, false);
  const uint32_t aligns[] = {1, 8, 64};
  const uint32_t chunks[] = {1, 4, 16, 64};
  char line[256];
  std::snprintf(line, sizeof line,
                "volume letter=Z clusters=%llu bitmapAlign=%u inUseStatus=%s checkpoint=%s "
                "partialMoves=%s pending=%s moveChunk=%u\n",
                static_cast<unsigned long long>(clusters), aligns[random() % 3],
                chance(50) ? "0xC0000021" : "0xC000000D", chance(30) ? "on" : "off",
                chance(30) ? "on" : "off", chance(20) ? "on" : "off", chunks[random() % 4]);
  g.description = line;
  auto place = [&](uint64_t count, int64_t& lcn) { return PlaceRandomRun(random, used, count, lcn); };
  for (int r = int(random() % 6); r > 0; --r) {
    int64_t lcn;
    const uint64_t count = 1 + random() % (clusters / 8 + 1);
    if (place(count, lcn)) g.description += "reserve " + std::to_string(lcn) + " " + std::to_string(count) + "\n";
  }
  const int files = 1 + int(random() % 8);
  for (int f = 0; f < files; ++f) {
    const std::wstring path = L"Z:\\f" + std::to_wstring(f);
    std::string runs;
    uint64_t vcns = 0;
    const bool compressed = chance(10);
    const bool holes = compressed || chance(10);
    const int runCount = 1 + int(random() % (chance(10) ? 400 : 12));
    for (int r = 0; r < runCount; ++r) {
      int64_t lcn;
      const uint64_t count = 1 + random() % (chance(50) ? 3 : 40);
      if (!place(count, lcn)) break;
      runs += (runs.empty() ? "" : ",") + std::to_string(lcn) + ":" + std::to_string(count);
      vcns += count;
      if (holes && chance(40)) {
        const uint64_t hole = 1 + random() % 16;
        runs += ",*:" + std::to_string(hole);
        vcns += hole;
      }
    }
    std::string shape = runs.empty() ? (chance(50) ? "size=300 resident" : "size=0")
                                     : "size=" + std::to_string(vcns * 4096 - random() % 4096) +
                                           " runs=" + runs + (compressed ? " compressed" : "");
    g.description += "file \"" + WideToUtf8(path) + "\" " + shape + "\n";
    g.paths.push_back(path);
    const bool fault = chance(25);
    g.faulted.push_back(fault);
    g.neverOpens.push_back(false);
    if (fault) {
      const char* controls[] = {"move", "move", "pointers", "open"};
      const char* statuses[] = {"0xC0000021", "0xC0000022", "0xC000000D", "0xC0000043", "0xC0001234"};
      const char* control = controls[random() % 4];
      std::string text = "fault \"" + WideToUtf8(path) + "\" control=" + control;
      if (chance(50)) {
        text += " call=" + std::to_string(1 + random() % 4);
      } else if (std::string(control) == "open") {
        g.neverOpens.back() = true;
      }
      if (std::string(control) == "move" && chance(30)) {
        text += " partial=" + std::to_string(1 + random() % 8);
      } else {
        if (chance(30)) text += " pending";
        text += std::string(" status=") + statuses[random() % 5];
      }
      g.description += text + "\n";
    }
  }
  if (chance(3)) {
    g.description += "fault \"Z:\" control=bitmap call=1 status=0xC0000022\n";
    g.volumeFaulted = true;
  }
  if (chance(3)) {
    g.description += "fault \"Z:\" control=volume call=1 status=0xC0000022\n";
    g.volumeFaulted = true;
  }
  return g;
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

class SoakTest : public SimTest {};

TEST_F(SoakTest, RandomVolumesFilesAndFaults) {
  std::mt19937_64 random(7);
  const auto started = std::chrono::steady_clock::now();
  uint64_t relocations = 0, moved = 0, partly = 0, failed = 0;
  int covered = 0;
  for (int v = 0; v < kVolumes && std::chrono::steady_clock::now() - started < kBudget; ++v) {
    ++covered;
    ResetAll();
    Generated g = RandomVolume(random);
    SCOPED_TRACE(g.description);
    Volume(g.description);
    if (HasFailure()) return;
    if (v % 7 == 0) {
      // Exercise the description both ways on the way.
      const std::string text = WriteSimDescription(volume());
      Volume(text);
    }
    for (size_t i = 0; i < g.paths.size(); ++i) {
      const size_t f = (i + size_t(v)) % g.paths.size();
      const SimFile before = *volume().FindFile(g.paths[f]);
      gEngine.flags = (random() % 2) ? kSmartStrategy : 0;
      DefragmentFile(ui_, g.paths[f], nullptr);
      ++relocations;
      ASSERT_TRUE(Clean()) << "after relocating " << WideToUtf8(g.paths[f]);
      const SimFile& after = *volume().FindFile(g.paths[f]);
      const std::wstring& code = gEngine.moveResultCode;
      EXPECT_EQ(after.AllocatedClusters(), before.AllocatedClusters());
      EXPECT_EQ(after.VcnCount(), before.VcnCount());
      if (code == L"AC" || code == L"NF") {
        EXPECT_EQ(after.runs, before.runs);
      }
      const bool clean = !g.faulted[f] && !g.volumeFaulted && !volume().Settings().partialMoves &&
                         !before.MovesByUnits() && !HasContinuingRuns(before);
      if (g.neverOpens[f]) {
        EXPECT_FALSE(code.empty()) << "a file that cannot be opened reads as moved";
      }
      if (code.empty()) {
        // Whatever the faults and the volume's ways: moved means in one piece.
        ++moved;
        // (A described read fault may hit this reading too.)
        FileAnalysis analysis;
        if (AnalyseFile(g.paths[f], analysis) == 1) {
          EXPECT_LE(analysis.fragments, 1u) << "moved but not contiguous";
        }
      } else if (code == L"PM") {
        ++partly;
        EXPECT_FALSE(clean) << "moved only in part without a reason";
      } else if (code != L"AC" && code != L"NF") {
        ++failed;
        // Without faults, the only refusals left are the quirks of the list.
        if (clean && code != L"NF") ADD_FAILURE() << "unexpected failure: " << WideToUtf8(code);
      }
      if (volume().Settings().checkpoint && random() % 3 == 0) volume().Checkpoint();
    }
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::printf("soak: %d of %d volumes, %llu relocations (%llu moved, %llu moved in part, %llu failed) in %.1f s\n",
              covered, kVolumes, static_cast<unsigned long long>(relocations),
              static_cast<unsigned long long>(moved), static_cast<unsigned long long>(partly),
              static_cast<unsigned long long>(failed), seconds);
  EXPECT_GE(covered, kMinimumVolumes) << "the time budget ran out first";
}

}  // namespace
