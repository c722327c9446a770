#include "engine/EngineThread.h"

#include <system_error>
#include <thread>

bool StartDetachedThread(ThreadEntry entry, void* argument) {
  try {
    std::thread(entry, argument).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}
