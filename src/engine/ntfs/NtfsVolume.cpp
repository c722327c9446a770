#include "engine/ntfs/NtfsVolume.h"
#include "util/PathText.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <vector>

#include "engine/ntfs/NtfsDevice.h"
#include "engine/ntfs/NtfsLibrary.h"
#include "engine/SystemTexts.h"
#include "util/WideString.h"

namespace {

// Records below this number are the volume's own files, and so is
// everything in the folder of its extensions.
constexpr uint64_t kFirstUserRecord = 24;
constexpr uint64_t kUnit = 16;  // clusters per compression unit

thread_local uint32_t tLastOpenError = 0;

uint32_t ErrorFromErrno(int error) {
  switch (error) {
    case ENOENT: return kErrorFileNotFound;
    case ENOTDIR: return 3;
    case EACCES:
    case EPERM: return kErrorAccessDenied;
    default: return 1;
  }
}

// Flags as the volume holds them, read as plain bits: a damaged record may
// hold any value, which the library's enumeration types cannot.
template <typename Flags>
uint32_t Bits(const Flags& flags) {
  static_assert(sizeof(Flags) <= sizeof(uint32_t));
  uint32_t bits = 0;
  std::memcpy(&bits, &flags, sizeof flags);
  return bits;
}

bool IsFolderRecord(const ntfs_inode* inode) {
  uint16_t bits = 0;
  std::memcpy(&bits, reinterpret_cast<const uint8_t*>(inode->mrec) + offsetof(MFT_RECORD, flags), sizeof bits);
  return (le16_to_cpu(bits) & MFT_RECORD_IS_DIRECTORY) != 0;
}

// The stream the controls work on: the unnamed data of a file, the index
// allocation of a folder.
ntfs_attr* OpenStream(ntfs_inode* inode) {
  if (IsFolderRecord(inode)) {
    return ntfs_attr_open(inode, AT_INDEX_ALLOCATION, NTFS_INDEX_I30, 4);
  }
  return ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
}

// Inode and stream opened for one call and closed on leaving it.
struct OpenedStream {
  ntfs_inode* inode = nullptr;
  ntfs_attr* stream = nullptr;
  OpenedStream(ntfs_volume* volume, uint64_t mft) {
    inode = ntfs_inode_open(volume, MK_MREF(mft, 0));
    if (inode != nullptr) stream = OpenStream(inode);
  }
  ~OpenedStream() {
    if (stream != nullptr) ntfs_attr_close(stream);
    if (inode != nullptr && ntfs_inode_close(inode) != 0) {
      // The record could not be written back (the call that changed it has
      // already failed on that): the library keeps such an inode, so its
      // unwritten changes are dropped and it is released.
      NInoClearDirty(inode);
      NInoAttrListClearDirty(inode);
      ntfs_inode_close(inode);
    }
  }
  OpenedStream(const OpenedStream&) = delete;
  OpenedStream& operator=(const OpenedStream&) = delete;
};

// The whole run list of a stream, read record by record and joined: linear
// in its runs, where the library's own mapping merges each record's runs
// into the list so far (quadratic for a file of many thousands). Only the
// end mark for a stream kept inside its record. The runs come from the
// volume as it is: before any of their cluster numbers is used to read,
// write or claim anything, each must follow the one before it, lie inside
// the volume and be a hole if it has no clusters; false when one does not.
bool ReadRuns(ntfs_attr* stream, std::vector<runlist_element>& runs) {
  runs.clear();
  const int64_t clusters = stream->ni->vol->nr_clusters;
  int64_t next = 0;
  bool ok = true;
  if (NAttrNonResident(stream)) {
    ntfs_attr_search_ctx* context = ntfs_attr_get_search_ctx(stream->ni, nullptr);
    if (context == nullptr) return false;
    while (ok && ntfs_attr_lookup(stream->type, stream->name, stream->name_len, CASE_SENSITIVE, 0, nullptr, 0,
                                  context) == 0) {
      runlist_element* piece = context->attr->non_resident
                                   ? ntfs_mapping_pairs_decompress(stream->ni->vol, context->attr, nullptr)
                                   : nullptr;
      ok = piece != nullptr;
      for (const runlist_element* run = piece; ok && run->length != 0; ++run) {
        if (run->lcn == LCN_RL_NOT_MAPPED) continue;  // another record's part
        ok = run->vcn == next && run->length > 0 && run->length <= INT64_MAX - next &&
             (run->lcn >= 0 ? run->lcn < clusters && run->length <= clusters - run->lcn : run->lcn == LCN_HOLE);
        if (!ok) break;
        runs.push_back(*run);
        next = run->vcn + run->length;
      }
      std::free(piece);
    }
    ntfs_attr_put_search_ctx(context);
  }
  runs.push_back(runlist_element{next, LCN_ENOENT, 0});
  return ok;
}

// Errors proper; success and warnings (data returned) fill the status block.
bool IsFailure(NtStatus status) { return (uint32_t(status) >> 30) == 3; }

bool IsDotName(const std::wstring& name) { return name == L"." || name == L".."; }

std::wstring WideFromVolumeUnits(const ntfschar* units, int count) {
  std::wstring text;
  text.reserve(size_t(count));
  for (int i = 0; i < count; ++i) {
    uint32_t unit = le16_to_cpu(units[i]);
    if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < count) {
      const uint32_t low = le16_to_cpu(units[i + 1]);
      if (low >= 0xDC00 && low < 0xE000) {
        unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    text += wchar_t(unit);
  }
  return text;
}

// ---- Is it in use? ----

std::string ReadLine(const std::string& path, int& error) {
  std::ifstream in(path);
  std::string line;
  error = 0;
  if (!in) {
    error = errno != 0 ? errno : EIO;
    return line;
  }
  std::getline(in, line);
  return line;
}

// "7:3" as a device number; false when it is not one.
bool ParseDeviceNumber(const std::string& text, dev_t& number) {
  unsigned major = 0, minor = 0;
  char extra = 0;
  if (std::sscanf(text.c_str(), "%u:%u%c", &major, &minor, &extra) != 2) return false;
  number = makedev(major, minor);
  return true;
}

// Mount points and sources are written with octal escapes for blanks.
std::string Unescaped(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 3 < text.size() && std::isdigit(static_cast<unsigned char>(text[i + 1]))) {
      out += char(std::stoi(text.substr(i + 1, 3), nullptr, 8));
      i += 3;
    } else {
      out += text[i];
    }
  }
  return out;
}

bool SameData(const struct stat& ours, const struct stat& other) {
  if (S_ISBLK(ours.st_mode)) return S_ISBLK(other.st_mode) && other.st_rdev == ours.st_rdev;
  return S_ISREG(other.st_mode) && other.st_dev == ours.st_dev && other.st_ino == ours.st_ino;
}

