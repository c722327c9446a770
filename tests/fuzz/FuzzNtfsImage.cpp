// NTFS images through the real volume: the analysis and the defragmentation
// of every file, on an image whose metadata the fuzzer chose. Whatever the
// image holds, the volume answers with statuses, never with a crash, a read
// or a write outside its buffers, or undefined behaviour.
//
// A small volume is made once by mkntfs and filled as the NTFS tests fill
// theirs. The fuzzer's input is laid over that volume's metadata only:
// the boot sector, the record table, the bitmap, the folders' index blocks,
// the record table's mirror and the log's restart pages, concatenated in
// that order. Each execution works on a fresh copy in the shared-memory
// folder; an input shorter than the metadata leaves the rest as it was.
// Files of many fragments are analysed only (see kMaxMovedFragments).
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "NtfsImages.h"
#include "engine/Analysis.h"
#include "engine/Relocation.h"
#include "engine/ntfs/NtfsVolume.h"
#include "runs/ConsoleRunUi.h"

extern "C" {
#include <ntfs-3g/logging.h>
}

namespace {

// Room for the move journal the first switch makes on the volume: on a
// smaller volume every move would stop there and no run list be switched.
constexpr uint64_t kImageBytes = 8ull << 20;
constexpr int kMaxFiles = 64;
// Files of more fragments are analysed but not moved, and one file is moved
// per execution: each move makes the journal on the volume and syncs and
// reads back its copy, and moves would take most of the time.
constexpr uint64_t kMaxMovedFragments = 24;

struct Region {
  uint64_t offset;
  uint64_t length;
};

std::vector<uint8_t> gBase;
std::vector<Region> gRegions;
std::string gImage;

// ---- Making the volume ----

void AddRuns(const runlist_element* runs, uint32_t clusterBits, uint64_t limit) {
  uint64_t taken = 0;
  for (const runlist_element* run = runs; run != nullptr && run->length != 0 && taken < limit; ++run) {
    if (run->lcn < 0) continue;
    const uint64_t length = (std::min)(uint64_t(run->length) << clusterBits, limit - taken);
    gRegions.push_back({uint64_t(run->lcn) << clusterBits, length});
    taken += length;
  }
}

// The metadata's places on the made volume.
bool FindRegions(const std::string& image, const std::vector<std::string>& folders) {
  ntfs_volume* volume = ntfs_mount(image.c_str(), NTFS_MNT_RDONLY);
  if (volume == nullptr) return false;
  const uint32_t bits = volume->cluster_size_bits;
  gRegions.push_back({0, 512});
  AddRuns(volume->mft_na->rl, bits, uint64_t(volume->mft_na->initialized_size));
  AddRuns(volume->lcnbmp_na->rl, bits, uint64_t(volume->lcnbmp_na->data_size));
  // At most `limit` bytes of an attribute of `inode`, which it closes.
  auto addAttribute = [bits](ntfs_inode* inode, ATTR_TYPES type, ntfschar* name, uint32_t nameLength,
                             int64_t limit) {
    if (inode == nullptr) return;
    ntfs_attr* attribute = ntfs_attr_open(inode, type, name, nameLength);
    if (attribute != nullptr && ntfs_attr_map_whole_runlist(attribute) == 0) {
      AddRuns(attribute->rl, bits, uint64_t((std::min)(limit, attribute->data_size)));
    }
    if (attribute != nullptr) ntfs_attr_close(attribute);
    ntfs_inode_close(inode);
  };
  for (const std::string& folder : folders) {
    addAttribute(ntfs_pathname_to_inode(volume, nullptr, folder.c_str()), AT_INDEX_ALLOCATION, NTFS_INDEX_I30, 4,
                 INT64_MAX);
  }
  addAttribute(ntfs_inode_open(volume, FILE_root), AT_INDEX_ALLOCATION, NTFS_INDEX_I30, 4, INT64_MAX);
  AddRuns(volume->mftmirr_na->rl, bits, uint64_t(volume->mftmirr_size) * volume->mft_record_size);
  // The log's restart pages.
  addAttribute(ntfs_inode_open(volume, FILE_LogFile), AT_DATA, AT_UNNAMED, 0, 8192);
  ntfs_umount(volume, FALSE);
  return true;
}

bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  return bool(out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size())));
}

// ---- One execution ----

// Every file of the volume's tree, depth first, at most kMaxFiles.
void CollectFiles(NtfsFileQueries& queries, const std::wstring& folder, int depth, std::vector<std::wstring>& files) {
  if (depth > 4) return;
  std::vector<DirEntry> entries;
  queries.FindEntries(folder + L"\\*", [&entries](const DirEntry& entry) {
    entries.push_back(entry);
    return entries.size() < 256;
  });
  for (const DirEntry& entry : entries) {
    if (files.size() >= size_t(kMaxFiles)) return;
    if (entry.name == L"." || entry.name == L"..") continue;
    const std::wstring path = folder + L"\\" + entry.name;
    if (entry.attributes & kAttrDirectory) {
      CollectFiles(queries, path, depth + 1, files);
    } else {
      files.push_back(path);
    }
  }
}

