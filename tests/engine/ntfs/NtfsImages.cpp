#include "NtfsImages.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <set>

#include <tsk/libtsk.h>

#include "engine/ntfs/NtfsLibrary.h"

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

bool MakeNtfsImage(const std::string& image, uint64_t bytes, std::string& error) {
  std::remove(image.c_str());
  const int fd = open(image.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
  if (fd < 0 || ftruncate(fd, off_t(bytes)) != 0) {
    error = "cannot create " + image;
    if (fd >= 0) close(fd);
    return false;
  }
  close(fd);
  std::string output;
  if (RunCommand("mkntfs -q -F -Q -c 4096 " + Quoted(image), output) != 0) {
    error = "mkntfs: " + output;
    return false;
  }
  return true;
}

namespace {

struct Library {
  ntfs_volume* volume = nullptr;
  explicit Library(const std::string& image) {
    volume = ntfs_mount(image.c_str(), ntfs_mount_flags(0));
    if (volume != nullptr) NVolSetCompression(volume);
  }
  ~Library() {
    if (volume != nullptr) ntfs_umount(volume, BOOL(false));
  }
  // Creates a file or folder under `parent` ("/" or "/a").
  bool Create(const std::string& parent, const std::string& name, bool folder) {
    ntfs_inode* directory = ntfs_pathname_to_inode(volume, nullptr, parent.c_str());
    if (directory == nullptr) return false;
    ntfschar* unicode = nullptr;
    const int length = ntfs_mbstoucs(name.c_str(), &unicode);
    ntfs_inode* made = length > 0 ? ntfs_create(directory, 0, unicode, u8(length),
                                                folder ? S_IFDIR : S_IFREG)
                                  : nullptr;
    free(unicode);
    if (made != nullptr) ntfs_inode_close(made);
    ntfs_inode_close(directory);
    return made != nullptr;
  }
  bool MarkCompressed(const std::string& path) {
    ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, path.c_str());
    if (inode == nullptr) return false;
    inode->flags = FILE_ATTR_FLAGS(inode->flags | FILE_ATTR_COMPRESSED);
    ntfs_inode_mark_dirty(inode);
    return ntfs_inode_close(inode) == 0;
  }
  // Writes `bytes` at `offset` (-1: at the end); `packable` data compresses.
  bool Write(const std::string& path, int64_t offset, size_t bytes, std::mt19937& random,
             bool packable) {
    ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, path.c_str());
    if (inode == nullptr) return false;
    ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
    bool ok = data != nullptr;
    if (ok) {
      std::vector<uint8_t> buffer(bytes);
      const uint8_t fill = uint8_t(random());
      for (size_t i = 0; i < bytes; ++i) buffer[i] = packable ? uint8_t(fill + i / 512) : uint8_t(random());
      const int64_t at = offset < 0 ? data->data_size : offset;
      ok = ntfs_attr_pwrite(data, at, int64_t(bytes), buffer.data()) == int64_t(bytes);
      ok = ntfs_attr_pclose(data) == 0 && ok;
      ntfs_attr_close(data);
    }
    return ntfs_inode_close(inode) == 0 && ok;
  }
  bool Truncate(const std::string& path) {
    ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, path.c_str());
    if (inode == nullptr) return false;
    ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
    const bool ok = data != nullptr && ntfs_attr_truncate(data, 0) == 0;
    if (data != nullptr) ntfs_attr_close(data);
    return ntfs_inode_close(inode) == 0 && ok;
  }
};

}  // namespace

