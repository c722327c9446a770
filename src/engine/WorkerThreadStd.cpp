// Workers on the platform-free build: a standard thread and a condition
// variable that the thread signals as its very last act, whatever way its
// function was left.
#ifndef _WIN32
#include <condition_variable>
#include <mutex>
#include <thread>

#include "engine/EngineThread.h"

struct WorkerThread::State {
  std::mutex mutex;
  std::condition_variable changed;
  bool running = false;
  bool nudged = false;
};

namespace {

// Marks the end when the thread's function is left, also by unwinding.
struct EndMark {
  std::shared_ptr<WorkerThread::State> state;
  ~EndMark() {
    std::lock_guard lock(state->mutex);
    state->running = false;
    state->changed.notify_all();
  }
};

void WorkerMain(std::shared_ptr<WorkerThread::State> state, ThreadEntry entry, void* argument) {
  EndMark mark{std::move(state)};
  // An escaped exception ends the thread without its done flag: its waiter
  // reads that as a worker that did not finish, never as success.
  RunThreadProcedure(entry, argument);
}

}  // namespace

WorkerThread::WorkerThread() : state_(std::make_shared<State>()) {}

WorkerThread::~WorkerThread() = default;

bool WorkerThread::Start(ThreadEntry entry, void* argument) {
  Join();
  {
    std::lock_guard lock(state_->mutex);
    state_->running = true;
    state_->nudged = false;
  }
  try {
    // The thread holds the state, so it may outlive this object.
    std::thread(WorkerMain, state_, entry, argument).detach();
    return true;
  } catch (const std::system_error&) {
    std::lock_guard lock(state_->mutex);
    state_->running = false;
    return false;
  }
}

bool WorkerThread::Running() const {
  std::lock_guard lock(state_->mutex);
  return state_->running;
}

void WorkerThread::Join() {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait(lock, [this] { return !state_->running; });
}

void WorkerThread::Nudge() {
  std::lock_guard lock(state_->mutex);
  state_->nudged = true;
  state_->changed.notify_all();
}

void WorkerThread::WaitEndedOrNudged() {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait(lock, [this] { return !state_->running || state_->nudged; });
  state_->nudged = false;
}

void* WorkerThread::EndHandle() const { return nullptr; }
void* WorkerThread::NudgeHandle() const { return nullptr; }
#endif
