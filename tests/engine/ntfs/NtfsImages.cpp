#include "NtfsImages.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <sstream>

#include <tsk/libtsk.h>

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

int RunCommand(const std::string& command, std::string& output) {
  output.clear();
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return -1;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
  const int status = pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool MakeNtfsImage(const std::string& image, uint64_t bytes, std::string& error, int cluster) {
  std::remove(image.c_str());
  std::string output;
  if (RunCommand("truncate -s " + std::to_string(bytes) + " " + Quoted(image) + " && mkntfs -q -F -Q -c " +
                     std::to_string(cluster) + " " + Quoted(image),
                 output) != 0) {
    error = "cannot make " + image + ": " + output;
    return false;
  }
  return true;
}

NtfsImageWriter::NtfsImageWriter(const std::string& image) {
  volume = ntfs_mount(image.c_str(), ntfs_mount_flags(0));
  if (volume != nullptr) NVolSetCompression(volume);
}

NtfsImageWriter::~NtfsImageWriter() {
  if (volume != nullptr) ntfs_umount(volume, BOOL(false));
}

bool NtfsImageWriter::Create(const std::string& parent, const std::string& name, bool folder) {
  ntfs_inode* directory = ntfs_pathname_to_inode(volume, nullptr, parent.c_str());
  if (directory == nullptr) return false;
  ntfschar* unicode = nullptr;
  const int length = ntfs_mbstoucs(name.c_str(), &unicode);
  ntfs_inode* made = length > 0 ? ntfs_create(directory, 0, unicode, u8(length), folder ? S_IFDIR : S_IFREG)
                                : nullptr;
  free(unicode);
  if (made != nullptr) ntfs_inode_close(made);
  ntfs_inode_close(directory);
  return made != nullptr;
}

bool NtfsImageWriter::Write(const std::string& path, int64_t offset, const std::vector<uint8_t>& bytes) {
  ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, path.c_str());
  if (inode == nullptr) return false;
  ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
  bool ok = data != nullptr;
  if (ok) {
    const int64_t size = int64_t(bytes.size());
    ok = ntfs_attr_pwrite(data, offset < 0 ? data->data_size : offset, size, bytes.data()) == size;
    ok = ntfs_attr_pclose(data) == 0 && ok;
    ntfs_attr_close(data);
  }
  return ntfs_inode_close(inode) == 0 && ok;
}

bool NtfsImageWriter::Write(const std::string& path, int64_t offset, size_t bytes, std::mt19937& random,
                            bool packable) {
  // Packable bytes compress: one value, one more every 512 bytes.
  std::vector<uint8_t> buffer(bytes);
  const uint8_t fill = uint8_t(random());
  for (size_t i = 0; i < bytes; ++i) buffer[i] = packable ? uint8_t(fill + i / 512) : uint8_t(random());
  return Write(path, offset, buffer);
}

bool NtfsImageWriter::Truncate(const std::string& path) {
  ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, path.c_str());
  if (inode == nullptr) return false;
  ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
  const bool ok = data != nullptr && ntfs_attr_truncate(data, 0) == 0;
  if (data != nullptr) ntfs_attr_close(data);
  return ntfs_inode_close(inode) == 0 && ok;
}

