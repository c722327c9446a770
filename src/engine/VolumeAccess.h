#pragma once
// The volume-access half of the file-system seam: opening files and volumes,
// the three defragmentation controls with their exact record layouts and
// status values, waits on pending answers, closing and the system's error
// texts. The analysis, the free-space search and the relocation reach the file
// system only through this interface, so they run unchanged over the native
// controls on Windows and over a simulated volume everywhere else.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

// A handle as the system hands it out: pointer-sized, 0 and all bits set both
// meaning "no handle".
using FsHandle = uintptr_t;
constexpr FsHandle kInvalidHandle = ~FsHandle(0);
inline bool IsValidHandle(FsHandle handle) { return handle != 0 && handle != kInvalidHandle; }

// Native status values. Negative values are errors, the top two bits set
// errors proper, 0x80000000 warnings (data was returned all the same).
using NtStatus = int32_t;
constexpr NtStatus kStatusSuccess = 0;
constexpr NtStatus kStatusPending = 0x103;
constexpr NtStatus kStatusBufferOverflow = NtStatus(0x80000005u);
constexpr NtStatus kStatusInvalidHandle = NtStatus(0xC0000008u);
constexpr NtStatus kStatusInvalidParameter = NtStatus(0xC000000Du);
constexpr NtStatus kStatusInvalidDeviceRequest = NtStatus(0xC0000010u);
constexpr NtStatus kStatusEndOfFile = NtStatus(0xC0000011u);
constexpr NtStatus kStatusAlreadyCommitted = NtStatus(0xC0000021u);
constexpr NtStatus kStatusAccessDenied = NtStatus(0xC0000022u);
constexpr NtStatus kStatusBufferTooSmall = NtStatus(0xC0000023u);
constexpr NtStatus kStatusObjectTypeMismatch = NtStatus(0xC0000024u);
constexpr NtStatus kStatusSharingViolation = NtStatus(0xC0000043u);
constexpr NtStatus kStatusNotSupported = NtStatus(0xC00000BBu);

// System error numbers the engine produces or maps to.
constexpr uint32_t kErrorFileNotFound = 2;
constexpr uint32_t kErrorAccessDenied = 5;
constexpr uint32_t kErrorSharingViolation = 32;
constexpr uint32_t kErrorInvalidParameter = 87;
// What the status-to-error translation answers for a status it does not know.
constexpr uint32_t kErrorNoMessageForStatus = 317;

// Control codes.
constexpr uint32_t kFsctlGetVolumeBitmap = 0x9006F;
constexpr uint32_t kFsctlGetRetrievalPointers = 0x90073;
constexpr uint32_t kFsctlMoveFile = 0x90074;

// The status block of one control call: the status, then the pointer-sized
// number of bytes returned. Laid out as the system's own block, so the
// Windows implementation hands it over as it stands.
struct IoStatusBlock {
  union {
    NtStatus status;
    void* pointer;
  };
  uintptr_t information;
};
static_assert(sizeof(IoStatusBlock) == 2 * sizeof(void*));

// Output of the retrieval-pointer read: a header, then `extentCount` extents.
struct RetrievalPointersHeader {
  uint32_t extentCount;
  uint32_t padding;
  int64_t startingVcn;
};
struct RetrievalExtent {
  int64_t nextVcn;
  int64_t lcn;  // -1 for a run without clusters
};
static_assert(sizeof(RetrievalPointersHeader) == 16 && sizeof(RetrievalExtent) == 16);

// Output of the bitmap read: a header, then the bitmap bytes, bit 0 of byte 0
// being the cluster at `startingLcn`, a set bit a cluster in use.
struct VolumeBitmapHeader {
  int64_t startingLcn;
  int64_t bitmapSize;  // clusters from startingLcn to the end of the volume
};
static_assert(sizeof(VolumeBitmapHeader) == 16);

