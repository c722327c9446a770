#include "engine/EngineThread.h"

#include "engine/EngineHooks.h"

bool WaitForWorker(WorkerThread& worker, const std::function<void()>& onWake) {
  while (worker.Running()) {
    if (gEngineHooks.waitForWorker) {
      if (!gEngineHooks.waitForWorker(worker)) return false;
    } else {
      worker.WaitEndedOrNudged();
    }
    if (onWake) onWake();
  }
  return true;
}
