#include "engine/Cleanup.h"

#include <memory>

#include "engine/EngineUi.h"
#include "engine/FileQueries.h"
#include "engine/Relocation.h"

uint32_t gCleanupCount = 0;

namespace {

std::wstring Joined(const std::wstring& folder, const std::wstring& name) {
  if (!folder.empty() && folder.back() == L'\\') return folder + name;
  return folder + L'\\' + name;
}

bool StopRequested() { return (gEngine.flags.load() & kStopRequested) != 0; }

}  // namespace

namespace {

void DeleteEntries(MessagePump& pump, const std::wstring& folder, DirListing& listing) {
  FileQueries& fs = Fs();
  DirEntry entry;
  while (listing.Next(entry)) {
    if (entry.name == L"." || entry.name == L"..") continue;
    if (StopRequested()) return;
    ++gCleanupCount;
    const std::wstring path = Joined(folder, entry.name);
    // What the entry is, is asked of the entry once opened, never of the
    // listing: the temporary folder is its user's to change, and a folder
    // swapped for a link after it was listed must not lead the cleanup,
    // with the administrator's rights, anywhere else. Held open, the entry
    // (and so every folder above the one being emptied) stays where it is,
    // and a folder is listed through its open entry.
    std::unique_ptr<OpenedEntry> opened = fs.OpenForRemoval(path);
    if (!opened) continue;
    const uint32_t attributes = opened->Attributes();
    if (attributes == kInvalidAttributes) continue;
    if (attributes & kAttrReadOnly) opened->SetAttributes(attributes & ~kAttrReadOnly);
    if (attributes & kAttrDirectory) {
      if (!(attributes & kAttrReparsePoint)) {
        if (std::unique_ptr<DirListing> inner = opened->List()) DeleteEntries(pump, path, *inner);
      }
      opened->Delete();
      continue;
    }
    opened->Delete();
    if (gCleanupCount % 4 == 0 && !pump.PumpMessages()) {
      // The program is closing: leave the rest for another time.
      gEngine.flags.fetch_or(kStopRequested);
    }
  }
}

}  // namespace

void DeleteFolderContents(MessagePump& pump, const std::wstring& folder) {
  std::unique_ptr<DirListing> listing = Fs().OpenListing(Joined(folder, L"*"));
  if (listing) DeleteEntries(pump, folder, *listing);
}

ProgramLaunch LaunchOf(const std::wstring& program, const std::wstring& switches) {
  ProgramLaunch launch;
  launch.applicationName = program;
  launch.commandLine = L"\"" + program + L"\"";
  if (!switches.empty()) launch.commandLine += L" \"" + switches + L"\"";
  return launch;
}
