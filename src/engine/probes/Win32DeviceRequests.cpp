#include "engine/probes/Win32DeviceRequests.h"
#include "util/win32/Win32Handle.h"

#include <windows.h>

#include <string>

namespace {

// One volume device handle, read and write access with read and write
// sharing, closed with the probe that opened it.
class Win32DeviceHandle final : public DeviceHandle {
 public:
  explicit Win32DeviceHandle(HANDLE handle) : handle_(handle) {}

  bool Control(uint32_t code, const void* in, uint32_t inLength, void* out, uint32_t outLength) override {
    DWORD returned = 0;
    return DeviceIoControl(handle_.Get(), code, const_cast<void*>(in), inLength, out, outLength, &returned, nullptr) !=
           FALSE;
  }

 private:
  UniqueHandle handle_;
};

class Win32Requests final : public DeviceRequests {
 public:
  SystemVersion Version() override {
    SystemVersion version;
    OSVERSIONINFOEXA extended{};
    extended.dwOSVersionInfoSize = sizeof extended;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    if (!GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&extended))) {
      OSVERSIONINFOA basic{};
      basic.dwOSVersionInfoSize = sizeof basic;
      if (!GetVersionExA(&basic)) return version;
      extended.dwMajorVersion = basic.dwMajorVersion;
      extended.dwMinorVersion = basic.dwMinorVersion;
      extended.dwPlatformId = basic.dwPlatformId;
    }
#pragma GCC diagnostic pop
    version.major = extended.dwMajorVersion;
    version.minor = extended.dwMinorVersion;
    version.ntFamily = extended.dwPlatformId == VER_PLATFORM_WIN32_NT;
    return version;
  }

  std::unique_ptr<DeviceHandle> OpenVolume(wchar_t letter) override {
    const std::string device = std::string("\\\\.\\") + static_cast<char>(letter) + ":";
    HANDLE handle = CreateFileA(device.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return nullptr;
    return std::make_unique<Win32DeviceHandle>(handle);
  }
};

}  // namespace

DeviceRequests& Win32DeviceRequests() {
  static Win32Requests requests;
  return requests;
}
