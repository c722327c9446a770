// The engine's control codes, record layouts and status values, compared at
// compile time with the platform's own headers. Everything else in the tests
// uses the engine's constants on both sides (the simulated volume and the
// NTFS backend decode what the engine encodes), so only this catches a code
// or an offset that differs from what Windows expects.
#define WIN32_NO_STATUS
#include <windows.h>
#undef WIN32_NO_STATUS
#include <ntstatus.h>
#include <winioctl.h>
#include <winternl.h>
#include <ntddscsi.h>
#include <ntdddisk.h>

#include <cstddef>

#include "engine/SolidStateRecords.h"
#include "engine/VolumeAccess.h"
#include "engine/ntfs/NtfsVolume.h"

static_assert(kFsctlGetRetrievalPointers == FSCTL_GET_RETRIEVAL_POINTERS);
static_assert(kFsctlGetVolumeBitmap == FSCTL_GET_VOLUME_BITMAP);
static_assert(kFsctlMoveFile == FSCTL_MOVE_FILE);

// The reads take a bare starting cluster number as their input.
static_assert(sizeof(int64_t) == sizeof(STARTING_VCN_INPUT_BUFFER));
static_assert(sizeof(int64_t) == sizeof(STARTING_LCN_INPUT_BUFFER));

static_assert(sizeof(RetrievalPointersHeader) == offsetof(RETRIEVAL_POINTERS_BUFFER, Extents));
static_assert(offsetof(RetrievalPointersHeader, extentCount) == offsetof(RETRIEVAL_POINTERS_BUFFER, ExtentCount));
static_assert(offsetof(RetrievalPointersHeader, startingVcn) == offsetof(RETRIEVAL_POINTERS_BUFFER, StartingVcn));
static_assert(sizeof(RetrievalExtent) == sizeof(RETRIEVAL_POINTERS_BUFFER::Extents[0]));
static_assert(offsetof(RetrievalExtent, nextVcn) == 0 && offsetof(RetrievalExtent, lcn) == sizeof(LARGE_INTEGER));

static_assert(sizeof(VolumeBitmapHeader) == offsetof(VOLUME_BITMAP_BUFFER, Buffer));
static_assert(offsetof(VolumeBitmapHeader, startingLcn) == offsetof(VOLUME_BITMAP_BUFFER, StartingLcn));
static_assert(offsetof(VolumeBitmapHeader, bitmapSize) == offsetof(VOLUME_BITMAP_BUFFER, BitmapSize));

static_assert(sizeof(MoveFileRecord) == sizeof(MOVE_FILE_DATA));
static_assert(offsetof(MoveFileRecord, fileHandle) == offsetof(MOVE_FILE_DATA, FileHandle));
static_assert(offsetof(MoveFileRecord, startingVcn) == offsetof(MOVE_FILE_DATA, StartingVcn));
static_assert(offsetof(MoveFileRecord, startingLcn) == offsetof(MOVE_FILE_DATA, StartingLcn));
static_assert(offsetof(MoveFileRecord, clusterCount) == offsetof(MOVE_FILE_DATA, ClusterCount));

static_assert(kStatusSuccess == STATUS_SUCCESS);
static_assert(kStatusPending == STATUS_PENDING);
static_assert(kStatusBufferOverflow == STATUS_BUFFER_OVERFLOW);
static_assert(kStatusInvalidHandle == STATUS_INVALID_HANDLE);
static_assert(kStatusInvalidParameter == STATUS_INVALID_PARAMETER);
static_assert(kStatusInvalidDeviceRequest == STATUS_INVALID_DEVICE_REQUEST);
static_assert(kStatusEndOfFile == STATUS_END_OF_FILE);
static_assert(kStatusAlreadyCommitted == STATUS_ALREADY_COMMITTED);
static_assert(kStatusAccessDenied == STATUS_ACCESS_DENIED);
static_assert(kStatusBufferTooSmall == STATUS_BUFFER_TOO_SMALL);
static_assert(kStatusObjectTypeMismatch == STATUS_OBJECT_TYPE_MISMATCH);
static_assert(kStatusSharingViolation == STATUS_SHARING_VIOLATION);
static_assert(kStatusNotSupported == STATUS_NOT_SUPPORTED);
// Those only the NTFS backend answers with.
static_assert(kStatusDiskCorrupt == STATUS_DISK_CORRUPT_ERROR);
static_assert(kStatusMediaWriteProtected == STATUS_MEDIA_WRITE_PROTECTED);

static_assert(sizeof(IoStatusBlock) == sizeof(IO_STATUS_BLOCK));
static_assert(offsetof(IoStatusBlock, status) == offsetof(IO_STATUS_BLOCK, Status));
static_assert(offsetof(IoStatusBlock, information) == offsetof(IO_STATUS_BLOCK, Information));

// The drive identification's requests.
static_assert(kIoctlAtaPassThrough == IOCTL_ATA_PASS_THROUGH);
static_assert(kIoctlSmartGetVersion == SMART_GET_VERSION);
static_assert(kIoctlSmartReceiveDriveData == SMART_RCV_DRIVE_DATA);
static_assert(kIoctlScsiMiniport == IOCTL_SCSI_MINIPORT);
static_assert(kIoctlStorageQueryProperty == IOCTL_STORAGE_QUERY_PROPERTY);
static_assert(kIoctlDiskGetDriveGeometryEx == IOCTL_DISK_GET_DRIVE_GEOMETRY_EX);
static_assert(kStorageQueryLength == sizeof(STORAGE_PROPERTY_QUERY));
static_assert(kAtaIdentifyDevice == ID_CMD);
static_assert(kAtaFlagsDataIn == ATA_FLAGS_DATA_IN);
// The records they send and read back: a field in the wrong place is a drive
// never asked, or an answer read from the wrong bytes.
static_assert(sizeof(SmartVersionRecord) == sizeof(GETVERSIONINPARAMS));
static_assert(offsetof(SmartVersionRecord, ideDeviceMap) == offsetof(GETVERSIONINPARAMS, bIDEDeviceMap));
static_assert(sizeof(SmartCommandIn) == sizeof(SENDCMDINPARAMS));
static_assert(sizeof(ScsiControlHeader) == sizeof(SRB_IO_CONTROL));
static_assert(offsetof(StorageDeviceDescriptor, serialNumberOffset) ==
              offsetof(STORAGE_DEVICE_DESCRIPTOR, SerialNumberOffset));
