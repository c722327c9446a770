#include "engine/Analysis.h"

#include <cstdlib>
#include <cstring>

ExtentList gExtentList;

namespace {
void* AllocateNode(size_t length) { return std::malloc(length); }
void ReleaseNode(void* node) { std::free(node); }
}  // namespace

ExtentAllocator gExtentAllocator{AllocateNode, ReleaseNode};

void ResetExtentAllocator() { gExtentAllocator = {AllocateNode, ReleaseNode}; }

bool ExtentList::Append(int64_t vcn, int64_t lcn, uint64_t clusterCount) {
  void* memory = gExtentAllocator.allocate(sizeof(Extent));
  if (memory == nullptr) {
    return false;
  }
  Extent* node = new (memory) Extent{vcn, lcn, clusterCount, nullptr};
  (tail_ != nullptr ? tail_->next : head_) = node;
  tail_ = node;
  ++count_;
  return true;
}

void ExtentList::Clear() {
  Extent* node = head_;
  while (node != nullptr) {
    Extent* next = node->next;
    node->~Extent();
    gExtentAllocator.release(node);
    node = next;
  }
  head_ = nullptr;
  tail_ = nullptr;
  count_ = 0;
}

namespace {

enum class ReadEnd {
  Normal,         // the file system ended the reading, or answered end of file
  ChunkBound,     // the counting form met its chunk bound
  Refused,        // a read was refused at once; outcome holds the status's text
  PendingFailed,  // a pending read finished with an error; outcome holds its text
};

// The loop both forms share. `extents` is null for the counting form;
// `buffer` receives each chunk (kSharedBufferLength bytes).
ReadEnd ReadRuns(FsHandle file, FileAnalysis& result, ExtentList* extents, uint8_t* buffer,
                 std::vector<FileRun>* runs = nullptr) {
  int64_t startingVcn = 0;
  int64_t previousLcn = 0;
  uint64_t previousLength = 0;
  uint64_t accumulated = 0;
  int chunksLeft = kMaxCountedChunks;
  NtStatus status;
  do {
    IoStatusBlock block{};
    status = Va().GetRetrievalPointers(file, block, &startingVcn, sizeof startingVcn, buffer,
                                       kSharedBufferLength);
    if (status != kStatusSuccess && status != kStatusBufferOverflow && status != kStatusPending) {
      // End of file is how the file system answers a file without clusters
      // (kept inside its record, or empty) and a start at or past the end of
      // the allocation: the reading is over, with what it counted. Any other
      // status answered at once (access denied, a damaged file, a handle or
      // volume that does not take the control) is a failure of this file,
      // never a file in no fragments. It is the returned status that counts:
      // a refusal answered at once leaves the status block as it was.
      if (status == kStatusEndOfFile) return ReadEnd::Normal;
      result.outcome = FailureText(uint32_t(status));
      return ReadEnd::Refused;
    }
    if (status == kStatusPending) {
      // Only a call that went pending reports through its block; any other
      // answer is the returned status (a synchronous failure leaves the
      // block as it was).
      Va().Wait(file);
      status = block.status;
      if (status != kStatusSuccess && status != kStatusBufferOverflow) {
        result.outcome = FailureText(uint32_t(status));
        return ReadEnd::PendingFailed;
      }
    }
    if (extents == nullptr && --chunksLeft == 0) {
      return ReadEnd::ChunkBound;
    }
    RetrievalPointersHeader header;
    std::memcpy(&header, buffer, sizeof header);
    int64_t previousVcn = header.startingVcn;
    const uint8_t* run = buffer + sizeof header;
    uint32_t runCount = header.extentCount;
    const uint32_t maxRuns = (kSharedBufferLength - sizeof header) / sizeof(RetrievalExtent);
    if (runCount > maxRuns) runCount = maxRuns;
    for (uint32_t i = 0; i < runCount; ++i, run += sizeof(RetrievalExtent)) {
      RetrievalExtent extent;
      std::memcpy(&extent, run, sizeof extent);
      if (extent.lcn != -1) {
        uint64_t length = uint64_t(extent.nextVcn - previousVcn);
        result.clusters += length;
        accumulated += length;
        if (runs != nullptr) runs->push_back({previousVcn, extent.lcn, length});
        // Compared with where the previous run ended: a run that continues it
        // physically, even across a hole or a chunk boundary, is the same
        // fragment; before any run that is cluster 0.
        if (extent.lcn != previousLcn + int64_t(previousLength)) {
          ++result.fragments;
          if (extents != nullptr) {
            // The accumulator carries continuing runs into the next fragment's
            // node; a failed append shows as a count mismatch afterwards.
            extents->Append(previousVcn, extent.lcn, accumulated);
            accumulated = 0;
          }
        }
        previousLcn = extent.lcn;
        previousLength = length;
      }
      previousVcn = extent.nextVcn;
    }
    startingVcn = previousVcn;
  } while (status != kStatusSuccess);
  return ReadEnd::Normal;
}

}  // namespace

int AnalyseFile(const std::wstring& path, FileAnalysis& result) {
  result = FileAnalysis{};
  FsHandle file = Va().OpenFileForMoving(path);
  if (file == kInvalidHandle) {
    file = Va().OpenFileBackupSemantics(path);
    if (file == kInvalidHandle) {
      result.outcome = FailureText(Va().LastError());
      return 0;
    }
  }
  const ReadEnd end = ReadRuns(file, result, nullptr, gSharedBuffer.bytes);
  if (end == ReadEnd::PendingFailed) {
    // Returns with the file still open: the read may still be using it.
    return 0;
  }
  Va().Close(file);
  return end == ReadEnd::Refused ? 0 : 1;
}

namespace {

bool FillExtentList(FsHandle file, FileAnalysis& result, ExtentList& extents, uint8_t* buffer,
                    std::vector<FileRun>* runs) {
  result = FileAnalysis{};
  extents.Clear();
  if (runs != nullptr) runs->clear();
  const ReadEnd end = ReadRuns(file, result, &extents, buffer, runs);
  if (end == ReadEnd::PendingFailed || end == ReadEnd::Refused) {
    return false;
  }
  if (result.fragments != extents.Count()) {
    result.outcome = kOutcomeNoResources;
    return false;
  }
  return true;
}

}  // namespace

bool BuildExtentList(FsHandle file, FileAnalysis& result, std::vector<FileRun>* runs) {
  return FillExtentList(file, result, gExtentList, gSharedBuffer.bytes, runs);
}

bool ReadFileExtents(FsHandle file, FileAnalysis& result, ExtentList& extents) {
  // A buffer of its own: a run's worker or move may be using the shared one.
  SharedBuffer buffer;
  return FillExtentList(file, result, extents, buffer.bytes, nullptr);
}
