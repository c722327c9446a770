#pragma once
// The directory and file queries answered by the Windows file system.
#include "engine/FileQueries.h"

class Win32FileQueries final : public FileQueries {
 public:
  std::unique_ptr<DirListing> OpenListing(const std::wstring& pattern) override;
  uint32_t FindEntries(const std::wstring& pattern,
                       const std::function<bool(const DirEntry&)>& visit) override;
  uint32_t GetAttributes(const std::wstring& path) override;
  uint64_t GetCompressedSize(const std::wstring& path) override;
  uint64_t FileSize(const std::wstring& path) override;
  uint32_t BytesPerCluster(const std::wstring& root) override;
  DriveKind GetDriveKind(const std::wstring& root) override;
  std::wstring FullPath(const std::wstring& path, size_t maxCount) override;
  std::wstring ErrorText(uint32_t error) override;
  uint32_t LastError() override;
  std::unique_ptr<OpenedEntry> OpenForRemoval(const std::wstring& path) override;
  bool IdentifyFolder(const std::wstring& path, FolderIdentity& identity) override;
};
