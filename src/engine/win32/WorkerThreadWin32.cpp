// Workers on Windows are the system's own threads, started through the C
// runtime and waited on by their handles. They do not go through std::thread:
// its detached threads are recycled by the runtime's thread layer, and a new
// detached thread started while the previous one is still on its way out can
// be lost before it runs its function, leaving a waiter on the done flag
// waiting for ever.
#ifdef _WIN32
#include <windows.h>

#include <process.h>

#include "engine/EngineThread.h"
#include "util/win32/Win32Handle.h"

struct WorkerThread::State {
  UniqueHandle thread;
  UniqueHandle nudge;  // auto-reset: a wait takes the nudge it wakes on
};

namespace {

struct Launch {
  ThreadEntry entry;
  void* argument;
};

unsigned __stdcall WorkerMain(void* raw) {
  const Launch launch = *static_cast<Launch*>(raw);
  delete static_cast<Launch*>(raw);
  // An exception that escapes goes to the crash report; where none is
  // installed the thread ends without its done flag.
  return RunThreadProcedure(launch.entry, launch.argument) ? 0 : 1;
}

}  // namespace

WorkerThread::WorkerThread() : state_(std::make_shared<State>()) {
  state_->nudge.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
}

WorkerThread::~WorkerThread() = default;

bool WorkerThread::Start(ThreadEntry entry, void* argument) {
  Join();
  state_->thread.Reset();
  if (state_->nudge) ResetEvent(state_->nudge.Get());
  auto* launch = new Launch{entry, argument};
  const uintptr_t thread = _beginthreadex(nullptr, 0, WorkerMain, launch, 0, nullptr);
  if (thread == 0) {
    delete launch;
    return false;
  }
  state_->thread.Reset(reinterpret_cast<HANDLE>(thread));
  return true;
}

bool WorkerThread::Running() const {
  return state_->thread.Valid() && WaitForSingleObject(state_->thread.Get(), 0) == WAIT_TIMEOUT;
}

void WorkerThread::Join() {
  if (state_->thread) WaitForSingleObject(state_->thread.Get(), INFINITE);
}

void WorkerThread::Nudge() {
  if (state_->nudge) SetEvent(state_->nudge.Get());
}

void WorkerThread::WaitEndedOrNudged() {
  if (!state_->thread) return;
  if (!state_->nudge) {
    Join();
    return;
  }
  const HANDLE handles[] = {state_->thread.Get(), state_->nudge.Get()};
  WaitForMultipleObjects(2, handles, FALSE, INFINITE);
}

// Null, never INVALID_HANDLE_VALUE, for a handle that is not there: that
// value also names the current process, which a wait would never see end.
void* WorkerThread::EndHandle() const { return state_->thread ? state_->thread.Get() : nullptr; }
void* WorkerThread::NudgeHandle() const { return state_->nudge ? state_->nudge.Get() : nullptr; }
#endif
