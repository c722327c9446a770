#include "engine/VolumeAccess.h"

#include <cassert>
#include <cstdio>
#include <cwctype>

SharedBuffer gSharedBuffer;
VolumeHandleCache gVolumeCache;

namespace {
std::atomic<VolumeAccess*> gVolumeAccess{nullptr};
}

VolumeAccess& Va() {
  VolumeAccess* access = gVolumeAccess.load();
  assert(access != nullptr && "SetVolumeAccess must run before the engine touches a volume");
  return *access;
}

VolumeAccess* CurrentVolumeAccess() { return gVolumeAccess.load(); }

void SetVolumeAccess(VolumeAccess* access) { gVolumeAccess.store(access); }

std::wstring FailureText(uint32_t code) {
  std::wstring text = Va().SystemText(code);
  if (!text.empty()) {
    return text;
  }
  uint32_t error = Va().StatusToError(NtStatus(code));
  if (error != 0 && error != code && error != kErrorNoMessageForStatus) {
    text = Va().SystemText(error);
    if (!text.empty()) {
      return text;
    }
  }
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "Error 0x%08X", code);
  return std::wstring(buffer, buffer + std::char_traits<char>::length(buffer));
}

std::string VolumeDeviceName(wchar_t letter) {
  std::string name = "\\\\.\\";
  name += char(letter);
  name += ':';
  return name;
}

FsHandle VolumeForPath(const std::wstring& path, std::wstring& message) {
  uint32_t letter = path.empty() ? 0 : uint32_t(std::towupper(std::wint_t(path[0])));
  if (letter == gVolumeCache.letter && gVolumeCache.handle != 0) {
    if (gVolumeCache.handle == kInvalidHandle) {
      message = gVolumeCache.failureText;
    }
    return gVolumeCache.handle;
  }
  CloseCachedVolume();
  static std::atomic<uint64_t> openings{0};
  gVolumeCache.generation = ++openings;
  gVolumeCache.handle = Va().OpenVolume(VolumeDeviceName(wchar_t(letter)));
  gVolumeCache.letter = letter;
  gVolumeCache.failureText.clear();
  if (gVolumeCache.handle == kInvalidHandle) {
    gVolumeCache.failureText = FailureText(Va().LastError());
    message = gVolumeCache.failureText;
  }
  return gVolumeCache.handle;
}

void CloseCachedVolume() {
  // The failed-open value is not a handle of ours: there is nothing to close.
  if (IsValidHandle(gVolumeCache.handle)) {
    Va().Close(gVolumeCache.handle);
  }
  gVolumeCache.handle = 0;
  gVolumeCache.letter = 0;
  gVolumeCache.failureText.clear();
}
