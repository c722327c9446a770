#pragma once
// A simulated NTFS volume behind the volume-access interface, for systems
// without the defragmentation controls. It answers the three controls as the
// file system does (whole extents, rounded starts, end-of-file answers,
// overflow with the full bitmap size, minimum buffer sizes, partial moves,
// clusters held until a checkpoint, pending answers), and it keeps a tag on
// every cluster saying whose data it holds, so that a checker can prove after
// any sequence of moves that nothing was lost, duplicated or left allocated.
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/VolumeAccess.h"
#include "util/WideString.h"

struct SimRun {
  int64_t lcn = -1;  // -1: a run without clusters (sparse or compressed hole)
  uint64_t count = 0;
  bool operator==(const SimRun&) const = default;
};

struct SimFile {
  std::wstring path;  // as described, no long prefix
  uint64_t size = 0;
  bool resident = false;
  bool compressed = false;
  bool directory = false;  // opens only with backup semantics
  // Its first so many VCNs cannot be moved (the start of the master file
  // table, for one).
  uint64_t unmovable = 0;
  std::vector<SimRun> runs;  // in VCN order
  bool operator==(const SimFile&) const = default;

  uint64_t VcnCount() const;
  uint64_t AllocatedClusters() const;
  // Sparse or compressed files move in whole compression units.
  bool MovesByUnits() const;
};

enum class SimControl : uint32_t { Move, Pointers, Bitmap, Open, Volume };

// A fault on one file (or, for the bitmap and the volume, on the volume).
struct SimFault {
  std::wstring path;   // for Volume: the drive, "Z:"; for Bitmap: ignored
  SimControl control = SimControl::Move;
  uint32_t call = 0;   // 1-based call of that control on that file; 0 = every call
  bool pending = false;  // the call answers pending and completes with `status`
  NtStatus status = kStatusSuccess;
  uint64_t partial = 0;  // move: only this many clusters move, success reported
  uint32_t seen = 0;     // calls of that control counted so far
  bool operator==(const SimFault& other) const {
    return path == other.path && control == other.control && call == other.call &&
           pending == other.pending && status == other.status && partial == other.partial;
  }
};

// The whole bitmap of a simulated volume is held in memory, and its checker
// visits every cluster: 2^32 clusters (16 TiB of 4 KiB clusters) at most.
constexpr uint64_t kMaxSimClusters = uint64_t{1} << 32;

struct SimSettings {
  wchar_t letter = L'Z';
  uint64_t clusters = 0;
  uint32_t clusterSize = 4096;
  uint32_t bitmapAlign = 8;
  NtStatus inUseStatus = kStatusAlreadyCommitted;
  bool checkpoint = false;    // freed clusters held until Checkpoint()
  bool partialMoves = false;  // moves work in chunks, a held target ends one early
  bool pending = false;       // every control answers pending first
  uint32_t moveChunk = 16;    // clusters per chunk of a partial-capable move
  uint32_t moveDelayMs = 0;   // every move call first takes this long, as a slow disk does
  // Off, as on the system: a control that fails without answering pending
  // leaves the caller's status block untouched. On: the block gets the error
  // too, which hides a caller that reads the block instead of the status.
  bool blockOnFailure = false;
  bool operator==(const SimSettings&) const = default;
};

// Whose data a cluster holds.
struct SimTag {
  uint32_t file = 0;  // index into the files, +1; 0 = nobody
  int64_t vcn = 0;
};

class SimVolume : public VolumeAccess {
 public:
  SimVolume() = default;
  SimVolume(const SimVolume&) = delete;
  SimVolume& operator=(const SimVolume&) = delete;

  // Building. Files must not overlap each other or the reserved ranges;
  // false with a reason otherwise.
  bool Create(const SimSettings& settings, std::string& error);
  bool Reserve(int64_t lcn, uint64_t count, std::string& error);
  bool Hold(int64_t lcn, uint64_t count, std::string& error);  // awaiting a checkpoint
  bool AddFile(const SimFile& file, std::string& error);
  void AddFault(const SimFault& fault);
  // Allocates a contiguous run at the lowest free LCN for a file met on disk
  // but not described (resident up to kResidentLimit bytes).
  static constexpr uint64_t kResidentLimit = 700;
  bool AddFileAtLowestFreeRun(const std::wstring& path, uint64_t size, std::string& error);

  // For files that exist on disk but are not described: their size, or false
  // when there is no such file. Directories answer with isDirectory set.
  std::function<bool(const std::wstring& path, uint64_t& size, bool& isDirectory)> diskLookup;
  // Where system texts come from when set (the platform's own, in the
  // simulating variant of the program); else a built-in table.
  VolumeAccess* textSource = nullptr;

  // Inspection.
  const SimSettings& Settings() const { return settings_; }
  std::vector<SimFile> Files() const;
  const SimFile* FindFile(const std::wstring& path) const;  // not thread-safe
  std::vector<SimRun> Reserved() const;
  std::vector<SimRun> Held() const;
  std::vector<SimFault> Faults() const;
  bool InUse(int64_t lcn) const;
  SimTag TagAt(int64_t lcn) const;
  uint64_t OpenHandleCount() const;
  uint64_t FailedCloses() const;
  uint64_t MoveCalls() const;

  // Break the volume on purpose, to prove that the checker notices.
  void OverwriteBit(int64_t lcn, bool inUse);
  void OverwriteTag(int64_t lcn, uint32_t file, int64_t vcn);

  // Freed clusters become free for real.
  void Checkpoint();

