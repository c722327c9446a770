#include "util/PathText.h"

namespace {
constexpr std::wstring_view kLongPrefix = L"\\\\?\\";

bool IsAsciiLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }
}  // namespace

bool HasLongPrefix(std::wstring_view path) { return path.size() >= 3 && path[2] == L'?'; }

std::wstring LongPathOf(std::wstring_view path) {
  if (HasLongPrefix(path)) return std::wstring(path);
  std::wstring result(kLongPrefix);
  result += path;
  return result;
}

std::wstring_view DisplayPath(std::wstring_view path) {
  if (HasLongPrefix(path)) return path.size() > 4 ? path.substr(4) : std::wstring_view();
  return path;
}

bool IsDriveRoot(std::wstring_view path) {
  std::wstring_view rest = DisplayPath(path);
  return rest.size() == 3 && IsAsciiLetter(rest[0]) && rest[1] == L':' && rest[2] == L'\\';
}

std::wstring JoinPath(std::wstring_view folder, std::wstring_view name) {
  std::wstring result(folder);
  bool folderEnds = !result.empty() && result.back() == L'\\';
  bool nameStarts = !name.empty() && name.front() == L'\\';
  if (folderEnds && nameStarts) {
    name.remove_prefix(1);
  } else if (!folderEnds && !nameStarts) {
    result += L'\\';
  }
  result += name;
  return result;
}