bool FillRandomly(const std::string& image, uint32_t seed, int scale, FilledImage& filled,
                  std::string& error) {
  std::mt19937 random(seed);
  NtfsImageWriter writer(image);
  if (writer.volume == nullptr) {
    error = std::string("cannot open for filling: ") + std::strerror(errno);
    return false;
  }
  const uint32_t cluster = writer.volume->cluster_size;
  auto fail = [&error](const std::string& what) {
    error = what + ": " + std::strerror(errno);
    return false;
  };
  filled = FilledImage{};
  const std::vector<std::string> folders = {"/Users", "/Users/ann", "/data", "/packed", "/many"};
  for (const std::string& folder : folders) {
    const size_t slash = folder.find_last_of('/');
    if (!writer.Create(slash == 0 ? "/" : folder.substr(0, slash), folder.substr(slash + 1), true)) {
      return fail("mkdir " + folder);
    }
    filled.folders.push_back(folder);
  }
  // Files made in a compressed folder are compressed.
  ntfs_inode* packedFolder = ntfs_pathname_to_inode(writer.volume, nullptr, "/packed");
  if (packedFolder == nullptr) return fail("compress /packed");
  packedFolder->flags = FILE_ATTR_FLAGS(packedFolder->flags | FILE_ATTR_COMPRESSED);
  ntfs_inode_mark_dirty(packedFolder);
  if (ntfs_inode_close(packedFolder) != 0) return fail("compress /packed");

  // Ordinary files, interleaved appends of a few clusters each.
  std::vector<std::string> growing;
  const int count = 6 * scale + int(random() % 6);
  for (int i = 0; i < count; ++i) {
    const std::string folder = folders[random() % 3];
    const std::string name = "file " + std::to_string(i) + (i % 5 == 0 ? " with a longer name, été.bin" : ".dat");
    if (!writer.Create(folder, name, false)) return fail("create " + name);
    growing.push_back(folder + "/" + name);
  }
  const std::string sparse = "/data/sparse.img";
  const std::string packed = "/packed/notes.txt";
  if (!writer.Create("/data", "sparse.img", false) || !writer.Create("/packed", "notes.txt", false)) {
    return fail("create sparse or packed");
  }
  const int rounds = 4 + int(random() % 4);
  int64_t sparseSize = 0;
  for (int round = 0; round < rounds; ++round) {
    std::vector<std::string> order = growing;
    std::shuffle(order.begin(), order.end(), random);
    for (const std::string& path : order) {
      const size_t bytes = cluster * (1 + random() % 6) - (random() % 3 == 0 ? random() % cluster : 0);
      if (!writer.Write(path, -1, bytes, random, false)) return fail("append " + path);
    }
    // A hole then data: the sparse file; packable and random units: the
    // compressed one.
    const size_t head = cluster * (1 + random() % 3);
    if (!writer.Write(sparse, -1, head, random, false)) return fail("sparse");
    const int64_t tail = sparseSize + int64_t(head) + int64_t(cluster) * (20 + random() % 40);
    if (!writer.Write(sparse, tail, cluster, random, false)) return fail("sparse hole");
    sparseSize = tail + cluster;
    if (!writer.Write(packed, -1, size_t(cluster) * 16, random, random() % 2 == 0)) return fail("packed");
    if (round == 1) {
      // Deletions: a few files give their clusters back.
      for (int d = 0; d < 2 && !growing.empty(); ++d) {
        const size_t victim = random() % growing.size();
        if (!writer.Truncate(growing[victim])) return fail("truncate");
        filled.files.push_back(growing[victim]);
        growing.erase(growing.begin() + long(victim));
      }
    }
  }
  filled.files.insert(filled.files.end(), growing.begin(), growing.end());
  filled.files.push_back(sparse);
  filled.files.push_back(packed);

  // A file written a cluster at a time with a hole after each, its runs
  // interleaved with another file's: so many runs that its run list spills
  // into further records through an attribute list.
  if (scale > 0) {
    if (!writer.Create("/Users/ann", "a.log", false) || !writer.Create("/Users/ann", "b.log", false)) {
      return fail("create log");
    }
    for (int i = 0; i < 400 * scale; ++i) {
      if (!writer.Write("/Users/ann/a.log", int64_t(2 * i) * cluster, cluster, random, false) ||
          !writer.Write("/Users/ann/b.log", -1, cluster, random, false)) {
        return fail("log");
      }
    }
    filled.files.push_back("/Users/ann/a.log");
    filled.files.push_back("/Users/ann/b.log");
  }
  // A folder of many small files: its index needs an allocation of its own.
  const int small = 60 + 40 * scale;
  for (int i = 0; i < small; ++i) {
    const std::string name = "small-" + std::to_string(i) + ".txt";
    if (!writer.Create("/many", name, false)) return fail("create small");
    if (!writer.Write("/many/" + name, -1, 1 + random() % 900, random, false)) return fail("small");
    if (i % 10 == 0) filled.files.push_back("/many/" + name);
  }
  return true;
}

