#include "engine/win32/Win32FileQueries.h"
#include "util/win32/Win32Handle.h"

#include <windows.h>

#include <vector>

#include "util/win32/Win32Handle.h"

namespace {

// The error of the last failed query, kept apart from the thread's own last
// error so that calls made in between (drawing, messages) cannot change it.
thread_local uint32_t tLastError = 0;

uint32_t Fail() {
  tLastError = GetLastError();
  return tLastError;
}

uint64_t Ticks(const FILETIME& time) {
  return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

DirEntry EntryOf(const WIN32_FIND_DATAW& data) {
  DirEntry entry;
  entry.name = data.cFileName;
  entry.attributes = data.dwFileAttributes;
  entry.size = (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  entry.creationTime = Ticks(data.ftCreationTime);
  entry.lastAccessTime = Ticks(data.ftLastAccessTime);
  entry.lastWriteTime = Ticks(data.ftLastWriteTime);
  return entry;
}

HANDLE FindFirst(const std::wstring& pattern, WIN32_FIND_DATAW& data) {
  return FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &data, FindExSearchNameMatch, nullptr,
                          FIND_FIRST_EX_LARGE_FETCH);
}

// The first entry arrives with the opening of the search; the later ones
// one call each.
class Win32Listing final : public DirListing {
 public:
  Win32Listing(HANDLE find, const WIN32_FIND_DATAW& first) : find_(find), data_(first) {}
  bool Next(DirEntry& entry) override {
    if (!haveData_) {
      if (ended_ || !FindNextFileW(find_.Get(), &data_)) {
        ended_ = true;
        return false;
      }
    }
    haveData_ = false;
    entry = EntryOf(data_);
    return true;
  }

 private:
  UniqueFindHandle find_;
  WIN32_FIND_DATAW data_;
  bool haveData_ = true;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<DirListing> Win32FileQueries::OpenListing(const std::wstring& pattern) {
  WIN32_FIND_DATAW data{};
  HANDLE find = FindFirst(pattern, data);
  if (find == INVALID_HANDLE_VALUE) {
    Fail();
    return nullptr;
  }
  return std::make_unique<Win32Listing>(find, data);
}

uint32_t Win32FileQueries::FindEntries(const std::wstring& pattern,
                                       const std::function<bool(const DirEntry&)>& visit) {
  WIN32_FIND_DATAW data{};
  const UniqueFindHandle find(FindFirst(pattern, data));
  if (!find) return Fail();
  do {
    if (!visit(EntryOf(data))) break;
  } while (FindNextFileW(find.Get(), &data));
  return 0;
}

uint32_t Win32FileQueries::GetAttributes(const std::wstring& path) {
  DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) Fail();
  return attributes;
}

uint64_t Win32FileQueries::GetCompressedSize(const std::wstring& path) {
  DWORD high = 0;
  SetLastError(NO_ERROR);
  DWORD low = GetCompressedFileSizeW(path.c_str(), &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
    Fail();
    return kInvalidSize;
  }
  return (static_cast<uint64_t>(high) << 32) | low;
}

uint64_t Win32FileQueries::FileSize(const std::wstring& path) {
  // No access rights are needed to ask a file its size, so files that are in
  // use or locked still answer.
  const UniqueHandle file(CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
  LARGE_INTEGER size{};
  if (file && GetFileSizeEx(file.Get(), &size)) return static_cast<uint64_t>(size.QuadPart);
  return FileQueries::FileSize(path);
}

uint32_t Win32FileQueries::BytesPerCluster(const std::wstring& root) {
  DWORD sectorsPerCluster = 0, bytesPerSector = 0, freeClusters = 0, totalClusters = 0;
  if (!GetDiskFreeSpaceW(root.c_str(), &sectorsPerCluster, &bytesPerSector, &freeClusters,
                         &totalClusters)) {
    Fail();
    return 0;
  }
  return sectorsPerCluster * bytesPerSector;
}

DriveKind Win32FileQueries::GetDriveKind(const std::wstring& root) {
  return static_cast<DriveKind>(GetDriveTypeW(root.c_str()));
}

std::wstring Win32FileQueries::FullPath(const std::wstring& path, size_t maxCount) {
  std::vector<wchar_t> buffer(maxCount + 1);
  DWORD count = GetFullPathNameW(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(),
                                 nullptr);
  if (count == 0) {
    Fail();
    return {};
  }
  if (count >= buffer.size()) return {};
  return std::wstring(buffer.data(), count);
}

std::wstring Win32FileQueries::ErrorText(uint32_t error) {
  wchar_t* text = nullptr;
  DWORD count = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::wstring result = count ? std::wstring(text, count) : std::wstring();
  if (text) LocalFree(text);
  return result;
}

uint32_t Win32FileQueries::LastError() { return tLastError; }

namespace {

// A folder's entries read through a handle to it, a buffer of records at a
// time.
class HandleListing final : public DirListing {
 public:
  explicit HandleListing(HANDLE folder) : folder_(folder), buffer_(64 * 1024) {}
  bool Next(DirEntry& entry) override {
    while (next_ == nullptr) {
      if (ended_) return false;
      const FILE_INFO_BY_HANDLE_CLASS kind = first_ ? FileIdBothDirectoryRestartInfo : FileIdBothDirectoryInfo;
      first_ = false;
      if (!GetFileInformationByHandleEx(folder_.Get(), kind, buffer_.data(), static_cast<DWORD>(buffer_.size()))) {
        ended_ = true;
        return false;
      }
      next_ = buffer_.data();
    }
    const auto* record = reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(next_);
    entry.name.assign(record->FileName, record->FileNameLength / sizeof(wchar_t));
    entry.attributes = record->FileAttributes;
    entry.size = static_cast<uint64_t>(record->EndOfFile.QuadPart);
    entry.creationTime = static_cast<uint64_t>(record->CreationTime.QuadPart);
    entry.lastAccessTime = static_cast<uint64_t>(record->LastAccessTime.QuadPart);
    entry.lastWriteTime = static_cast<uint64_t>(record->LastWriteTime.QuadPart);
    next_ = record->NextEntryOffset ? next_ + record->NextEntryOffset : nullptr;
    return true;
  }

 private:
  UniqueHandle folder_;
  std::vector<BYTE> buffer_;
  const BYTE* next_ = nullptr;
  bool first_ = true;
  bool ended_ = false;
};

// An entry of the temporary folder, opened as itself. The handle lets others
// read and write but not delete or rename the entry, so that while it is
// open nobody can swap it for a link; what is decided from its attributes
// holds for what is deleted.
class Win32OpenedEntry final : public OpenedEntry {
 public:
  explicit Win32OpenedEntry(HANDLE handle) : handle_(handle) {}
  uint32_t Attributes() override {
    FILE_BASIC_INFO basic{};
    if (!GetFileInformationByHandleEx(handle_.Get(), FileBasicInfo, &basic, sizeof basic)) return kInvalidAttributes;
    return basic.FileAttributes;
  }
  bool SetAttributes(uint32_t attributes) override {
    FILE_BASIC_INFO basic{};  // times of 0 stay as they are
    basic.FileAttributes = attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
    return SetFileInformationByHandle(handle_.Get(), FileBasicInfo, &basic, sizeof basic) != FALSE;
  }
  // Listed through a second handle opened on this one, never on the path: a
  // search by path would first have to find the entry shared for deletion.
  std::unique_ptr<DirListing> List() override {
    HANDLE folder = ReOpenFile(handle_.Get(), FILE_LIST_DIRECTORY | SYNCHRONIZE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, FILE_FLAG_BACKUP_SEMANTICS);
    if (folder == INVALID_HANDLE_VALUE) return nullptr;
    return std::make_unique<HandleListing>(folder);
  }
  bool Delete() override {
    FILE_DISPOSITION_INFO disposition{};
    disposition.DeleteFile = TRUE;
    return SetFileInformationByHandle(handle_.Get(), FileDispositionInfo, &disposition, sizeof disposition) !=
           FALSE;
  }

 private:
  UniqueHandle handle_;
};

}  // namespace

std::unique_ptr<OpenedEntry> Win32FileQueries::OpenForRemoval(const std::wstring& path) {
  // Backup semantics open folders; opening the reparse point itself keeps a
  // link from being followed.
  HANDLE handle = CreateFileW(path.c_str(), DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    Fail();
    return nullptr;
  }
  return std::make_unique<Win32OpenedEntry>(handle);
}

bool Win32FileQueries::IdentifyFolder(const std::wstring& path, FolderIdentity& identity) {
  UniqueHandle folder(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION information{};
  if (!folder.Valid() || !GetFileInformationByHandle(folder.Get(), &information)) return false;
  identity.volume = information.dwVolumeSerialNumber;
  identity.folder = (static_cast<uint64_t>(information.nFileIndexHigh) << 32) | information.nFileIndexLow;
  return true;
}
