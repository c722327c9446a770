#pragma once
// An NTFS volume (an image file or a block device) behind both halves of the
// file-system seam, read and written through the on-disk format library, for
// the Linux build. It answers the three defragmentation controls as the file
// system does on Windows (whole extents, rounded starts, end-of-file answers,
// overflow with the full bitmap size, minimum buffer sizes, 16-cluster units
// for compressed and sparse files), so the analysis, the free-space search,
// the relocation, the walk and the runs work on it unchanged.
//
// Paths on the volume are given to the engine as paths of one drive, the
// letter chosen at opening: "N:\Users\ann\disk.vhdx" is "/Users/ann/disk.vhdx"
// on the volume.
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/FileQueries.h"
#include "engine/VolumeAccess.h"
#include "engine/ntfs/NtfsDevice.h"
#include "engine/ntfs/SwitchJournal.h"

struct _ntfs_volume;
struct _ntfs_inode;
struct _runlist_element;
using runlist_element = _runlist_element;

// Why a volume could not be opened.
enum class NtfsOpenFailure {
  None,
  CannotOpen,   // missing, not NTFS, unreadable, larger than its device
  Mounted,      // mounted or in use by this system (loop devices included),
                // open in another run, or the check could not be made
  Dirty,        // marked for a check by its own system
  Hibernated,   // holds a hibernated or fast-started system
};


// Status values of the controls on this volume beyond the shared ones.
constexpr NtStatus kStatusDiskCorrupt = NtStatus(0xC0000032u);
constexpr NtStatus kStatusFileCorrupt = NtStatus(0xC0000102u);
constexpr NtStatus kStatusMediaWriteProtected = NtStatus(0xC00000A2u);

class NtfsVolume : public VolumeAccess {
 public:
  NtfsVolume();
  ~NtfsVolume() override;
  NtfsVolume(const NtfsVolume&) = delete;
  NtfsVolume& operator=(const NtfsVolume&) = delete;

  // Opens the image or device read-only or for writing, exclusively: a block
  // device is claimed as a mount claims it, an image file is locked against
  // other runs. Refused when the image or device is mounted or attached to a
  // loop device anywhere, or when that cannot be checked. Nothing is written
  // when the volume is refused. `message` says why in plain English.
  // Opened for writing, the volume is marked for a disk check until it is
  // closed after a clean end, so that a run that never ends has its own
  // system check it.
  NtfsOpenFailure Open(const std::string& device, bool writable, wchar_t letter,
                       std::string& message);
  // Whether the last opening completed a move a stopped run left half-done.
  bool CompletedInterruptedMove() const { return completedMove_; }
  // Flushes and closes; false when the library reported a failure or the
  // volume was left marked for a disk check (a move that failed half-way).
  bool Unmount();

  wchar_t Letter() const { return letter_; }
  uint32_t ClusterSize() const;
  uint64_t ClusterCount() const;
  bool Writable() const { return writable_; }
  // The volume path of an engine path of our drive ("/a/b"), empty when the
  // path is not on our drive. Long prefixes are accepted.
  std::string VolumePath(const std::wstring& path) const;

  // VolumeAccess.
  FsHandle OpenFileForMoving(const std::wstring& path) override;
  bool MovesInUnits(FsHandle file) override;
  FsHandle OpenFileBackupSemantics(const std::wstring& path) override;
  FsHandle OpenVolume(const std::string& deviceName) override;
  uint32_t LastError() override;
  bool Close(FsHandle handle) override;
  NtStatus GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input,
                                uint32_t inputLength, void* output, uint32_t outputLength) override;
  NtStatus GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input,
                           uint32_t inputLength, void* output, uint32_t outputLength) override;
  NtStatus MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                        uint32_t inputLength) override;
  void Wait(FsHandle handle) override;
  std::wstring SystemText(uint32_t code) override;
  uint32_t StatusToError(NtStatus status) override;

 private:
  friend class NtfsFileQueries;
  struct OpenHandle {
    bool volume = false;
    uint64_t mft = 0;
    bool protectedFile = false;  // one of the volume's own files
  };
  // The inode of a volume path, opened; null with errno set.
  _ntfs_inode* LookUp(const std::string& volumePath);
  FsHandle OpenPath(const std::wstring& path, bool backup);
  const OpenHandle* Find(FsHandle handle) const;
  NtStatus Pointers(const OpenHandle& file, int64_t vcn, void* output, uint32_t outputLength,
                    uintptr_t& information);
  // The run list of a file's stream, end mark included, kept for the file
  // last asked about (the engine reads a file's list in many calls).
  NtStatus RunsOf(uint64_t mft, const std::vector<runlist_element>*& runs);
  NtStatus Bitmap(int64_t lcn, void* output, uint32_t outputLength, uintptr_t& information);
  NtStatus Move(const OpenHandle& file, int64_t vcn, int64_t target, uint32_t count);
  bool RangeFree(int64_t lcn, uint64_t count);
  // The moves of one file are gathered (target claimed, data copied) and
  // its run list switched once, when every allocated cluster of it has
  // moved, or when anything else is asked of the volume.
  struct PendingMove;
  NtStatus SettlePending();
  NtStatus SwitchPending();
  // The gathered copies given up: their clusters are free again.
  void AbandonPending();
  bool FlushCopies();
  bool CopiesMatch();
  // The library's view of the volume read afresh from the disk (after a
  // switch that never reached it).
  bool Remount();
  // The library's view let go of: the journal and the disk-check mark
  // removed after a clean end; false when the end was not clean.
  bool UnmountLibrary();

  // Mounts the held device through the library.
  _ntfs_volume* MountDevice(const std::string& device, bool readOnly);

  std::recursive_mutex mutex_;
  NtfsDeviceFile device_;
  _ntfs_volume* volume_ = nullptr;
  bool writable_ = false;
  wchar_t letter_ = L'N';
  std::vector<runlist_element> runs_;
  uint64_t runsMft_ = UINT64_MAX;
  std::string path_;  // the device's name, for mounting it again
  SwitchJournal journal_;
  std::unique_ptr<PendingMove> pending_;
  bool needsCheck_ = false;  // clusters left in use that no file owns
  bool halted_ = false;      // a switch's journal not applied: no more writes
  bool completedMove_ = false;
  std::map<FsHandle, OpenHandle> handles_;
  FsHandle nextHandle_ = 0x204;
};

// The file queries over the same volume. Paths of other drives are not found.
class NtfsFileQueries : public FileQueries {
 public:
  explicit NtfsFileQueries(NtfsVolume& volume) : volume_(volume) {}
  // The library reads a folder's index in one pass: the listing holds the
  // folder's entries.
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

 private:
  NtfsVolume& volume_;
};