namespace {

// The records in use that the record bitmap calls free: the next record made
// would take the same number. A volume the library cannot read is left to
// ntfsresize's judgement.
std::string RecordAccountingFaults(const std::string& image) {
  ntfs_volume* volume = ntfs_mount(image.c_str(), NTFS_MNT_RDONLY);
  if (volume == nullptr) return "";
  std::string faults;
  const int64_t size = volume->mft_record_size;
  const int64_t records = volume->mft_na->initialized_size / size;
  std::vector<uint8_t> bits(size_t((records + 7) / 8));
  std::vector<uint8_t> record(static_cast<size_t>(size));
  if (ntfs_attr_pread(volume->mftbmp_na, 0, int64_t(bits.size()), bits.data()) != int64_t(bits.size())) {
    faults = "the record bitmap cannot be read\n";
  }
  for (int64_t r = 0; r < records && faults.empty(); ++r) {
    if (ntfs_attr_pread(volume->mft_na, r * size, size, record.data()) != size) break;
    const auto* header = reinterpret_cast<const MFT_RECORD*>(record.data());
    const bool inUse = header->magic == magic_FILE && (le16_to_cpu(header->flags) & MFT_RECORD_IN_USE) != 0;
    if (inUse && ((bits[size_t(r / 8)] >> (r % 8)) & 1) == 0) {
      faults += "record " + std::to_string(r) + " is in use but free in the record bitmap\n";
    }
  }
  ntfs_umount(volume, BOOL(false));
  return faults;
}

}  // namespace

std::string ClusterAccountingFaults(const std::string& image, bool killed) {
  std::string output, faults = RecordAccountingFaults(image);
  const int status = RunCommand("ntfsresize --info --force --no-action " + Quoted(image), output);
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const bool extra = line.find("extra cluster") != std::string::npos;
    if (line.find("multiple") != std::string::npos || line.find("missing") != std::string::npos || (extra && !killed)) {
      faults += line + "\n";
    }
  }
  // Extra clusters alone fail its check too; any other failure is a volume
  // it could not account for.
  const bool onlyExtra = killed && output.find("extra cluster") != std::string::npos;
  return status != 0 && faults.empty() && !onlyExtra ? output : faults;
}

bool NtfsfixClean(const std::string& image, std::string& output) {
  return RunCommand("ntfsfix -n " + Quoted(image), output) == 0;
}

