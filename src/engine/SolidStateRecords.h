#pragma once
// The records of the device requests that ask a drive what it is, byte for
// byte as the storage drivers read and write them (little-endian). They are
// declared here, without the system headers, so that the probes can be tested
// with recorded answers on any platform; the checks below pin every size and
// offset the drivers depend on.
#include <cstddef>
#include <cstdint>

constexpr uint32_t kIoctlAtaPassThrough = 0x4D02C;
constexpr uint32_t kIoctlSmartGetVersion = 0x74080;
constexpr uint32_t kIoctlSmartReceiveDriveData = 0x7C088;
constexpr uint32_t kIoctlScsiMiniport = 0x4D008;
constexpr uint32_t kIoctlStorageQueryProperty = 0x2D1400;
constexpr uint32_t kIoctlDiskGetDriveGeometryEx = 0x700A0;

constexpr uint8_t kAtaIdentifyDevice = 0xEC;
constexpr uint16_t kAtaFlagsDataIn = 0x2;
constexpr uint8_t kAtaIdentifyPacketDevice = 0xA1;
constexpr uint32_t kScsiMiniportIdentify = 0x1B0501;
constexpr size_t kIdentifyBytes = 512;

#pragma pack(push, 1)

// The ATA pass-through header. The driver reads it packed, without the
// padding the compiler would put before the 64-bit buffer offset: a padded
// header would be 48 bytes and the drive would never be asked.
struct AtaPassThroughHeader {
  uint16_t length;
  uint16_t ataFlags;
  uint8_t pathId;
  uint8_t targetId;
  uint8_t lun;
  uint8_t reserved1;
  uint32_t dataTransferLength;
  uint32_t timeOutSeconds;
  uint32_t reserved2;
  uint64_t dataBufferOffset;
  uint8_t previousTaskFile[8];
  uint8_t currentTaskFile[8];  // byte 6 is the command
};

struct AtaIdentifyRecord {
  AtaPassThroughHeader header;
  uint8_t data[kIdentifyBytes];
};

// The answer to the SMART version query.
struct SmartVersionRecord {
  uint8_t version;
  uint8_t revision;
  uint8_t reserved;
  uint8_t ideDeviceMap;
  uint32_t capabilities;
  uint32_t reserved2[4];
};

// The drive's register block of a SMART command.
struct IdeRegisters {
  uint8_t features;
  uint8_t sectorCount;
  uint8_t sectorNumber;
  uint8_t cylinderLow;
  uint8_t cylinderHigh;
  uint8_t driveHead;
  uint8_t command;
  uint8_t reserved;
};

// A SMART command as sent; `buffer` is the first of the bytes some forms add.
struct SmartCommandBlock {
  uint32_t bufferSize;
  IdeRegisters registers;
  uint8_t driveNumber;
  uint8_t reserved[3];
  uint32_t reserved2[4];
};

struct SmartCommandIn {
  SmartCommandBlock block;
  uint8_t buffer[1];
};

// The head of a SMART answer; the identification data follows it.
struct SmartAnswerHead {
  uint32_t bufferSize;
  uint8_t driverError;
  uint8_t ideError;
  uint8_t reserved[2];
  uint32_t reserved2[2];
};

struct ScsiControlHeader {
  uint32_t headerLength;
  char signature[8];
  uint32_t timeOut;
  uint32_t controlCode;
  uint32_t returnCode;
  uint32_t length;
};

struct ScsiMiniportIdentifyIn {
  ScsiControlHeader header;
  SmartCommandBlock block;
};

#pragma pack(pop)

// The storage property query and the device descriptor that answers it are
// laid out with the ordinary alignment.
struct StoragePropertyQuery {
  uint32_t propertyId;
  uint32_t queryType;
  uint8_t additionalParameters[1];
};

struct StorageDeviceDescriptor {
  uint32_t version;
  uint32_t size;
  uint8_t deviceType;
  uint8_t deviceTypeModifier;
  uint8_t removableMedia;
  uint8_t commandQueueing;
  uint32_t vendorIdOffset;
  uint32_t productIdOffset;
  uint32_t productRevisionOffset;
  uint32_t serialNumberOffset;
  uint32_t busType;
  uint32_t rawPropertiesLength;
  uint8_t rawDeviceProperties[1];
};

