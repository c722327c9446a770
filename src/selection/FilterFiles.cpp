// "Exclude.ini" and "Include.ini": one stored line per entry (kind letter and
// text), beside the program. The built-in masks are added again at every
// load and never written.
#include "selection/Filters.h"
#include "util/PathText.h"
#include "util/ProgramFolder.h"
#include "util/UnicodeTextFile.h"

namespace {

std::wstring FilterFilePath(const wchar_t* name) { return JoinPath(gProgramFolder, name); }

template <typename TakeLine>
void ReadFilterFile(const wchar_t* name, TakeLine take) {
  UnicodeTextReader reader;
  if (!reader.Open(FilterFilePath(name), true, kLineLimitFilters)) return;
  BeginFilterBatch();
  std::wstring line;
  while (reader.NextLine(line)) take(line);
  EndFilterBatch();
}

// Writes the stored lines of the entries that `keep` accepts, or deletes the
// file when there are none. Saving never reports a failure.
template <typename Keep>
void WriteFilterFile(const wchar_t* name, const FilterList& list, Keep keep) {
  bool any = false;
  for (const FilterEntry* entry = list.head; entry && !any; entry = entry->next) any = keep(*entry);
  std::wstring path = FilterFilePath(name);
  if (!any) {
    DeleteTextFile(path);
    return;
  }
  UnicodeTextWriter writer;
  if (!writer.Create(path)) return;
  for (const FilterEntry* entry = list.head; entry; entry = entry->next) {
    if (keep(*entry)) writer.WriteLine(entry->storedLine);
  }
  writer.Close();
}

}  // namespace

void LoadExclusionList() {
  ClearFilterList(gExclusions);
  AddBuiltInMasks();
  ReadFilterFile(L"Exclude.ini", [](const std::wstring& line) {
    AddExclusion(line[0], line.substr(1));
  });
}

void SaveExclusionList() {
  WriteFilterFile(L"Exclude.ini", gExclusions,
                  [](const FilterEntry& entry) { return entry.kind != FilterKind::BuiltInMask; });
}

void LoadInclusionList() {
  ClearFilterList(gInclusions);
  ReadFilterFile(L"Include.ini", [](const std::wstring& line) { AddInclusion(line.substr(1)); });
}

void SaveInclusionList() {
  WriteFilterFile(L"Include.ini", gInclusions, [](const FilterEntry&) { return true; });
}

void LoadFilterLists() {
  LoadExclusionList();
  LoadInclusionList();
}