// Whether the opened image or device is mounted or attached anywhere on this
// system. Compared by what the names lead to, not by the names: a mount
// lists the device it was given (a loop device for an image, a different
// name for the same disk). A block device stands for its partitions too.
// Empty when nothing uses it; else why it is refused, a check that cannot be
// made included.
std::string UseOf(const struct stat& ours) {
  // The block devices that carry our data: the device itself and its
  // partitions, or every loop device whose backing is our image or device.
  std::set<dev_t> carriers;
  std::string attached;
  if (S_ISBLK(ours.st_mode)) {
    carriers.insert(ours.st_rdev);
    const std::string base = "/sys/dev/block/" + std::to_string(major(ours.st_rdev)) + ":" +
                             std::to_string(minor(ours.st_rdev));
    if (DIR* folder = opendir(base.c_str())) {
      while (dirent* entry = readdir(folder)) {
        int error = 0;
        dev_t number;
        const std::string name = entry->d_name;
        if (name[0] == '.' || access((base + "/" + name + "/partition").c_str(), F_OK) != 0) continue;
        if (ParseDeviceNumber(ReadLine(base + "/" + name + "/dev", error), number)) carriers.insert(number);
      }
      closedir(folder);
    }
    if (DIR* holders = opendir((base + "/holders").c_str())) {
      std::string held;
      while (dirent* entry = readdir(holders)) {
        if (entry->d_name[0] != '.') held = entry->d_name;
      }
      closedir(holders);
      if (!held.empty()) return "is in use by /dev/" + held + ": release it first";
    }
  }
  DIR* blocks = opendir("/sys/block");
  if (blocks == nullptr) return std::string("could not be checked for loop devices: /sys/block: ") + std::strerror(errno);
  while (dirent* entry = readdir(blocks)) {
    const std::string name = entry->d_name;
    if (name.rfind("loop", 0) != 0) continue;
    int error = 0;
    std::string backing = ReadLine("/sys/block/" + name + "/loop/backing_file", error);
    if (error == ENOENT) continue;  // not attached
    if (error != 0) {
      closedir(blocks);
      return "could not be checked for loop devices: /sys/block/" + name + ": " + std::strerror(error);
    }
    struct stat other {};
    if (backing.empty() || stat(backing.c_str(), &other) != 0 || !SameData(ours, other)) continue;
    dev_t number;
    if (!ParseDeviceNumber(ReadLine("/sys/block/" + name + "/dev", error), number)) {
      closedir(blocks);
      return "is attached to /dev/" + name + ", whose device number could not be read";
    }
    carriers.insert(number);
    if (attached.empty()) attached = "/dev/" + name;
  }
  closedir(blocks);

  std::ifstream mounts("/proc/self/mountinfo");
  if (!mounts) return std::string("could not be checked for mounts: /proc/self/mountinfo: ") + std::strerror(errno);
  std::string line;
  while (std::getline(mounts, line)) {
    // ID PARENT MAJOR:MINOR ROOT MOUNT-POINT OPTIONS [TAGS...] - TYPE SOURCE OPTIONS
    std::istringstream fields(line);
    std::string id, parent, number, root, point, field;
    fields >> id >> parent >> number >> root >> point;
    while (fields >> field && field != "-") {
    }
    std::string type, source;
    fields >> type >> source;
    dev_t mounted;
    if (!ParseDeviceNumber(number, mounted)) return "could not be checked for mounts: /proc/self/mountinfo is not readable as expected";
    bool ours_ = carriers.count(mounted) != 0;
    source = Unescaped(source);
    struct stat other {};
    if (!ours_ && !source.empty() && source[0] == '/' && stat(source.c_str(), &other) == 0) {
      ours_ = SameData(ours, other) || (S_ISBLK(other.st_mode) && carriers.count(other.st_rdev) != 0);
    }
    if (ours_) {
      return "is mounted on " + Unescaped(point) + (attached.empty() ? std::string() : " through " + attached) +
             ": unmount it first";
    }
  }
  if (mounts.bad()) return "could not be checked for mounts: /proc/self/mountinfo could not be read";
  if (!attached.empty()) return "is attached to " + attached + ": detach it first (losetup -d " + attached + ")";
  return {};
}

}  // namespace

// A piece of a file's run list on its way to new clusters.
struct MovedPiece {
  int64_t vcn, lcn, count, target;
};

struct NtfsVolume::PendingMove {
  uint64_t mft = 0;
  ntfs_inode* inode = nullptr;
  ntfs_attr* stream = nullptr;
  size_t runCount = 0;     // elements of the run list before its end mark
  int64_t end = 0;         // clusters the run list covers, holes included
  int64_t allocated = 0;   // clusters it owns
  int64_t gathered = 0;    // clusters of `pieces`
  std::map<int64_t, MovedPiece> pieces;  // by VCN
  // Where the pieces go, claimed in the bitmap only with the switch itself.
  // Neighbouring ranges joined; by first cluster.
  std::map<int64_t, int64_t> targets;
  // Copies go out in large sequential writes: the data of consecutive
  // target clusters is gathered here first.
  std::vector<uint8_t> copy;
  int64_t copyLcn = 0;
  int64_t copyBytes = 0;
  // Every write of copies, with a digest of what it wrote, for the reading
  // back.
  struct Written {
    int64_t offset, bytes;
    uint64_t digest;
  };
  std::vector<Written> written;
  ~PendingMove() {
    if (stream != nullptr) ntfs_attr_close(stream);
    if (inode != nullptr) ntfs_inode_close(inode);
  }
};

NtfsVolume::NtfsVolume() = default;
NtfsVolume::~NtfsVolume() { Unmount(); }

_ntfs_volume* NtfsVolume::MountDevice(const std::string& device, bool readOnly) {
  ntfs_device* opened = ntfs_device_alloc(device.c_str(), 0, ntfsdevice::Operations(), &device_);
  if (opened == nullptr) return nullptr;
  ntfs_volume* mounted = ntfs_device_mount(opened, readOnly ? ntfs_mount_flags(NTFS_MNT_RDONLY) : ntfs_mount_flags(0));
  if (mounted == nullptr) {
    const int error = errno;
    ntfs_device_free(opened);
    errno = error;
  }
  return mounted;
}

