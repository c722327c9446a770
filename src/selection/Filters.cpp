#include "selection/Filters.h"

#include <new>

#include "engine/FileQueries.h"
#include "options/Settings.h"
#include "util/SortLinkedList.h"
#include "util/WideString.h"

FilterList gExclusions;
FilterList gInclusions;

namespace {

bool gBatch = false;

FilterKind KindOfLetter(wchar_t letter, FilterKind unknown) {
  switch (letter) {
    case L'F': return FilterKind::File;
    case L'D': return FilterKind::Folder;
    case L'W': return FilterKind::UserMask;
    case L'X': return FilterKind::BuiltInMask;
  }
  return unknown;
}

// By stored line, case-insensitive, equal lines in list order.
void SortList(FilterList& list) {
  list.head = SortLinkedList(list.head, [](const FilterEntry& x, const FilterEntry& y) {
    return CompareNoCase(x.storedLine, y.storedLine) < 0;
  });
}

// An unknown letter keeps the kind the node was made with, as the file
// reader has always done; such a line only comes from a hand-edited file.
int AddEntry(FilterList& list, FilterKind kind, wchar_t letter, const std::wstring& text) {
  if (!FitsFilterFile(text) || list.texts.count(text)) return 0;
  auto* entry = new (std::nothrow) FilterEntry;
  if (!entry) return 0;
  entry->kind = kind;
  entry->text = text;
  entry->upperText = UpperCase(text);
  if (kind == FilterKind::Folder) entry->upperText += L'*';
  entry->storedLine.reserve(text.size() + 1);
  entry->storedLine += letter;
  entry->storedLine += text;
  entry->next = list.head;
  list.head = entry;
  ++list.count;
  list.texts.insert(entry->text);
  if (!gBatch) SortList(list);
  return 1;
}

// The built-in masks: boot files in a drive's root, boot-loader and
// disk-encryption data, boot statistics and crash dumps, which must stay
// where they are.
constexpr const wchar_t* kBuiltInMasks[] = {
    L"*:\\io.sys",        L"*:\\msdos.sys",     L"*:\\ibmbio.com",    L"*:\\ibmdos.com",
    L"*:\\drbios.sys",    L"*\\safeboot.fs",    L"*\\safeboot.csv",   L"*\\safeboot.rsv",
    L"*\\safeboot.csc",   L"*\\Gobackio.bin",   L"*\\PGPWDE0*",       L"*\\bootwiz*",
    L"*\\BootAuth?.sys",  L"*\\$dcsys$",        L"*\\bootstat.dat",   L"*\\bootsqm.dat",
    L"*\\memory.dmp",
};

bool IsMask(FilterKind kind) { return kind == FilterKind::UserMask || kind == FilterKind::BuiltInMask; }

}  // namespace

bool FitsFilterFile(std::wstring_view text) { return text.size() <= kMaxFilterTextCount; }

bool WildcardMatch(std::wstring_view path, std::wstring_view upperMask) {
  return MatchUpper(UpperCaseText(path).View(), upperMask);
}

int IsFileExcluded(const std::wstring& path) {
  const UpperCaseText upperPath(path);
  const std::wstring_view upper = upperPath.View();
  for (const FilterEntry* entry = gExclusions.head; entry; entry = entry->next) {
    if (entry->kind == FilterKind::File) {
      if (upper == entry->upperText) return 1;
    } else if (IsMask(entry->kind)) {
      if (MatchUpper(upper, entry->upperText)) return 1;
    }
  }
  if (gSettings.excludeBySize) {
    // Compared unsigned: an unreadable size (all bits set) is always too large.
    uint64_t limit = static_cast<uint64_t>(gSettings.maxFileSizeKiB) * 1024;
    if (Fs().FileSize(path) > limit) return 1;
  }
  if (gInclusions.count == 0) return 0;
  for (const FilterEntry* entry = gInclusions.head; entry; entry = entry->next) {
    if (MatchUpper(upper, entry->upperText)) return 0;
  }
  return 1;
}

int IsFolderExcluded(const std::wstring& path) {
  const UpperCaseText upperPath(path);
  const std::wstring_view upper = upperPath.View();
  for (const FilterEntry* entry = gExclusions.head; entry; entry = entry->next) {
    if (entry->kind == FilterKind::Folder) {
      // Deliberately loose: the folder's text anywhere in the path cuts it off,
      // so C:\temp also takes C:\temp2 and D:\x\C:\temp-like names.
      std::wstring_view folder(entry->upperText.data(), entry->upperText.size() - 1);
      if (upper.find(folder) != std::wstring_view::npos) return 1;
    } else if (IsMask(entry->kind)) {
      if (MatchUpper(upper, entry->upperText)) return 1;
    }
  }
  return 0;
}

int AddExclusion(wchar_t kindLetter, const std::wstring& text) {
  return AddEntry(gExclusions, KindOfLetter(kindLetter, FilterKind::File), kindLetter, text);
}

int AddInclusion(const std::wstring& text) {
  return AddEntry(gInclusions, FilterKind::UserMask, L'W', text);
}

void BeginFilterBatch() { gBatch = true; }

void EndFilterBatch() {
  gBatch = false;
  SortList(gExclusions);
  SortList(gInclusions);
}

bool RemoveFilterEntry(FilterList& list, const FilterEntry* entry) {
  for (FilterEntry** link = &list.head; *link; link = &(*link)->next) {
    if (*link != entry) continue;
    FilterEntry* found = *link;
    *link = found->next;
    list.texts.erase(found->text);
    --list.count;
    delete found;
    return true;
  }
  return false;
}

void ClearFilterList(FilterList& list) {
  while (list.head) {
    FilterEntry* next = list.head->next;
    delete list.head;
    list.head = next;
  }
  list.count = 0;
  list.texts.clear();
}

// One sort for all of them, not one per mask.
void AddBuiltInMasks() {
  BeginFilterBatch();
  for (const wchar_t* mask : kBuiltInMasks) AddExclusion(L'X', mask);
  EndFilterBatch();
}
