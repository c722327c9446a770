#include "util/Tag.h"

#include <atomic>

namespace {

std::atomic<uint32_t> gTag{kTagStarting};
std::atomic<TagObserver> gTagObserver{nullptr};

}  // namespace

uint32_t CurrentTag() { return gTag.load(std::memory_order_relaxed); }

void SetTag(uint32_t tag) {
  gTag.store(tag, std::memory_order_relaxed);
  if (TagObserver observer = gTagObserver.load(std::memory_order_acquire)) observer(tag);
}

void SetTagObserver(TagObserver observer) { gTagObserver.store(observer, std::memory_order_release); }