NtfsOpenFailure NtfsVolume::Open(const std::string& device, bool writable, wchar_t letter,
                                 std::string& message) {
  std::lock_guard lock(mutex_);
  Unmount();
  letter_ = wchar_t(UpperCaseUnit(letter));
  completedMove_ = false;
  // Held exclusively from here to the end: a block device is claimed as a
  // mount claims it (a mounted one cannot be claimed, and nothing can mount
  // it while we hold it); an image file is locked against other runs.
  struct stat given {};
  const bool block = stat(device.c_str(), &given) == 0 && S_ISBLK(given.st_mode);
  const int fd = open(device.c_str(), (writable ? O_RDWR : O_RDONLY) | O_CLOEXEC | (block ? O_EXCL : 0));
  if (fd < 0) {
    const int error = errno;
    message = device + (error == EBUSY ? " is in use by the system (mounted, or claimed by another program)"
                                       : " cannot be opened: " + std::string(std::strerror(error)));
    return error == EBUSY ? NtfsOpenFailure::Mounted : NtfsOpenFailure::CannotOpen;
  }
  device_ = NtfsDeviceFile{fd, writable, block};
  auto refuse = [this, &message, &device](NtfsOpenFailure failure, const std::string& why) {
    message = device + " " + why;
    close(device_.fd);
    device_ = NtfsDeviceFile{};
    return failure;
  };
  struct stat held {};
  if (fstat(fd, &held) != 0) return refuse(NtfsOpenFailure::CannotOpen, "cannot be examined: " + std::string(std::strerror(errno)));
  if (!S_ISREG(held.st_mode) && !S_ISBLK(held.st_mode)) {
    return refuse(NtfsOpenFailure::CannotOpen, "is neither an image file nor a block device");
  }
  if (flock(fd, (writable ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0) {
    return errno == EWOULDBLOCK ? refuse(NtfsOpenFailure::Mounted, "is open in another run: wait for it to end")
                                : refuse(NtfsOpenFailure::Mounted, "cannot be locked: " + std::string(std::strerror(errno)));
  }
  const std::string use = UseOf(held);
  if (!use.empty()) return refuse(NtfsOpenFailure::Mounted, use);
  uint64_t deviceBytes = uint64_t(held.st_size);
  if (block && ioctl(fd, BLKGETSIZE64, &deviceBytes) != 0) {
    return refuse(NtfsOpenFailure::CannotOpen, "cannot tell its size: " + std::string(std::strerror(errno)));
  }
  // Looked at read-only first: a volume that is refused is never written.
  ntfs_volume* probe = MountDevice(device, true);
  // Unless a stopped run left the master file table's mirror behind it.
  if (probe == nullptr && writable && RestoreMirror(fd)) probe = MountDevice(device, true);
  if (probe == nullptr) {
    return refuse(NtfsOpenFailure::CannotOpen, "cannot be opened as an NTFS volume: " + std::string(std::strerror(errno)));
  }
  // Every cluster number the volume holds is checked against its size; the
  // size itself must fit the device.
  if (probe->nr_clusters <= 0 || uint64_t(probe->nr_clusters) > (deviceBytes >> probe->cluster_size_bits)) {
    ntfs_umount(probe, FALSE);
    return refuse(NtfsOpenFailure::CannotOpen, "says it holds more clusters than the device has room for");
  }
  // A run stopped in the middle of a switch left it complete in its
  // journal: applied before anything reads the volume, or the volume refused.
  const InterruptedSwitch left = FinishInterruptedSwitch(probe, writable);
  completedMove_ = left == InterruptedSwitch::Applied;
  if (left != InterruptedSwitch::None) {
    ntfs_umount(probe, FALSE);
    if (left == InterruptedSwitch::Pending) {
      return refuse(NtfsOpenFailure::Dirty, "was left in the middle of a move by a stopped defragmentation: "
                                            "defragment it once more to complete the move, then let its own "
                                            "system check it");
    }
    if (left == InterruptedSwitch::Failed) {
      return refuse(NtfsOpenFailure::CannotOpen,
                    "holds a move a stopped defragmentation left half-done, which cannot be completed");
    }
    probe = MountDevice(device, true);
    if (probe == nullptr) {
      return refuse(NtfsOpenFailure::CannotOpen, "cannot be opened as an NTFS volume: " + std::string(std::strerror(errno)));
    }
  }
  if (probe->flags & VOLUME_IS_DIRTY) {
    ntfs_umount(probe, FALSE);
    return refuse(NtfsOpenFailure::Dirty, std::string(left == InterruptedSwitch::Applied
                                                          ? "had a move left half-done by a stopped "
                                                            "defragmentation, now completed; it "
                                                          : "") +
                                              "is marked for a disk check: let its own system check it first");
  }
  if (ntfs_volume_check_hiberfile(probe, 0) != 0) {
    ntfs_umount(probe, FALSE);
    return refuse(NtfsOpenFailure::Hibernated,
                  "holds a hibernated or fast-started system: shut that system down fully first");
  }
  if (!writable) {
    volume_ = probe;
  } else {
    ntfs_umount(probe, FALSE);
    volume_ = MountDevice(device, false);
    if (volume_ == nullptr) {
      return refuse(NtfsOpenFailure::CannotOpen, "cannot be opened for writing: " + std::string(std::strerror(errno)));
    }
    // Marked for a disk check before anything else is written, cleared only
    // at a clean end. The journal is made with the first switch.
    if (ntfs_volume_write_flags(volume_, volume_->flags | VOLUME_IS_DIRTY) != 0 ||
        ntfs_device_sync(volume_->dev) != 0) {
      const int error = errno;
      ntfs_umount(volume_, FALSE);
      volume_ = nullptr;
      return refuse(NtfsOpenFailure::CannotOpen, "cannot be written: " + std::string(std::strerror(error)));
    }
    path_ = device;
  }
  writable_ = writable;
  needsCheck_ = false;
  halted_ = false;
  return NtfsOpenFailure::None;
}

bool NtfsVolume::Unmount() {
  std::lock_guard lock(mutex_);
  handles_.clear();
  runsMft_ = UINT64_MAX;
  bool clean = !halted_;
  if (volume_ != nullptr) clean = UnmountLibrary() && clean;
  // The exclusive claim and the lock go last, once nothing more is written.
  if (device_.fd >= 0) {
    clean = close(device_.fd) == 0 && clean;
    device_ = NtfsDeviceFile{};
  }
  return clean;
}

bool NtfsVolume::UnmountLibrary() {
  bool clean = true;
  if (writable_ && !halted_) {
    SettlePending();
    // The journal goes and the disk-check mark with it, only after a clean
    // end; the mark is the last write.
    if (!halted_) {
      const bool removed = journal_.Remove(volume_) && ntfs_device_sync(volume_->dev) == 0;
      clean = removed && !needsCheck_ && WriteVolumeFlags(volume_, volume_->flags & ~VOLUME_IS_DIRTY);
    }
  }
  pending_.reset();
  if (halted_) {
    // Nothing more may reach the volume before its journal is applied.
    clean = false;
    journal_.Drop();
  }
  const bool ok = ntfs_umount(volume_, FALSE) == 0;
  journal_.Release();
  volume_ = nullptr;
  writable_ = false;
  return ok && clean;
}

uint32_t NtfsVolume::ClusterSize() const { return volume_ ? volume_->cluster_size : 0; }
uint64_t NtfsVolume::ClusterCount() const { return volume_ ? uint64_t(volume_->nr_clusters) : 0; }

std::string NtfsVolume::VolumePath(const std::wstring& given) const {
  const std::wstring path = std::wstring(DisplayPath(given));
  if (path.size() < 2 || path[1] != L':' || UpperCaseUnit(path[0]) != letter_) return {};
  std::wstring rest = path.substr(2);
  for (wchar_t& c : rest) {
    if (c == L'\\') c = L'/';
  }
  while (rest.size() > 1 && rest.back() == L'/') rest.pop_back();
  if (rest.empty() || rest[0] != L'/') rest = L"/" + rest;
  return WideToUtf8(rest);
}

ntfs_inode* NtfsVolume::LookUp(const std::string& volumePath) {
  if (volume_ == nullptr) {
    errno = ENOENT;
    return nullptr;
  }
  return ntfs_pathname_to_inode(volume_, nullptr, volumePath.c_str());
}

FsHandle NtfsVolume::OpenPath(const std::wstring& path, bool backup) {
  std::lock_guard lock(mutex_);
  const std::string volumePath = VolumePath(path);
  if (volumePath.empty()) {
    tLastOpenError = 3;
    return kInvalidHandle;
  }
  ntfs_inode* inode = LookUp(volumePath);
  if (inode == nullptr) {
    tLastOpenError = ErrorFromErrno(errno);
    return kInvalidHandle;
  }
  OpenHandle handle;
  handle.mft = inode->mft_no;
  handle.protectedFile = inode->mft_no < kFirstUserRecord || volumePath.rfind("/$Extend/", 0) == 0;
  const bool directory = IsFolderRecord(inode);
  ntfs_inode_close(inode);
  if (directory && !backup) {
    // Folders open only with backup semantics.
    tLastOpenError = kErrorAccessDenied;
    return kInvalidHandle;
  }
  const FsHandle id = nextHandle_;
  nextHandle_ += 4;
  handles_[id] = handle;
  return id;
}

FsHandle NtfsVolume::OpenFileForMoving(const std::wstring& path) { return OpenPath(path, false); }

FsHandle NtfsVolume::OpenFileBackupSemantics(const std::wstring& path) { return OpenPath(path, true); }

FsHandle NtfsVolume::OpenVolume(const std::string& deviceName) {
  std::lock_guard lock(mutex_);
  // "\\.\N:"
  if (volume_ == nullptr || deviceName.size() != 6 || deviceName.compare(0, 4, "\\\\.\\") != 0 ||
      UpperCaseUnit(wchar_t(deviceName[4])) != letter_ || deviceName[5] != ':') {
    tLastOpenError = kErrorFileNotFound;
    return kInvalidHandle;
  }
  const FsHandle id = nextHandle_;
  nextHandle_ += 4;
  handles_[id] = OpenHandle{true, 0, false};
  return id;
}

uint32_t NtfsVolume::LastError() { return tLastOpenError; }

bool NtfsVolume::Close(FsHandle handle) {
  std::lock_guard lock(mutex_);
  const OpenHandle* open = Find(handle);
  if (open != nullptr && pending_ != nullptr && !open->volume && open->mft == pending_->mft) SettlePending();
  return handles_.erase(handle) == 1;
}

const NtfsVolume::OpenHandle* NtfsVolume::Find(FsHandle handle) const {
  auto it = handles_.find(handle);
  return it == handles_.end() ? nullptr : &it->second;
}

bool NtfsVolume::MovesInUnits(FsHandle file) {
  std::lock_guard lock(mutex_);
  const OpenHandle* open = Find(file);
  if (open == nullptr || open->volume) return false;
  OpenedStream opened(volume_, open->mft);
  return opened.stream != nullptr && (Bits(opened.stream->data_flags) & (ATTR_IS_COMPRESSED | ATTR_IS_SPARSE)) != 0;
}

// Every answer is synchronous: the status block is written on success and
// warnings only, left as the caller set it on a failure.
NtStatus NtfsVolume::GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input,
                                          uint32_t inputLength, void* output,
                                          uint32_t outputLength) {
  std::lock_guard lock(mutex_);
  const OpenHandle* handle = Find(file);
  if (handle == nullptr || handle->volume) return kStatusInvalidHandle;
  int64_t vcn = 0;
  if (input == nullptr || inputLength < sizeof vcn) return kStatusInvalidParameter;
  std::memcpy(&vcn, input, sizeof vcn);
  if (vcn < 0) return kStatusInvalidParameter;
  if (output == nullptr || outputLength < sizeof(RetrievalPointersHeader) + sizeof(RetrievalExtent)) {
    return kStatusBufferTooSmall;
  }
  uintptr_t information = 0;
  // The runs as the volume has them: a file's gathered moves are switched first.
  SettlePending();
  const NtStatus status = Pointers(*handle, vcn, output, outputLength, information);
  if (!IsFailure(status)) {
    block.status = status;
    block.information = information;
  }
  return status;
}

NtStatus NtfsVolume::RunsOf(uint64_t mft, const std::vector<runlist_element>*& runs) {
  runs = &runs_;
  if (runsMft_ == mft) return kStatusSuccess;
  runsMft_ = UINT64_MAX;
  OpenedStream opened(volume_, mft);
  if (opened.inode == nullptr) return kStatusInvalidHandle;
  if (opened.stream == nullptr) {
    runs_.assign(1, runlist_element{0, LCN_ENOENT, 0});
  } else if (!ReadRuns(opened.stream, runs_)) {
    // Refused as the file system refuses a damaged file: the analysis shows
    // it as an error of the file, never as a file without fragments.
    return kStatusFileCorrupt;
  }
  runsMft_ = mft;
  return kStatusSuccess;
}

NtStatus NtfsVolume::Pointers(const OpenHandle& file, int64_t vcn, void* output,
                              uint32_t outputLength, uintptr_t& information) {
  const std::vector<runlist_element>* runs = nullptr;
  const NtStatus read = RunsOf(file.mft, runs);
  if (IsFailure(read)) return read;
  const int64_t end = runs->back().vcn;
  // Kept inside the record, empty, or read from past the end: the one
  // refusal that ends a reading normally.
  if (vcn >= end) return kStatusEndOfFile;
  // The run holding `vcn`, by a binary search.
  const runlist_element* run = &*std::upper_bound(runs->begin(), runs->end() - 1, vcn,
                                                  [](int64_t v, const runlist_element& r) { return v < r.vcn; }) - 1;
  const uint32_t room = (outputLength - sizeof(RetrievalPointersHeader)) / sizeof(RetrievalExtent);
  auto* bytes = static_cast<uint8_t*>(output);
  RetrievalPointersHeader header{0, 0, run->vcn};
  uint8_t* next = bytes + sizeof header;
  for (; run->length != 0 && header.extentCount < room; ++run) {
    const RetrievalExtent extent{run->vcn + run->length, run->lcn < 0 ? -1 : run->lcn};
    std::memcpy(next, &extent, sizeof extent);
    next += sizeof extent;
    ++header.extentCount;
  }
  std::memcpy(bytes, &header, sizeof header);
  information = uintptr_t(next - bytes);
  return run->length != 0 ? kStatusBufferOverflow : kStatusSuccess;
}

NtStatus NtfsVolume::GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input,
                                     uint32_t inputLength, void* output, uint32_t outputLength) {
  std::lock_guard lock(mutex_);
  const OpenHandle* handle = Find(volume);
  if (handle == nullptr || !handle->volume) return kStatusInvalidHandle;
  int64_t lcn = 0;
  if (input == nullptr || inputLength < sizeof lcn) return kStatusInvalidParameter;
  std::memcpy(&lcn, input, sizeof lcn);
  if (output == nullptr || outputLength < sizeof(VolumeBitmapHeader) + 8) return kStatusBufferTooSmall;
  if (lcn < 0 || lcn >= volume_->nr_clusters) return kStatusInvalidParameter;
  uintptr_t information = 0;
  SettlePending();
  const NtStatus status = Bitmap(lcn, output, outputLength, information);
  if (!IsFailure(status)) {
    block.status = status;
    block.information = information;
  }
  return status;
}

