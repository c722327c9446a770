// "Exclude.ini" and "Include.ini" on any bytes (the input is cut in two):
// the lists never hold an entry their files cannot read back, saving and
// loading again gives the same saved entries, and the rules answer for a
// few paths and for every entry's own text.
#include "FuzzSupport.h"
#include "selection/Filters.h"
#include "options/Settings.h"
#include "util/PathText.h"
#include "util/ProgramFolder.h"

#include <vector>

namespace {

// The stored lines of the entries a save writes (all but the masks of kind X).
std::vector<std::wstring> SavedLines(const FilterList& list) {
  std::vector<std::wstring> lines;
  for (const FilterEntry* entry = list.head; entry; entry = entry->next) {
    FUZZ_CHECK(FitsFilterFile(entry->text));
    if (entry->kind != FilterKind::BuiltInMask) lines.push_back(entry->storedLine);
  }
  return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = [] {
    gProgramFolder = fuzz::ScratchFolder();
    gSettings.excludeBySize = false;
    return true;
  }();
  (void)ready;
  size_t cut = size == 0 ? 0 : data[0] * size / 256;
  fuzz::WriteBytes(JoinPath(gProgramFolder, L"Exclude.ini"), data, cut);
  fuzz::WriteBytes(JoinPath(gProgramFolder, L"Include.ini"), data + cut, size - cut);
  LoadFilterLists();
  FUZZ_CHECK(gExclusions.count >= 17);

  for (const wchar_t* path : {L"C:\\IO.SYS", L"C:\\dati\\a.tmp", L"\\\\?\\C:\\x\\memory.dmp", L""}) {
    IsFileExcluded(path);
    IsFolderExcluded(path);
  }
  for (const FilterEntry* entry = gExclusions.head; entry; entry = entry->next) {
    IsFileExcluded(entry->text);
    IsFolderExcluded(entry->text);
  }

  std::vector<std::wstring> exclusions = SavedLines(gExclusions);
  std::vector<std::wstring> inclusions = SavedLines(gInclusions);
  SaveExclusionList();
  SaveInclusionList();
  LoadFilterLists();
  FUZZ_CHECK(SavedLines(gExclusions) == exclusions);
  FUZZ_CHECK(SavedLines(gInclusions) == inclusions);
  // Everything the execution made is freed again: the fuzzer then has no
  // reason to look for a leak after it, which it would do at some cost.
  ClearFilterList(gExclusions);
  ClearFilterList(gInclusions);
  return 0;
}
