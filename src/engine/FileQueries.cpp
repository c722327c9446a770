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
