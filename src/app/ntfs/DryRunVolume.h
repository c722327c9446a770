#pragma once
// A volume that plans instead of moving: every read goes to the real volume
// (opened read-only), every move is only noted, and the later reads answer
// as if it had been made: the file's clusters at the target, the target in
// use in the bitmap and the clusters it had free again, as the volume does
// once a move is made. The defragmentation then runs over it unchanged and
// chooses the same free runs, in the same order, as it would for real.
#include <map>
#include <string>
#include <vector>

#include "engine/VolumeAccess.h"

class DryRunVolume : public VolumeAccess {
 public:
  explicit DryRunVolume(VolumeAccess& real) : real_(real) {}

  FsHandle OpenFileForMoving(const std::wstring& path) override;
  FsHandle OpenFileBackupSemantics(const std::wstring& path) override;
  FsHandle OpenVolume(const std::string& deviceName) override;
  uint32_t LastError() override { return real_.LastError(); }
  bool Close(FsHandle handle) override;
  NtStatus GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input, uint32_t inputLength,
                                void* output, uint32_t outputLength) override;
  NtStatus GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input, uint32_t inputLength,
                           void* output, uint32_t outputLength) override;
  NtStatus MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input, uint32_t inputLength) override;
  void Wait(FsHandle handle) override { real_.Wait(handle); }
  bool MovesInUnits(FsHandle file) override { return real_.MovesInUnits(file); }
  std::wstring SystemText(uint32_t code) override { return real_.SystemText(code); }
  uint32_t StatusToError(NtStatus status) override { return real_.StatusToError(status); }

  // A run of a file: `count` clusters from `vcn`, at `lcn` (-1: a hole).
  struct Run {
    int64_t vcn;
    int64_t count;
    int64_t lcn;
  };

 private:
  // The runs of an open file: the planned ones, else the real volume's.
  bool RunsOf(FsHandle file, std::vector<Run>& runs);
  bool ClustersFree(FsHandle volume, int64_t lcn, int64_t count);

  struct OpenFile {
    std::wstring key;  // the path in upper case
    std::wstring path;
  };
  VolumeAccess& real_;
  std::map<FsHandle, OpenFile> paths_;
  std::map<std::wstring, std::vector<Run>> planned_;
  // Cluster ranges whose state the planned moves changed, in order:
  // (first, count, in use).
  struct Change {
    int64_t lcn;
    int64_t count;
    bool inUse;
  };
  std::vector<Change> changes_;
};
