#include "engine/ntfs/SwitchJournal.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "engine/ntfs/NtfsLibrary.h"

extern "C" {
#include <ntfs-3g/unistr.h>
}

namespace {

constexpr int64_t kSector = 512;
constexpr int64_t kJournalBytes = 4 << 20;
constexpr char kMagic[8] = {'O', 'R', 'D', 'J', 'R', 'N', 'L', '1'};

struct Header {
  char magic[8];
  uint64_t complete;
  uint64_t sequence;
  uint64_t sectors;
  uint64_t checksum;
};
static_assert(sizeof(Header) <= kSector);

uint64_t Fnv(uint64_t hash, const void* data, size_t bytes) {
  const auto* p = static_cast<const uint8_t*>(data);
  for (size_t i = 0; i < bytes; ++i) hash = (hash ^ p[i]) * 0x100000001B3ull;
  return hash;
}

uint64_t Checksum(const Header& header, const std::vector<int64_t>& offsets,
                  const std::vector<uint8_t>& data) {
  uint64_t hash = 0xCBF29CE484222325ull;
  hash = Fnv(hash, &header.sequence, sizeof header.sequence);
  hash = Fnv(hash, &header.sectors, sizeof header.sectors);
  hash = Fnv(hash, offsets.data(), offsets.size() * sizeof(int64_t));
  return Fnv(hash, data.data(), data.size());
}

// Bytes of the offsets table, whole sectors.
int64_t TableBytes(uint64_t sectors) {
  return (int64_t(sectors) * 8 + kSector - 1) / kSector * kSector;
}

// The device layer: the library's own operations underneath, writes held
// while a switch is prepared.
struct Holding {
  ntfs_device* device = nullptr;
  bool holding = false;
  bool dropping = false;
  std::map<int64_t, std::array<uint8_t, kSector>> sectors;
};
ntfs_device_operations* gPlain = nullptr;
ntfs_device_operations gHoldingOps;
Holding gHolding;
uint64_t gFailAt = 0;

s64 PlainWrite(ntfs_device* device, const void* buffer, s64 count, s64 offset) {
  if (gFailAt != 0 && --gFailAt == 0) {
    errno = EIO;
    return -1;
  }
  return gPlain->pwrite(device, buffer, count, offset);
}

bool PlainWriteAll(ntfs_device* device, const void* buffer, s64 count, s64 offset) {
  return PlainWrite(device, buffer, count, offset) == count;
}

s64 HoldingPread(ntfs_device* device, void* buffer, s64 count, s64 offset) {
  const s64 read = gPlain->pread(device, buffer, count, offset);
  if (read <= 0 || device != gHolding.device || gHolding.sectors.empty()) return read;
  auto* bytes = static_cast<uint8_t*>(buffer);
  for (auto it = gHolding.sectors.lower_bound(offset / kSector * kSector);
       it != gHolding.sectors.end() && it->first < offset + read; ++it) {
    const int64_t from = std::max<int64_t>(it->first, offset);
    const int64_t to = std::min<int64_t>(it->first + kSector, offset + read);
    std::memcpy(bytes + (from - offset), it->second.data() + (from - it->first), size_t(to - from));
  }
  return read;
}

s64 HoldingPwrite(ntfs_device* device, const void* buffer, s64 count, s64 offset) {
  if (device != gHolding.device || !gHolding.holding) return PlainWrite(device, buffer, count, offset);
  if (gHolding.dropping) return count;
  const auto* bytes = static_cast<const uint8_t*>(buffer);
  for (int64_t sector = offset / kSector * kSector; sector < offset + count; sector += kSector) {
    auto found = gHolding.sectors.find(sector);
    if (found == gHolding.sectors.end()) {
      std::array<uint8_t, kSector> fresh{};
      const bool whole = sector >= offset && sector + kSector <= offset + count;
      if (!whole && gPlain->pread(device, fresh.data(), kSector, sector) != kSector) return -1;
      found = gHolding.sectors.emplace(sector, fresh).first;
    }
    const int64_t from = std::max<int64_t>(sector, offset);
    const int64_t to = std::min<int64_t>(sector + kSector, offset + count);
    std::memcpy(found->second.data() + (from - sector), bytes + (from - offset), size_t(to - from));
  }
  return count;
}

int HoldingSync(ntfs_device* device) {
  if (device == gHolding.device && gHolding.holding) return 0;
  return gPlain->sync(device);
}

// Held sectors to their places, neighbours in one write.
bool WriteSectors(ntfs_device* device, const std::map<int64_t, std::array<uint8_t, kSector>>& sectors) {
  std::vector<uint8_t> run;
  int64_t start = -1;
  for (auto it = sectors.begin(); it != sectors.end(); ++it) {
    if (start >= 0 && start + int64_t(run.size()) != it->first) {
      if (!PlainWriteAll(device, run.data(), int64_t(run.size()), start)) return false;
      run.clear();
    }
    if (run.empty()) start = it->first;
    run.insert(run.end(), it->second.begin(), it->second.end());
  }
  return run.empty() || PlainWriteAll(device, run.data(), int64_t(run.size()), start);
}

ntfs_attr* OpenJournal(ntfs_volume* volume, ntfs_inode*& inode) {
  inode = ntfs_pathname_to_inode(volume, nullptr, (std::string("/") + kJournalName).c_str());
  if (inode == nullptr) return nullptr;
  ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
  if (data == nullptr) {
    ntfs_inode_close(inode);
    inode = nullptr;
  }
  return data;
}

}  // namespace

