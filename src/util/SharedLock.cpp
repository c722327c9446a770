#include "util/SharedLock.h"

#include <cassert>
#include <memory>

namespace {
std::unique_ptr<std::mutex> gSharedLock;
}

void CreateSharedLock() { gSharedLock = std::make_unique<std::mutex>(); }
void DeleteSharedLock() { gSharedLock.reset(); }

std::mutex& SharedLock() {
  assert(gSharedLock && "the shared lock is created at start-up");
  return *gSharedLock;
}