bool AddFragmentedFile(const std::string& image, const std::string& name, int fragments, std::string& error) {
  NtfsImageWriter writer(image);
  std::mt19937 random(static_cast<uint32_t>(fragments));
  const std::string path = "/" + name, gap = path + ".gap";
  const size_t cluster = writer.volume != nullptr ? writer.volume->cluster_size : 0;
  // The file in one piece, and a free place twice its size found by writing
  // a file there and emptying it.
  bool ok = writer.volume != nullptr && writer.Create("/", name, false) && writer.Create("/", name + ".gap", false) &&
            writer.Write(path, 0, cluster * size_t(fragments), random, false) &&
            writer.Write(gap, 0, cluster * size_t(fragments) * 2, random, false);
  // The clusters of a file, in VCN order.
  auto clustersOf = [&writer](const std::string& file) {
    std::vector<int64_t> lcns;
    ntfs_inode* inode = ntfs_pathname_to_inode(writer.volume, nullptr, file.c_str());
    ntfs_attr* data = inode != nullptr ? ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0) : nullptr;
    if (data != nullptr && ntfs_attr_map_whole_runlist(data) == 0) {
      for (const runlist_element* run = data->rl; run->length != 0; ++run) {
        for (int64_t i = 0; i < run->length && run->lcn >= 0; ++i) lcns.push_back(run->lcn + i);
      }
    }
    if (data != nullptr) ntfs_attr_close(data);
    if (inode != nullptr) ntfs_inode_close(inode);
    return lcns;
  };
  const std::vector<int64_t> from = ok ? clustersOf(path) : std::vector<int64_t>{};
  const std::vector<int64_t> room = ok ? clustersOf(gap) : std::vector<int64_t>{};
  ok = ok && from.size() == size_t(fragments) && room.size() == 2 * size_t(fragments) && writer.Truncate(gap);
  // Cluster k goes to every other cluster of the emptied place; the run
  // list is rewritten by the library in one go.
  ntfs_inode* inode = ok ? ntfs_pathname_to_inode(writer.volume, nullptr, path.c_str()) : nullptr;
  ntfs_attr* data = inode != nullptr ? ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0) : nullptr;
  ok = ok && data != nullptr && ntfs_attr_map_whole_runlist(data) == 0;
  std::vector<uint8_t> buffer(cluster);
  auto* runs = static_cast<runlist_element*>(calloc(size_t(fragments) + 1, sizeof(runlist_element)));
  const int64_t bytes = int64_t(cluster);
  for (int k = 0; ok && k < fragments; ++k) {
    const int64_t target = room[2 * size_t(k)];
    ok = ntfs_pread(writer.volume->dev, from[size_t(k)] * bytes, bytes, buffer.data()) == bytes &&
         ntfs_pwrite(writer.volume->dev, target * bytes, bytes, buffer.data()) == bytes &&
         ntfs_bitmap_set_run(writer.volume->lcnbmp_na, target, 1) == 0;
    runs[k] = runlist_element{k, target, 1};
  }
  if (ok) {
    runs[fragments] = runlist_element{fragments, LCN_ENOENT, 0};
    free(data->rl);
    data->rl = runs;
    runs = nullptr;
    NAttrSetRunlistDirty(data);
    ok = ntfs_attr_update_mapping_pairs(data, 0) == 0;
    for (int64_t lcn : from) ok = ok && ntfs_bitmap_clear_run(writer.volume->lcnbmp_na, lcn, 1) == 0;
  }
  free(runs);
  if (data != nullptr) ntfs_attr_close(data);
  if (inode != nullptr) ok = ntfs_inode_close(inode) == 0 && ok;
  ntfs_inode* gapInode = ok ? ntfs_pathname_to_inode(writer.volume, nullptr, gap.c_str()) : nullptr;
  ntfs_inode* root = ok ? ntfs_inode_open(writer.volume, FILE_root) : nullptr;
  ntfschar* unicode = nullptr;
  const int length = ntfs_mbstoucs((name + ".gap").c_str(), &unicode);
  ok = ok && gapInode != nullptr && root != nullptr &&
       ntfs_delete(writer.volume, nullptr, gapInode, root, unicode, u8(length)) == 0;
  free(unicode);
  if (!ok) error = "cannot fragment " + name + ": " + std::strerror(errno);
  return ok;
}

bool MarkedDirty(const std::string& image) {
  ntfs_volume* volume = ntfs_mount(image.c_str(), NTFS_MNT_RDONLY);
  if (volume == nullptr) return false;
  const bool dirty = (volume->flags & VOLUME_IS_DIRTY) != 0;
  ntfs_umount(volume, BOOL(false));
  return dirty;
}

bool SetDirty(const std::string& image, bool dirty) {
  NtfsImageWriter writer(image);
  if (writer.volume == nullptr) return false;
  const le16 flags = dirty ? le16(writer.volume->flags | VOLUME_IS_DIRTY) : le16(writer.volume->flags & ~VOLUME_IS_DIRTY);
  return ntfs_volume_write_flags(writer.volume, flags) == 0;
}

bool UnequalMirror(const std::string& image) {
  NtfsImageWriter writer(image);
  if (writer.volume == nullptr) return false;
  // The record's sequence number, inside the bytes the two are compared on.
  const int64_t at = (writer.volume->mftmirr_lcn << writer.volume->cluster_size_bits) +
                     writer.volume->mft_record_size + 0x10;
  uint8_t byte = 0;
  if (ntfs_pread(writer.volume->dev, at, 1, &byte) != 1) return false;
  byte ^= 0x5A;
  return ntfs_pwrite(writer.volume->dev, at, 1, &byte) == 1;
}

bool MarkHibernated(const std::string& image) {
  // The header a hibernated or fast-started system leaves in its
  // hibernation file, at the root of the volume.
  std::vector<uint8_t> header(8192, 0);
  std::memcpy(header.data(), "hibr", 4);
  NtfsImageWriter writer(image);
  return writer.volume != nullptr && writer.Create("/", "hiberfil.sys", false) &&
         writer.Write("/hiberfil.sys", 0, header);
}

