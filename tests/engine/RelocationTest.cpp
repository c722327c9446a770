#include "engine/Relocation.h"

#include <array>
#include <future>
#include <new>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#endif

#include "EngineTestSupport.h"

namespace {

class RelocationTest : public SimTest {
 protected:
  std::wstring Defragment(const std::wstring& path, FileAnalysis* counts = nullptr) {
    DefragmentFile(ui_, path, counts);
    EXPECT_TRUE(Clean());
    // Every file handle closed exactly once; only the volume stays open.
    EXPECT_EQ(volume().FailedCloses(), 0u);
    EXPECT_LE(volume().OpenHandleCount(), 1u);
    return gEngine.moveResultCode;
  }
  std::vector<SimRun> RunsOf(const std::wstring& path) { return volume().FindFile(path)->runs; }
};

// Free space: 1000..1099, and three gaps of fewer than 10 clusters among the
// runs of "four"; everything else is reserved or used by files.
const char* kVolume =
    "volume letter=Z clusters=2000\n"
    "reserve 0 1000\n"
    "reserve 1100 100\n"
    "file \"Z:\\four\" size=40960 runs=1200:3,1210:2,1220:4,1230:1\n"
    "reserve 1231 69\n"
    "file \"Z:\\one\" size=4096 runs=1300:5\n"
    "reserve 1305 95\n"
    "file \"Z:\\big\" size=409600 runs=1400:60,1500:60\n"
    "reserve 1460 40\n"
    "reserve 1560 440\n";

TEST_F(RelocationTest, AQuitMessageEndsTheWaitWhileTheThreadStillMoves) {
  Volume(kVolume);
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  int waitSteps = 0;
  ui_.onProgress = [released](uint64_t) { released.wait(); };
  // The third step of the wait meets a quit message.
  ui_.waitStep = [&](WorkerThread&) { return ++waitSteps < 3; };
  DefragmentFile(ui_, L"Z:\\four", nullptr);
  EXPECT_EQ(waitSteps, 3);
  EXPECT_TRUE(gEngine.moveThread.Running());
  EXPECT_EQ(gEngine.moveResultCode, L"ST");  // never read as moved
  release.set_value();
  WaitForMoveThread();
  // The file stays the thread's: it finishes its moves and closes it, once.
  EXPECT_TRUE(Clean());
  EXPECT_EQ(RunsOf(L"Z:\\four"), (std::vector<SimRun>{{1000, 10}}));
  EXPECT_EQ(volume().FailedCloses(), 0u);
  EXPECT_EQ(volume().OpenHandleCount(), 1u);
}

TEST_F(RelocationTest, TheVolumeHandleIsCachedPerDriveAndAFailedOpenIsNotRetried) {
  Volume(std::string(kVolume) + "file \"Z:\\five\" size=4096 runs=1203:1,1205:1\n"
                                "fault \"Z:\" control=volume call=1 status=0xC0000022\n");
  EXPECT_EQ(WideToUtf8(Defragment(L"Z:\\four")), "Access is denied.\r\n");
  // Same drive, lower case: the failed handle is kept, with the first text.
  EXPECT_EQ(WideToUtf8(Defragment(L"z:\\five")), "Access is denied.\r\n");
  // Another drive fails its own way; back on Z: the open is tried again and
  // now succeeds, then is reused.
  std::wstring message;
  EXPECT_EQ(VolumeForPath(L"Y:\\x", message), kInvalidHandle);
  EXPECT_EQ(WideToUtf8(message), "The system cannot find the file specified.\r\n");
  EXPECT_EQ(Defragment(L"Z:\\four"), L"");
  const FsHandle first = gVolumeCache.handle;
  EXPECT_EQ(Defragment(L"z:\\five"), L"");
  EXPECT_EQ(gVolumeCache.handle, first);
}

// What the crash report is handed when an exception escapes the move
// thread: the exception still being handled, on the thread it escaped from.
std::thread::id gTestThread;
std::atomic<bool> gOutOfMemoryOnMover{false};

void RecordEscaped() {
  try {
    std::rethrow_exception(std::current_exception());
  } catch (const std::bad_alloc&) {
    gOutOfMemoryOnMover = std::this_thread::get_id() != gTestThread;
  } catch (...) {
  }
}

// A move to cluster 0, where a whole file reads as no fragment at all.
const char* kVolumeFromZero =
    "volume letter=Z clusters=100\n"
    "file \"Z:\\z\" size=4096 runs=50:2,10:2\nreserve 4 6\nreserve 12 38\n";

// A fragmented file ends up in one run at the target found, and every way a
// relocation can end short of that leaves a text that is not empty (an
// empty code would tell the user the file was moved); the extents moved
// before a failure or a stop stay moved. A refusal answered at once leaves
// the status block untouched, as on the system: the returned status decides.
// A move that reports success having moved only part of its range is found
// out when the file is read back. A move thread that dies, by an exception or
// ended without unwinding (the way a lost or killed thread ends), ends the
// wait with an error: what it moved stays moved, and the file it never closed
// is closed once, here.
TEST_F(RelocationTest, NoFailureReadsAsMoved) {
  const std::vector<SimRun> untouched = {{1200, 3}, {1210, 2}, {1220, 4}, {1230, 1}};
  const char* aborted = "The I/O operation has been aborted because of either a thread exit or an application request.";
  const struct {
    const wchar_t* path;
    const char* fault;
    uint64_t stopAt;  // the extent during whose move a stop is asked for, 0 for none
    const char* says;  // empty: moved
    std::vector<SimRun> runs;
    const char* volume = kVolume;
    void (*die)() = nullptr;  // instead of the stop, the move thread dies
  } kCases[] = {
      {L"Z:\\four", "", 0, "", {{1000, 10}}},
      {L"Z:\\z", "", 0, "", {{0, 4}}, kVolumeFromZero},
      {L"Z:\\four", "fault \"Z:\\four\" control=move call=3 partial=2", 0, "PM", {{1000, 7}, {1222, 2}, {1009, 1}}},
      {L"Z:\\one", "", 0, "AC", {{1300, 5}}},
      {L"Z:\\big", "", 0, "NF", {{1400, 60}, {1500, 60}}},
      {L"Z:\\four", "", 2, "ST", {{1000, 5}, {1220, 4}, {1230, 1}}},
      {L"Z:\\four", "", 2, aborted, {{1000, 3}, {1210, 2}, {1220, 4}, {1230, 1}}, kVolume,
       [] { throw std::bad_alloc(); }},
#ifdef _WIN32
      {L"Z:\\four", "", 2, aborted, {{1000, 3}, {1210, 2}, {1220, 4}, {1230, 1}}, kVolume, [] { ExitThread(7); }},
#endif
      {L"Z:\\four", "fault \"Z:\\four\" control=open status=0xC0000043", 0, "being used by another process", untouched},
      {L"Z:\\four", "fault \"Z:\" control=bitmap status=0xC00000BB", 0, "not supported", untouched},
      {L"Z:\\four", "fault \"Z:\" control=bitmap call=1 pending status=0xC0000777", 0, "Error 0xC0000777", untouched},
      // A target refused is tried once more, with the free space read
      // afresh: taken meanwhile by another program, or refused again.
      {L"Z:\\four", "fault \"Z:\\four\" control=move call=1 status=0xC0000021", 0, "", {{1000, 10}}},
      {L"Z:\\four", "fault \"Z:\\four\" control=move status=0xC0000021", 0, "Access is denied", untouched},
      {L"Z:\\four", "fault \"Z:\\four\" control=move call=3 status=0xC0000022", 0, "Access is denied",
       {{1000, 5}, {1220, 4}, {1230, 1}}},
      {L"Z:\\four", "fault \"Z:\\four\" control=move call=1 status=0x80000005", 0, "More data is available", untouched},
      // Waited on through the file: the second move's pending success
      // counts, the fourth's pending refusal too.
      {L"Z:\\four",
       "fault \"Z:\\four\" control=move call=2 pending\n"
       "fault \"Z:\\four\" control=move call=4 pending status=0xC0000022",
       0, "Access is denied", {{1000, 9}, {1230, 1}}},
  };
  gTestThread = std::this_thread::get_id();
  SetEscapedExceptionHandler(RecordEscaped);
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.fault) + " " + c.says + " " + WideToUtf8(c.path));
    ResetAll();
    Volume(std::string(c.volume) + c.fault + "\n");
    ui_.onProgress = [&c](uint64_t position) {
      if (position != c.stopAt) return;
      if (c.die != nullptr) c.die();
      gEngine.flags |= kStopRequested;
    };
    const std::string code = WideToUtf8(Defragment(c.path));
    if (*c.says == 0) {
      EXPECT_EQ(code, "");
    } else {
      EXPECT_NE(code.find(c.says), std::string::npos) << code;
    }
    EXPECT_EQ(RunsOf(c.path), c.runs);
    // Nothing to do, or nowhere to go: no move was asked for.
    if (c.path == std::wstring(L"Z:\\one") || c.path == std::wstring(L"Z:\\big")) {
      EXPECT_EQ(volume().MoveCalls(), 0u);
    }
    EXPECT_FALSE(gEngine.moveThread.Running());
  }
  SetEscapedExceptionHandler(nullptr);
  EXPECT_TRUE(gOutOfMemoryOnMover);
}

