#pragma once
// Owner of one kernel handle: closes it once; "no handle" is both NULL and
// INVALID_HANDLE_VALUE.
#ifdef _WIN32
#include <windows.h>

class UniqueHandle {
 public:
  UniqueHandle() = default;
  explicit UniqueHandle(HANDLE handle) : handle_(handle) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.Detach()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) Reset(other.Detach());
    return *this;
  }
  ~UniqueHandle() { Reset(); }

  HANDLE Get() const { return handle_; }
  bool Valid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Detach() {
    HANDLE handle = handle_;
    handle_ = INVALID_HANDLE_VALUE;
    return handle;
  }
  void Reset(HANDLE handle = INVALID_HANDLE_VALUE) {
    if (Valid()) CloseHandle(handle_);
    handle_ = handle;
  }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};
#endif
