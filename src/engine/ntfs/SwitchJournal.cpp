#include "engine/ntfs/SwitchJournal.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "engine/ntfs/NtfsDevice.h"
#include "engine/ntfs/NtfsLibrary.h"

extern "C" {
#include <ntfs-3g/unistr.h>
}

namespace {

using ntfsdevice::kSector;
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

using ntfsdevice::Sectors;

// The sectors of `held` that lie in the bytes [from, to) of `attr`'s data,
// moved into `into`; false when its run list cannot be read.
bool TakeRange(ntfs_attr* attr, int bits, int64_t from, int64_t to, Sectors& held, Sectors& into) {
  if (attr == nullptr) return false;
  // Resident: inside its record, written with the other records.
  if (!NAttrNonResident(attr)) return true;
  if (ntfs_attr_map_whole_runlist(attr) != 0) return false;
  for (const runlist_element* run = attr->rl; run->length != 0; ++run) {
    if (run->lcn < 0) continue;
    const int64_t start = run->vcn << bits;
    const int64_t first = std::max(start, from);
    const int64_t last = std::min((run->vcn + run->length) << bits, to);
    if (first >= last) continue;
    const int64_t disk = (run->lcn << bits) + (first - start);
    for (auto it = held.lower_bound(disk / kSector * kSector); it != held.end() && it->first < disk + (last - first);) {
      into.insert(*it);
      it = held.erase(it);
    }
  }
  return true;
}

// The sectors of `held` in either bitmap, the clusters' and the records',
// moved into `into`.
bool TakeBitmaps(ntfs_volume* volume, Sectors& held, Sectors& into) {
  const int bits = volume->cluster_size_bits;
  return TakeRange(volume->lcnbmp_na, bits, 0, INT64_MAX, held, into) &&
         TakeRange(volume->mftbmp_na, bits, 0, INT64_MAX, held, into);
}

// A switch's sectors put in their places, in an order where a stop after
// any write leaves no cluster and no record owned but marked free: first the
// bitmaps' sectors with the switch's claims alone (what the disk marks and
// what the switch marks), then every other sector, last the bitmaps as the
// switch leaves them, with what it gives back. Each step synced before the
// next.
bool PutInPlace(ntfs_volume* volume, Sectors sectors) {
  ntfs_device* device = volume->dev;
  Sectors bitmaps, claims;
  if (!TakeBitmaps(volume, sectors, bitmaps)) return false;
  const int fd = ntfsdevice::Descriptor(device);
  for (auto it = bitmaps.begin(); it != bitmaps.end();) {
    std::array<uint8_t, kSector> marked{};
    if (pread(fd, marked.data(), kSector, it->first) != kSector) return false;
    std::array<uint8_t, kSector> both = marked;
    for (size_t i = 0; i < kSector; ++i) both[i] |= it->second[i];
    if (both != marked) claims.emplace(it->first, both);
    // Claims alone: in place with the first step.
    it = both == it->second ? bitmaps.erase(it) : std::next(it);
  }
  for (const Sectors* step : {&claims, &sectors, &bitmaps}) {
    if (!step->empty() && !(ntfsdevice::WriteThrough(device, *step) && ntfsdevice::SyncThrough(device))) return false;
  }
  return true;
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

bool WriteVolumeFlags(ntfs_volume* volume, uint16_t flags) {
  ntfs_device* device = volume->dev;
  if (!ntfsdevice::SyncThrough(device)) return false;
  ntfsdevice::Hold(device);
  const bool written = ntfs_volume_write_flags(volume, le16(flags)) == 0;
  Sectors held = ntfsdevice::TakeHeld(), mirror;
  if (!written || !TakeRange(volume->mftmirr_na, volume->cluster_size_bits, 0, INT64_MAX, held, mirror)) return false;
  return ntfsdevice::WriteThrough(device, mirror) && ntfsdevice::SyncThrough(device) &&
         ntfsdevice::WriteThrough(device, held) && ntfsdevice::SyncThrough(device);
}

void SwitchJournal::FailWrite(uint64_t n, bool silently) { ntfsdevice::FailWrite(n, silently); }

bool SwitchJournal::Attach(ntfs_volume* volume, std::string& message) {
  device_ = volume->dev;
  extents_.clear();
  message.clear();
  // Whatever came before reaches the disk before the journal's making.
  if (!ntfsdevice::SyncThrough(device_)) {
    message = "the journal file cannot be written";
    return false;
  }
  // The library writes while it makes the journal are held, then written in
  // an order where a stop after any write leaves a volume that opens: see
  // WriteMade.
  ntfsdevice::Hold(device_);
  const bool made = Make(volume, message);
  const bool written = WriteMade(volume);
  if (!made || !written) {
    extents_.clear();
    if (message.empty()) message = "the journal file cannot be written";
    return false;
  }
  capacity_ = 0;
  for (const Extent& e : extents_) capacity_ += e.bytes;
  capacity_ = std::min(capacity_, kJournalBytes);
  if (capacity_ < 4 * kSector) {
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

bool SwitchJournal::Make(ntfs_volume* volume, std::string& message) {
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
  return ntfs_inode_close(inode) == 0 && ok;
}

bool SwitchJournal::WriteMade(ntfs_volume* volume) {
  // Where the root folder's index lies, read while the writes are still
  // held, as the library now sees it.
  const int bits = volume->cluster_size_bits;
  const int64_t record = int64_t(FILE_root) << volume->mft_record_size_bits;
  ntfs_inode* root = ntfs_inode_open(volume, FILE_root);
  ntfs_attr* allocation = root != nullptr ? ntfs_attr_open(root, AT_INDEX_ALLOCATION, NTFS_INDEX_I30, 4) : nullptr;
  bool ok = root != nullptr;
  for (ntfs_attr* attr : {volume->lcnbmp_na, volume->mftbmp_na, volume->mft_na, volume->mftmirr_na, allocation}) {
    if (attr != nullptr && NAttrNonResident(attr)) ok = ntfs_attr_map_whole_runlist(attr) == 0 && ok;
  }
  Sectors held = ntfsdevice::TakeHeld();
  Sectors bitmaps, head, mirror, index, rootRecord;
  const int64_t mirrored = int64_t(volume->mftmirr_size) << volume->mft_record_size_bits;
  ok = ok && TakeBitmaps(volume, held, bitmaps) && TakeRange(volume->mft_na, bits, 0, mirrored, held, head) &&
            TakeRange(volume->mftmirr_na, bits, 0, mirrored, held, mirror) &&
            TakeRange(volume->mft_na, bits, record, record + volume->mft_record_size, held, rootRecord) &&
            (allocation == nullptr || TakeRange(allocation, bits, 0, INT64_MAX, held, index));
  if (allocation != nullptr) ntfs_attr_close(allocation);
  if (root != nullptr) ntfs_inode_close(root);
  // First what marks clusters and records in use: a stop after it leaves
  // them in use with no owner. Then the journal's record and its data, and
  // after them the master file table's own first records (grown to hold the
  // new record) and their mirror: a stop after it leaves a record no folder
  // names. Last the root folder naming it, its index blocks before the
  // record that leads to them.
  return ntfsdevice::WriteThrough(device_, bitmaps) && ntfsdevice::SyncThrough(device_) &&
         ntfsdevice::WriteThrough(device_, held) && ntfsdevice::SyncThrough(device_) &&
         ntfsdevice::WriteThrough(device_, head) && ntfsdevice::WriteThrough(device_, mirror) &&
         ntfsdevice::SyncThrough(device_) &&
         ntfsdevice::WriteThrough(device_, index) && ntfsdevice::SyncThrough(device_) &&
         ntfsdevice::WriteThrough(device_, rootRecord) && ntfsdevice::SyncThrough(device_) && ok;
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
  // its writes are held and put in place in an order where a stop in
  // between leaves clusters in use that nobody owns, never a record owning
  // free ones nor a name leading to a record let go.
  device_ = volume->dev;
  // The last switch's journal cleared on the disk before its record goes.
  if (!ntfsdevice::SyncThrough(device_)) {
    ntfs_inode_close(root);
    ntfs_inode_close(inode);
    free(name);
    return false;
  }
  ntfsdevice::Hold(device_);
  bool ok = ntfs_delete(volume, nullptr, inode, root, name, u8(length)) == 0;  // closes both
  free(name);
  extents_.clear();
  // Where the root folder's index lies, read while the writes are still
  // held, as the library now sees it.
  const int bits = volume->cluster_size_bits;
  const int64_t record = int64_t(FILE_root) << volume->mft_record_size_bits;
  root = ok ? ntfs_inode_open(volume, FILE_root) : nullptr;
  ntfs_attr* allocation = root != nullptr ? ntfs_attr_open(root, AT_INDEX_ALLOCATION, NTFS_INDEX_I30, 4) : nullptr;
  ok = root != nullptr && (allocation == nullptr || ntfs_attr_map_whole_runlist(allocation) == 0);
  Sectors bitmaps, folder;
  Sectors others = ntfsdevice::TakeHeld();
  ok = ok && TakeBitmaps(volume, others, bitmaps) &&
       (allocation == nullptr || TakeRange(allocation, bits, 0, INT64_MAX, others, folder)) &&
       TakeRange(volume->mft_na, bits, record, record + volume->mft_record_size, others, folder);
  if (allocation != nullptr) ntfs_attr_close(allocation);
  if (root != nullptr) ntfs_inode_close(root);
  // First the root folder without the journal's name: a stop after it
  // leaves a record no folder names, still owning its clusters. Then the
  // record let go, last both bitmaps giving the record and its clusters
  // back: the record's bit too, or a stop between would leave the journal's
  // record in use while the record bitmap calls it free.
  return ok && ntfsdevice::WriteThrough(device_, folder) && ntfsdevice::SyncThrough(device_) &&
         ntfsdevice::WriteThrough(device_, others) && ntfsdevice::SyncThrough(device_) &&
         ntfsdevice::WriteThrough(device_, bitmaps) && ntfsdevice::SyncThrough(device_);
}

bool SwitchJournal::WriteJournal(int64_t at, const uint8_t* data, int64_t bytes) {
  int64_t base = 0;
  for (const Extent& e : extents_) {
    if (bytes == 0) break;
    if (at < base + e.bytes) {
      const int64_t n = std::min(bytes, base + e.bytes - at);
      if (!ntfsdevice::WriteThrough(device_, data, n, e.offset + (at - base))) return false;
      at += n;
      data += n;
      bytes -= n;
    }
    base += e.bytes;
  }
  return bytes == 0;
}

bool SwitchJournal::Overlaps(int64_t offset, int64_t bytes) const {
  for (const Extent& e : extents_) {
    if (e.offset < offset + bytes && offset < e.offset + e.bytes) return true;
  }
  return false;
}

void SwitchJournal::Hold() { ntfsdevice::Hold(device_); }

void SwitchJournal::Drop() { ntfsdevice::Drop(device_); }

void SwitchJournal::Release() { ntfsdevice::Release(); }

int SwitchJournal::Commit(ntfs_volume* volume) {
  Sectors sectors = ntfsdevice::TakeHeld();
  if (sectors.empty()) return 0;
  Header header{};
  std::memcpy(header.magic, kMagic, sizeof kMagic);
  header.sequence = ++sequence_;
  header.sectors = sectors.size();
  const int64_t table = TableBytes(header.sectors);
  if (kSector + table + int64_t(sectors.size()) * kSector > capacity_) {
    ntfsdevice::PutBack(device_, std::move(sectors));  // for the caller to drop
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
      !WriteJournal(0, first.data(), kSector) || !ntfsdevice::SyncThrough(device_)) {
    // Possibly complete on the disk: cleared before anything else is
    // written, or the volume is left alone.
    std::array<uint8_t, kSector> empty{};
    if (WriteJournal(0, empty.data(), kSector) && ntfsdevice::SyncThrough(device_)) return 1;
    return 2;
  }
  if (!PutInPlace(volume, std::move(sectors))) return 2;
  // Cleared without a sync of its own. Until the clear reaches the disk, a
  // stop may leave this journal complete, and the next opening applies it
  // again: harmless, as its sectors are already in place and nothing has
  // written them since. Nothing else writes them before the next sync: the
  // next switch syncs its copies (written only to clusters no file owns)
  // before it writes anything else, and the journal's removal syncs first.
  std::array<uint8_t, kSector> empty{};
  if (!WriteJournal(0, empty.data(), kSector)) return 2;
  return 0;
}

InterruptedSwitch FinishInterruptedSwitch(ntfs_volume* probe, bool apply) {
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
  // Written past the library, whose view is read-only: on the volume's
  // own descriptor, held for writing when `apply`.
  Sectors sectors;
  for (size_t i = 0; i < offsets.size(); ++i) {
    std::memcpy(sectors[offsets[i]].data(), bytes.data() + i * kSector, kSector);
  }
  const int fd = ntfsdevice::Descriptor(probe->dev);
  bool ok = PutInPlace(probe, std::move(sectors));
  std::array<uint8_t, kSector> empty{};
  ok = ok && pwrite(fd, empty.data(), kSector, headerLcn << probe->cluster_size_bits) == kSector &&
       fsync(fd) == 0;
  return ok ? InterruptedSwitch::Applied : InterruptedSwitch::Failed;
}

namespace {

template <typename T>
T At(const std::vector<uint8_t>& bytes, size_t offset) {
  T value{};
  if (offset + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

// A record as the library reads it: its signature, and every sector ending
// in the update sequence number, which is then put back. False when torn.
bool Fixed(std::vector<uint8_t>& record) {
  if (record.size() < 48 || std::memcmp(record.data(), "FILE", 4) != 0) return false;
  const auto offset = At<uint16_t>(record, 4);
  const auto count = At<uint16_t>(record, 6);
  if (count < 2 || size_t(count - 1) * kSector != record.size() || offset + size_t(count) * 2 > record.size()) {
    return false;
  }
  const auto number = At<uint16_t>(record, offset);
  for (size_t i = 1; i < count; ++i) {
    const size_t end = i * kSector - 2;
    if (At<uint16_t>(record, end) != number) return false;
    std::memcpy(record.data() + end, record.data() + offset + i * 2, 2);
  }
  return true;
}

// Whether the volume record's information carries the disk-check mark.
bool RecordMarked(const std::vector<uint8_t>& record) {
  constexpr uint32_t kVolumeInformation = 0x70, kEnd = 0xFFFFFFFF;
  for (size_t at = At<uint16_t>(record, 0x14); at + 24 <= record.size();) {
    const auto type = At<uint32_t>(record, at);
    const auto length = At<uint32_t>(record, at + 4);
    if (type == kEnd || length < 24) return false;
    if (type == kVolumeInformation) {
      if (record[at + 8] != 0) return false;  // always resident
      return (At<uint16_t>(record, at + At<uint16_t>(record, at + 0x14) + 0x0A) & VOLUME_IS_DIRTY) != 0;
    }
    at += length;
  }
  return false;
}

}  // namespace

bool RestoreMirror(int fd) {
  std::vector<uint8_t> boot(kSector);
  if (pread(fd, boot.data(), kSector, 0) != kSector || std::memcmp(boot.data() + 3, "NTFS    ", 8) != 0) return false;
  // The boot sector is outside input: every field is checked against what
  // a volume can hold before it sizes a read or an offset.
  constexpr int64_t kLargestCluster = 2 << 20;
  const int64_t sector = At<uint16_t>(boot, 0x0B);
  const uint8_t perCluster = boot[0x0D];
  const int shift = perCluster > 0x80 ? 256 - perCluster : 0;
  if (sector != kSector || perCluster == 0 || shift > 12) return false;
  const int64_t cluster = sector * (shift > 0 ? int64_t(1) << shift : perCluster);
  const auto perRecord = int8_t(boot[0x40]);
  const int64_t recordBytes = perRecord > 0 ? perRecord * cluster : perRecord > -31 ? int64_t(1) << -perRecord : 0;
  const auto table = At<int64_t>(boot, 0x30);
  const auto mirrorAt = At<int64_t>(boot, 0x38);
  if (cluster > kLargestCluster || recordBytes < 1024 || recordBytes > (1 << 16) || table <= 0 || mirrorAt <= 0 ||
      table > INT64_MAX / cluster - 1 || mirrorAt > INT64_MAX / cluster - 1) {
    return false;
  }
  const int64_t records = cluster <= 4 * recordBytes ? 4 : cluster / recordBytes;
  const int64_t bytes = records * recordBytes;
  std::vector<uint8_t> first(static_cast<size_t>(bytes)), mirror(static_cast<size_t>(bytes));
  if (pread(fd, first.data(), size_t(bytes), table * cluster) != bytes ||
      pread(fd, mirror.data(), size_t(bytes), mirrorAt * cluster) != bytes || first == mirror) {
    return false;
  }
  for (int64_t i = 0; i < records; ++i) {
    std::vector<uint8_t> record(first.begin() + i * recordBytes, first.begin() + (i + 1) * recordBytes);
    if (!Fixed(record) || (i == FILE_Volume && !RecordMarked(record))) return false;
  }
  return pwrite(fd, first.data(), size_t(bytes), mirrorAt * cluster) == bytes && fsync(fd) == 0;
}
