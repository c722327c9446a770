#pragma once
// The include and exclude filters: which files and folders a run touches.
//
// The exclusion list holds single files (kind F), whole folders (D), the
// user's masks (W) and the built-in masks (X) that protect boot, encryption
// and crash-dump files. The inclusion list holds user masks only; when it is
// not empty a file must match one of them to be processed. A third rule
// skips files above a size limit (gSettings.excludeBySize and
// gSettings.maxFileSizeKiB).
//
// Both lists are kept sorted by their stored line, case-insensitively, and
// never hold two entries with the same text. They are changed only on the
// window thread while no run is going on; the run's threads only read them,
// so the tests below take no lock and allocate nothing per call.
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

#include "util/UnicodeTextFile.h"
#include "util/WideString.h"

enum class FilterKind : uint32_t {
  File = 0,         // "F": one file, compared as a whole path
  Folder = 1,       // "D": a folder and everything whose path contains it
  UserMask = 2,     // "W": a wildcard mask the user entered
  BuiltInMask = 3,  // "X": a wildcard mask of the program, never saved or shown
};

struct FilterEntry {
  FilterKind kind = FilterKind::UserMask;
  std::wstring text;        // as entered
  std::wstring upperText;   // upper case; a folder's gets a trailing "*"
  std::wstring storedLine;  // kind letter + text: the file's line and the sort key
  FilterEntry* next = nullptr;
};

struct FilterList {
  FilterEntry* head = nullptr;
  uint64_t count = 0;
  // The texts of the entries, for the uniqueness rule without a walk.
  std::unordered_set<std::wstring_view, NoCaseHash, NoCaseEqual> texts;
};

extern FilterList gExclusions;
extern FilterList gInclusions;

// The whole path against an upper-case mask: "*" any run (folder separators
// included), "?" one character, anything else itself. Backtracks to the last
// star only.
bool WildcardMatch(std::wstring_view path, std::wstring_view upperMask);

// 1 when the file must be skipped: it is excluded by name or mask, it is
// larger than the size limit (when that rule is on; an unreadable size
// counts as too large), or the inclusion list is not empty and no inclusion
// mask matches it. Exclusion wins over inclusion. `path` is a full path
// without the "\\?\" prefix.
int IsFileExcluded(const std::wstring& path);
// 1 when the folder and everything under it must be skipped: a folder entry
// equals it or occurs anywhere inside it (deliberately loose), or a mask
// matches it. `path` has no trailing backslash.
int IsFolderExcluded(const std::wstring& path);

// The longest text an entry may hold: its stored line (the kind letter and
// the text) must stay below the line limit of the filter files, or reading
// the saved file back would end at it and lose it and everything after it.
constexpr size_t kMaxFilterTextCount = kLineLimitFilters - 2;
bool FitsFilterFile(std::wstring_view text);

// 1 when added, 0 for a duplicate text (any kind), a text longer than
// kMaxFilterTextCount or a failed allocation.
// kindLetter is L'F', L'D', L'W' or L'X'.
int AddExclusion(wchar_t kindLetter, const std::wstring& text);
int AddInclusion(const std::wstring& text);
// Many additions with one sort at the end: Begin, the adds, then End (which
// sorts). The lists stay unsorted in between, so nothing may read them.
void BeginFilterBatch();
void EndFilterBatch();
// Unlinks and frees one entry; false when it is not in the list.
bool RemoveFilterEntry(FilterList& list, const FilterEntry* entry);
void ClearFilterList(FilterList& list);

// "Exclude.ini" and "Include.ini" in the program folder. Loading the
// exclusions first adds the built-in masks. Both loads start from an empty
// list. Saving an emptied list deletes its file.
void LoadExclusionList();
void SaveExclusionList();
void LoadInclusionList();
void SaveInclusionList();
// Adds the seventeen built-in masks (kind X) to the exclusions.
void AddBuiltInMasks();
// Both lists, as start-up and the filter dialog's Cancel load them.
void LoadFilterLists();