NtStatus NtfsVolume::Bitmap(int64_t lcn, void* output, uint32_t outputLength,
                            uintptr_t& information) {
  // Read from the volume for every answer, never kept: only the asked part
  // is ever in memory, whatever the volume's size.
  const int64_t start = lcn / 8 * 8;
  const int64_t clusters = volume_->nr_clusters - start;
  const uint64_t wanted = uint64_t(clusters + 7) / 8;
  const uint64_t room = outputLength - sizeof(VolumeBitmapHeader);
  const uint64_t length = (std::min)(wanted, room);
  auto* bytes = static_cast<uint8_t*>(output);
  uint8_t* bits = bytes + sizeof(VolumeBitmapHeader);
  if (ntfs_attr_pread(volume_->lcnbmp_na, start / 8, int64_t(length), bits) != int64_t(length)) {
    return kStatusDiskCorrupt;
  }
  if (length == wanted && clusters % 8 != 0) {
    // Past the end of the volume: in use.
    bits[length - 1] |= uint8_t(0xFF << (clusters % 8));
  }
  const VolumeBitmapHeader header{start, clusters};
  std::memcpy(bytes, &header, sizeof header);
  information = uintptr_t(sizeof header + length);
  return length < wanted ? kStatusBufferOverflow : kStatusSuccess;
}

