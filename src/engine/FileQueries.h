#pragma once
// The directory and file queries of the file-system seam. Everything above the
// engine that needs to know about files and folders (adding items, filters,
// folder walks, the command line) asks through this interface, so the same
// code runs on Windows and on the in-memory trees of the tests.
#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// Attribute bits as the file system reports them.
constexpr uint32_t kAttrReadOnly = 0x1;
constexpr uint32_t kAttrHidden = 0x2;
constexpr uint32_t kAttrSystem = 0x4;
constexpr uint32_t kAttrDirectory = 0x10;
constexpr uint32_t kAttrArchive = 0x20;
constexpr uint32_t kAttrNormal = 0x80;
constexpr uint32_t kAttrSparse = 0x200;
constexpr uint32_t kAttrReparsePoint = 0x400;
constexpr uint32_t kAttrCompressed = 0x800;
constexpr uint32_t kAttrEncrypted = 0x4000;
constexpr uint32_t kInvalidAttributes = 0xFFFFFFFF;

// System error numbers the callers test for.
constexpr uint32_t kErrFileNotFound = 2;
constexpr uint32_t kErrPathNotFound = 3;
constexpr uint32_t kErrAccessDenied = 5;
constexpr uint32_t kErrNoMoreFiles = 18;

// One directory entry. Times are 100-nanosecond ticks since 1601-01-01 UTC.
struct DirEntry {
  std::wstring name;  // the name inside its folder, no path
  uint32_t attributes = 0;
  uint64_t size = 0;
  uint64_t creationTime = 0;
  uint64_t lastAccessTime = 0;
  uint64_t lastWriteTime = 0;
};

enum class DriveKind : uint32_t {
  Unknown = 0,
  NoRootDir = 1,  // nothing mounted at that path
  Removable = 2,
  Fixed = 3,
  Remote = 4,
  CdRom = 5,
  RamDisk = 6,
};

// One open search of a folder, read an entry at a time, so that a caller
// holding many of them (one per level of a deep walk) holds no listing whole.
class DirListing {
 public:
  virtual ~DirListing() = default;
  // The next entry, in the order the file system returns them; false at the
  // end.
  virtual bool Next(DirEntry& entry) = 0;
};

// A listing over entries already read, for file systems that hand out a
// folder's entries only all at once.
std::unique_ptr<DirListing> ListingOfEntries(std::vector<DirEntry> entries);

// An entry opened by OpenForRemoval. What it is and what happens to it are
// asked of the opened entry, not of its path, so nothing done to the path
// after it was listed can make the cleanup act on something else.
class OpenedEntry {
 public:
  virtual ~OpenedEntry() = default;
  // Its attributes, kInvalidAttributes when they cannot be read.
  virtual uint32_t Attributes() = 0;
  virtual bool SetAttributes(uint32_t attributes) = 0;
  // Deletes it once it is closed: a file, an empty folder, or a link itself
  // without what it points to.
  virtual bool Delete() = 0;
  // The entries of an opened folder, read through the open entry rather
  // than its path. Null when it cannot be listed.
  virtual std::unique_ptr<DirListing> List() = 0;
};

struct FolderIdentity {
  uint64_t volume = 0;
  uint64_t folder = 0;
  auto operator<=>(const FolderIdentity&) const = default;
};

class FileQueries {
 public:
  virtual ~FileQueries() = default;

  // Opens a search for the same entries FindEntries would visit. Null when
  // the search cannot be opened (the error is then kept for LastError()).
  virtual std::unique_ptr<DirListing> OpenListing(const std::wstring& pattern) = 0;

  // Visits the entries that match the last component of `pattern` (which may
  // hold "*" and "?"), in the order the file system returns them, "." and ".."
  // included when the pattern matches them. `visit` returns false to stop.
  // Returns 0 when at least one entry was visited, otherwise the system error
  // number of the failed search (2, 3, 5, 18, ...).
  virtual uint32_t FindEntries(const std::wstring& pattern,
                               const std::function<bool(const DirEntry&)>& visit) = 0;

  // Attributes of a path, or kInvalidAttributes (the last error is then kept
  // for LastError()).
  virtual uint32_t GetAttributes(const std::wstring& path) = 0;

  // The compressed size of a file in bytes (high and low halves joined);
  // kInvalidSize when it cannot be read.
  static constexpr uint64_t kInvalidSize = ~0ull;
  virtual uint64_t GetCompressedSize(const std::wstring& path) = 0;

  // The size of a file in bytes, kInvalidSize when it cannot be read. The
  // default takes it from the file's directory entry; the Windows seam first
  // asks the opened file (without access rights) and falls back to that.
  virtual uint64_t FileSize(const std::wstring& path);

  // Sectors per cluster times bytes per sector of the drive whose root is
  // given as a letter, a colon and a backslash; 0 when it cannot be read.
  virtual uint32_t BytesPerCluster(const std::wstring& root) = 0;

  // The kind of drive for a root given as a letter, a colon and a backslash.
  virtual DriveKind GetDriveKind(const std::wstring& root) = 0;

  // The full form of a path, relative to the current folder (at most
  // `maxCount` characters; empty when it does not fit).
  virtual std::wstring FullPath(const std::wstring& path, size_t maxCount) = 0;

  // The system's message text for an error number, unchanged (it usually
  // ends in CR LF); empty when the system has none.
  virtual std::wstring ErrorText(uint32_t error) = 0;

  // The error number of the last failed query on this thread.
  virtual uint32_t LastError() = 0;

  // Opens the entry at `path` itself for the cleanup of the temporary
  // folder: a link (a junction, a mounted folder, a symbolic link) is opened
  // as the link, never followed. While open, the entry keeps its place: it
  // cannot be renamed, nor swapped for another. Null when it cannot be
  // opened; a file system that is only read never opens one.
  virtual std::unique_ptr<OpenedEntry> OpenForRemoval(const std::wstring& path);

  // Who the folder at `path` is, whatever path reached it (links followed):
  // its volume and its number there. False when the file system cannot
  // tell.
  virtual bool IdentifyFolder(const std::wstring& path, FolderIdentity& identity);
};

// The process-wide implementation: the Windows one in the program, an
// in-memory tree in tests. Set once before anything asks.
FileQueries& Fs();
void SetFileQueries(FileQueries* queries);
