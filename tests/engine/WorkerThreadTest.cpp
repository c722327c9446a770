// Waits for workers end with the worker's thread and wake for the worker's
// nudges.
#include "engine/EngineThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>

#include "engine/EngineUi.h"

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

}  // namespace
