// Loaded before the C library into a process under test: its n-th write
// at a position, counted across all its threads, kills it before the write
// (ORDALIS_STOP_AT_WRITE=n) or fails with an I/O error
// (ORDALIS_FAIL_AT_WRITE=n). A tracer counts each thread on its own; this
// counts the process as a whole.
#include <dlfcn.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

namespace {

std::atomic<long> gWrites{0};

long Wanted(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::atol(value) : 0;
}

// True when this write is to fail; never returns for the one that kills.
bool Intercept() {
  static const long stopAt = Wanted("ORDALIS_STOP_AT_WRITE");
  static const long failAt = Wanted("ORDALIS_FAIL_AT_WRITE");
  const long n = ++gWrites;
  if (n == stopAt) raise(SIGKILL);
  return n == failAt;
}

using Pwrite = ssize_t (*)(int, const void*, size_t, off_t);

}  // namespace

extern "C" ssize_t pwrite64(int fd, const void* buffer, size_t count, off_t offset) {
  static const auto real = reinterpret_cast<Pwrite>(dlsym(RTLD_NEXT, "pwrite64"));
  if (Intercept()) {
    errno = EIO;
    return -1;
  }
  return real(fd, buffer, count, offset);
}

extern "C" ssize_t pwrite(int fd, const void* buffer, size_t count, off_t offset) {
  return pwrite64(fd, buffer, count, offset);
}
