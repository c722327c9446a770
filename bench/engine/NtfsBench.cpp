// The NTFS volume at size: a sparse image of 2 TiB made by mkntfs, filled
// through the on-disk format library with many files (most small enough to
// live inside their records, the rest a few clusters) and a set of files
// to be fragmented; then the analysis of every file and
// the defragmentation of the fragmented ones, with the time spent in the
// free-space search measured on its own.
//   ntfs_bench [FILES [FRAGMENTED [GIB [IMAGE]]]]   (100000 1000 2048 /tmp/...)
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "NtfsImages.h"
#include "RecordingRunUi.h"
#include "engine/FreeSpace.h"
#include "engine/Relocation.h"
#include "engine/ntfs/NtfsLibrary.h"
#include "engine/ntfs/NtfsVolume.h"
#include "engine/sim/SimVolume.h"

namespace {

struct Filler {
  ntfs_volume* volume;
  std::mt19937 random{7};
  ntfs_inode* Create(ntfs_inode* folder, const std::string& name, bool isFolder) {
    ntfschar* unicode = nullptr;
    const int length = ntfs_mbstoucs(name.c_str(), &unicode);
    ntfs_inode* made = ntfs_create(folder, 0, unicode, u8(length), isFolder ? S_IFDIR : S_IFREG);
    free(unicode);
    return made;
  }
  bool Append(ntfs_inode* inode, size_t bytes) { return WriteAt(inode, -1, bytes); }
  // At `offset`, or at the end when it is -1.
  bool WriteAt(ntfs_inode* inode, int64_t offset, size_t bytes) {
    ntfs_attr* data = ntfs_attr_open(inode, AT_DATA, AT_UNNAMED, 0);
    if (data == nullptr) return false;
    std::vector<uint8_t> buffer(bytes);
    for (auto& b : buffer) b = uint8_t(random());
    const int64_t at = offset < 0 ? data->data_size : offset;
    bool ok = ntfs_attr_pwrite(data, at, int64_t(bytes), buffer.data()) == int64_t(bytes);
    ok = ntfs_attr_pclose(data) == 0 && ok;
    ntfs_attr_close(data);
    return ok;
  }
};

}  // namespace

