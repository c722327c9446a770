#pragma once
// Profile files: a saved copy of the main item list. The first line is the
// magic "KV70RX"; then one line per item in list order, a folder's path
// behind ">", a file's path alone.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

constexpr wchar_t kProfileMagic[] = L"KV70RX";
constexpr wchar_t kProfileExtension[] = L".olp";

// The name to save under: ".olp" appended unless the name's extension (from
// its last dot in the last component) already is ".olp" in any case.
std::wstring ProfileFileName(const std::wstring& chosen);

// Writes the main list; false when the file cannot be created.
bool WriteProfile(const std::wstring& path);

// An item of a profile that no longer exists: 'F' file or 'D' folder.
struct MissingItem {
  wchar_t kind;
  std::wstring path;
};

enum class ImportChoice { Cancel, Add, Replace };

// What an import needs from the window. Any of them may be empty.
struct ProfileImportHooks {
  // Asked only when the main list is not empty.
  std::function<ImportChoice()> askAddOrReplace;
  // The main list was emptied for a replace.
  std::function<void()> listCleared;
  // The import is about to add `total` items (more than 32: show progress).
  std::function<void(uint64_t total)> begin;
  // `done` items read so far: after each of the first 32, then every 64th.
  std::function<void(uint64_t done)> progress;
  std::function<bool()> stopRequested;
  // Every line was read (or the user stopped).
  std::function<void()> end;
};

enum class ImportResult {
  Imported,
  CannotOpen,   // the file cannot be opened
  NotProfile,   // its first line is not the magic
  Cancelled,    // the user chose Cancel at the add-or-replace question
};

// Reads the profile and adds its items to the main list through AddItem.
// The file is read twice: once to count the items, once to add them; the
// time is linear in the number of lines. `missing` receives the items that
// no longer exist, in file order.
ImportResult ReadProfile(const std::wstring& path, const ProfileImportHooks& hooks,
                         std::vector<MissingItem>& missing);

// Progress is shown only for profiles with more items than this.
constexpr uint64_t kProfileProgressThreshold = 32;
