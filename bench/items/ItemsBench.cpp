// Adding many items and reaching each of them by row and by path: the total
// time should grow with the count, the time per operation should not.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "FakeFileQueries.h"
#include "items/ItemCells.h"
#include "items/ItemList.h"

namespace {

void Run(size_t count) {
  FakeFileQueries fake;
  fake.AddDrive(L'C', 4096);
  for (size_t i = 0; i < count; ++i) fake.AddFile(BenchPath(i), 1000 + i);
  SetFileQueries(&fake);
  PortableItemPlatform items;
  ClearItemList();

  auto start = Clock::now();
  for (size_t i = 0; i < count; ++i) {
    if (AddItem(items, false, BenchPath(i)) != kAddOk) {
      std::fprintf(stderr, "AddItem failed at %zu\n", i);
      return;
    }
  }
  double addTime = Seconds(start);

  start = Clock::now();
  uint64_t sum = 0;
  for (uint64_t row = 0; row < ItemCount(); ++row) sum += ItemAtRow(row)->size;
  double rowTime = Seconds(start);

  // Upper-cased paths: the lookups must ignore case.
  std::vector<std::wstring> queries;
  queries.reserve(count);
  for (size_t i = 0; i < count; ++i) queries.push_back(BenchPath((i * 7919) % count));
  for (std::wstring& query : queries) {
    for (wchar_t& c : query) c = (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - 32) : c;
  }
  // The fastest of a few passes: the machine's other work only ever adds.
  size_t found = 0;
  double findTime = 1e9;
  for (int pass = 0; pass < 7; ++pass) {
    start = Clock::now();
    found = 0;
    for (const std::wstring& query : queries) found += FindItemByPath(query) ? 1 : 0;
    findTime = std::min(findTime, Seconds(start));
  }

  start = Clock::now();
  BuildSortKeys(ItemColumn::Size);
  SortItemList(-1);
  double sortTime = Seconds(start);

  std::printf("%7zu items: add %7.3f s (%5.2f us/item)  rows %6.2f ms (%5.1f ns/row)  "
              "find %6.2f ms (%5.0f ns/lookup, %zu found)  sort %6.1f ms  [checksum %llu]\n",
              count, addTime, addTime * 1e6 / count, rowTime * 1e3, rowTime * 1e9 / count, findTime * 1e3,
              findTime * 1e9 / count, found, sortTime * 1e3, static_cast<unsigned long long>(sum));
  ClearItemList();
  SetFileQueries(nullptr);
}

}  // namespace

int main() {
  for (size_t count : {50000, 100000, 200000}) Run(count);
  return 0;
}
