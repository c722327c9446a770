#pragma once
// Worker threads of the engine (the move thread, the folder worker) and the
// window thread's wait for them.
//
// The waiter learns of a worker's end from the thread itself, not only from
// the worker's done flag: a worker that ends without setting its flag (an
// exception, a thread ended from outside, a thread the runtime lost before it
// ran) is seen to have ended all the same, so no wait can outlast its worker.
// Waits block: while nothing happens the waiting thread uses no processor
// time, so the worker has the processor to itself on a busy machine.
#include <functional>
#include <memory>

using ThreadEntry = void (*)(void* argument);

// Every thread procedure of the program runs through this, the window
// thread's message loop included: it calls entry(argument) and hands any
// exception that escapes it to the escaped-exception handler, which in the
// program is the crash report (it shows the report and ends the process, so
// an out-of-memory in a worker is never a silent end). Without a handler, or
// when it returns, the exception only ends the procedure: false, and a
// worker then ends without its done flag, which its waiter reads as a worker
// that did not finish.
bool RunThreadProcedure(ThreadEntry entry, void* argument);

// Called inside the catch block of an escaped exception, so that it can look
// at the exception being handled (std::current_exception).
using EscapedExceptionHandler = void (*)();
void SetEscapedExceptionHandler(EscapedExceptionHandler handler);

class WorkerThread {
 public:
  WorkerThread();
  // A worker still running keeps running; only this side's hold on it goes.
  ~WorkerThread();
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  // Runs entry(argument) on a new thread. The previous worker of this object
  // must have ended. False when no thread could be started.
  bool Start(ThreadEntry entry, void* argument);
  // True from a successful Start until the thread has ended, however it ended.
  bool Running() const;
  // Blocks until the thread has ended; at once when none runs.
  void Join();
  // From the worker: wakes the waiter without ending, because the worker has
  // something to show. Nudges are not counted: several make one wake.
  void Nudge();
  // Blocks until the thread has ended or a nudge came (which it takes).
  void WaitEndedOrNudged();

  // The system objects a message-aware wait blocks on: the thread, which is
  // signalled when it ends, and the nudge event. Windows only; null elsewhere.
  void* EndHandle() const;
  void* NudgeHandle() const;

  struct State;

 private:
  std::shared_ptr<State> state_;
};

class MessagePump;

// Keeps the window alive until `worker` has ended: each step blocks until
// the worker ends, nudges or a window message arrives, and handles what
// came (`pump`'s own wait step). `onWake`, when given, runs after every
// step. False when a quit message ended the wait first; the worker may then
// still be running.
bool WaitForWorker(MessagePump& pump, WorkerThread& worker, const std::function<void()>& onWake = nullptr);