bool NtfsVolume::RangeFree(int64_t lcn, uint64_t count) {
  const int64_t first = lcn / 8;
  const int64_t last = (lcn + int64_t(count) - 1) / 8;
  std::vector<uint8_t> bits(size_t(last - first + 1));
  if (ntfs_attr_pread(volume_->lcnbmp_na, first, last - first + 1, bits.data()) != last - first + 1) {
    return false;
  }
  for (uint64_t i = 0; i < count; ++i) {
    const uint64_t bit = uint64_t(lcn - first * 8) + i;
    if (bits[bit / 8] >> (bit % 8) & 1) return false;
  }
  return true;
}

NtStatus NtfsVolume::MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                                  uint32_t inputLength) {
  std::lock_guard lock(mutex_);
  const OpenHandle* handle = Find(volume);
  if (handle == nullptr || !handle->volume) return kStatusInvalidHandle;
  if (input == nullptr || inputLength < sizeof(MoveFileRecord)) return kStatusInvalidParameter;
  MoveFileRecord record;
  std::memcpy(&record, input, sizeof record);
  const OpenHandle* file = Find(FsHandle(record.fileHandle));
  if (file == nullptr || file->volume) return kStatusInvalidHandle;
  const NtStatus status = Move(*file, record.startingVcn, record.startingLcn, record.clusterCount);
  if (!IsFailure(status)) {
    block.status = status;
    block.information = 0;
  }
  return status;
}

namespace {

constexpr int64_t kCopyBuffer = 8 << 20;

// A 64-bit digest of a copy as written and as read back, four lanes of
// multiply-rotate rounds over 8-byte words, so that it keeps pace with the
// disk: any change of a word, or words in another order, changes it but for
// a chance of 2^-64.
uint64_t Digest(const uint8_t* data, size_t bytes) {
  constexpr uint64_t k1 = 0x9E3779B185EBCA87ull, k2 = 0xC2B2AE3D27D4EB4Full, k3 = 0x165667B19E3779F9ull;
  auto round = [](uint64_t lane, uint64_t word) {
    lane += word * k2;
    lane = (lane << 31) | (lane >> 33);
    return lane * k1;
  };
  uint64_t lanes[4] = {k1 + k2, k2, 0, 0 - k1};
  size_t at = 0;
  for (; at + 32 <= bytes; at += 32) {
    for (int i = 0; i < 4; ++i) {
      uint64_t word;
      std::memcpy(&word, data + at + 8 * i, 8);
      lanes[i] = round(lanes[i], word);
    }
  }
  uint64_t h = bytes;
  for (uint64_t lane : lanes) h = (h ^ round(0, lane)) * k1 + k3;
  for (; at < bytes; ++at) h = ((h ^ data[at]) * k1) ^ (h >> 29);
  h ^= h >> 33;
  h *= k2;
  h ^= h >> 29;
  h *= k3;
  return h ^ (h >> 32);
}

// The pieces of [first, last) that own clusters, in VCN order, found by a
// binary search of the run list.
std::vector<MovedPiece> PiecesOf(const runlist_element* runs, size_t runCount, int64_t first, int64_t last) {
  std::vector<MovedPiece> pieces;
  const runlist_element* run = std::upper_bound(runs, runs + runCount, first,
                                                [](int64_t vcn, const runlist_element& r) { return vcn < r.vcn; });
  if (run != runs) --run;
  for (; run < runs + runCount && run->vcn < last; ++run) {
    const int64_t s = (std::max)(run->vcn, first);
    const int64_t e = (std::min)(run->vcn + run->length, last);
    if (s < e && run->lcn >= 0) pieces.push_back({s, run->lcn + (s - run->vcn), e - s, 0});
  }
  return pieces;
}

// The run list with the pieces at their targets, runs that now continue
// each other joined; `runs` ends with its end mark.
std::vector<runlist_element> SwitchedRuns(const runlist_element* runs, const std::map<int64_t, MovedPiece>& pieces) {
  std::vector<runlist_element> out;
  auto add = [&out](int64_t runVcn, int64_t lcn, int64_t length) {
    if (length <= 0) return;
    if (!out.empty()) {
      runlist_element& back = out.back();
      const bool holes = back.lcn < 0 && lcn < 0 && back.lcn == lcn;
      const bool continues = back.lcn >= 0 && lcn >= 0 && back.lcn + back.length == lcn;
      if (holes || continues) {
        back.length += length;
        return;
      }
    }
    out.push_back(runlist_element{runVcn, lcn, length});
  };
  auto next = pieces.begin();
  const runlist_element* run = runs;
  for (; run->length != 0; ++run) {
    const int64_t runEnd = run->vcn + run->length;
    int64_t at = run->vcn;
    while (next != pieces.end() && next->second.vcn + next->second.count <= at) ++next;
    while (at < runEnd) {
      if (run->lcn >= 0 && next != pieces.end() && next->second.vcn == at) {
        add(at, next->second.target, next->second.count);
        at += next->second.count;
        ++next;
        continue;
      }
      // Up to the next moved piece inside this run, or the run's end.
      int64_t stop = runEnd;
      if (run->lcn >= 0 && next != pieces.end() && next->second.vcn < runEnd) stop = next->second.vcn;
      add(at, run->lcn >= 0 ? run->lcn + (at - run->vcn) : run->lcn, stop - at);
      at = stop;
    }
  }
  out.push_back(runlist_element{run->vcn, run->lcn, 0});
  return out;
}

}  // namespace

