#include "FakeFileQueries.h"

#include <algorithm>

#include "engine/SystemTexts.h"
#include "util/PathText.h"

namespace {

thread_local uint32_t tLastError = 0;

// 2020-01-01 00:00 UTC in 100-ns ticks since 1601.
constexpr uint64_t kDefaultTime = 132223104000000000ull;

bool HasDriveLetter(std::wstring_view path) {
  return path.size() >= 2 && path[1] == L':' &&
         ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z'));
}

// The components after "X:", empty ones dropped.
std::vector<std::wstring_view> Components(std::wstring_view path) {
  std::vector<std::wstring_view> parts;
  path.remove_prefix(2);
  while (!path.empty()) {
    size_t slash = path.find(L'\\');
    std::wstring_view part = path.substr(0, slash);
    if (!part.empty()) parts.push_back(part);
    if (slash == std::wstring_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return parts;
}

bool HasWildcards(std::wstring_view name) { return name.find_first_of(L"*?") != std::wstring_view::npos; }

}  // namespace

FakeFileQueries::Drive* FakeFileQueries::DriveOf(std::wstring_view path, bool create) {
  path = DisplayPath(path);
  if (!HasDriveLetter(path)) return nullptr;
  wchar_t letter = UpperCaseUnit(path[0]);
  auto found = drives_.find(letter);
  if (found != drives_.end()) return &found->second;
  if (!create) return nullptr;
  Drive& drive = drives_[letter];
  drive.root.entry.name = std::wstring{letter, L':', L'\\'};
  drive.root.entry.attributes = kAttrDirectory | kAttrHidden | kAttrSystem;
  return &drive;
}

void FakeFileQueries::AddDrive(wchar_t letter, uint32_t bytesPerCluster, DriveKind kind) {
  std::wstring root{letter, L':', L'\\'};
  Drive* drive = DriveOf(root, true);
  drive->bytesPerCluster = bytesPerCluster;
  drive->kind = kind;
}

FakeFileQueries::Node* FakeFileQueries::Lookup(std::wstring_view path, bool followLast) const {
  path = DisplayPath(path);
  if (!HasDriveLetter(path)) return nullptr;
  auto drive = drives_.find(UpperCaseUnit(path[0]));
  if (drive == drives_.end()) return nullptr;
  Node* node = const_cast<Node*>(&drive->second.root);
  for (std::wstring_view part : Components(path)) {
    if (node->link) node = node->link;
    auto child = node->byName.find(part);
    if (child == node->byName.end()) return nullptr;
    node = child->second;
  }
  // A path that ends in a backslash names the folder inside the link.
  if (node->link && (followLast || path.ends_with(L'\\'))) node = node->link;
  return node;
}

void FakeFileQueries::AddLink(const std::wstring& path, const std::wstring& target) {
  Node* targetNode = Lookup(target);
  Node* node = MakeFolders(path);
  node->entry.attributes = kAttrDirectory | kAttrReparsePoint;
  node->link = targetNode;
}

FakeFileQueries::Node* FakeFileQueries::Child(Node* folder, std::wstring_view name) {
  auto found = folder->byName.find(name);
  if (found != folder->byName.end()) return found->second;
  auto created = std::make_unique<Node>();
  created->entry.name = std::wstring(name);
  created->entry.attributes = kAttrDirectory;
  created->entry.creationTime = created->entry.lastAccessTime = created->entry.lastWriteTime = kDefaultTime;
  Node* raw = created.get();
  folder->children.push_back(std::move(created));
  folder->byName.emplace(std::wstring_view(raw->entry.name), raw);
  return raw;
}

FakeFileQueries::Node* FakeFileQueries::MakeFolders(std::wstring_view path) {
  path = DisplayPath(path);
  Drive* drive = DriveOf(path, true);
  if (drive == nullptr) return nullptr;
  Node* node = &drive->root;
  for (std::wstring_view part : Components(path)) node = Child(node, part);
  return node;
}

DirEntry& FakeFileQueries::AddFolder(const std::wstring& path, uint32_t attributes) {
  Node* node = MakeFolders(path);
  if (!Components(DisplayPath(path)).empty()) node->entry.attributes = attributes | kAttrDirectory;
  return node->entry;
}

DirEntry& FakeFileQueries::AddFile(const std::wstring& path, uint64_t size, uint32_t attributes) {
  std::wstring_view view = DisplayPath(path);
  size_t slash = view.find_last_of(L'\\');
  Node* node = Child(MakeFolders(view.substr(0, slash)), view.substr(slash + 1));
  node->entry.attributes = attributes & ~kAttrDirectory;
  node->entry.size = size;
  return node->entry;
}

bool FakeFileQueries::Remove(const std::wstring& path) {
  std::wstring_view view = DisplayPath(path);
  size_t slash = view.find_last_of(L'\\');
  if (slash == std::wstring_view::npos || slash + 1 == view.size()) return false;
  Node* folder = Lookup(view.substr(0, slash + 1));
  if (folder == nullptr) return false;
  auto found = folder->byName.find(view.substr(slash + 1));
  if (found == folder->byName.end()) return false;
  Node* node = found->second;
  folder->byName.erase(found);
  folder->children.erase(std::find_if(folder->children.begin(), folder->children.end(),
                                      [node](const std::unique_ptr<Node>& child) { return child.get() == node; }));
  return true;
}

bool FakeFileQueries::Exists(const std::wstring& path) const { return Lookup(path) != nullptr; }

void FakeFileQueries::InjectError(const std::wstring& path, uint32_t error) {
  errors_[UpperCase(DisplayPath(path))] = error;
}

void FakeFileQueries::ClearErrors() { errors_.clear(); }

namespace {

// The entries are taken when the search opens; they are handed out, and
// counted, one at a time.
class FakeListing final : public DirListing {
 public:
  FakeListing(std::vector<DirEntry> entries, uint64_t& handedOut)
      : entries_(std::move(entries)), handedOut_(handedOut) {}
  bool Next(DirEntry& entry) override {
    if (next_ == entries_.size()) return false;
    entry = entries_[next_++];
    ++handedOut_;
    return true;
  }

 private:
  std::vector<DirEntry> entries_;
  size_t next_ = 0;
  uint64_t& handedOut_;
};

}  // namespace

std::unique_ptr<DirListing> FakeFileQueries::OpenListing(const std::wstring& pattern) {
  std::vector<DirEntry> entries;
  if (Search(pattern, entries) != 0) return nullptr;
  return std::make_unique<FakeListing>(std::move(entries), entriesHandedOut_);
}

uint32_t FakeFileQueries::FindEntries(const std::wstring& pattern,
                                      const std::function<bool(const DirEntry&)>& visit) {
  std::unique_ptr<DirListing> listing = OpenListing(pattern);
  if (listing == nullptr) return tLastError;
  DirEntry entry;
  while (listing->Next(entry) && visit(entry)) {
  }
  return 0;
}

uint32_t FakeFileQueries::Search(const std::wstring& pattern, std::vector<DirEntry>& entries) {
  std::wstring_view view = DisplayPath(pattern);
  size_t slash = view.find_last_of(L'\\');
  auto fail = [](uint32_t code) {
    tLastError = code;
    return code;
  };
  if (slash == std::wstring_view::npos || !HasDriveLetter(view)) return fail(kErrPathNotFound);
  std::wstring_view folderPath = view.substr(0, slash + 1);
  std::wstring_view namePattern = view.substr(slash + 1);
  std::wstring_view folderKey = slash > 2 ? view.substr(0, slash) : folderPath;
  for (std::wstring_view failing : {view, folderKey}) {
    auto found = errors_.empty() ? errors_.end() : errors_.find(UpperCase(failing));
    if (found != errors_.end()) return fail(found->second);
  }
  Node* folder = Lookup(folderPath);
  if (folder == nullptr || (folder->entry.attributes & kAttrDirectory) == 0) return fail(kErrPathNotFound);
  if (namePattern.empty()) return fail(kErrFileNotFound);

  if (!HasWildcards(namePattern)) {
    auto found = folder->byName.find(namePattern);
    if (found == folder->byName.end()) return fail(kErrFileNotFound);
    entries.push_back(found->second->entry);
    return 0;
  }
  if (!Components(folderPath).empty()) {
    for (const wchar_t* dots : {L".", L".."}) {
      if (!NameMatches(namePattern, dots)) continue;
      entries.push_back(folder->entry);
      entries.back().name = dots;
    }
  }
  for (const std::unique_ptr<Node>& child : folder->children) {
    if (NameMatches(namePattern, child->entry.name)) entries.push_back(child->entry);
  }
  return entries.empty() ? fail(kErrFileNotFound) : 0;
}

uint32_t FakeFileQueries::GetAttributes(const std::wstring& path) {
  Node* node = Lookup(path);
  if (node == nullptr) {
    tLastError = kErrFileNotFound;
    return kInvalidAttributes;
  }
  return node->entry.attributes;
}

uint64_t FakeFileQueries::GetCompressedSize(const std::wstring& path) {
  Node* node = Lookup(path);
  return node == nullptr ? kInvalidSize : node->entry.size;
}

uint32_t FakeFileQueries::BytesPerCluster(const std::wstring& root) {
  Drive* drive = DriveOf(root, false);
  return drive == nullptr ? 0 : drive->bytesPerCluster;
}

DriveKind FakeFileQueries::GetDriveKind(const std::wstring& root) {
  Drive* drive = DriveOf(root, false);
  return drive == nullptr ? DriveKind::NoRootDir : drive->kind;
}

// Full paths as they are, any other joined to the current folder; the paths
// the tests give hold no "." or ".." to resolve.
std::wstring FakeFileQueries::FullPath(const std::wstring& path, size_t maxCount) {
  const bool full = path.starts_with(L"\\\\") || (HasDriveLetter(path) && path.size() >= 3 && path[2] == L'\\');
  const std::wstring result = full ? path : JoinPath(currentFolder_, path);
  return result.size() > maxCount ? std::wstring() : result;
}

std::wstring FakeFileQueries::ErrorText(uint32_t error) { return BuiltInSystemText(error); }

uint32_t FakeFileQueries::LastError() { return tLastError; }

namespace {

// Acts on the path it was opened with: the test changes the tree only before
// the opening, as the system's sharing rules keep an open entry in place.
class FakeOpenedEntry final : public OpenedEntry {
 public:
  FakeOpenedEntry(FakeFileQueries& fake, std::wstring path, uint32_t attributes)
      : fake_(fake), path_(std::move(path)), attributes_(attributes) {}
  uint32_t Attributes() override { return attributes_; }
  bool SetAttributes(uint32_t attributes) override { return fake_.ChangeAttributes(path_, attributes); }
  bool Delete() override {
    return (attributes_ & kAttrDirectory) ? fake_.RemoveFolder(path_) : fake_.RemoveFile(path_);
  }
  std::unique_ptr<DirListing> List() override { return fake_.OpenListing(path_ + L"\\*"); }

 private:
  FakeFileQueries& fake_;
  std::wstring path_;
  uint32_t attributes_;
};

}  // namespace

std::unique_ptr<OpenedEntry> FakeFileQueries::OpenForRemoval(const std::wstring& path) {
  if (beforeOpenForRemoval) beforeOpenForRemoval(path);
  Node* node = Lookup(path, false);
  if (node == nullptr) {
    tLastError = kErrFileNotFound;
    return nullptr;
  }
  return std::make_unique<FakeOpenedEntry>(*this, path, node->entry.attributes);
}

bool FakeFileQueries::IdentifyFolder(const std::wstring& path, FolderIdentity& identity) {
  Node* node = Lookup(path);
  if (node == nullptr || !(node->entry.attributes & kAttrDirectory)) return false;
  identity.volume = UpperCaseUnit(DisplayPath(path)[0]);
  identity.folder = reinterpret_cast<uintptr_t>(node);
  return true;
}

bool FakeFileQueries::ChangeAttributes(const std::wstring& path, uint32_t attributes) {
  Node* node = Lookup(path, false);
  if (node == nullptr) return false;
  // The kind of entry is not the caller's to change.
  const uint32_t fixed = kAttrDirectory | kAttrReparsePoint;
  node->entry.attributes = (node->entry.attributes & fixed) | (attributes & ~fixed);
  return true;
}

bool FakeFileQueries::RemoveFile(const std::wstring& path) {
  Node* node = Lookup(path, false);
  if (node == nullptr || (node->entry.attributes & (kAttrDirectory | kAttrReadOnly))) {
    tLastError = kErrAccessDenied;
    return false;
  }
  return Remove(path);
}

bool FakeFileQueries::RemoveFolder(const std::wstring& path) {
  Node* node = Lookup(path, false);
  if (node == nullptr || !(node->entry.attributes & kAttrDirectory)) return false;
  if (!node->children.empty() && !(node->entry.attributes & kAttrReparsePoint)) return false;
  return Remove(path);
}
