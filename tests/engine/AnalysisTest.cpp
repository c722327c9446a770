#include "engine/Analysis.h"

#include <array>
#include <vector>

#include "EngineTestSupport.h"

namespace {

class AnalysisTest : public SimTest {
 protected:
  FileAnalysis Analyse(const std::wstring& path, int expectedReturn = 1) {
    FileAnalysis result;
    EXPECT_EQ(AnalyseFile(path, result), expectedReturn);
    return result;
  }

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

TEST_F(AnalysisTest, CountsFragmentsAsTheyLieOnTheVolume) {
  Volume(
      "volume letter=Z clusters=4000\n"
      "file \"Z:\\contiguous\" size=40960 runs=100:10\n"
      "file \"Z:\\atzero\" size=4096 runs=0:5\n"
      "file \"Z:\\three\" size=40960 runs=200:2,500:3,300:5\n"
      "file \"Z:\\empty\" size=0\n"
      "file \"Z:\\small\" size=300 resident\n"
      "; physically adjacent runs around holes count once\n"
      "file \"Z:\\sparse\" size=65536 runs=600:4,*:8,604:4\n"
      "; a run continuing its predecessor, reported apart, is the same fragment\n"
      "file \"Z:\\split\" size=40960 runs=700:4,704:6,900:1\n");
  FileAnalysis r = Analyse(L"Z:\\contiguous");
  EXPECT_EQ(r.fragments, 1u);
  EXPECT_EQ(r.clusters, 10u);
  EXPECT_TRUE(r.outcome.empty());
  r = Analyse(L"z:\\ATZERO");  // names compare without case
  EXPECT_EQ(r.fragments, 0u);  // the first run is compared with cluster 0
  EXPECT_EQ(r.clusters, 5u);
  r = Analyse(L"\\\\?\\Z:\\three");
  EXPECT_EQ(r.fragments, 3u);
  EXPECT_EQ(r.clusters, 10u);
  for (const wchar_t* path : {L"Z:\\empty", L"Z:\\small"}) {
    r = Analyse(path);
    EXPECT_EQ(r.fragments, 0u);
    EXPECT_EQ(r.clusters, 0u);
    EXPECT_TRUE(r.outcome.empty());
  }
  r = Analyse(L"Z:\\sparse");
  EXPECT_EQ(r.fragments, 1u);
  EXPECT_EQ(r.clusters, 8u);
  r = Analyse(L"Z:\\split");
  EXPECT_EQ(r.fragments, 2u);
  EXPECT_EQ(r.clusters, 11u);
  EXPECT_EQ(volume().OpenHandleCount(), 0u);
}

TEST_F(AnalysisTest, ManyChunksCountLikeOneAndPendingReadsGiveTheSameAnswer) {
  // 600 runs: three reads of at most 256. Every run but those starting at a
  // multiple of 5 continues its predecessor, including runs 256 and 512, the
  // first of their chunks.
  std::string runs;
  int64_t lcn = 10;
  uint64_t fragments = 0;
  for (int i = 0; i < 600; ++i) {
    if (i % 5 == 0) {
      lcn += 3;
      ++fragments;
    }
    runs += (i ? "," : "") + std::to_string(lcn) + ":1";
    lcn += 1;
  }
  for (const char* pending : {"off", "on"}) {
    SCOPED_TRACE(pending);
    Volume(std::string("volume letter=Z clusters=4000 pending=") + pending +
           "\nfile \"Z:\\many\" size=2457600 runs=" + runs + "\n");
    FileAnalysis r = Analyse(L"Z:\\many");
    EXPECT_EQ(r.fragments, fragments);
    EXPECT_EQ(r.clusters, 600u);
    FileAnalysis listed;
    auto nodes = ListOf(L"Z:\\many", listed);
    EXPECT_EQ(listed.fragments, fragments);
    ASSERT_EQ(nodes.size(), fragments);
    // The fragment of runs 255 to 259 spans the first chunk boundary.
    EXPECT_EQ(nodes[51].vcn, 255);
    EXPECT_EQ(nodes[52].vcn, 260);
    EXPECT_EQ(volume().OpenHandleCount(), 0u);
    EXPECT_TRUE(Clean());
  }
}

TEST_F(AnalysisTest, CountingStopsAtTheChunkBoundButTheListDoesNot) {
  // One-cluster runs two apart: every run a fragment, 256 per read.
  const int kRuns = (kMaxCountedChunks - 1) * 256 + 100;
  std::string runs;
  for (int i = 0; i < kRuns; ++i) runs += (i ? "," : "") + std::to_string(2 * i + 1) + ":1";
  Volume("volume letter=Z clusters=1100000\nfile \"Z:\\huge\" size=4096 runs=" + runs + "\n");
  FileAnalysis r = Analyse(L"Z:\\huge");
  EXPECT_EQ(r.fragments, uint64_t(kMaxCountedChunks - 1) * 256);
  EXPECT_EQ(r.clusters, uint64_t(kMaxCountedChunks - 1) * 256);
  EXPECT_EQ(volume().OpenHandleCount(), 0u);
  FileAnalysis listed;
  ListOf(L"Z:\\huge", listed);
  EXPECT_EQ(listed.fragments, uint64_t(kRuns));
  EXPECT_EQ(gExtentList.Count(), uint64_t(kRuns));
}

TEST_F(AnalysisTest, ListNodesCarryTheAccumulatedClusters) {
  // Run 2 continues run 1, so its two clusters go into the node of the next
  // fragment; run 5 continues run 4 after the last new fragment and is in no
  // node.
  Volume(
      "volume letter=Z clusters=4000\n"
      "file \"Z:\\f\" size=81920 runs=100:4,104:2,300:3,50:1,*:16,51:7\n");
  FileAnalysis r;
  std::vector<std::array<int64_t, 3>> nodes;
  for (const Extent& e : ListOf(L"Z:\\f", r)) nodes.push_back({e.vcn, e.lcn, int64_t(e.clusterCount)});
  EXPECT_EQ(r.fragments, 3u);
  EXPECT_EQ(r.clusters, 17u);
  EXPECT_EQ(nodes, (std::vector<std::array<int64_t, 3>>{{0, 100, 4}, {6, 300, 5}, {9, 50, 1}}));
}

TEST_F(AnalysisTest, NodeAllocationFailureGivesNR) {
  Volume("volume letter=Z clusters=4000\nfile \"Z:\\f\" size=4096 runs=10:1,20:1,30:1\n");
  static int allocations;
  allocations = 0;
  gExtentAllocator.allocate = [](size_t length) -> void* {
    return ++allocations == 2 ? nullptr : std::malloc(length);
  };
  FileAnalysis r;
  auto nodes = ListOf(L"Z:\\f", r, false);
  EXPECT_EQ(r.outcome, L"NR");
  EXPECT_EQ(r.fragments, 3u);
  EXPECT_EQ(nodes.size(), 2u);
}

TEST_F(AnalysisTest, FailuresAndRefusals) {
  Volume(
      "volume letter=Z clusters=4000\n"
      "file \"Z:\\dir\" size=0 resident directory\n"
      "file \"Z:\\locked\" size=8192 runs=10:2\n"
      "file \"Z:\\pending\" size=4096 runs=30:1,40:1\n"
      "fault \"Z:\\locked\" control=open status=0xC0000043\n"
      "fault \"Z:\\pending\" control=pointers call=1 pending status=0xC0000022\n");
  // A directory opens on the second attempt, with backup semantics.
  FileAnalysis r = Analyse(L"Z:\\dir");
  EXPECT_TRUE(r.outcome.empty());
  // Both attempts fail: the text of the last one.
  r = Analyse(L"Z:\\locked", 0);
  EXPECT_EQ(Narrow(r.outcome),
            "The process cannot access the file because it is being used by another process.\r\n");
  r = Analyse(L"Z:\\missing", 0);
  EXPECT_EQ(Narrow(r.outcome), "The system cannot find the file specified.\r\n");
  // A pending read that fails: the text of its status, which has no text of
  // its own, and the file stays open.
  r = Analyse(L"Z:\\pending", 0);
  EXPECT_EQ(Narrow(r.outcome), "Access is denied.\r\n");
  EXPECT_EQ(volume().OpenHandleCount(), 1u);
}

TEST_F(AnalysisTest, OnlyEndOfFileEndsAReadingNormallyAnyOtherRefusalIsAnErrorOfTheFile) {
  // 300 one-cluster fragments: two reads. A refusal answered at once leaves
  // the status block as the caller set it (zeroed: success), so only the
  // returned status can tell.
  std::string runs;
  for (int i = 0; i < 300; ++i) runs += (i ? "," : "") + std::to_string(3 * i + 1) + ":1";
  struct Case {
    const char* fault;
    const char* outcome;  // empty: a normal end with the counts so far
    uint64_t fragments;
  } cases[] = {
      {"call=2 status=0xC0000011", "", 256},
      {"call=1 status=0xC0000011", "", 0},
      {"call=1 status=0xC0000022", "Access is denied.\r\n", 0},
      {"call=2 status=0xC0000022", "Access is denied.\r\n", 256},
      {"call=1 status=0xC0000010", "Incorrect function.\r\n", 0},
      {"call=1 status=0xC000000D", "The parameter is incorrect.\r\n", 0},
      {"call=1 status=0xC0000999", "Error 0xC0000999", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fault);
    const std::string description = "volume letter=Z clusters=4000\nfile \"Z:\\f\" size=4096 runs=" + runs +
                                    "\nfault \"Z:\\f\" control=pointers " + c.fault + "\n";
    Volume(description);
    const bool normal = std::string(c.outcome).empty();
    FileAnalysis r = Analyse(L"Z:\\f", normal ? 1 : 0);
    EXPECT_EQ(Narrow(r.outcome), c.outcome);
    EXPECT_EQ(r.fragments, c.fragments);
    EXPECT_EQ(volume().OpenHandleCount(), 0u);
    // The list-building form before a move: no list, the same text.
    Volume(description);
    FileAnalysis listed;
    ListOf(L"Z:\\f", listed, normal);
    EXPECT_EQ(Narrow(listed.outcome), c.outcome);
  }
}

}  // namespace