NtStatus NtfsVolume::Move(const OpenHandle& file, int64_t vcn, int64_t target, uint32_t count) {
  if (!writable_) return kStatusMediaWriteProtected;
  if (halted_) return kStatusDiskCorrupt;
  if (file.protectedFile || (journal_.Attached() && file.mft == journal_.Record())) return kStatusAccessDenied;
  if (pending_ != nullptr && pending_->mft != file.mft) SettlePending();
  if (pending_ == nullptr) {
    auto fresh = std::make_unique<PendingMove>();
    fresh->mft = file.mft;
    fresh->inode = ntfs_inode_open(volume_, MK_MREF(file.mft, 0));
    if (fresh->inode == nullptr) return kStatusInvalidHandle;
    if (Bits(fresh->inode->flags) & FILE_ATTR_ENCRYPTED) return kStatusAccessDenied;
    fresh->stream = OpenStream(fresh->inode);
    ntfs_attr* stream = fresh->stream;
    if (stream == nullptr || !NAttrNonResident(stream)) return kStatusInvalidParameter;
    if ((Bits(stream->data_flags) & ATTR_IS_COMPRESSED) && stream->compression_block_clusters != kUnit) {
      // A compression unit the library does not write: never risked.
      return kStatusAccessDenied;
    }
    // The library is handed the whole list, read here in one pass.
    std::vector<runlist_element> runs;
    if (!ReadRuns(stream, runs)) return kStatusFileCorrupt;
    auto* whole = static_cast<runlist_element*>(std::malloc(runs.size() * sizeof(runlist_element)));
    if (whole == nullptr) return kStatusDiskCorrupt;
    std::memcpy(whole, runs.data(), runs.size() * sizeof(runlist_element));
    std::free(stream->rl);
    stream->rl = whole;
    NAttrSetFullyMapped(stream);
    for (const runlist_element* run = stream->rl; run->length != 0; ++run) {
      ++fresh->runCount;
      fresh->end = run->vcn + run->length;
      if (run->lcn >= 0) fresh->allocated += run->length;
    }
    pending_ = std::move(fresh);
  }
  PendingMove& p = *pending_;
  if (count == 0 || vcn < 0 || vcn + int64_t(count) > p.end || target < 0 ||
      target + int64_t(count) > volume_->nr_clusters) {
    return kStatusInvalidParameter;
  }
  int64_t first = vcn, last = vcn + int64_t(count);
  if (Bits(p.stream->data_flags) & (ATTR_IS_COMPRESSED | ATTR_IS_SPARSE)) {
    first = first / int64_t(kUnit) * int64_t(kUnit);
    last = (std::min)(p.end, (last + int64_t(kUnit) - 1) / int64_t(kUnit) * int64_t(kUnit));
  }
  std::vector<MovedPiece> pieces = PiecesOf(p.stream->rl, p.runCount, first, last);
  int64_t total = 0;
  for (MovedPiece& piece : pieces) {
    piece.target = target + total;
    total += piece.count;
  }
  if (total == 0) return kStatusSuccess;
  // A range moved a second time: what was gathered is switched first.
  auto after = p.pieces.lower_bound(first);
  const bool overlaps = (after != p.pieces.end() && after->first < last) ||
                        (after != p.pieces.begin() && std::prev(after)->second.vcn + std::prev(after)->second.count > first);
  if (overlaps) {
    const OpenHandle again = file;  // the settling may close every handle
    const NtStatus settled = SettlePending();
    if (IsFailure(settled)) return settled;
    return Move(again, vcn, target, count);
  }
  if (target + total > volume_->nr_clusters) return kStatusInvalidParameter;
  if (!RangeFree(target, uint64_t(total))) return kStatusAlreadyCommitted;
  auto above = p.targets.lower_bound(target);
  if ((above != p.targets.end() && above->first < target + total) ||
      (above != p.targets.begin() && std::prev(above)->first + std::prev(above)->second > target)) {
    return kStatusAlreadyCommitted;
  }

  // The data is copied into free clusters; the file still points at its
  // old ones until the switch, which claims the new ones with it.
  if (above != p.targets.begin() && std::prev(above)->first + std::prev(above)->second == target) {
    std::prev(above)->second += total;
  } else {
    p.targets[target] = total;
  }
  const int bits = volume_->cluster_size_bits;
  if (p.copy.empty()) p.copy.resize(size_t(kCopyBuffer));
  for (const MovedPiece& piece : pieces) {
    for (int64_t done = 0; done < piece.count << bits;) {
      const int64_t at = (piece.target << bits) + done;
      if (p.copyBytes > 0 && ((p.copyLcn << bits) + p.copyBytes != at || p.copyBytes == kCopyBuffer)) {
        if (!FlushCopies()) {
          AbandonPending();
          return kStatusDiskCorrupt;
        }
      }
      if (p.copyBytes == 0) p.copyLcn = piece.target + (done >> bits);
      const int64_t n = (std::min)(kCopyBuffer - p.copyBytes, (piece.count << bits) - done);
      if (ntfs_pread(volume_->dev, (piece.lcn << bits) + done, n, p.copy.data() + p.copyBytes) != n) {
        AbandonPending();
        return kStatusDiskCorrupt;
      }
      p.copyBytes += n;
      done += n;
    }
    p.pieces[piece.vcn] = piece;
  }
  p.gathered += total;
  // Every cluster of the file copied: switched now, so that the outcome is
  // this request's answer.
  if (p.gathered == p.allocated) return SettlePending();
  return kStatusSuccess;
}

bool NtfsVolume::FlushCopies() {
  PendingMove& p = *pending_;
  if (p.copyBytes == 0) return true;
  const int64_t offset = p.copyLcn << volume_->cluster_size_bits;
  const bool ok = ntfs_pwrite(volume_->dev, offset, p.copyBytes, p.copy.data()) == p.copyBytes;
  if (ok) p.written.push_back({offset, p.copyBytes, Digest(p.copy.data(), size_t(p.copyBytes))});
  p.copyBytes = 0;
  return ok;
}

// The copy read back from the disk, not from the cache, write by write, and
// compared with what each write held. The originals are not read a second
// time: what was written is what was read from them, and nothing else
// writes the volume meanwhile.
bool NtfsVolume::CopiesMatch() {
  PendingMove& p = *pending_;
  ntfs_device* device = volume_->dev;
  const int bits = volume_->cluster_size_bits;
  const int fd = ntfsdevice::Descriptor(device);
  for (const auto& [lcn, count] : p.targets) {
    if (fd >= 0) posix_fadvise(fd, lcn << bits, count << bits, POSIX_FADV_DONTNEED);
  }
  int64_t bytes = 0;
  for (const PendingMove::Written& w : p.written) {
    if (ntfs_pread(device, w.offset, w.bytes, p.copy.data()) != w.bytes ||
        Digest(p.copy.data(), size_t(w.bytes)) != w.digest) {
      return false;
    }
    bytes += w.bytes;
  }
  // Every gathered cluster was written.
  return bytes == p.gathered << bits;
}