// Lengths of the requests, in and out.
constexpr uint32_t kAtaIdentifyLength = 556;
constexpr uint32_t kSmartVersionLength = 24;
constexpr uint32_t kSmartFirstFormInLength = 32;
constexpr uint32_t kSmartFirstFormOutLength = 528;
constexpr uint32_t kSmartSecondFormInLength = 33;
constexpr uint32_t kSmartSecondFormOutLength = 545;
constexpr uint32_t kSmartDataOffset = 16;
constexpr uint32_t kScsiIdentifyInLength = 60;
constexpr uint32_t kScsiIdentifyOutLength = 557;
constexpr uint32_t kScsiIdentifyDataOffset = sizeof(ScsiControlHeader) + 16;
constexpr uint32_t kScsiIdentifyPayloadLength = 529;
constexpr uint32_t kStorageQueryLength = 12;
constexpr uint32_t kStorageDescriptorLength = 10000;

static_assert(sizeof(AtaPassThroughHeader) == 44);
static_assert(offsetof(AtaPassThroughHeader, ataFlags) == 2);
static_assert(offsetof(AtaPassThroughHeader, pathId) == 4);
static_assert(offsetof(AtaPassThroughHeader, reserved1) == 7);
static_assert(offsetof(AtaPassThroughHeader, dataTransferLength) == 8);
static_assert(offsetof(AtaPassThroughHeader, timeOutSeconds) == 12);
static_assert(offsetof(AtaPassThroughHeader, reserved2) == 16);
static_assert(offsetof(AtaPassThroughHeader, dataBufferOffset) == 20);
static_assert(offsetof(AtaPassThroughHeader, previousTaskFile) == 28);
static_assert(offsetof(AtaPassThroughHeader, currentTaskFile) == 36);
static_assert(sizeof(AtaIdentifyRecord) == kAtaIdentifyLength);
static_assert(offsetof(AtaIdentifyRecord, data) == 44);

static_assert(sizeof(SmartVersionRecord) == kSmartVersionLength);
static_assert(offsetof(SmartVersionRecord, ideDeviceMap) == 3);

static_assert(sizeof(IdeRegisters) == 8);
static_assert(offsetof(IdeRegisters, driveHead) == 5);
static_assert(offsetof(IdeRegisters, command) == 6);
static_assert(sizeof(SmartCommandBlock) == kSmartFirstFormInLength);
static_assert(offsetof(SmartCommandBlock, registers) == 4);
static_assert(offsetof(SmartCommandBlock, registers) + offsetof(IdeRegisters, command) == 10);
static_assert(offsetof(SmartCommandBlock, driveNumber) == 12);
static_assert(sizeof(SmartCommandIn) == kSmartSecondFormInLength);
static_assert(sizeof(SmartAnswerHead) == kSmartDataOffset);
static_assert(kSmartFirstFormOutLength == kSmartDataOffset + kIdentifyBytes);

static_assert(sizeof(ScsiControlHeader) == 28);
static_assert(offsetof(ScsiControlHeader, signature) == 4);
static_assert(offsetof(ScsiControlHeader, timeOut) == 12);
static_assert(offsetof(ScsiControlHeader, controlCode) == 16);
static_assert(offsetof(ScsiControlHeader, returnCode) == 20);
static_assert(offsetof(ScsiControlHeader, length) == 24);
static_assert(sizeof(ScsiMiniportIdentifyIn) == kScsiIdentifyInLength);
static_assert(kScsiIdentifyOutLength == sizeof(ScsiControlHeader) + kScsiIdentifyPayloadLength);
static_assert(kScsiIdentifyDataOffset + kIdentifyBytes <= kScsiIdentifyOutLength);

static_assert(sizeof(StoragePropertyQuery) == kStorageQueryLength);
static_assert(offsetof(StoragePropertyQuery, queryType) == 4);
static_assert(offsetof(StorageDeviceDescriptor, vendorIdOffset) == 12);
static_assert(offsetof(StorageDeviceDescriptor, productIdOffset) == 16);
static_assert(offsetof(StorageDeviceDescriptor, productRevisionOffset) == 20);
static_assert(offsetof(StorageDeviceDescriptor, serialNumberOffset) == 24);
static_assert(offsetof(StorageDeviceDescriptor, busType) == 28);
