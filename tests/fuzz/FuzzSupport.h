#pragma once
// Shared by the fuzz targets: fuzz bytes as UTF-16 text, a scratch file for
// the readers that only read files, and a check that stops the run loudly.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace fuzz {

// Pairs of bytes as UTF-16LE code units; an odd last byte is dropped.
inline std::wstring WideText(const uint8_t* data, size_t size) {
  std::wstring text;
  text.reserve(size / 2);
  for (size_t i = 0; i + 1 < size; i += 2) {
    text += static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
  }
  return text;
}

// A name of this process in the temporary folder, `suffix` at its end: the
// shared-memory folder when there is one. Every execution writes and reads
// its files, and on a disk-backed folder opening and closing them cost more
// than everything else the target does.
inline std::string ScratchPath(const std::string& suffix) {
  static const bool inMemory = access("/dev/shm", W_OK) == 0;
  return std::string(inMemory ? "/dev/shm" : "/tmp") + "/ordalis-fuzz-" + std::to_string(getpid()) + suffix;
}

// A folder name for the program, which joins it with a backslash: on this
// system that makes one flat file name beside it.
inline std::wstring ScratchFolder() {
  const std::string name = ScratchPath("");
  return std::wstring(name.begin(), name.end());
}

inline void WriteBytes(const std::wstring& path, const uint8_t* data, size_t size) {
  std::string narrow(path.begin(), path.end());
  FILE* file = std::fopen(narrow.c_str(), "wb");
  if (!file) std::abort();
  if (size) std::fwrite(data, 1, size, file);
  std::fclose(file);
}

// A broken promise of a reader: report and stop, so the fuzzer keeps the input.
#define FUZZ_CHECK(condition)                                                   \
  do {                                                                          \
    if (!(condition)) {                                                         \
      std::fprintf(stderr, "check failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
      std::abort();                                                             \
    }                                                                           \
  } while (0)

}  // namespace fuzz