// Compressed and sparse files move in whole 16-cluster units: a request for
// one fragment carries the rest of its units along, so fragments that share
// a unit, or a unit split between two runs, must not be asked for twice.
TEST(UnitMovesTest, RequestsStartAndEndOnUnitsAndCarryEveryClusterOnce) {
  const auto plan = [](const std::vector<FileRun>& runs) {
    std::vector<std::array<uint64_t, 3>> out;
    for (const UnitMove& move : PlanUnitMoves(runs)) out.push_back({uint64_t(move.vcn), move.vcnCount, move.clusters});
    return out;
  };
  using Plan = std::vector<std::array<uint64_t, 3>>;
  // Two fragments inside one unit, one spanning two units up to data that
  // ends inside a unit, and two small fragments already carried along.
  EXPECT_EQ(plan({{0, 100, 5}, {5, 300, 4}, {16, 500, 20}, {40, 800, 3}, {43, 900, 2}}),
            (Plan{{0, 16, 9}, {16, 29, 25}}));
  // A hole of whole units between two fragments is never asked for.
  EXPECT_EQ(plan({{0, 100, 16}, {64, 300, 16}}), (Plan{{0, 16, 16}, {64, 16, 16}}));
  // A range longer than a 32-bit count is cut on a unit boundary.
  EXPECT_EQ(plan({{0, 7, (uint64_t{1} << 32) + 100}}),
            (Plan{{0, 0xFFFFFFF0, 0xFFFFFFF0}, {0xFFFFFFF0, 116, 116}}));
  EXPECT_TRUE(RunsHaveHoles({{16, 100, 4}}));
  EXPECT_FALSE(RunsHaveHoles({{0, 100, 4}, {4, 50, 4}}));
}

}  // namespace