void Exercise() {
  NtfsVolume volume;
  std::string message;
  if (volume.Open(gImage, true, L'N', message) != NtfsOpenFailure::None) {
    FUZZ_CHECK(!message.empty());
    return;
  }
  NtfsFileQueries queries(volume);
  SetVolumeAccess(&volume);
  SetFileQueries(&queries);
  // Nobody watches a fuzzed run: the console's user, which shows nothing
  // while files move.
  ConsoleRunUi ui;
  std::vector<std::wstring> files;
  CollectFiles(queries, L"N:", 0, files);
  bool moved = false;
  for (const std::wstring& path : files) {
    FileAnalysis analysis;
    AnalyseFile(path, analysis);
    if (!moved && analysis.outcome.empty() && analysis.fragments > 1 && analysis.fragments <= kMaxMovedFragments) {
      FileAnalysis counts;
      DefragmentFile(ui, path, &counts);
      moved = true;
    }
    queries.GetCompressedSize(path);
  }
  // The volume's bitmap through the control, start to end.
  const FsHandle handle = Va().OpenVolume("\\\\.\\N:");
  if (handle != kInvalidHandle) {
    alignas(8) static uint8_t out[4096];
    int64_t lcn = 0;
    IoStatusBlock block{};
    Va().GetVolumeBitmap(handle, block, &lcn, sizeof lcn, out, sizeof out);
    Va().Close(handle);
  }
  ResetEngineState();
  SetVolumeAccess(nullptr);
  SetFileQueries(nullptr);
  volume.Unmount();
}

}  // namespace

// The library keeps a little memory on some of its own failure paths (its
// mount, for one, on a broken record: we give it a device and get a volume
// or nothing). Its code has no frame pointers, so a leak's stack often ends
// at its allocator: what it allocates is not reported; what ours allocates
// still is.
extern "C" const char* __lsan_default_suppressions() { return "leak:libntfs-3g.so\n"; }

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The library's complaints about broken images are expected by the thousand.
  ntfs_log_set_handler(ntfs_log_handler_null);
  const std::string made = fuzz::ScratchPath("-ntfs-made.img");
  gImage = fuzz::ScratchPath("-ntfs.img");
  std::string error;
  // The tests' random tree (fragmented files, a file with holes, a
  // compressed file, a folder with an index allocation) and a file of enough
  // one-cluster pieces that its run list needs an attribute list.
  FilledImage filled;
  if (!MakeNtfsImage(made, kImageBytes, error, 512) || !FillRandomly(made, 1, 0, filled, error) ||
      !AddFragmentedFile(made, "pieces", 250, error) || !FindRegions(made, filled.folders)) {
    std::fprintf(stderr, "fuzz_ntfs_image: the volume could not be made (mkntfs, ntfs-3g): %s\n", error.c_str());
    std::abort();
  }
  std::ifstream in(made, std::ios::binary);
  gBase.assign(std::istreambuf_iterator<char>(in), {});
  std::remove(made.c_str());
  if (gBase.size() != kImageBytes) std::abort();
  uint64_t total = 0;
  for (const Region& region : gRegions) total += region.length;
  std::fprintf(stderr, "fuzz_ntfs_image: %zu metadata regions, %llu bytes\n", gRegions.size(),
               static_cast<unsigned long long>(total));
  // The untouched metadata, for a seed: ORDALIS_FUZZ_NTFS_SEED=file.
  if (const char* seed = std::getenv("ORDALIS_FUZZ_NTFS_SEED")) {
    std::vector<uint8_t> blob;
    for (const Region& region : gRegions) {
      blob.insert(blob.end(), gBase.begin() + long(region.offset), gBase.begin() + long(region.offset + region.length));
    }
    if (!WriteFile(seed, blob)) std::abort();
  }
  std::atexit([] { std::remove(gImage.c_str()); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The image file stays mapped: each execution copies the made volume over
  // it and lays the input on top, without allocating anything.
  static uint8_t* image = [] {
    if (!WriteFile(gImage, gBase)) std::abort();
    const int fd = open(gImage.c_str(), O_RDWR);
    void* map = fd < 0 ? MAP_FAILED : mmap(nullptr, kImageBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (map == MAP_FAILED) std::abort();
    close(fd);
    return static_cast<uint8_t*>(map);
  }();
  std::memcpy(image, gBase.data(), kImageBytes);
  size_t at = 0;
  for (const Region& region : gRegions) {
    if (at >= size) break;
    const size_t n = (std::min)(size_t(region.length), size - at);
    std::memcpy(image + region.offset, data + at, n);
    at += n;
  }
  Exercise();
  return 0;
}