int main(int argc, char** argv) {
  const int files = argc > 1 ? std::atoi(argv[1]) : 100000;
  const int fragmented = argc > 2 ? std::atoi(argv[2]) : 1000;
  const uint64_t gib = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 2048;
  const std::string image = argc > 4 ? argv[4] : "/tmp/ordalis-ntfs-bench.img";

  setvbuf(stdout, nullptr, _IOLBF, 0);
  auto start = Clock::now();
  std::string error;
  if (!MakeNtfsImage(image, gib << 30, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  std::printf("mkntfs of %llu GiB: %.1f s\n", (unsigned long long)gib, Seconds(start));

  // Folders of 1,000 entries; one in five files a few clusters long.
  std::vector<std::string> paths, fragmentedPaths;
  start = Clock::now();
  {
    ntfs_volume* volume = ntfs_mount(image.c_str(), ntfs_mount_flags(0));
    if (volume == nullptr) return 1;
    Filler filler{volume};
    ntfs_inode* root = ntfs_inode_open(volume, FILE_root);
    std::vector<uint64_t> growing;  // record numbers, reopened for each append
    ntfs_inode* folder = nullptr;
    std::string folderName;
    for (int i = 0; i < files; ++i) {
      if (i % 1000 == 0) {
        if (folder != nullptr) ntfs_inode_close(folder);
        folderName = "folder" + std::to_string(i / 1000);
        folder = filler.Create(root, folderName, true);
      }
      const std::string name = "file" + std::to_string(i) + ".dat";
      ntfs_inode* file = filler.Create(folder, name, false);
      if (file == nullptr) {
        std::perror(name.c_str());
        return 1;
      }
      const bool grows = i % (files / std::max(1, fragmented)) == 0 && int(growing.size()) < fragmented;
      // Most files fit in their records.
      if (!grows) filler.Append(file, i % 5 == 0 ? 4096 * (1 + filler.random() % 4) : 1 + filler.random() % 600);
      paths.push_back("/" + folderName + "/" + name);
      if (grows) {
        growing.push_back(file->mft_no);
        fragmentedPaths.push_back(paths.back());
      }
      // Closed in its open folder: the file's name in the folder's index is
      // brought up to date without opening the folder a second time.
      if (ntfs_inode_close_in_dir(file, folder) != 0) {
        std::perror("close");
        return 1;
      }
    }
    if (folder != nullptr) ntfs_inode_close(folder);
    // 128 clusters each; the library's allocator keeps such files in one
    // piece on a volume this large, so they are scattered below.
    for (int pass = 0; pass < 1; ++pass) {
      for (int k = 0; k < 8; ++k) {
        for (uint64_t record : growing) {
          ntfs_inode* file = ntfs_inode_open(volume, MK_MREF(record, 0));
          if (file == nullptr || !filler.WriteAt(file, int64_t(k) * 16 * 4096, 16 * 4096) ||
              ntfs_inode_close(file) != 0) {
            std::perror("grow");
            return 1;
          }
        }
      }
    }
    ntfs_inode_close(root);
    ntfs_umount(volume, BOOL(false));
  }
  std::printf("filled %d files (%zu to be fragmented): %.1f s\n", files,
              fragmentedPaths.size(), Seconds(start));

  // Every other piece of 16 clusters of each growing file moved to a random
  // free place of the volume through the move control.
  start = Clock::now();
  {
    NtfsVolume volume;
    std::string message;
    if (volume.Open(image, true, L'N', message) != NtfsOpenFailure::None) return 1;
    SetVolumeAccess(&volume);
    std::mt19937_64 random(11);
    const FsHandle handle = volume.OpenVolume("\\\\.\\N:");
    for (const std::string& path : fragmentedPaths) {
      std::wstring wide = L"N:" + WideFromUtf8(path);
      for (wchar_t& c : wide) {
        if (c == L'/') c = L'\\';
      }
      const FsHandle file = volume.OpenFileForMoving(wide);
      for (int k = 1; k < 8; k += 2) {
        for (int attempt = 0; attempt < 20; ++attempt) {
          MoveFileRecord record{uint64_t(file), int64_t(k) * 16,
                                int64_t(random() % (volume.ClusterCount() - 16)), 16, 0};
          IoStatusBlock block{};
          if (volume.MoveClusters(handle, block, &record, sizeof record) == kStatusSuccess) break;
        }
      }
      volume.Close(file);
    }
    volume.Close(handle);
    SetVolumeAccess(nullptr);
  }
  std::printf("scattered: %.1f s\n", Seconds(start));
  {
    const std::string faults = ClusterAccountingFaults(image, false);
    std::printf("cluster accounting after filling: %s\n", faults.empty() ? "clean" : faults.c_str());
  }
  // As ordalis-ntfs runs: no window, no pump.
  auto enginePath = [](const std::string& path) {
    std::wstring wide = L"N:" + WideFromUtf8(path);
    for (wchar_t& c : wide) {
      if (c == L'/') c = L'\\';
    }
    return wide;
  };
  {
    NtfsVolume volume;
    std::string message;
    start = Clock::now();
    if (volume.Open(image, false, L'N', message) != NtfsOpenFailure::None) return 1;
    std::printf("open read-only: %.2f s\n", Seconds(start));
    NtfsFileQueries queries(volume);
    SetVolumeAccess(&volume);
    SetFileQueries(&queries);
    start = Clock::now();
    uint64_t seen = 0, fragmentedSeen = 0;
    for (const std::string& path : paths) {
      FileAnalysis analysis;
      AnalyseFile(enginePath(path), analysis);
      ++seen;
      fragmentedSeen += analysis.fragments > 1;
    }
    const double analysis = Seconds(start);
    std::printf("analysis of %llu files: %.1f s (%.0f files/s), %llu fragmented\n",
                (unsigned long long)seen, analysis, double(seen) / analysis,
                (unsigned long long)fragmentedSeen);
    ResetEngineState();
    SetVolumeAccess(nullptr);
  }
  {
    NtfsVolume volume;
    std::string message;
    if (volume.Open(image, true, L'N', message) != NtfsOpenFailure::None) return 1;
    SetVolumeAccess(&volume);
    gEngine.flags = kSmartStrategy;
    RecordingEngineUi ui;
    double search = 0;
    uint64_t moved = 0;
    start = Clock::now();
    for (const std::string& path : fragmentedPaths) {
      // The search the relocation is about to make, timed on its own.
      FileAnalysis counts;
      AnalyseFile(enginePath(path), counts);
      const FsHandle handle = volume.OpenVolume("\\\\.\\N:");
      int64_t lcn = -1;
      std::wstring text;
      const auto searchStart = Clock::now();
      FindFreeRun(ui, handle, counts.clusters, true, lcn, text);
      search += Seconds(searchStart);
      volume.Close(handle);
      DefragmentFile(ui, enginePath(path), nullptr);
      moved += gEngine.moveResultCode.empty();
    }
    const double total = Seconds(start);
    std::printf("defragmentation of %zu files: %.1f s, %llu moved; free-space search (smallest fit) "
                "%.1f s of it (%.1f ms a file)\n",
                fragmentedPaths.size(), total - search, (unsigned long long)moved, search,
                1000 * search / double(std::max<size_t>(1, fragmentedPaths.size())));
    ResetEngineState();
    SetVolumeAccess(nullptr);
  }
  std::string output;
  std::printf("ntfsfix -n: %s\n", NtfsfixClean(image, output) ? "clean" : output.c_str());
  start = Clock::now();
  const std::string faults = ClusterAccountingFaults(image, false);
  std::printf("every record's clusters against the bitmap (ntfsresize): %s, %.1f s\n",
              faults.empty() ? "clean" : faults.c_str(), Seconds(start));
  if (std::getenv("ORDALIS_BENCH_KEEP_IMAGE") == nullptr) std::remove(image.c_str());
  return 0;
}
