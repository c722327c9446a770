// An image for the whole-volume speed runs: mkntfs, then FILES files of
// mixed sizes (most 1 to 16 MiB, one in ten 16 to 200 MiB), each scattered
// in pieces of 16 to 512 KiB that alternate with the other files' pieces,
// as files grown together lie. Prints the files it made.
//   ntfs_bulk_image IMAGE SEED FILES GIB
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "NtfsImages.h"

namespace {

bool AddInterleavedFiles(const std::string& image, uint32_t seed, int files, std::vector<std::string>& made,
                         std::string& error) {
  NtfsImageWriter writer(image);
  std::mt19937_64 random(seed);
  ntfs_volume* volume = writer.volume;
  auto fail = [&error](const std::string& what) {
    error = what + ": " + std::strerror(errno);
    return false;
  };
  if (volume == nullptr || !writer.Create("/", "bulk", true)) return fail("cannot make /bulk");
  // Each file written in one piece first.
  made.clear();
  std::vector<int64_t> clusters;
  std::vector<uint64_t> buffer((1 << 20) / 8);
  const int bits = volume->cluster_size_bits;
  for (int i = 0; i < files; ++i) {
    const int64_t mib = i % 10 == 0 ? 16 + int64_t(random() % 185) : 1 + int64_t(random() % 16);
    made.push_back("/bulk/f" + std::to_string(i) + ".bin");
    clusters.push_back((mib << 20) >> bits);
    if (!writer.Create("/bulk", made.back().substr(6), false)) return fail("cannot create " + made.back());
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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fputs("usage: ntfs_bulk_image IMAGE SEED FILES GIB\n", stderr);
    return 2;
  }
  std::string error;
  std::vector<std::string> made;
  if (!MakeNtfsImage(argv[1], std::strtoull(argv[4], nullptr, 10) << 30, error) ||
      !AddInterleavedFiles(argv[1], uint32_t(std::strtoul(argv[2], nullptr, 10)), std::atoi(argv[3]), made, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  for (const std::string& file : made) std::printf("%s\n", file.c_str());
  return 0;
}
