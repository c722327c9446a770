// The filter tests run for every file and folder of a walk: 1,000,000 paths
// against 50 exclusion masks (the 17 built-in ones and 33 of the user's),
// with and without an inclusion list.
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "FakeFileQueries.h"
#include "selection/Filters.h"

namespace {

std::wstring PathOf(size_t i) {
  return L"C:\\Users\\Utente\\Documenti\\Progetto" + std::to_wstring(i % 97) + L"\\sotto\\cartella" +
         std::to_wstring(i % 13) + L"\\file" + std::to_wstring(i) + (i % 5 ? L".dat" : L".tmp");
}

template <typename Test>
void Measure(const char* what, const std::vector<std::wstring>& paths, Test test) {
  auto start = Clock::now();
  size_t hits = 0;
  for (const std::wstring& path : paths) hits += test(path);
  double seconds = Seconds(start);
  std::printf("%-44s %7.3f s  %6.0f ns/path  %zu hits\n", what, seconds, seconds * 1e9 / paths.size(), hits);
}

}  // namespace

int main() {
  constexpr size_t kPaths = 1'000'000;
  FakeFileQueries fake;
  SetFileQueries(&fake);
  std::vector<std::wstring> paths;
  paths.reserve(kPaths);
  for (size_t i = 0; i < kPaths; ++i) paths.push_back(PathOf(i));

  AddBuiltInMasks();
  for (int i = 0; gExclusions.count < 50; ++i) {
    AddExclusion(L'W', (i % 2 ? L"*.ext" : L"*prefix*name") + std::to_wstring(i));
  }
  std::printf("%zu paths, %llu exclusion masks\n", paths.size(), static_cast<unsigned long long>(gExclusions.count));

  std::wstring mask = L"*\\CARTELLA1?\\FILE*.TMP";
  Measure("WildcardMatch, one mask", paths, [&](const std::wstring& p) { return WildcardMatch(p, mask); });
  Measure("IsFileExcluded, 50 masks", paths, [](const std::wstring& p) { return IsFileExcluded(p); });
  Measure("IsFolderExcluded, 50 masks", paths, [](const std::wstring& p) { return IsFolderExcluded(p); });
  for (int i = 0; i < 5; ++i) AddInclusion(L"*.inc" + std::to_wstring(i));
  AddInclusion(L"*.dat");
  Measure("IsFileExcluded, 50 masks + 6 inclusions", paths, [](const std::wstring& p) { return IsFileExcluded(p); });
  ClearFilterList(gExclusions);
  ClearFilterList(gInclusions);
  return 0;
}