void SwitchJournal::Install(ntfs_volume* volume) {
  ntfs_device* device = volume->dev;
  if (device->d_ops == &gHoldingOps) return;
  gPlain = device->d_ops;
  gHoldingOps = *gPlain;
  gHoldingOps.pread = HoldingPread;
  gHoldingOps.pwrite = HoldingPwrite;
  gHoldingOps.sync = HoldingSync;
  device->d_ops = &gHoldingOps;
}

void SwitchJournal::FailWrite(uint64_t n) { gFailAt = n; }

bool SwitchJournal::Attach(ntfs_volume* volume, std::string& message) {
  device_ = volume->dev;
  extents_.clear();
  ntfs_inode* inode = nullptr;
  ntfs_attr* data = OpenJournal(volume, inode);
  if (data == nullptr) {
    ntfs_inode* root = ntfs_inode_open(volume, FILE_root);
    ntfschar* name = nullptr;
    const int length = ntfs_mbstoucs(kJournalName, &name);
    if (root == nullptr || length <= 0) {
      if (root != nullptr) ntfs_inode_close(root);
      free(name);
      message = "the root folder cannot be read";
      return false;
    }
    inode = ntfs_create(root, 0, name, u8(length), S_IFREG);
    free(name);
    ntfs_inode_close(root);
    if (inode == nullptr) {
      message = std::string("the journal file cannot be made: ") + std::strerror(errno);
      return false;
    }
    data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
  }
  bool ok = data != nullptr && !(data->data_flags & (ATTR_IS_COMPRESSED | ATTR_IS_SPARSE));
  if (ok && data->data_size < kJournalBytes) {
    // Written out in full, in one write: every cluster allocated, none
    // left a hole.
    const int64_t at = data->data_size;
    std::vector<uint8_t> fill(size_t(kJournalBytes - at), 0xA5);
    ok = ntfs_attr_pwrite(data, at, int64_t(fill.size()), fill.data()) == int64_t(fill.size());
  }
  if (ok) ok = NAttrNonResident(data) && ntfs_attr_map_whole_runlist(data) == 0;
  if (ok) {
    const int bits = volume->cluster_size_bits;
    for (const runlist_element* run = data->rl; run->length != 0; ++run) {
      if (run->lcn < 0) {
        ok = false;
        break;
      }
      extents_.push_back({run->lcn << bits, run->length << bits});
    }
  }
  record_ = inode->mft_no;
  if (data != nullptr) ntfs_attr_close(data);
  ok = ntfs_inode_close(inode) == 0 && ok && ntfs_device_sync(device_) == 0;
  capacity_ = 0;
  for (const Extent& e : extents_) capacity_ += e.bytes;
  capacity_ = std::min(capacity_, kJournalBytes);
  if (!ok || capacity_ < 4 * kSector) {
    extents_.clear();
    message = "the journal file cannot be written";
    return false;
  }
  // Cleared, so that nothing older is ever taken for a complete journal.
  std::array<uint8_t, kSector> empty{};
  if (!WriteJournal(0, empty.data(), kSector) || ntfs_device_sync(device_) != 0) {
    extents_.clear();
    message = "the journal file cannot be written";
    return false;
  }
  return true;
}

