#include "engine/FileQueries.h"

#include <cassert>

namespace {
FileQueries* gFileQueries = nullptr;
}

FileQueries& Fs() {
  assert(gFileQueries != nullptr && "SetFileQueries must run before the first query");
  return *gFileQueries;
}

void SetFileQueries(FileQueries* queries) { gFileQueries = queries; }

uint64_t FileQueries::FileSize(const std::wstring& path) {
  uint64_t size = kInvalidSize;
  FindEntries(path, [&size](const DirEntry& entry) {
    size = entry.size;
    return false;
  });
  return size;
}