  // Every violation found: a file's VCN mapped to a cluster not tagged with
  // that file and VCN, a cluster claimed twice, tagged data nobody claims,
  // a bitmap bit that differs from the files, reserved and held clusters.
  std::vector<std::string> Check() const;

  // VolumeAccess.
  FsHandle OpenFileForMoving(const std::wstring& path) override;
  bool MovesInUnits(FsHandle file) override;
  FsHandle OpenFileBackupSemantics(const std::wstring& path) override;
  FsHandle OpenVolume(const std::string& deviceName) override;
  uint32_t LastError() override;
  bool Close(FsHandle handle) override;
  NtStatus GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input,
                                uint32_t inputLength, void* output, uint32_t outputLength) override;
  NtStatus GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input,
                           uint32_t inputLength, void* output, uint32_t outputLength) override;
  NtStatus MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                    uint32_t inputLength) override;
  void Wait(FsHandle handle) override;
  std::wstring SystemText(uint32_t code) override;
  uint32_t StatusToError(NtStatus status) override;

 private:
  enum class HandleKind { File, Volume };
  struct OpenHandle {
    HandleKind kind;
    uint32_t file;  // index + 1
  };
  struct Completion {
    FsHandle issuedOn;
    FsHandle alsoSignals;
    std::function<void()> complete;
  };
  struct TagRun {
    uint32_t file;
    int64_t vcn;
    uint64_t count;
  };

  FsHandle Open(const std::wstring& path, bool backup);
  int FindFileLocked(const std::wstring& path) const;
  SimFault* MatchFault(SimControl control, const std::wstring& path);
  bool QueuesRead(bool pendingWanted, const std::function<NtStatus(void*)>& probe,
                  uint32_t outputLength);
  NtStatus Answer(FsHandle handle, FsHandle alsoSignals, IoStatusBlock& block, bool pending,
                  std::function<NtStatus(uintptr_t&)> work);
  // A synchronous failure: the block is written only with blockOnFailure.
  NtStatus Refuse(IoStatusBlock& block, NtStatus status) const;
  static bool IsError(NtStatus status) { return (uint32_t(status) >> 30) == 3; }
  // Where each run of a file starts in VCNs, kept until the file moves.
  const std::vector<int64_t>& VcnStarts(uint32_t fileIndex) const;
  NtStatus Pointers(uint32_t fileIndex, int64_t vcn, void* output, uint32_t outputLength,
                    uintptr_t& information) const;
  NtStatus Bitmap(int64_t lcn, void* output, uint32_t outputLength, uintptr_t& information) const;
  NtStatus Move(uint32_t fileIndex, int64_t vcn, int64_t target, uint32_t count,
                uint64_t partialLimit);
  // Moves the allocated clusters of [vcn, vcn + count) to consecutive
  // clusters from `target`; the caller checked everything.
  void Relocate(uint32_t fileIndex, int64_t vcn, uint64_t count, int64_t target);
  // The range lies wholly on the volume.
  bool InVolume(int64_t lcn, uint64_t count) const;
  bool RangeFree(int64_t lcn, uint64_t count) const;
  bool RangeHasHeld(int64_t lcn, uint64_t count) const;
  void SetBits(int64_t lcn, uint64_t count, bool value);
  bool Bit(int64_t lcn) const;
  void SetTags(int64_t lcn, uint64_t count, uint32_t file, int64_t vcn);
  void EraseTags(int64_t lcn, uint64_t count);
  static void AddRange(std::map<int64_t, uint64_t>& ranges, int64_t lcn, uint64_t count);
  // Marks a free range as in use on behalf of the volume (reserved or held).
  bool Claim(std::map<int64_t, uint64_t>& ranges, const char* what, int64_t lcn, uint64_t count,
             std::string& error);
  static void EraseRange(std::map<int64_t, uint64_t>& ranges, int64_t lcn, uint64_t count);
  bool Allocate(uint32_t fileIndex, std::string& error);

  mutable std::recursive_mutex mutex_;
  SimSettings settings_;
  std::vector<uint64_t> bitmap_;
  std::vector<SimFile> files_;
  // Case-folded path to index into files_: large trees stay fast to open.
  std::unordered_map<std::wstring, int> fileIndex_;
  mutable std::vector<std::vector<int64_t>> vcnStarts_;
  std::map<int64_t, uint64_t> reserved_;
  std::map<int64_t, uint64_t> held_;
  std::map<int64_t, TagRun> tags_;
  std::vector<SimFault> faults_;
  std::map<FsHandle, OpenHandle> handles_;
  std::vector<Completion> completions_;
  FsHandle nextHandle_ = 0x104;
  uint64_t failedCloses_ = 0;
  uint64_t moveCalls_ = 0;
};

// The description format: UTF-8, one statement per line, ";" starts a comment.
//   volume letter=Z clusters=N clusterSize=4096 bitmapAlign=8 inUseStatus=0xC0000021
//          checkpoint=off partialMoves=off pending=off [moveChunk=16] [blockOnFailure=off]
//   reserve LCN COUNT
//   held LCN COUNT
//   file "PATH" size=BYTES runs=LCN:COUNT,*:COUNT,... [compressed] [unmovable=N]
//   file "PATH" size=BYTES resident
//   fault "PATH" control=move|pointers|bitmap|open|volume [call=K] [pending] [status=0x...]
//   fault "PATH" control=move partial=CLUSTERS
// False with the line number and the reason when the text is not valid.
bool ParseSimDescription(const std::string& text, SimVolume& volume, std::string& error);
std::string WriteSimDescription(const SimVolume& volume);

