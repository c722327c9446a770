// Waits for workers end with the worker's thread, however it ends, and wake
// for the worker's nudges; a move thread that dies never reads as moved.
#include "engine/EngineThread.h"

#include <atomic>
#include <chrono>
#include <future>
#include <new>
#include <stdexcept>

#ifdef _WIN32
#include <windows.h>
#endif

#include "EngineTestSupport.h"

namespace {

using namespace std::chrono_literals;

std::atomic<int> gEntered{0};

void CountingEntry(void*) { ++gEntered; }

TEST(WorkerThreadTest, BackToBackWorkersAllRunAndEveryWaitEnds) {
  // Each worker is started the moment its predecessor reported back, the
  // pattern of a run over many small fragmented files. A worker lost by the
  // thread layer would leave the wait below for ever.
  constexpr int kWorkers = 1000;
  NoWindowPump pump;
  WorkerThread worker;
  gEntered = 0;
  for (int i = 0; i < kWorkers; ++i) {
    ASSERT_TRUE(worker.Start(CountingEntry, nullptr));
    ASSERT_TRUE(WaitForWorker(pump, worker));
    ASSERT_EQ(gEntered.load(), i + 1) << "worker " << i << " ended without running";
  }
  EXPECT_FALSE(worker.Running());
}

struct NudgeScript {
  WorkerThread* worker = nullptr;
  std::promise<void> acknowledged;
  bool wokenBeforeEnd = false;
};

void NudgingEntry(void* raw) {
  auto& script = *static_cast<NudgeScript*>(raw);
  auto acknowledged = script.acknowledged.get_future();
  script.worker->Nudge();
  // Alive until the waiter has woken, so the wake cannot have come from the
  // end of the thread.
  script.wokenBeforeEnd = acknowledged.wait_for(20s) == std::future_status::ready;
}

TEST(WorkerThreadTest, ANudgeWakesTheWaiterWhileTheWorkerRuns) {
  NoWindowPump pump;
  WorkerThread worker;
  NudgeScript script;
  script.worker = &worker;
  int wakes = 0;
  ASSERT_TRUE(worker.Start(NudgingEntry, &script));
  EXPECT_TRUE(WaitForWorker(pump, worker, [&] {
    if (wakes++ == 0) script.acknowledged.set_value();
  }));
  EXPECT_TRUE(script.wokenBeforeEnd);
}

// What the crash report is handed: the exception still being handled, on
// the thread it escaped from.
struct EscapedSeen {
  std::atomic<int> calls{0};
  std::atomic<bool> outOfMemory{false};
  std::atomic<bool> onWorker{false};
};
EscapedSeen gEscaped;
thread_local bool tOnWorker = false;

void ThrowOutOfMemory(void*) {
  tOnWorker = true;
  throw std::bad_alloc();
}

void RecordEscaped() {
  ++gEscaped.calls;
  gEscaped.onWorker = tOnWorker;
  try {
    std::rethrow_exception(std::current_exception());
  } catch (const std::bad_alloc&) {
    gEscaped.outOfMemory = true;
  } catch (...) {
  }
}

TEST(WorkerThreadTest, AnExceptionThatEscapesAWorkerReachesTheHandlerOnItsThread) {
  SetEscapedExceptionHandler(RecordEscaped);
  WorkerThread worker;
  ASSERT_TRUE(worker.Start(ThrowOutOfMemory, nullptr));
  worker.Join();
  SetEscapedExceptionHandler(nullptr);
  EXPECT_EQ(gEscaped.calls.load(), 1);
  EXPECT_TRUE(gEscaped.outOfMemory.load());
  EXPECT_TRUE(gEscaped.onWorker.load());
  // A procedure that returns never reaches it.
  EXPECT_TRUE(RunThreadProcedure(CountingEntry, nullptr));
  EXPECT_FALSE(RunThreadProcedure(ThrowOutOfMemory, nullptr));
  EXPECT_EQ(gEscaped.calls.load(), 1);
}

class DyingMoveThreadTest : public SimTest {
 protected:
  // One file in two pieces; free space only at 1000..1099.
  void Build() {
    Volume("volume letter=Z clusters=2000\n"
           "reserve 0 1000\n"
           "file \"Z:\\f\" size=16384 runs=1200:2,1300:2\n"
           "reserve 1100 100\n"
           "reserve 1202 98\n"
           "reserve 1302 698\n");
  }
};

TEST_F(DyingMoveThreadTest, AMoveThreadThatThrowsEndsTheWaitWithAnError) {
  Build();
  ui_.onProgress = [](uint64_t position) {
    if (position == 2) throw std::runtime_error("out of memory");
  };
  DefragmentFile(ui_, L"Z:\\f", nullptr);
  EXPECT_EQ(Narrow(gEngine.moveResultCode),
            "The I/O operation has been aborted because of either a thread exit or an application "
            "request.\r\n");
  EXPECT_FALSE(gEngine.moveThread.Running());
  EXPECT_EQ(gEngine.doneFlags[kDoneMoveThread].load(), 1u);
  EXPECT_TRUE(Clean());
  // The first extent moved, the second never did: still two pieces.
  EXPECT_EQ(volume().FindFile(L"Z:\\f")->runs.size(), 2u);
  // The dead thread never closed the file: the caller did, once.
  EXPECT_EQ(volume().FailedCloses(), 0u);
  EXPECT_EQ(volume().OpenHandleCount(), 1u);
}

#ifdef _WIN32
TEST_F(DyingMoveThreadTest, AMoveThreadEndedFromInsideNeverReadsAsMoved) {
  // The thread ends without unwinding, the way a lost or killed thread does.
  Build();
  ui_.onProgress = [](uint64_t) { ExitThread(7); };
  DefragmentFile(ui_, L"Z:\\f", nullptr);
  EXPECT_FALSE(gEngine.moveResultCode.empty());
  EXPECT_NE(gEngine.moveResultCode, L"ST");
  EXPECT_FALSE(gEngine.moveThread.Running());
  EXPECT_TRUE(Clean());
  EXPECT_EQ(volume().FindFile(L"Z:\\f")->runs.size(), 2u);
}
#endif

}  // namespace
