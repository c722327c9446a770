#pragma once
// Profile files: a saved copy of the main item list. The first line is the
// magic "KV70RX"; then one line per item in list order, a folder's path
// behind ">", a file's path alone.
#include <cstdint>
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

class ItemPlatform;

enum class ImportChoice { Cancel, Add, Replace };

// What an import tells its user and asks of them.
class ProfileImportUi {
 public:
  virtual ~ProfileImportUi() = default;
  // Asked only when the main list is not empty.
  virtual ImportChoice AskAddOrReplace() = 0;
  // The main list was emptied for a replace.
  virtual void ListCleared() = 0;
  // The import is about to add `total` items (more than 32: show progress).
  virtual void Begin(uint64_t total) = 0;
  // `done` items read so far: after each of the first 32, then every 64th.
  virtual void Progress(uint64_t done) = 0;
  // Asked after each progress step; true ends the import there.
  virtual bool StopRequested() = 0;
  // Every line was read (or the user stopped).
  virtual void End() = 0;
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
ImportResult ReadProfile(const std::wstring& path, ItemPlatform& items, ProfileImportUi& ui,
                         std::vector<MissingItem>& missing);

// Progress is shown only for profiles with more items than this.
constexpr uint64_t kProfileProgressThreshold = 32;