// Input of the move: 32 bytes on a 64-bit system.
struct MoveFileRecord {
  uint64_t fileHandle;
  int64_t startingVcn;
  int64_t startingLcn;
  uint32_t clusterCount;
  uint32_t padding;
};
static_assert(sizeof(MoveFileRecord) == 32);

// The one output buffer every read shares: a header and 256 extents, or a
// header and 4,096 bitmap bytes. Only one engine operation runs at a time.
constexpr uint32_t kSharedBufferLength = 0x1010;
struct SharedBuffer {
  alignas(8) uint8_t bytes[kSharedBufferLength];
};
extern SharedBuffer gSharedBuffer;

class VolumeAccess {
 public:
  virtual ~VolumeAccess() = default;

  // A file for the controls: attribute-read access, full sharing, no
  // buffering. kInvalidHandle on failure, the reason in LastError().
  virtual FsHandle OpenFileForMoving(const std::wstring& path) = 0;
  // The second attempt of an analysis: read access, read sharing, backup
  // semantics (which is what opens directories).
  virtual FsHandle OpenFileBackupSemantics(const std::wstring& path) = 0;
  // A volume by its narrow device name ("\\.\C:"), read and write access.
  virtual FsHandle OpenVolume(const std::string& deviceName) = 0;
  // The error number of the last failed open on this thread.
  virtual uint32_t LastError() = 0;
  virtual bool Close(FsHandle handle) = 0;

  // The three controls. Each takes the raw input record and output buffer,
  // fills `block` when the call completes and returns the call's status,
  // kStatusPending when the answer comes later (see Wait).
  virtual NtStatus GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input,
                                        uint32_t inputLength, void* output,
                                        uint32_t outputLength) = 0;
  virtual NtStatus GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input,
                                   uint32_t inputLength, void* output, uint32_t outputLength) = 0;
  virtual NtStatus MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                            uint32_t inputLength) = 0;
  // Waits, with no time-out, until `handle` is signalled.
  virtual void Wait(FsHandle handle) = 0;
  // True when the file system moves this open file only in whole compression
  // units (a compressed or sparse file); false when it cannot tell.
  virtual bool MovesInUnits(FsHandle file) = 0;

  // The system's message text for a number, as the system gives it (with its
  // closing line break); empty when the system has none, which is the case
  // for most native status values.
  virtual std::wstring SystemText(uint32_t code) = 0;
  // The system error number equivalent to a native status, or
  // kErrorNoMessageForStatus.
  virtual uint32_t StatusToError(NtStatus status) = 0;
};

// The process-wide implementation: the native controls in the program, a
// simulated volume in tests and in the simulating variant.
VolumeAccess& Va();
VolumeAccess* CurrentVolumeAccess();  // null before anything was installed
void SetVolumeAccess(VolumeAccess* access);

// The text of a failure, never empty: the system's text for `code`; when the
// system has none, the text of the status's error equivalent; failing that
// "Error 0x" and the number in eight hexadecimal digits. An empty failure text
// would read as success wherever outcomes are read.
std::wstring FailureText(uint32_t code);

// "\\.\" + the drive letter + ":".
std::string VolumeDeviceName(wchar_t letter);

// The volume handle of the drive a path lives on, kept open while files of
// the same drive follow one another.
struct VolumeHandleCache {
  FsHandle handle = 0;
  uint32_t letter = 0;
  // The text of a failed open, repeated for the later files of that drive
  // (they find the failed handle in the cache and do not retry).
  std::wstring failureText;
  // Different for every volume handle ever opened, even when the system
  // hands out a closed handle's value again: what was learnt about the
  // volume through one handle is not taken for another's.
  uint64_t generation = 0;
};
extern VolumeHandleCache gVolumeCache;

// The volume handle for the drive of `path` (its first character, upper
// case). A failed open leaves the failure text in `message` and the invalid
// handle in the cache, so that drive is not tried again until a file on
// another drive comes along.
FsHandle VolumeForPath(const std::wstring& path, std::wstring& message);
void CloseCachedVolume();