bool FillRandomly(const std::string& image, uint32_t seed, int scale, FilledImage& filled,
                  std::string& error) {
  std::mt19937 random(seed);
  Library library(image);
  if (library.volume == nullptr) {
    error = std::string("cannot open for filling: ") + std::strerror(errno);
    return false;
  }
  const uint32_t cluster = library.volume->cluster_size;
  auto fail = [&error](const std::string& what) {
    error = what + ": " + std::strerror(errno);
    return false;
  };
  filled = FilledImage{};
  const std::vector<std::string> folders = {"/Users", "/Users/ann", "/data", "/packed", "/many"};
  for (const std::string& folder : folders) {
    const size_t slash = folder.find_last_of('/');
    if (!library.Create(slash == 0 ? "/" : folder.substr(0, slash), folder.substr(slash + 1), true)) {
      return fail("mkdir " + folder);
    }
    filled.folders.push_back(folder);
  }
  if (!library.MarkCompressed("/packed")) return fail("compress /packed");

  // Ordinary files, interleaved appends of a few clusters each.
  std::vector<std::string> growing;
  const int count = 6 * scale + int(random() % 6);
  for (int i = 0; i < count; ++i) {
    const std::string folder = folders[random() % 3];
    const std::string name = "file " + std::to_string(i) + (i % 5 == 0 ? " with a longer name.bin" : ".dat");
    if (!library.Create(folder, name, false)) return fail("create " + name);
    growing.push_back(folder + "/" + name);
  }
  const std::string sparse = "/data/sparse.img";
  const std::string packed = "/packed/notes.txt";
  if (!library.Create("/data", "sparse.img", false) || !library.Create("/packed", "notes.txt", false)) {
    return fail("create sparse or packed");
  }
  const int rounds = 4 + int(random() % 4);
  for (int round = 0; round < rounds; ++round) {
    std::vector<std::string> order = growing;
    std::shuffle(order.begin(), order.end(), random);
    for (const std::string& path : order) {
      const size_t bytes = cluster * (1 + random() % 6) - (random() % 3 == 0 ? random() % cluster : 0);
      if (!library.Write(path, -1, bytes, random, false)) return fail("append " + path);
    }
    // A hole then data: the sparse file; packable and random units: the
    // compressed one.
    if (!library.Write(sparse, -1, cluster * (1 + random() % 3), random, false)) return fail("sparse");
    {
      ntfs_inode* inode = ntfs_pathname_to_inode(library.volume, nullptr, sparse.c_str());
      int64_t size = 0;
      if (inode != nullptr) {
        size = inode->data_size;
        ntfs_inode_close(inode);
      }
      if (!library.Write(sparse, size + int64_t(cluster) * (20 + random() % 40), cluster, random, false)) {
        return fail("sparse hole");
      }
    }
    if (!library.Write(packed, -1, size_t(cluster) * 16, random, random() % 2 == 0)) return fail("packed");
    if (round == 1) {
      // Deletions: a few files give their clusters back.
      for (int d = 0; d < 2 && !growing.empty(); ++d) {
        const size_t victim = random() % growing.size();
        if (!library.Truncate(growing[victim])) return fail("truncate");
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
    if (!library.Create("/Users/ann", "a.log", false) || !library.Create("/Users/ann", "b.log", false)) {
      return fail("create log");
    }
    for (int i = 0; i < 400 * scale; ++i) {
      if (!library.Write("/Users/ann/a.log", int64_t(2 * i) * cluster, cluster, random, false) ||
          !library.Write("/Users/ann/b.log", -1, cluster, random, false)) {
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
    if (!library.Create("/many", name, false)) return fail("create small");
    if (!library.Write("/many/" + name, -1, 1 + random() % 900, random, false)) return fail("small");
    if (i % 10 == 0) filled.files.push_back("/many/" + name);
  }
  return true;
}

namespace {

struct Owners {
  std::vector<uint32_t> owner;  // record number + 1 of each cluster's owner
  std::vector<std::string> violations;
  TSK_DADDR_T clusters = 0;
};

TSK_WALK_RET_ENUM VisitRecord(TSK_FS_FILE* file, void* context) {
  auto& owners = *static_cast<Owners*>(context);
  const int count = tsk_fs_file_attr_getsize(file);
  for (int i = 0; i < count; ++i) {
    const TSK_FS_ATTR* attribute = tsk_fs_file_attr_get_idx(file, i);
    if (attribute == nullptr || !(attribute->flags & TSK_FS_ATTR_NONRES)) continue;
    for (const TSK_FS_ATTR_RUN* run = attribute->nrd.run; run != nullptr; run = run->next) {
      if (run->flags & (TSK_FS_ATTR_RUN_FLAG_SPARSE | TSK_FS_ATTR_RUN_FLAG_FILLER)) continue;
      for (TSK_DADDR_T c = run->addr; c < run->addr + run->len; ++c) {
        if (c >= owners.clusters) {
          owners.violations.push_back("record " + std::to_string(file->meta->addr) +
                                      " owns cluster " + std::to_string(c) + " past the end");
          break;
        }
        const uint32_t me = uint32_t(file->meta->addr) + 1;
        if (owners.owner[c] != 0 && owners.owner[c] != me) {
          owners.violations.push_back("cluster " + std::to_string(c) + " owned by records " +
                                      std::to_string(owners.owner[c] - 1) + " and " +
                                      std::to_string(me - 1));
        }
        owners.owner[c] = me;
      }
    }
  }
  return TSK_WALK_CONT;
}

}  // namespace

std::vector<std::string> CheckBitmapAgainstOwners(const std::string& image) {
  TSK_IMG_INFO* img = tsk_img_open_utf8_sing(image.c_str(), TSK_IMG_TYPE_DETECT, 0);
  if (img == nullptr) return {"the image cannot be opened"};
  TSK_FS_INFO* fs = tsk_fs_open_img(img, 0, TSK_FS_TYPE_NTFS);
  if (fs == nullptr) {
    tsk_img_close(img);
    return {"the file system cannot be opened"};
  }
  Owners owners;
  owners.clusters = fs->block_count;
  owners.owner.assign(size_t(fs->block_count), 0);
  tsk_fs_meta_walk(fs, fs->first_inum, fs->last_inum, TSK_FS_META_FLAG_ALLOC, VisitRecord, &owners);
  // $Bitmap's own content, read as a file.
  std::vector<uint8_t> bitmap(size_t((fs->block_count + 7) / 8));
  TSK_FS_FILE* bitmapFile = tsk_fs_file_open_meta(fs, nullptr, 6);
  if (bitmapFile == nullptr ||
      tsk_fs_file_read(bitmapFile, 0, reinterpret_cast<char*>(bitmap.data()), bitmap.size(),
                       TSK_FS_FILE_READ_FLAG_NONE) != ssize_t(bitmap.size())) {
    owners.violations.push_back("$Bitmap cannot be read");
  } else {
    int reported = 0;
    for (TSK_DADDR_T c = 0; c < fs->block_count && reported < 20; ++c) {
      const bool used = bitmap[c / 8] >> (c % 8) & 1;
      const bool owned = owners.owner[c] != 0;
      if (used != owned) {
        owners.violations.push_back("cluster " + std::to_string(c) + (used ? " in use, owned by nobody"
                                                                           : " free, owned by record " +
                                                                                 std::to_string(owners.owner[c] - 1)));
        ++reported;
      }
    }
  }
  if (bitmapFile != nullptr) tsk_fs_file_close(bitmapFile);
  tsk_fs_close(fs);
  tsk_img_close(img);
  return owners.violations;
}

bool NtfsfixClean(const std::string& image, std::string& output) {
  return RunCommand("ntfsfix -n " + Quoted(image), output) == 0;
}

bool AddFragmentedFile(const std::string& image, const std::string& name, int fragments, std::string& error) {
  Library library(image);
  std::mt19937 random(static_cast<uint32_t>(fragments));
  const std::string path = "/" + name, gap = path + ".gap";
  const size_t cluster = library.volume != nullptr ? library.volume->cluster_size : 0;
  // The file in one piece, and a free place twice its size found by writing
  // a file there and emptying it.
  bool ok = library.volume != nullptr && library.Create("/", name, false) && library.Create("/", name + ".gap", false) &&
            library.Write(path, 0, cluster * size_t(fragments), random, false) &&
            library.Write(gap, 0, cluster * size_t(fragments) * 2, random, false);
  // The clusters of a file, in VCN order.
  auto clustersOf = [&library](const std::string& file) {
    std::vector<int64_t> lcns;
    ntfs_inode* inode = ntfs_pathname_to_inode(library.volume, nullptr, file.c_str());
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
  ok = ok && from.size() == size_t(fragments) && room.size() == 2 * size_t(fragments) && library.Truncate(gap);
  // Cluster k goes to every other cluster of the emptied place; the run
  // list is rewritten by the library in one go.
  ntfs_inode* inode = ok ? ntfs_pathname_to_inode(library.volume, nullptr, path.c_str()) : nullptr;
  ntfs_attr* data = inode != nullptr ? ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0) : nullptr;
  ok = ok && data != nullptr && ntfs_attr_map_whole_runlist(data) == 0;
  std::vector<uint8_t> buffer(cluster);
  auto* runs = static_cast<runlist_element*>(calloc(size_t(fragments) + 1, sizeof(runlist_element)));
  const int64_t bytes = int64_t(cluster);
  for (int k = 0; ok && k < fragments; ++k) {
    const int64_t target = room[2 * size_t(k)];
    ok = ntfs_pread(library.volume->dev, from[size_t(k)] * bytes, bytes, buffer.data()) == bytes &&
         ntfs_pwrite(library.volume->dev, target * bytes, bytes, buffer.data()) == bytes &&
         ntfs_bitmap_set_run(library.volume->lcnbmp_na, target, 1) == 0;
    runs[k] = runlist_element{k, target, 1};
  }
  if (ok) {
    runs[fragments] = runlist_element{fragments, LCN_ENOENT, 0};
    free(data->rl);
    data->rl = runs;
    runs = nullptr;
    NAttrSetRunlistDirty(data);
    ok = ntfs_attr_update_mapping_pairs(data, 0) == 0;
    for (int64_t lcn : from) ok = ok && ntfs_bitmap_clear_run(library.volume->lcnbmp_na, lcn, 1) == 0;
  }
  free(runs);
  if (data != nullptr) ntfs_attr_close(data);
  if (inode != nullptr) ok = ntfs_inode_close(inode) == 0 && ok;
  ntfs_inode* gapInode = ok ? ntfs_pathname_to_inode(library.volume, nullptr, gap.c_str()) : nullptr;
  ntfs_inode* root = ok ? ntfs_inode_open(library.volume, FILE_root) : nullptr;
  ntfschar* unicode = nullptr;
  const int length = ntfs_mbstoucs((name + ".gap").c_str(), &unicode);
  ok = ok && gapInode != nullptr && root != nullptr &&
       ntfs_delete(library.volume, nullptr, gapInode, root, unicode, u8(length)) == 0;
  free(unicode);
  if (!ok) error = "cannot fragment " + name + ": " + std::strerror(errno);
  return ok;
}

bool AddInterleavedFiles(const std::string& image, uint32_t seed, int files, std::vector<std::string>& made,
                         std::string& error) {
  Library library(image);
  std::mt19937_64 random(seed);
  ntfs_volume* volume = library.volume;
  auto fail = [&error](const std::string& what) {
    error = what + ": " + std::strerror(errno);
    return false;
  };
  if (volume == nullptr || !library.Create("/", "bulk", true)) return fail("cannot make /bulk");
  // Each file written in one piece first.
  made.clear();
  std::vector<int64_t> clusters;
  std::vector<uint64_t> buffer((1 << 20) / 8);
  const int bits = volume->cluster_size_bits;
  for (int i = 0; i < files; ++i) {
    const int64_t mib = i % 10 == 0 ? 16 + int64_t(random() % 185) : 1 + int64_t(random() % 16);
    made.push_back("/bulk/f" + std::to_string(i) + ".bin");
    clusters.push_back((mib << 20) >> bits);
    if (!library.Create("/bulk", made.back().substr(6), false)) return fail("cannot create " + made.back());
    ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, made.back().c_str());
    ntfs_attr* data = inode != nullptr ? ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0) : nullptr;
    bool ok = data != nullptr;
    for (int64_t m = 0; ok && m < mib; ++m) {
      for (uint64_t& word : buffer) word = random();
      ok = ntfs_attr_pwrite(data, m << 20, 1 << 20, buffer.data()) == 1 << 20;
    }
    if (data != nullptr) ntfs_attr_close(data);
    if (inode != nullptr) ok = ntfs_inode_close(inode) == 0 && ok;
    if (!ok) return fail("cannot write " + made.back());
  }
  // Then scattered: the free clusters from the first one on are dealt to
  // the files in turn, 4 to 128 clusters at a time, and claimed all at once
  // before any file moves, so that the library's own allocations for the
  // records go elsewhere.
  std::vector<std::vector<runlist_element>> layout(static_cast<size_t>(files));
  std::vector<int64_t> left = clusters;
  std::vector<uint8_t> bitmap(size_t((volume->nr_clusters + 7) / 8));
  if (ntfs_attr_pread(volume->lcnbmp_na, 0, int64_t(bitmap.size()), bitmap.data()) != int64_t(bitmap.size())) {
    return fail("cannot read the bitmap");
  }
  int64_t cursor = 0;
  auto freeAt = [&bitmap](int64_t lcn) { return !(bitmap[size_t(lcn / 8)] >> (lcn % 8) & 1); };
  for (bool dealing = true; dealing;) {
    dealing = false;
    for (size_t i = 0; i < size_t(files); ++i) {
      int64_t want = std::min<int64_t>(left[i], 4 + int64_t(random() % 125));
      dealing = dealing || want > 0;
      left[i] -= want;
      while (want > 0) {
        while (cursor < volume->nr_clusters && !freeAt(cursor)) ++cursor;
        if (cursor >= volume->nr_clusters) return fail("no room to scatter the files");
        std::vector<runlist_element>& runs = layout[i];
        const int64_t vcn = runs.empty() ? 0 : runs.back().vcn + runs.back().length;
        runs.push_back(runlist_element{vcn, cursor, 0});
        while (want > 0 && cursor < volume->nr_clusters && freeAt(cursor)) {
          ++runs.back().length;
          ++cursor;
          --want;
        }
      }
      if (!layout[i].empty() && layout[i].back().lcn + layout[i].back().length != cursor) continue;
      ++cursor;  // a gap, so that turns never join
    }
  }
  for (const auto& runs : layout) {
    for (const runlist_element& run : runs) {
      if (ntfs_bitmap_set_run(volume->lcnbmp_na, run.lcn, run.length) != 0) return fail("cannot claim");
    }
  }
  std::vector<uint8_t> copy;
  for (size_t i = 0; i < size_t(files); ++i) {
    ntfs_inode* inode = ntfs_pathname_to_inode(volume, nullptr, made[i].c_str());
    ntfs_attr* data = inode != nullptr ? ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0) : nullptr;
    bool ok = data != nullptr && ntfs_attr_map_whole_runlist(data) == 0;
    std::vector<runlist_element> old;
    for (const runlist_element* run = ok ? data->rl : nullptr; run != nullptr && run->length != 0; ++run) {
      old.push_back(*run);
    }
    for (const runlist_element& to : layout[i]) {
      const int64_t bytes = to.length << bits;
      copy.resize(size_t(bytes));
      const int64_t from = ntfs_rl_vcn_to_lcn(data->rl, to.vcn);
      // The file was written in one piece: a turn never straddles two runs
      // unless the library split it, in which case it is read cluster by cluster.
      for (int64_t c = 0; ok && c < to.length; ++c) {
        const int64_t lcn = c == 0 ? from : ntfs_rl_vcn_to_lcn(data->rl, to.vcn + c);
        ok = lcn >= 0 && ntfs_pread(volume->dev, lcn << bits, 1 << bits, copy.data() + (c << bits)) == 1 << bits;
      }
      ok = ok && ntfs_pwrite(volume->dev, to.lcn << bits, bytes, copy.data()) == bytes;
    }
    auto* runs = static_cast<runlist_element*>(calloc(layout[i].size() + 1, sizeof(runlist_element)));
    ok = ok && runs != nullptr;
    if (ok) {
      std::copy(layout[i].begin(), layout[i].end(), runs);
      runs[layout[i].size()] = runlist_element{clusters[i], LCN_ENOENT, 0};
      free(data->rl);
      data->rl = runs;
      NAttrSetRunlistDirty(data);
      ok = ntfs_attr_update_mapping_pairs(data, 0) == 0;
      for (const runlist_element& run : old) {
        ok = ok && (run.lcn < 0 || ntfs_bitmap_clear_run(volume->lcnbmp_na, run.lcn, run.length) == 0);
      }
    } else {
      free(runs);
    }
    if (data != nullptr) ntfs_attr_close(data);
    if (inode != nullptr) ok = ntfs_inode_close(inode) == 0 && ok;
    if (!ok) return fail("cannot scatter " + made[i]);
  }
  return true;
}

bool MarkedDirty(const std::string& image) {
  ntfs_volume* volume = ntfs_mount(image.c_str(), NTFS_MNT_RDONLY);
  if (volume == nullptr) return false;
  const bool dirty = (volume->flags & VOLUME_IS_DIRTY) != 0;
  ntfs_umount(volume, BOOL(false));
  return dirty;
}

bool MarkDirty(const std::string& image) {
  Library library(image);
  return library.volume != nullptr &&
         ntfs_volume_write_flags(library.volume, le16(library.volume->flags | VOLUME_IS_DIRTY)) == 0;
}

bool MarkHibernated(const std::string& image) {
  // The header a hibernated or fast-started system leaves in its
  // hibernation file, at the root of the volume.
  Library library(image);
  if (library.volume == nullptr || !library.Create("/", "hiberfil.sys", false)) return false;
  ntfs_inode* inode = ntfs_pathname_to_inode(library.volume, nullptr, "/hiberfil.sys");
  if (inode == nullptr) return false;
  ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
  std::vector<uint8_t> header(8192, 0);
  std::memcpy(header.data(), "hibr", 4);
  bool ok = data != nullptr && ntfs_attr_pwrite(data, 0, int64_t(header.size()), header.data()) == int64_t(header.size());
  if (data != nullptr) ok = ntfs_attr_pclose(data) == 0 && ok;
  if (data != nullptr) ntfs_attr_close(data);
  return ntfs_inode_close(inode) == 0 && ok;
}

bool PointRunOutside(const std::string& image, const std::string& volumePath) {
  Library library(image);
  if (library.volume == nullptr) return false;
  ntfs_inode* inode = ntfs_pathname_to_inode(library.volume, nullptr, volumePath.c_str());
  if (inode == nullptr) return false;
  ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
  bool ok = data != nullptr && NAttrNonResident(data) && ntfs_attr_map_whole_runlist(data) == 0;
  if (ok) {
    runlist_element* last = nullptr;
    for (runlist_element* run = data->rl; run->length != 0; ++run) {
      if (run->lcn >= 0) last = run;
    }
    ok = last != nullptr;
    if (ok) last->lcn = library.volume->nr_clusters - last->length / 2;
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

bool TskView::Runs(const std::string& volumePath, std::vector<PhysicalRun>& runs, bool* packed) {
  runs.clear();
  TSK_FS_FILE* file = tsk_fs_file_open(static_cast<TSK_FS_INFO*>(fs_), nullptr, volumePath.c_str());
  if (file == nullptr) return false;
  // The unnamed data, or a folder's index allocation.
  const bool folder = file->meta != nullptr && file->meta->type == TSK_FS_META_TYPE_DIR;
  const TSK_FS_ATTR* data = folder ? tsk_fs_file_attr_get_type(file, TSK_FS_ATTR_TYPE_NTFS_IDXALLOC, 0, 0)
                                   : tsk_fs_file_attr_get(file);
  if (packed != nullptr) {
    *packed = data != nullptr && (data->flags & (TSK_FS_ATTR_COMP | TSK_FS_ATTR_SPARSE)) != 0;
  }
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