bool SwitchJournal::Remove(ntfs_volume* volume) {
  ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, (std::string("/") + kJournalName).c_str());
  if (inode == nullptr) return errno == ENOENT;
  ntfs_inode* root = ntfs_inode_open(volume, FILE_root);
  ntfschar* name = nullptr;
  const int length = ntfs_mbstoucs(kJournalName, &name);
  if (root == nullptr || length <= 0) {
    if (root != nullptr) ntfs_inode_close(root);
    ntfs_inode_close(inode);
    free(name);
    return false;
  }
  // The library gives the clusters back before it lets go of the record:
  // its writes are held and the bitmap's go last, so that a stop in between
  // leaves clusters in use that nobody owns, never a record owning free ones.
  device_ = volume->dev;
  Hold();
  bool ok = ntfs_delete(volume, nullptr, inode, root, name, u8(length)) == 0;  // closes both
  free(name);
  extents_.clear();
  std::map<int64_t, std::array<uint8_t, kSector>> bitmap;
  std::map<int64_t, std::array<uint8_t, kSector>> others;
  others.swap(gHolding.sectors);
  Release();
  ntfs_attr* bits = volume->lcnbmp_na;
  ok = ok && ntfs_attr_map_whole_runlist(bits) == 0;
  for (const runlist_element* run = ok ? bits->rl : nullptr; run != nullptr && run->length != 0; ++run) {
    if (run->lcn < 0) continue;
    const int64_t from = run->lcn << volume->cluster_size_bits;
    const int64_t to = from + (run->length << volume->cluster_size_bits);
    for (auto it = others.lower_bound(from); it != others.end() && it->first < to;) {
      bitmap.insert(*it);
      it = others.erase(it);
    }
  }
  return ok && WriteSectors(device_, others) && gPlain->sync(device_) == 0 && WriteSectors(device_, bitmap) &&
         gPlain->sync(device_) == 0;
}

bool SwitchJournal::WriteJournal(int64_t at, const uint8_t* data, int64_t bytes) {
  int64_t base = 0;
  for (const Extent& e : extents_) {
    if (bytes == 0) break;
    if (at < base + e.bytes) {
      const int64_t n = std::min(bytes, base + e.bytes - at);
      if (!PlainWriteAll(device_, data, n, e.offset + (at - base))) return false;
      at += n;
      data += n;
      bytes -= n;
    }
    base += e.bytes;
  }
  return bytes == 0;
}

void SwitchJournal::Hold() {
  gHolding.device = device_;
  gHolding.holding = true;
  gHolding.dropping = false;
  gHolding.sectors.clear();
}

void SwitchJournal::Drop() {
  gHolding.device = device_;
  gHolding.holding = true;
  gHolding.dropping = true;
  gHolding.sectors.clear();
}

void SwitchJournal::Release() {
  gHolding.holding = false;
  gHolding.dropping = false;
  gHolding.sectors.clear();
  gHolding.device = nullptr;
}

