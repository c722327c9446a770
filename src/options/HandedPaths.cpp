#include "options/HandedPaths.h"

#include <cstring>

std::wstring PackHandedPaths(const std::vector<std::wstring>& paths) {
  std::wstring block;
  for (const std::wstring& path : paths) {
    block += path;
    block += L'\0';
  }
  return block;
}

std::optional<std::vector<std::wstring>> UnpackHandedPaths(const void* data, size_t bytes) {
  if (!data || bytes == 0 || bytes % sizeof(wchar_t) != 0 || bytes > kMaxHandedPathsBytes) return std::nullopt;
  // The block may sit at any address: copy it before reading its units.
  std::wstring block(bytes / sizeof(wchar_t), L'\0');
  std::memcpy(block.data(), data, bytes);
  if (block.back() != L'\0') return std::nullopt;
  std::vector<std::wstring> paths;
  size_t start = 0;
  while (start < block.size()) {
    size_t end = block.find(L'\0', start);
    if (end > start) paths.push_back(block.substr(start, end - start));
    start = end + 1;
  }
  return paths;
}
