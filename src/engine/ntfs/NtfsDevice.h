#pragma once
// The one device layer under the on-disk format library: every read, write
// and sync of the volume goes through the single descriptor the volume
// opened exclusively, and while a run-list switch is prepared the library's
// writes and syncs are held in memory here (its reads see them) until the
// journal carries them to the volume.
#include <array>
#include <cstdint>
#include <map>

struct ntfs_device;
struct ntfs_device_operations;

// The image or device as the volume holds it open: one descriptor, opened
// exclusively, through which the library reads and writes.
struct NtfsDeviceFile {
  int fd = -1;
  bool writable = false;
  bool block = false;
};

namespace ntfsdevice {

constexpr int64_t kSector = 512;
using Sectors = std::map<int64_t, std::array<uint8_t, kSector>>;

// The operations to allocate the library's device with, its private data
// an `NtfsDeviceFile`.
ntfs_device_operations* Operations();
// The descriptor under `device`.
int Descriptor(ntfs_device* device);

// From here on, the library's writes to `device` are held and its syncs
// answered without touching the disk.
void Hold(ntfs_device* device);
// As Hold, but what the library writes is forgotten: used while its view of
// a switch that never reached the volume is thrown away.
void Drop(ntfs_device* device);
// Writes reach the volume again; anything held is forgotten.
void Release();
// What is held, taken out; writes reach the volume again.
Sectors TakeHeld();
// `sectors` held again (dropped with the next Release or Drop).
void PutBack(ntfs_device* device, Sectors&& sectors);

// Straight to the volume, past any holding.
bool WriteThrough(ntfs_device* device, const void* buffer, int64_t count, int64_t offset);
bool WriteThrough(ntfs_device* device, const Sectors& sectors);
bool SyncThrough(ntfs_device* device);

// Test hook: the n-th write to the volume from now fails (0: none), or,
// `silently`, reaches the disk with a byte changed and reports success.
void FailWrite(uint64_t n, bool silently = false);

}  // namespace ntfsdevice