bool PointRunOutside(const std::string& image, const std::string& volumePath) {
  NtfsImageWriter writer(image);
  if (writer.volume == nullptr) return false;
  ntfs_inode* inode = ntfs_pathname_to_inode(writer.volume, nullptr, volumePath.c_str());
  if (inode == nullptr) return false;
  ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
  bool ok = data != nullptr && NAttrNonResident(data) && ntfs_attr_map_whole_runlist(data) == 0;
  if (ok) {
    runlist_element* last = nullptr;
    for (runlist_element* run = data->rl; run->length != 0; ++run) {
      if (run->lcn >= 0) last = run;
    }
    ok = last != nullptr;
    if (ok) last->lcn = writer.volume->nr_clusters - last->length / 2;
    NAttrSetRunlistDirty(data);
    ok = ok && ntfs_attr_update_mapping_pairs(data, 0) == 0;
  }
  if (data != nullptr) ntfs_attr_close(data);
  return ntfs_inode_close(inode) == 0 && ok;
}

TskView::TskView(const std::string& image) {
  TSK_IMG_INFO* img = tsk_img_open_utf8_sing(image.c_str(), TSK_IMG_TYPE_DETECT, 0);
  if (img == nullptr) return;
  image_ = img;
  fs_ = tsk_fs_open_img(img, 0, TSK_FS_TYPE_NTFS);
}

TskView::~TskView() {
  if (fs_ != nullptr) tsk_fs_close(static_cast<TSK_FS_INFO*>(fs_));
  if (image_ != nullptr) tsk_img_close(static_cast<TSK_IMG_INFO*>(image_));
}

bool TskView::Runs(const std::string& volumePath, std::vector<PhysicalRun>& runs) {
  runs.clear();
  TSK_FS_FILE* file = tsk_fs_file_open(static_cast<TSK_FS_INFO*>(fs_), nullptr, volumePath.c_str());
  if (file == nullptr) return false;
  // The unnamed data, or a folder's index allocation.
  const bool folder = file->meta != nullptr && file->meta->type == TSK_FS_META_TYPE_DIR;
  const TSK_FS_ATTR* data = folder ? tsk_fs_file_attr_get_type(file, TSK_FS_ATTR_TYPE_NTFS_IDXALLOC, 0, 0)
                                   : tsk_fs_file_attr_get(file);
  if (data != nullptr && (data->flags & TSK_FS_ATTR_NONRES)) {
    for (const TSK_FS_ATTR_RUN* run = data->nrd.run; run != nullptr; run = run->next) {
      if (run->flags & (TSK_FS_ATTR_RUN_FLAG_SPARSE | TSK_FS_ATTR_RUN_FLAG_FILLER)) continue;
      if (!runs.empty() && runs.back().lcn + runs.back().count == int64_t(run->addr)) {
        runs.back().count += int64_t(run->len);
      } else {
        runs.push_back({int64_t(run->addr), int64_t(run->len)});
      }
    }
  }
  tsk_fs_file_close(file);
  return true;
}

std::string TskView::Hash(const std::string& volumePath) {
  TSK_FS_FILE* file = tsk_fs_file_open(static_cast<TSK_FS_INFO*>(fs_), nullptr, volumePath.c_str());
  if (file == nullptr) return "(not found)";
  // FNV-1a over the content, and the size.
  uint64_t hash = 1469598103934665603ull;
  const TSK_OFF_T size = file->meta != nullptr ? file->meta->size : 0;
  std::vector<char> buffer(1 << 16);
  for (TSK_OFF_T at = 0; at < size;) {
    const ssize_t n = tsk_fs_file_read(file, at, buffer.data(), buffer.size(), TSK_FS_FILE_READ_FLAG_NONE);
    if (n <= 0) {
      tsk_fs_file_close(file);
      return "(unreadable)";
    }
    for (ssize_t i = 0; i < n; ++i) hash = (hash ^ uint8_t(buffer[size_t(i)])) * 1099511628211ull;
    at += n;
  }
  tsk_fs_file_close(file);
  return std::to_string(size) + ":" + std::to_string(hash);
}
