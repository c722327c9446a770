// The analysis counts fragments as they lie on the volume, in both of its
// forms, and ends a reading normally only at the end of the runs or on the
// end-of-file answer: any other refusal is an error of the file.
#include "engine/Analysis.h"

#include <array>
#include <vector>

#include "EngineTestSupport.h"

namespace {

class AnalysisTest : public SimTest {
 protected:
  // The list-building form on a handle opened for moving; the list's nodes.
  std::vector<Extent> ListOf(const std::wstring& path, FileAnalysis& result, bool expectOk = true) {
    FsHandle file = Va().OpenFileForMoving(path);
    EXPECT_NE(file, kInvalidHandle);
    EXPECT_EQ(BuildExtentList(file, result), expectOk);
    Va().Close(file);
    std::vector<Extent> out;
    for (const Extent* e = gExtentList.Head(); e != nullptr; e = e->next) out.push_back(*e);
    return out;
  }
};

TEST_F(AnalysisTest, BothFormsCountFragmentsAsTheyLieAndFailOnlyWhenTheFileDoes) {
  const struct {
    const wchar_t* name;
    // Empty: 300 one-cluster runs, two reads of at most 256; the first of the
    // second read continues the last of the first: 299 fragments.
    std::string shape = {};
    const char* fault = "";
    int returned = 1;
    uint64_t fragments = 0;
    uint64_t clusters = 0;
    const char* outcome = "";
    bool movable = true;  // opens for moving: the list-building form reads it too
    // The listed form's nodes (VCN, LCN, clusters), when given.
    std::vector<std::array<int64_t, 3>> nodes = {};
  } kFiles[] = {
      {.name = L"contiguous", .shape = "size=40960 runs=100:10", .fragments = 1, .clusters = 10},
      // The first run is compared with cluster 0.
      {.name = L"atzero", .shape = "size=4096 runs=0:5", .fragments = 0, .clusters = 5},
      {.name = L"three", .shape = "size=40960 runs=200:2,500:3,300:5", .fragments = 3, .clusters = 10},
      // Kept inside its record: the end-of-file answer at once.
      {.name = L"small", .shape = "size=300 resident"},
      // Physically adjacent runs around a hole count once.
      {.name = L"sparse", .shape = "size=65536 runs=600:4,*:8,604:4", .fragments = 1, .clusters = 8},
      // A run continuing its predecessor, reported apart, is the same fragment.
      {.name = L"split", .shape = "size=40960 runs=700:4,704:6,900:1", .fragments = 2, .clusters = 11},
      // Run 2 continues run 1, so its two clusters go into the node of the
      // next fragment; run 5 continues run 4 after the last new fragment and
      // is in no node.
      {.name = L"carried", .shape = "size=81920 runs=8100:4,8104:2,8300:3,8050:1,*:16,8051:7", .fragments = 3,
       .clusters = 17, .nodes = {{0, 8100, 4}, {6, 8300, 5}, {9, 8050, 1}}},
      // A directory opens on the second attempt, with backup semantics.
      {.name = L"dir", .shape = "size=0 resident directory", .movable = false},
      // Both attempts fail: the text of the last one.
      {.name = L"locked", .shape = "size=8192 runs=10:2", .fault = "control=open status=0xC0000043", .returned = 0,
       .outcome = "The process cannot access the file because it is being used by another process.\r\n",
       .movable = false},
      // A refusal answered at once leaves the status block as the caller set
      // it (zeroed: success), so only the returned status can tell.
      {.name = L"end2", .fault = "control=pointers call=2 status=0xC0000011", .fragments = 256, .clusters = 256},
      {.name = L"waited", .fault = "control=pointers call=2 pending", .fragments = 299, .clusters = 300},
      {.name = L"denied2", .fault = "control=pointers call=2 status=0xC0000022", .returned = 0, .fragments = 256,
       .clusters = 256, .outcome = "Access is denied.\r\n"},
      {.name = L"unknown", .fault = "control=pointers call=1 status=0xC0000999", .returned = 0,
       .outcome = "Error 0xC0000999"},
      // A pending read that fails: its status's text, and the file stays
      // open, the read may still be using it.
      {.name = L"pending", .fault = "control=pointers call=1 pending status=0xC0000022", .returned = 0,
       .outcome = "Access is denied.\r\n"},
  };
  std::string description = "volume letter=Z clusters=20000\n";
  int64_t free = 1000;
  for (const auto& f : kFiles) {
    std::string shape = f.shape;
    if (shape.empty()) {
      shape = "size=4096 runs=";
      for (int i = 0; i < 300; ++i) shape += (i ? "," : "") + std::to_string(free + 3 * i - (i < 256 ? 0 : 2)) + ":1";
      free += 1000;
    }
    const std::string path = "\"Z:\\" + WideToUtf8(f.name) + "\" ";
    description += "file " + path + shape + "\n";
    if (*f.fault) description += "fault " + path + f.fault + "\n";
  }
  // Faults count their calls: each form reads a volume of its own.
  Volume(description);
  for (const auto& f : kFiles) {
    SCOPED_TRACE(WideToUtf8(f.name));
    FileAnalysis r;
    EXPECT_EQ(AnalyseFile(std::wstring(L"Z:\\") + f.name, r), f.returned);
    EXPECT_EQ(r.fragments, f.fragments);
    EXPECT_EQ(r.clusters, f.clusters);
    EXPECT_EQ(WideToUtf8(r.outcome), f.outcome);
  }
  EXPECT_EQ(volume().OpenHandleCount(), 1u);  // the pending one's
  Volume(description);
  for (const auto& f : kFiles) {
    if (!f.movable) continue;
    SCOPED_TRACE(WideToUtf8(f.name) + ", listed");
    FileAnalysis r;
    const std::vector<Extent> nodes = ListOf(std::wstring(L"Z:\\") + f.name, r, f.returned == 1);
    EXPECT_EQ(r.fragments, f.fragments);
    EXPECT_EQ(WideToUtf8(r.outcome), f.outcome);
    if (f.returned == 1) {
      EXPECT_EQ(nodes.size(), f.fragments);
    }
    if (!f.nodes.empty()) {
      std::vector<std::array<int64_t, 3>> listed;
      for (const Extent& e : nodes) listed.push_back({e.vcn, e.lcn, int64_t(e.clusterCount)});
      EXPECT_EQ(listed, f.nodes);
    }
  }
}

TEST_F(AnalysisTest, CountingStopsAtTheChunkBoundButTheListDoesNot) {
  // One-cluster runs two apart: every run a fragment, 256 per read.
  const int kRuns = (kMaxCountedChunks - 1) * 256 + 100;
  std::string runs;
  for (int i = 0; i < kRuns; ++i) runs += (i ? "," : "") + std::to_string(2 * i + 1) + ":1";
  Volume("volume letter=Z clusters=1100000\nfile \"Z:\\huge\" size=4096 runs=" + runs + "\n");
  FileAnalysis r;
  EXPECT_EQ(AnalyseFile(L"Z:\\huge", r), 1);
  EXPECT_EQ(r.fragments, uint64_t(kMaxCountedChunks - 1) * 256);
  FileAnalysis listed;
  ListOf(L"Z:\\huge", listed);
  EXPECT_EQ(listed.fragments, uint64_t(kRuns));
}

TEST_F(AnalysisTest, AFailedNodeGivesNR) {
  Volume("volume letter=Z clusters=4000\nfile \"Z:\\f\" size=40960 runs=100:4,300:3,50:3\n");
  FileAnalysis r;
  static int allocations;
  allocations = 0;
  gExtentAllocator.allocate = [](size_t length) -> void* {
    return ++allocations == 2 ? nullptr : std::malloc(length);
  };
  EXPECT_EQ(ListOf(L"Z:\\f", r, false).size(), 2u);
  EXPECT_EQ(r.outcome, L"NR");
}

}  // namespace
