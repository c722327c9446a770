#pragma once
// NTFS images for the tests: made by mkntfs, filled and fragmented through
// the on-disk format library (interleaved appends, deletions, sparse and
// compressed files, a file whose run list needs an attribute list, a folder
// with an index allocation), and judged by The Sleuth Kit, which shares no
// code with the volume under test, and by ntfsresize's cluster accounting.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "engine/ntfs/NtfsLibrary.h"

// The image held open by the classes below, never copied.
struct ImageHandle {
  ImageHandle() = default;
  ImageHandle(const ImageHandle&) = delete;
  ImageHandle& operator=(const ImageHandle&) = delete;
};

// A sparse image file of `bytes`, formatted with clusters of `cluster` bytes.
bool MakeNtfsImage(const std::string& image, uint64_t bytes, std::string& error, int cluster = 4096);

// The image mounted through the on-disk format library for writing, with
// compression on; paths are volume paths ("/a/b").
class NtfsImageWriter : ImageHandle {
 public:
  explicit NtfsImageWriter(const std::string& image);
  ~NtfsImageWriter();
  // Creates a file or folder under `parent` ("/" or "/a").
  bool Create(const std::string& parent, const std::string& name, bool folder);
  // Writes at `offset` (-1: at the end).
  bool Write(const std::string& path, int64_t offset, const std::vector<uint8_t>& bytes);
  // `bytes` random bytes, or packable ones that compress.
  bool Write(const std::string& path, int64_t offset, size_t bytes, std::mt19937& random, bool packable);
  bool Truncate(const std::string& path);

  ntfs_volume* volume = nullptr;
};

// What a random filling made: the user files (volume paths) and folders.
struct FilledImage {
  std::vector<std::string> files;
  std::vector<std::string> folders;
};
// Fills the image with a random fragmented tree from `seed`; `scale`
// multiplies the number of files and rounds.
bool FillRandomly(const std::string& image, uint32_t seed, int scale, FilledImage& filled,
                  std::string& error);

// Adds `/name`, a file of `fragments` one-cluster pieces with a free
// cluster between each two (an attribute list from about 200 pieces on).
bool AddFragmentedFile(const std::string& image, const std::string& name, int fragments, std::string& error);

// A physical run of a file as The Sleuth Kit reads it:
// consecutive cluster numbers joined, holes left out.
struct PhysicalRun {
  int64_t lcn;
  int64_t count;
  bool operator==(const PhysicalRun&) const = default;
};
// The image read in-process through The Sleuth Kit's library: the physical
// runs of a file's unnamed data (a folder's index allocation) and a hash of
// its content.
class TskView : ImageHandle {
 public:
  explicit TskView(const std::string& image);
  ~TskView();
  bool Opened() const { return fs_ != nullptr; }
  bool Runs(const std::string& volumePath, std::vector<PhysicalRun>& runs);
  std::string Hash(const std::string& volumePath);

 private:
  void* image_ = nullptr;
  void* fs_ = nullptr;
};

// ntfsresize's accounting of every record's clusters against $Bitmap, and
// the record bitmap's of every record in use: the lines of a cluster owned
// twice or owned but free and of a record in use but free, empty when there
// are none. Clusters in use that nobody owns count too, unless `killed`: a run
// killed mid-move may leave clusters claimed for a copy no file took over.
std::string ClusterAccountingFaults(const std::string& image, bool killed);

// Marks the volume for a disk check, as its own system does after a crash,
// or clears the mark, as its check does when it finds nothing. MarkedDirty:
// whether it carries the mark.
bool MarkedDirty(const std::string& image);
bool SetDirty(const std::string& image, bool dirty);
// Changes a byte of the second record's copy in the master file table's
// mirror, so that the two differ.
bool UnequalMirror(const std::string& image);
// Writes the hibernation file a hibernated or fast-started system leaves.
bool MarkHibernated(const std::string& image);
// Points the last run of a file's data past the end of the volume, as a
// damaged or crafted image may.
bool PointRunOutside(const std::string& image, const std::string& volumePath);

// ntfsfix -n: true when it finds nothing to fix.
bool NtfsfixClean(const std::string& image, std::string& output);

// Runs a command, its standard output in `output`; the exit status.
int RunCommand(const std::string& command, std::string& output);
std::string Quoted(const std::string& text);