void NtfsVolume::AbandonPending() {
  // The copies lie in clusters never claimed: nothing to give back.
  pending_.reset();
}

NtStatus NtfsVolume::SettlePending() {
  if (pending_ == nullptr) return kStatusSuccess;
  if (pending_->pieces.empty()) {
    pending_.reset();
    return kStatusSuccess;
  }
  return SwitchPending();
}

// In an order that loses nothing wherever it stops: the copy is synced and
// read back from the disk, then the new clusters are claimed, the run list
// switched and the old clusters given back in one step through the journal.
// A stop before that step leaves the old file, a stop after it the new one;
// never a file pointing at free clusters, nor a cluster owned twice.
NtStatus NtfsVolume::SwitchPending() {
  PendingMove& p = *pending_;
  ntfs_device* device = volume_->dev;
  if (!FlushCopies() || ntfs_device_sync(device) != 0) {
    AbandonPending();
    return kStatusDiskCorrupt;
  }
  const int bits = volume_->cluster_size_bits;
  if (!CopiesMatch()) {
    AbandonPending();
    return kStatusDiskCorrupt;
  }

  std::string why;
  if (!journal_.Attached()) {
    if (!journal_.Attach(volume_, why)) {
      // Possibly made in part: left for the disk check.
      needsCheck_ = true;
      AbandonPending();
      return kStatusDiskCorrupt;
    }
    // The library put the journal where it liked, and the targets are not
    // claimed yet: if it took one, the copy there is gone. Refused as a
    // target in use, so that the engine looks for room again.
    for (const auto& [lcn, count] : p.targets) {
      if (journal_.Overlaps(lcn << bits, count << bits)) {
        AbandonPending();
        return kStatusAlreadyCommitted;
      }
    }
  }
  runsMft_ = UINT64_MAX;
  std::vector<runlist_element> runs = SwitchedRuns(p.stream->rl, p.pieces);
  const size_t bytes = runs.size() * sizeof(runlist_element);
  auto* fresh = static_cast<runlist_element*>(std::malloc(bytes));
  if (fresh == nullptr) {
    AbandonPending();
    return kStatusDiskCorrupt;
  }
  std::memcpy(fresh, runs.data(), bytes);
  runlist_element* old = p.stream->rl;
  journal_.Hold();
  // Claimed first: the library may need clusters of its own for the records.
  bool rewritten = true;
  int64_t claimed = 0;
  for (const auto& [lcn, count] : p.targets) {
    rewritten = rewritten && ntfs_bitmap_set_run(volume_->lcnbmp_na, lcn, count) == 0;
    claimed += count;
  }
  p.stream->rl = fresh;
  p.stream->unused_runs = 0;
  NAttrSetRunlistDirty(p.stream);
  rewritten = rewritten && ntfs_attr_update_mapping_pairs(p.stream, 0) == 0 && ntfs_inode_sync(p.inode) == 0;
  // The old clusters given back in the same step.
  int64_t released = 0;
  for (const auto& [vcn, piece] : p.pieces) {
    rewritten = rewritten && ntfs_bitmap_clear_run(volume_->lcnbmp_na, piece.lcn, piece.count) == 0;
    released += piece.count;
  }
  ntfs_attr_close(p.stream);
  p.stream = nullptr;
  rewritten = ntfs_inode_close(p.inode) == 0 && rewritten;
  p.inode = nullptr;
  std::free(old);
  const int committed = rewritten ? journal_.Commit(volume_) : 1;
  if (committed == 1) {
    // Nothing of the switch reached the volume: the library's view of it is
    // thrown away and read afresh.
    journal_.Drop();
    return Remount() ? kStatusAccessDenied : kStatusDiskCorrupt;
  }
  if (committed == 2) {
    // The journal holds the switch but the volume may have only part of
    // it: nothing more is written; the next opening completes it.
    halted_ = true;
    needsCheck_ = true;
    pending_.reset();
    return kStatusDiskCorrupt;
  }
  volume_->free_clusters += released - claimed;
  pending_.reset();
  return kStatusSuccess;
}

bool NtfsVolume::Remount() {
  // Whatever the library writes while letting go of its view is dropped.
  pending_.reset();
  runsMft_ = UINT64_MAX;
  ntfs_umount(volume_, FALSE);
  journal_.Release();
  volume_ = MountDevice(path_, false);
  std::string message;
  if (volume_ != nullptr) {
    if (journal_.Attach(volume_, message)) return true;
    ntfs_umount(volume_, FALSE);
  }
  // The volume is lost to this run: every handle with it.
  volume_ = nullptr;
  handles_.clear();
  halted_ = true;
  needsCheck_ = true;
  return false;
}

void NtfsVolume::Wait(FsHandle) {}

std::wstring NtfsVolume::SystemText(uint32_t code) {
  switch (code) {
    case 19: return L"The media is write protected.\r\n";
    case 1392: return L"The file or directory is corrupted and unreadable.\r\n";
    case 1393: return L"The disk structure is corrupted and unreadable.\r\n";
    default: return BuiltInSystemText(code);
  }
}

uint32_t NtfsVolume::StatusToError(NtStatus status) {
  switch (uint32_t(status)) {
    case 0xC0000032u: return 1393;
    case 0xC0000102u: return 1392;
    case 0xC00000A2u: return 19;
    default: return BuiltInStatusToError(status);
  }
}

// ---- File queries ----

namespace {

thread_local uint32_t tLastQueryError = 0;

uint32_t FailQuery(uint32_t error) {
  tLastQueryError = error;
  return error;
}

DirEntry EntryFromInode(const std::wstring& name, ntfs_inode* inode) {
  DirEntry entry;
  entry.name = name;
  const bool directory = IsFolderRecord(inode);
  uint32_t attributes = Bits(inode->flags) & 0xFFFF & ~kAttrDirectory;
  if (directory) attributes |= kAttrDirectory;
  if (attributes == 0) attributes = kAttrNormal;
  entry.attributes = attributes;
  entry.size = directory ? 0 : uint64_t(inode->data_size);
  entry.creationTime = uint64_t(sle64_to_cpu(inode->creation_time));
  entry.lastAccessTime = uint64_t(sle64_to_cpu(inode->last_access_time));
  entry.lastWriteTime = uint64_t(sle64_to_cpu(inode->last_data_change_time));
  return entry;
}

struct Listed {
  std::wstring name;
  uint64_t mft;
};

int CollectName(void* context, const ntfschar* name, const int length, const int nameType,
                const s64, const MFT_REF reference, const unsigned) {
  if (nameType == FILE_NAME_DOS) return 0;
  static_cast<std::vector<Listed>*>(context)->push_back(
      {WideFromVolumeUnits(name, length), uint64_t(MREF(reference))});
  return 0;
}

// Splits "N:\a\b\pattern" into the folder's volume path and the last part.
bool SplitPattern(const NtfsVolume& volume, const std::wstring& pattern, std::string& folder,
                  std::wstring& last, bool& root) {
  const std::wstring path = std::wstring(DisplayPath(pattern));
  const size_t slash = path.find_last_of(L"\\/");
  if (slash == std::wstring::npos) return false;
  folder = volume.VolumePath(path.substr(0, slash == 2 ? 3 : slash));
  last = path.substr(slash + 1);
  root = folder == "/";
  return !folder.empty();
}

}  // namespace