int SwitchJournal::Commit() {
  std::map<int64_t, std::array<uint8_t, kSector>> sectors;
  sectors.swap(gHolding.sectors);
  Release();
  if (sectors.empty()) return 0;
  Header header{};
  std::memcpy(header.magic, kMagic, sizeof kMagic);
  header.sequence = ++sequence_;
  header.sectors = sectors.size();
  const int64_t table = TableBytes(header.sectors);
  if (kSector + table + int64_t(sectors.size()) * kSector > capacity_) {
    gHolding.sectors.swap(sectors);  // for the caller to drop
    gHolding.holding = true;
    gHolding.device = device_;
    return 1;
  }
  std::vector<int64_t> offsets;
  std::vector<uint8_t> data;
  offsets.reserve(sectors.size());
  data.reserve(sectors.size() * kSector);
  for (const auto& [offset, bytes] : sectors) {
    offsets.push_back(offset);
    data.insert(data.end(), bytes.begin(), bytes.end());
  }
  header.checksum = Checksum(header, offsets, data);
  std::vector<uint8_t> tableBytes(size_t(table), 0);
  std::memcpy(tableBytes.data(), offsets.data(), offsets.size() * sizeof(int64_t));
  header.complete = 1;
  std::array<uint8_t, kSector> first{};
  std::memcpy(first.data(), &header, sizeof header);
  // The checksum covers the whole journal: a header that reached the disk
  // without the sectors it names is never taken for a complete one.
  if (!WriteJournal(kSector, tableBytes.data(), table) ||
      !WriteJournal(kSector + table, data.data(), int64_t(data.size())) ||
      !WriteJournal(0, first.data(), kSector) || gPlain->sync(device_) != 0) {
    // Possibly complete on the disk: cleared before anything else is
    // written, or the volume is left alone.
    std::array<uint8_t, kSector> empty{};
    if (WriteJournal(0, empty.data(), kSector) && gPlain->sync(device_) == 0) return 1;
    return 2;
  }
  if (!WriteSectors(device_, sectors) || gPlain->sync(device_) != 0) return 2;
  std::array<uint8_t, kSector> empty{};
  if (!WriteJournal(0, empty.data(), kSector) || gPlain->sync(device_) != 0) return 2;
  return 0;
}

InterruptedSwitch FinishInterruptedSwitch(const std::string& device, ntfs_volume* probe, bool apply) {
  // Only a volume still carrying the disk-check mark of the stopped run:
  // once its own system has checked it, the records may have changed since.
  if (!(probe->flags & VOLUME_IS_DIRTY)) return InterruptedSwitch::None;
  ntfs_inode* inode = nullptr;
  ntfs_attr* data = OpenJournal(probe, inode);
  if (data == nullptr) return InterruptedSwitch::None;
  struct Closer {
    ntfs_attr* data;
    ntfs_inode* inode;
    ~Closer() {
      ntfs_attr_close(data);
      ntfs_inode_close(inode);
    }
  } closer{data, inode};
  std::array<uint8_t, kSector> first{};
  if (ntfs_attr_pread(data, 0, kSector, first.data()) != kSector) return InterruptedSwitch::None;
  Header header;
  std::memcpy(&header, first.data(), sizeof header);
  if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0 || header.complete != 1 ||
      header.sectors == 0 || kSector + TableBytes(header.sectors) + int64_t(header.sectors) * kSector > data->data_size) {
    return InterruptedSwitch::None;
  }
  std::vector<int64_t> offsets(header.sectors);
  std::vector<uint8_t> bytes(size_t(header.sectors * kSector));
  const int64_t table = int64_t(header.sectors) * 8;
  if (ntfs_attr_pread(data, kSector, table, offsets.data()) != table ||
      ntfs_attr_pread(data, kSector + TableBytes(header.sectors), int64_t(bytes.size()), bytes.data()) !=
          int64_t(bytes.size())) {
    return InterruptedSwitch::Failed;
  }
  if (Checksum(header, offsets, bytes) != header.checksum) return InterruptedSwitch::None;
  const int64_t volumeBytes = probe->nr_clusters << probe->cluster_size_bits;
  for (int64_t offset : offsets) {
    if (offset < 0 || offset % kSector != 0 || offset + kSector > volumeBytes) return InterruptedSwitch::Failed;
  }
  if (!apply) return InterruptedSwitch::Pending;
  if (ntfs_attr_map_whole_runlist(data) != 0) return InterruptedSwitch::Failed;
  const LCN headerLcn = ntfs_rl_vcn_to_lcn(data->rl, 0);
  if (headerLcn < 0) return InterruptedSwitch::Failed;
  const int fd = open(device.c_str(), O_RDWR);
  if (fd < 0) return InterruptedSwitch::Failed;
  bool ok = true;
  for (size_t i = 0; ok && i < offsets.size(); ++i) {
    ok = pwrite(fd, bytes.data() + i * kSector, kSector, offsets[i]) == kSector;
  }
  ok = ok && fsync(fd) == 0;
  std::array<uint8_t, kSector> empty{};
  ok = ok && pwrite(fd, empty.data(), kSector, headerLcn << probe->cluster_size_bits) == kSector &&
       fsync(fd) == 0;
  ok = close(fd) == 0 && ok;
  return ok ? InterruptedSwitch::Applied : InterruptedSwitch::Failed;
}
