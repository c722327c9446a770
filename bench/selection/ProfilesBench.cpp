// Importing a profile: the time per item should not grow with the count.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "FakeFileQueries.h"
#include "QuietImportUi.h"
#include "items/ItemList.h"
#include "selection/Profile.h"
#include "util/UnicodeTextFile.h"

namespace {

void Run(size_t count) {
  FakeFileQueries fake;
  fake.AddDrive(L'C', 4096);
  std::vector<std::wstring> lines{kProfileMagic};
  for (size_t i = 0; i < count; ++i) {
    fake.AddFile(BenchPath(i), 1000 + i);
    lines.push_back(BenchPath(i));
  }
  SetFileQueries(&fake);
  PortableItemPlatform items;
  ClearItemList();
  std::wstring file = (std::filesystem::temp_directory_path() / "ordalis-bench.olp").wstring();
  UnicodeTextWriter writer;
  writer.Create(file);
  for (const std::wstring& line : lines) writer.WriteLine(line);
  writer.Close();

  std::vector<MissingItem> missing;
  auto start = Clock::now();
  QuietImportUi quiet;
  ImportResult result = ReadProfile(file, items, quiet, missing);
  double importTime = Seconds(start);
  start = Clock::now();
  WriteProfile(file);
  double saveTime = Seconds(start);
  std::printf("%8zu items: import %.3f s (%.2f us/item, %zu added, result %d), save %.3f s\n", count, importTime,
              importTime * 1e6 / count, static_cast<size_t>(ItemCount()), static_cast<int>(result), saveTime);
  ClearItemList();
  SetFileQueries(nullptr);
  std::filesystem::remove(file);
}

}  // namespace

int main() {
  for (size_t count : {50'000, 100'000, 200'000}) Run(count);
  return 0;
}
