#include "app/ntfs/NtfsPaths.h"

#include "util/WideString.h"

namespace {

std::wstring Backslashed(const std::string& text) {
  std::wstring wide = WideFromUtf8(text);
  for (wchar_t& c : wide) {
    if (c == L'/') c = L'\\';
  }
  return wide;
}

const std::wstring kDrive = std::wstring(1, kNtfsLetter) + L":";

}  // namespace

std::wstring EnginePath(const std::string& volumePath) {
  std::wstring path = Backslashed(volumePath);
  if (path.empty() || path[0] != L'\\') path.insert(0, 1, L'\\');
  path.insert(0, kDrive);
  if (path.size() > 3 && path.back() == L'\\') path.pop_back();
  return path;
}

std::string VolumePathOf(const std::wstring& enginePath) {
  std::wstring path = enginePath;
  if (path.size() >= 4 && path.compare(0, 4, L"\\\\?\\") == 0) path.erase(0, 4);
  if (path.size() >= 2 && (path[0] | 0x20) == (kNtfsLetter | 0x20) && path[1] == L':') {
    path.erase(0, 2);
    for (wchar_t& c : path) {
      if (c == L'\\') c = L'/';
    }
    if (path.empty()) path = L"/";
  }
  return WideToUtf8(path);
}

std::wstring EngineMask(const std::string& mask) {
  std::wstring engine = Backslashed(mask);
  if (!engine.empty() && engine[0] == L'\\') engine.insert(0, kDrive);
  return engine;
}
