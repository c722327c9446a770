#pragma once
// NTFS images for the tests: made by mkntfs, filled and fragmented through
// the on-disk format library (interleaved appends, deletions, sparse and
// compressed files, a file whose run list needs an attribute list, a folder
// with an index allocation), and judged by The Sleuth Kit, which shares no
// code with the volume under test.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// A sparse image file of `bytes`, formatted with 4 KiB clusters.
bool MakeNtfsImage(const std::string& image, uint64_t bytes, std::string& error);

// What a random filling made: the user files (volume paths) and folders.
struct FilledImage {
  std::vector<std::string> files;
  std::vector<std::string> folders;
};
// Fills the image with a random fragmented tree from `seed`; `scale`
// multiplies the number of files and rounds.
bool FillRandomly(const std::string& image, uint32_t seed, int scale, FilledImage& filled,
                  std::string& error);

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
class TskView {
 public:
  explicit TskView(const std::string& image);
  ~TskView();
  TskView(const TskView&) = delete;
  TskView& operator=(const TskView&) = delete;
  bool Opened() const { return fs_ != nullptr; }
  // `packed` tells whether the data is compressed or sparse.
  bool Runs(const std::string& volumePath, std::vector<PhysicalRun>& runs, bool* packed = nullptr);
  std::string Hash(const std::string& volumePath);

 private:
  void* image_ = nullptr;
  void* fs_ = nullptr;
};

// The checker: every allocated record's non-resident attributes read
// through The Sleuth Kit; a cluster owned twice, a cluster owned but free
// in $Bitmap, or a cluster in use that nobody owns is a violation.
std::vector<std::string> CheckBitmapAgainstOwners(const std::string& image);

// Adds `/name`, a file of `fragments` one-cluster pieces with a free
// cluster between each two (an attribute list from about 200 pieces on).
bool AddFragmentedFile(const std::string& image, const std::string& name, int fragments, std::string& error);

// Adds `files` files under /bulk of mixed sizes (most 1 to 16 MiB, one in
// ten 16 to 200 MiB), each then scattered in pieces of 16 to 512 KiB that
// alternate with the other files' pieces, as files grown together lie.
// Their volume paths in `made`.
bool AddInterleavedFiles(const std::string& image, uint32_t seed, int files, std::vector<std::string>& made,
                         std::string& error);

// Marks the volume for a disk check, as its own system does after a crash.
// MarkedDirty: whether it carries the mark.
bool MarkedDirty(const std::string& image);
bool MarkDirty(const std::string& image);
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
