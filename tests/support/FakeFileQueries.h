#pragma once
// An in-memory file system behind the FileQueries seam, for tests and
// benchmarks: drives with a cluster size and a kind, folders and files with
// attributes, sizes and times, and searches made to fail per path.
//
// Paths are compared without regard to case; a "\\?\" prefix is ignored.
// Like the real file system, a search inside any folder but a drive root
// also yields "." and ".." first, and a search for a path that ends in a
// backslash finds nothing.
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/FileQueries.h"
#include "util/WideString.h"

class FakeFileQueries : public FileQueries {
 public:
  // Creates the drive (letter, colon, backslash) if needed and sets its
  // answers. A drive also springs into being, with 4096-byte clusters and
  // kind Fixed, when something is added below it.
  void AddDrive(wchar_t letter, uint32_t bytesPerCluster = 4096, DriveKind kind = DriveKind::Fixed);
  // Adds a folder and any missing folders above it. Returns its entry, whose
  // fields the test may change.
  DirEntry& AddFolder(const std::wstring& path, uint32_t attributes = kAttrDirectory);
  // Adds a file (and its missing folders), compressed to its own size.
  DirEntry& AddFile(const std::wstring& path, uint64_t size = 0, uint32_t attributes = kAttrArchive);
  // A link at `path` to the folder `target` (which must exist): listed as a
  // folder that is a reparse point, and paths through it lead into the
  // target. OpenForRemoval opens the link itself.
  void AddLink(const std::wstring& path, const std::wstring& target);
  // Removes a file or a folder with everything inside it.
  bool Remove(const std::wstring& path);
  bool Exists(const std::wstring& path) const;

  // Makes searches fail with `error` for one path: either the whole pattern
  // or the folder that is searched.
  void InjectError(const std::wstring& path, uint32_t error);
  void ClearErrors();
  void SetCurrentFolder(const std::wstring& path) { currentFolder_ = path; }

  // How many entries searches and listings have handed out so far.
  uint64_t EntriesHandedOut() const { return entriesHandedOut_; }

  std::unique_ptr<DirListing> OpenListing(const std::wstring& pattern) override;
  uint32_t FindEntries(const std::wstring& pattern,
                       const std::function<bool(const DirEntry&)>& visit) override;
  uint32_t GetAttributes(const std::wstring& path) override;
  uint64_t GetCompressedSize(const std::wstring& path) override;
  uint32_t BytesPerCluster(const std::wstring& root) override;
  DriveKind GetDriveKind(const std::wstring& root) override;
  std::wstring FullPath(const std::wstring& path, size_t maxCount) override;
  std::wstring ErrorText(uint32_t error) override;
  uint32_t LastError() override;
  // As the system does: a read-only file is not deleted, a folder is removed
  // only when empty or when it is a link (then without what it shows).
  std::unique_ptr<OpenedEntry> OpenForRemoval(const std::wstring& path) override;
  // A folder's node is its identity; links lead to their target's.
  bool IdentifyFolder(const std::wstring& path, FolderIdentity& identity) override;
  bool ChangeAttributes(const std::wstring& path, uint32_t attributes);
  bool RemoveFile(const std::wstring& path);
  bool RemoveFolder(const std::wstring& path);

  // Runs as OpenForRemoval begins, so a test can change the tree between
  // the listing and the opening.
  std::function<void(const std::wstring& path)> beforeOpenForRemoval;

 private:
  struct Node {
    DirEntry entry;
    Node* link = nullptr;  // the target of a link
    std::vector<std::unique_ptr<Node>> children;  // in the order they were added
    std::unordered_map<std::wstring_view, Node*, NoCaseHash, NoCaseEqual> byName;
  };
  struct Drive {
    uint32_t bytesPerCluster = 4096;
    DriveKind kind = DriveKind::Fixed;
    Node root;
  };

  Drive* DriveOf(std::wstring_view path, bool create);
  // Links on the way are followed, and the last one too unless told not to.
  Node* Lookup(std::wstring_view path, bool followLast = true) const;
  Node* MakeFolders(std::wstring_view path);
  // The entry of that name inside the folder, made (as a folder) if missing.
  static Node* Child(Node* folder, std::wstring_view name);
  // The entries a search opened now hands out, or the error it fails with.
  uint32_t Search(const std::wstring& pattern, std::vector<DirEntry>& entries);

  std::map<wchar_t, Drive> drives_;
  std::map<std::wstring, uint32_t> errors_;  // by upper-cased path
  std::wstring currentFolder_ = L"C:\\";
  uint64_t entriesHandedOut_ = 0;
};

// Sets a fake as the process-wide FileQueries for its lifetime.
class ScopedFakeFileQueries {
 public:
  ScopedFakeFileQueries() { SetFileQueries(&fake); }
  ~ScopedFakeFileQueries() { SetFileQueries(nullptr); }
  ScopedFakeFileQueries(const ScopedFakeFileQueries&) = delete;
  ScopedFakeFileQueries& operator=(const ScopedFakeFileQueries&) = delete;
  FakeFileQueries fake;
};