std::unique_ptr<DirListing> NtfsFileQueries::OpenListing(const std::wstring& pattern) {
  std::vector<DirEntry> entries;
  const uint32_t error = FindEntries(pattern, [&entries](const DirEntry& entry) {
    entries.push_back(entry);
    return true;
  });
  if (error != 0) return nullptr;
  return ListingOfEntries(std::move(entries));
}

uint32_t NtfsFileQueries::FindEntries(const std::wstring& pattern,
                                      const std::function<bool(const DirEntry&)>& visit) {
  std::string folder;
  std::wstring last;
  bool root = false;
  if (!SplitPattern(volume_, pattern, folder, last, root)) return FailQuery(kErrPathNotFound);
  std::vector<DirEntry> entries;
  {
    std::lock_guard lock(volume_.mutex_);
    ntfs_inode* directory = volume_.LookUp(folder);
    if (directory == nullptr) return FailQuery(kErrPathNotFound);
    if (!IsFolderRecord(directory)) {
      ntfs_inode_close(directory);
      return FailQuery(kErrPathNotFound);
    }
    if (last.find_first_of(L"*?") == std::wstring::npos) {
      ntfs_inode_close(directory);
      // One name: the entry itself.
      if (last.empty()) return FailQuery(kErrFileNotFound);
      ntfs_inode* inode = volume_.LookUp(folder + (root ? "" : "/") + WideToUtf8(last));
      if (inode == nullptr || (root && inode->mft_no < kFirstUserRecord)) {
        if (inode != nullptr) ntfs_inode_close(inode);
        return FailQuery(kErrFileNotFound);
      }
      entries.push_back(EntryFromInode(last, inode));
      ntfs_inode_close(inode);
    } else {
      std::vector<Listed> names;
      s64 position = 0;
      const int read = ntfs_readdir(directory, &position, &names, CollectName);
      const uint64_t self = directory->mft_no;
      ntfs_inode_close(directory);
      if (read != 0) return FailQuery(kErrAccessDenied);
      for (const Listed& listed : names) {
        const bool dot = IsDotName(listed.name);
        // The root has no dot entries; the volume's own files are not listed.
        if (dot ? root : (listed.mft < kFirstUserRecord)) continue;
        if (root && listed.mft == volume_.journal_.Record() && volume_.journal_.Attached()) continue;
        if (!NameMatches(last, listed.name)) continue;
        ntfs_inode* inode = ntfs_inode_open(volume_.volume_, MK_MREF(dot && listed.name == L"." ? self : listed.mft, 0));
        if (inode == nullptr) continue;
        entries.push_back(EntryFromInode(listed.name, inode));
        ntfs_inode_close(inode);
      }
    }
  }
  if (entries.empty()) return FailQuery(kErrFileNotFound);
  for (const DirEntry& entry : entries) {
    if (!visit(entry)) break;
  }
  return 0;
}

uint32_t NtfsFileQueries::GetAttributes(const std::wstring& path) {
  const std::string volumePath = volume_.VolumePath(path);
  if (volumePath.empty()) {
    FailQuery(kErrPathNotFound);
    return kInvalidAttributes;
  }
  std::lock_guard lock(volume_.mutex_);
  ntfs_inode* inode = volume_.LookUp(volumePath);
  if (inode == nullptr) {
    FailQuery(errno == ENOENT ? kErrFileNotFound : kErrPathNotFound);
    return kInvalidAttributes;
  }
  uint32_t attributes = EntryFromInode(L"", inode).attributes;
  // The root answers as it does on Windows: a hidden system folder.
  if (volumePath == "/") attributes = kAttrDirectory | kAttrHidden | kAttrSystem;
  ntfs_inode_close(inode);
  return attributes;
}

uint64_t NtfsFileQueries::GetCompressedSize(const std::wstring& path) {
  const std::string volumePath = volume_.VolumePath(path);
  std::lock_guard lock(volume_.mutex_);
  ntfs_inode* inode = volumePath.empty() ? nullptr : volume_.LookUp(volumePath);
  if (inode == nullptr) {
    FailQuery(kErrFileNotFound);
    return kInvalidSize;
  }
  const bool packed = Bits(inode->flags) & (FILE_ATTR_COMPRESSED | FILE_ATTR_SPARSE_FILE);
  const uint64_t size = uint64_t(packed ? inode->allocated_size : inode->data_size);
  ntfs_inode_close(inode);
  return size;
}

uint32_t NtfsFileQueries::BytesPerCluster(const std::wstring& root) {
  if (root.empty() || UpperCaseUnit(root[0]) != volume_.Letter()) {
    FailQuery(kErrPathNotFound);
    return 0;
  }
  return volume_.ClusterSize();
}

DriveKind NtfsFileQueries::GetDriveKind(const std::wstring& root) {
  return !root.empty() && UpperCaseUnit(root[0]) == volume_.Letter() ? DriveKind::Fixed
                                                                       : DriveKind::NoRootDir;
}

std::wstring NtfsFileQueries::FullPath(const std::wstring& path, size_t maxCount) {
  std::wstring given = std::wstring(DisplayPath(path));
  for (wchar_t& c : given) {
    if (c == L'/') c = L'\\';
  }
  std::wstring drive(1, volume_.Letter());
  drive += L':';
  if (given.size() >= 2 && given[1] == L':') {
    drive = given.substr(0, 2);
    given = given.substr(2);
  }
  // Relative paths are relative to the root: the volume has no current folder.
  std::vector<std::wstring> parts;
  size_t at = 0;
  while (at <= given.size()) {
    size_t next = given.find(L'\\', at);
    if (next == std::wstring::npos) next = given.size();
    const std::wstring part = given.substr(at, next - at);
    if (part == L"..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != L".") {
      parts.push_back(part);
    }
    at = next + 1;
  }
  std::wstring full = drive + L"\\";
  for (size_t i = 0; i < parts.size(); ++i) full += (i ? L"\\" : L"") + parts[i];
  return full.size() > maxCount ? std::wstring() : full;
}

std::wstring NtfsFileQueries::ErrorText(uint32_t error) { return BuiltInSystemText(error); }

uint32_t NtfsFileQueries::LastError() { return tLastQueryError; }
