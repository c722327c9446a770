#include "engine/FileQueries.h"

#include <cassert>

namespace {
FileQueries* gFileQueries = nullptr;

class EntriesListing : public DirListing {
 public:
  explicit EntriesListing(std::vector<DirEntry> entries) : entries_(std::move(entries)) {}
  bool Next(DirEntry& entry) override {
    if (next_ == entries_.size()) return false;
    entry = std::move(entries_[next_++]);
    return true;
  }

 private:
  std::vector<DirEntry> entries_;
  size_t next_ = 0;
};
}  // namespace

std::unique_ptr<DirListing> ListingOfEntries(std::vector<DirEntry> entries) {
  return std::make_unique<EntriesListing>(std::move(entries));
}

FileQueries& Fs() {
  assert(gFileQueries != nullptr && "SetFileQueries must run before the first query");
  return *gFileQueries;
}

void SetFileQueries(FileQueries* queries) { gFileQueries = queries; }

uint64_t FileQueries::FileSize(const std::wstring& path) {
  uint64_t size = kInvalidSize;
  FindEntries(path, [&size](const DirEntry& entry) {
    size = entry.size;
    return false;
  });
  return size;
}

std::unique_ptr<OpenedEntry> FileQueries::OpenForRemoval(const std::wstring&) { return nullptr; }
bool FileQueries::IdentifyFolder(const std::wstring&, FolderIdentity&) { return false; }
