#include "engine/EngineThread.h"

#include <atomic>
#ifndef _WIN32
#include <cxxabi.h>
#endif

#include "engine/EngineUi.h"

namespace {

std::atomic<EscapedExceptionHandler> gEscapedExceptionHandler{nullptr};

}  // namespace

void SetEscapedExceptionHandler(EscapedExceptionHandler handler) {
  gEscapedExceptionHandler.store(handler, std::memory_order_release);
}

bool RunThreadProcedure(ThreadEntry entry, void* argument) {
  try {
    entry(argument);
    return true;
#ifndef _WIN32
  } catch (abi::__forced_unwind&) {
    throw;  // a cancelled thread must go on unwinding
#endif
  } catch (...) {
    if (EscapedExceptionHandler handler = gEscapedExceptionHandler.load(std::memory_order_acquire)) {
      handler();
    }
    return false;
  }
}

bool NoWindowPump::WaitForWorker(WorkerThread& worker) {
  worker.WaitEndedOrNudged();
  return true;
}

bool WaitForWorker(MessagePump& pump, WorkerThread& worker, const std::function<void()>& onWake) {
  while (worker.Running()) {
    if (!pump.WaitForWorker(worker)) return false;
    if (onWake) onWake();
  }
  return true;
}
