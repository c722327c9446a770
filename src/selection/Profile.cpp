#include "selection/Profile.h"

#include "items/ItemList.h"
#include "util/UnicodeTextFile.h"
#include "util/WideString.h"

namespace {

// The extension as the shell finds it: from the last dot of the last
// component; a name without one has none.
std::wstring_view ExtensionOf(std::wstring_view name) {
  size_t dot = name.find_last_of(L".\\ ");
  if (dot == std::wstring_view::npos || name[dot] != L'.') return {};
  return name.substr(dot);
}

bool ShouldRefresh(uint64_t done) { return done <= kProfileProgressThreshold || done % 64 == 0; }

}  // namespace

std::wstring ProfileFileName(const std::wstring& chosen) {
  if (EqualNoCase(ExtensionOf(chosen), kProfileExtension)) return chosen;
  return chosen + kProfileExtension;
}

bool WriteProfile(const std::wstring& path) {
  UnicodeTextWriter writer;
  if (!writer.Create(path)) return false;
  writer.WriteLine(kProfileMagic);
  std::wstring line;
  for (const ItemNode* node = ItemListHead(); node; node = node->next) {
    const ItemRecord& record = node->record;
    if (record.flags & ItemFlags::kFolder) {
      line.assign(1, L'>');
      line += record.path;
      writer.WriteLine(line);
    } else {
      writer.WriteLine(record.path);
    }
  }
  return writer.Close();
}

ImportResult ReadProfile(const std::wstring& path, ItemPlatform& items, ProfileImportUi& ui,
                         std::vector<MissingItem>& missing) {
  missing.clear();
  UnicodeTextReader reader;
  if (!reader.Open(path, false, kLineLimitProfile)) return ImportResult::CannotOpen;
  std::wstring line;
  if (!reader.NextLine(line) || !EqualNoCase(line, kProfileMagic)) return ImportResult::NotProfile;

  if (ItemCount() != 0) {
    ImportChoice choice = ui.AskAddOrReplace();
    if (choice == ImportChoice::Cancel) return ImportResult::Cancelled;
    if (choice == ImportChoice::Replace) {
      ClearItemList();
      ui.ListCleared();
    }
  }

  // Counting pass: the items are the non-empty lines after the magic.
  uint64_t total = 0;
  reader.Close();
  if (!reader.Open(path, true, kLineLimitProfile)) return ImportResult::CannotOpen;
  bool magicSeen = false;
  while (reader.NextLine(line)) {
    if (magicSeen) ++total;
    magicSeen = true;
  }
  ui.Begin(total);

  reader.Close();
  if (!reader.Open(path, true, kLineLimitProfile)) return ImportResult::CannotOpen;
  reader.NextLine(line);  // the magic
  uint64_t done = 0;
  while (reader.NextLine(line)) {
    bool isFolder = line[0] == L'>';
    std::wstring itemPath = isFolder ? line.substr(1) : line;
    uint32_t code = AddItem(items, isFolder, itemPath);
    if ((code == kAddFileMissing && !isFolder) || (code == kAddFolderMissing && isFolder)) {
      missing.push_back({isFolder ? L'D' : L'F', std::move(itemPath)});
    }
    ++done;
    if (ShouldRefresh(done)) {
      ui.Progress(done);
      if (ui.StopRequested()) break;
    }
  }
  ui.End();
  return ImportResult::Imported;
}
