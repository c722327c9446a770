// Profile files on any bytes, read into the item list over an in-memory file
// system that holds a few of the paths the seeds name: every item the list
// takes is written back and read again into the same list.
#include "FakeFileQueries.h"
#include "FuzzSupport.h"
#include "QuietImportUi.h"
#include "items/ItemList.h"
#include "selection/Profile.h"

#include <algorithm>
#include <vector>

namespace {

struct World {
  World() {
    fs.fake.AddFile(L"C:\\dati\\uno.txt", 3);
    fs.fake.AddFile(L"C:\\dati\\due.bin", 4096);
    fs.fake.AddFolder(L"C:\\dati\\cartella");
    fs.fake.AddFolder(L"D:\\");
  }
  ScopedFakeFileQueries fs;
};

std::vector<std::wstring> ItemPaths() {
  std::vector<std::wstring> paths;
  for (uint64_t row = 0; row < ItemCount(); ++row) paths.push_back(ItemAtRow(row)->path);
  std::sort(paths.begin(), paths.end());
  return paths;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static World world;
  static const std::wstring file = fuzz::ScratchFolder() + L"-profile.olp";
  fuzz::WriteBytes(file, data, size);
  ClearItemList();
  PortableItemPlatform items;
  QuietImportUi quiet;
  std::vector<MissingItem> missing;
  ReadProfile(file, items, quiet, missing);
  for (const MissingItem& item : missing) FUZZ_CHECK(item.kind == L'F' || item.kind == L'D');

  std::vector<std::wstring> read = ItemPaths();
  FUZZ_CHECK(WriteProfile(file));
  ClearItemList();
  FUZZ_CHECK(ReadProfile(file, items, quiet, missing) == ImportResult::Imported);
  FUZZ_CHECK(missing.empty());
  FUZZ_CHECK(ItemPaths() == read);
  ClearItemList();
  return 0;
}
