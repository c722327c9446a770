#include "engine/ntfs/NtfsDevice.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "engine/ntfs/NtfsLibrary.h"

namespace ntfsdevice {
namespace {

NtfsDeviceFile& FileOf(ntfs_device* device) { return *static_cast<NtfsDeviceFile*>(device->d_private); }

// Writes held while a switch is prepared, by sector. One volume is written
// at a time: the holding names the device it is for.
struct Holding {
  ntfs_device* device = nullptr;
  bool holding = false;
  bool dropping = false;
  Sectors sectors;
};
Holding gHolding;
uint64_t gFailAt = 0;
bool gFailSilently = false;

bool Holds(ntfs_device* device) { return gHolding.holding && device == gHolding.device; }

s64 PlainWrite(ntfs_device* device, const void* buffer, s64 count, s64 offset) {
  if (gFailAt != 0 && --gFailAt == 0) {
    if (!gFailSilently || count <= 0) {
      errno = EIO;
      return -1;
    }
    // Reported as done, one byte wrong on the disk.
    std::vector<uint8_t> wrong(static_cast<const uint8_t*>(buffer), static_cast<const uint8_t*>(buffer) + count);
    wrong[0] ^= 0x5A;
    return pwrite(FileOf(device).fd, wrong.data(), size_t(count), offset);
  }
  return pwrite(FileOf(device).fd, buffer, size_t(count), offset);
}

int PlainSync(ntfs_device* device) {
  if (fsync(FileOf(device).fd) != 0) return -1;
  NDevClearDirty(device);
  return 0;
}

int DeviceOpen(ntfs_device* device, int flags) {
  if (NDevOpen(device)) {
    errno = EBUSY;
    return -1;
  }
  const bool readOnly = (flags & O_ACCMODE) == O_RDONLY;
  if (!readOnly && !FileOf(device).writable) {
    errno = EROFS;
    return -1;
  }
  if (readOnly) {
    NDevSetReadOnly(device);
  } else {
    NDevClearReadOnly(device);
  }
  if (FileOf(device).block) NDevSetBlock(device);
  NDevSetOpen(device);
  return 0;
}

int DeviceClose(ntfs_device* device) {
  if (!NDevOpen(device)) {
    errno = EBADF;
    return -1;
  }
  if (NDevDirty(device) && !Holds(device) && PlainSync(device) != 0) return -1;
  // The descriptor stays with the volume until it is unmounted for good.
  NDevClearOpen(device);
  return 0;
}

s64 DeviceSeek(ntfs_device* device, s64 offset, int whence) { return lseek(FileOf(device).fd, offset, whence); }

s64 DevicePread(ntfs_device* device, void* buffer, s64 count, s64 offset) {
  const s64 read = pread(FileOf(device).fd, buffer, size_t(count), offset);
  if (read <= 0 || !Holds(device) || gHolding.sectors.empty()) return read;
  // Held sectors read as written.
  auto* bytes = static_cast<uint8_t*>(buffer);
  for (auto it = gHolding.sectors.lower_bound(offset / kSector * kSector);
       it != gHolding.sectors.end() && it->first < offset + read; ++it) {
    const int64_t from = std::max<int64_t>(it->first, offset);
    const int64_t to = std::min<int64_t>(it->first + kSector, offset + read);
    std::memcpy(bytes + (from - offset), it->second.data() + (from - it->first), size_t(to - from));
  }
  return read;
}

s64 DevicePwrite(ntfs_device* device, const void* buffer, s64 count, s64 offset) {
  if (NDevReadOnly(device)) {
    errno = EROFS;
    return -1;
  }
  NDevSetDirty(device);
  if (!Holds(device)) return PlainWrite(device, buffer, count, offset);
  if (gHolding.dropping) return count;
  const auto* bytes = static_cast<const uint8_t*>(buffer);
  for (int64_t sector = offset / kSector * kSector; sector < offset + count; sector += kSector) {
    auto found = gHolding.sectors.find(sector);
    if (found == gHolding.sectors.end()) {
      std::array<uint8_t, kSector> fresh{};
      const bool whole = sector >= offset && sector + kSector <= offset + count;
      if (!whole && pread(FileOf(device).fd, fresh.data(), kSector, sector) != kSector) return -1;
      found = gHolding.sectors.emplace(sector, fresh).first;
    }
    const int64_t from = std::max<int64_t>(sector, offset);
    const int64_t to = std::min<int64_t>(sector + kSector, offset + count);
    std::memcpy(found->second.data() + (from - sector), bytes + (from - offset), size_t(to - from));
  }
  return count;
}

// The library's sequential reads and writes go the positioned way, so that
// held sectors are seen and held there too.
s64 DeviceRead(ntfs_device* device, void* buffer, s64 count) {
  const off_t at = lseek(FileOf(device).fd, 0, SEEK_CUR);
  if (at < 0) return -1;
  const s64 done = DevicePread(device, buffer, count, at);
  if (done > 0 && lseek(FileOf(device).fd, at + done, SEEK_SET) < 0) return -1;
  return done;
}

s64 DeviceWrite(ntfs_device* device, const void* buffer, s64 count) {
  const off_t at = lseek(FileOf(device).fd, 0, SEEK_CUR);
  if (at < 0) return -1;
  const s64 done = DevicePwrite(device, buffer, count, at);
  if (done > 0 && lseek(FileOf(device).fd, at + done, SEEK_SET) < 0) return -1;
  return done;
}

int DeviceSync(ntfs_device* device) {
  if (NDevReadOnly(device) || Holds(device)) return 0;
  return PlainSync(device);
}

int DeviceStat(ntfs_device* device, struct stat* buffer) { return fstat(FileOf(device).fd, buffer); }

int DeviceIoctl(ntfs_device* device, unsigned long request, void* argument) {
  return ioctl(FileOf(device).fd, request, argument);
}

ntfs_device_operations gOperations = {DeviceOpen,  DeviceClose,  DeviceSeek, DeviceRead,
                                      DeviceWrite, DevicePread,  DevicePwrite, DeviceSync,
                                      DeviceStat,  DeviceIoctl};

}  // namespace

ntfs_device_operations* Operations() { return &gOperations; }

int Descriptor(ntfs_device* device) { return FileOf(device).fd; }

void Hold(ntfs_device* device) {
  gHolding.device = device;
  gHolding.holding = true;
  gHolding.dropping = false;
  gHolding.sectors.clear();
}

void Drop(ntfs_device* device) {
  Hold(device);
  gHolding.dropping = true;
}

void Release() { gHolding = Holding{}; }

Sectors TakeHeld() {
  Sectors taken;
  taken.swap(gHolding.sectors);
  Release();
  return taken;
}

void PutBack(ntfs_device* device, Sectors&& sectors) {
  Hold(device);
  gHolding.sectors = std::move(sectors);
}

bool WriteThrough(ntfs_device* device, const void* buffer, int64_t count, int64_t offset) {
  return PlainWrite(device, buffer, count, offset) == count;
}

// Neighbouring sectors in one write.
bool WriteThrough(ntfs_device* device, const Sectors& sectors) {
  std::vector<uint8_t> run;
  int64_t start = -1;
  for (const auto& [offset, bytes] : sectors) {
    if (start >= 0 && start + int64_t(run.size()) != offset) {
      if (!WriteThrough(device, run.data(), int64_t(run.size()), start)) return false;
      run.clear();
    }
    if (run.empty()) start = offset;
    run.insert(run.end(), bytes.begin(), bytes.end());
  }
  return run.empty() || WriteThrough(device, run.data(), int64_t(run.size()), start);
}

bool SyncThrough(ntfs_device* device) { return PlainSync(device) == 0; }

void FailWrite(uint64_t n, bool silently) {
  gFailAt = n;
  gFailSilently = silently;
}

}  // namespace ntfsdevice
