#include "app/ntfs/DryRunVolume.h"
#include "util/PathText.h"

#include <algorithm>
#include <cstring>

#include "engine/FileQueries.h"
#include "util/WideString.h"

namespace {

// Compressed and sparse files move in whole units of this many clusters.
constexpr int64_t kUnit = 16;

std::wstring Key(const std::wstring& path) {
  std::wstring key = std::wstring(DisplayPath(path));
  for (wchar_t& c : key) c = UpperCaseUnit(c);
  return key;
}

void Merge(std::vector<DryRunVolume::Run>& runs) {
  std::vector<DryRunVolume::Run> merged;
  for (const DryRunVolume::Run& run : runs) {
    if (run.count <= 0) continue;
    if (!merged.empty()) {
      DryRunVolume::Run& last = merged.back();
      const bool bothHoles = last.lcn < 0 && run.lcn < 0;
      const bool continues = last.lcn >= 0 && run.lcn == last.lcn + last.count;
      if (last.vcn + last.count == run.vcn && (bothHoles || continues)) {
        last.count += run.count;
        continue;
      }
    }
    merged.push_back(run);
  }
  runs = std::move(merged);
}

}  // namespace

FsHandle DryRunVolume::OpenFileForMoving(const std::wstring& path) {
  const FsHandle handle = real_.OpenFileForMoving(path);
  if (IsValidHandle(handle)) paths_[handle] = OpenFile{Key(path), path};
  return handle;
}

FsHandle DryRunVolume::OpenFileBackupSemantics(const std::wstring& path) {
  const FsHandle handle = real_.OpenFileBackupSemantics(path);
  if (IsValidHandle(handle)) paths_[handle] = OpenFile{Key(path), path};
  return handle;
}

FsHandle DryRunVolume::OpenVolume(const std::string& deviceName) { return real_.OpenVolume(deviceName); }

bool DryRunVolume::Close(FsHandle handle) {
  paths_.erase(handle);
  return real_.Close(handle);
}

bool DryRunVolume::RunsOf(FsHandle file, std::vector<Run>& runs) {
  auto path = paths_.find(file);
  if (path == paths_.end()) return false;
  if (auto planned = planned_.find(path->second.key); planned != planned_.end()) {
    runs = planned->second;
    return true;
  }
  runs.clear();
  alignas(8) uint8_t out[kSharedBufferLength];
  int64_t vcn = 0;
  NtStatus status;
  do {
    IoStatusBlock block{};
    status = real_.GetRetrievalPointers(file, block, &vcn, sizeof vcn, out, sizeof out);
    if (status == kStatusEndOfFile) return true;
    if (status != kStatusSuccess && status != kStatusBufferOverflow) return false;
    RetrievalPointersHeader header;
    std::memcpy(&header, out, sizeof header);
    int64_t start = header.startingVcn;
    for (uint32_t i = 0; i < header.extentCount; ++i) {
      RetrievalExtent extent;
      std::memcpy(&extent, out + sizeof header + sizeof extent * i, sizeof extent);
      if (start >= vcn) runs.push_back({start, extent.nextVcn - start, extent.lcn});
      start = extent.nextVcn;
    }
    if (start <= vcn) return false;  // no progress: never loop
    vcn = start;
  } while (status == kStatusBufferOverflow);
  return true;
}

NtStatus DryRunVolume::GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input,
                                            uint32_t inputLength, void* output, uint32_t outputLength) {
  auto path = paths_.find(file);
  if (path == paths_.end() || !planned_.count(path->second.key)) {
    return real_.GetRetrievalPointers(file, block, input, inputLength, output, outputLength);
  }
  // A planned file answers by the same rules: the extent holding the start
  // first, whole extents only, an overflow when they do not all fit.
  if (input == nullptr || inputLength < sizeof(int64_t)) return kStatusInvalidParameter;
  int64_t vcn;
  std::memcpy(&vcn, input, sizeof vcn);
  if (vcn < 0) return kStatusInvalidParameter;
  if (outputLength < sizeof(RetrievalPointersHeader) + sizeof(RetrievalExtent)) return kStatusBufferTooSmall;
  const std::vector<Run>& runs = planned_[path->second.key];
  auto first = std::find_if(runs.begin(), runs.end(), [vcn](const Run& run) { return vcn < run.vcn + run.count; });
  if (first == runs.end()) return kStatusEndOfFile;
  const size_t room = (outputLength - sizeof(RetrievalPointersHeader)) / sizeof(RetrievalExtent);
  const size_t count = (std::min)(room, size_t(runs.end() - first));
  RetrievalPointersHeader header{uint32_t(count), 0, first->vcn};
  auto* bytes = static_cast<uint8_t*>(output);
  std::memcpy(bytes, &header, sizeof header);
  for (size_t i = 0; i < count; ++i) {
    const Run& run = first[long(i)];
    const RetrievalExtent extent{run.vcn + run.count, run.lcn};
    std::memcpy(bytes + sizeof header + sizeof extent * i, &extent, sizeof extent);
  }
  const bool all = count == size_t(runs.end() - first);
  block.status = all ? kStatusSuccess : kStatusBufferOverflow;
  block.information = sizeof header + sizeof(RetrievalExtent) * count;
  return block.status;
}

NtStatus DryRunVolume::GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input,
                                       uint32_t inputLength, void* output, uint32_t outputLength) {
  const NtStatus status = real_.GetVolumeBitmap(volume, block, input, inputLength, output, outputLength);
  if (status != kStatusSuccess && status != kStatusBufferOverflow) return status;
  VolumeBitmapHeader header;
  std::memcpy(&header, output, sizeof header);
  auto* bits = static_cast<uint8_t*>(output) + sizeof header;
  const int64_t returned = int64_t(block.information > sizeof header ? block.information - sizeof header : 0) * 8;
  const int64_t end = header.startingLcn + (std::min)(returned, header.bitmapSize);
  for (const Change& change : changes_) {
    const int64_t from = (std::max)(change.lcn, header.startingLcn);
    const int64_t to = (std::min)(change.lcn + change.count, end);
    for (int64_t lcn = from; lcn < to; ++lcn) {
      const int64_t bit = lcn - header.startingLcn;
      if (change.inUse) {
        bits[bit / 8] |= uint8_t(1u << (bit % 8));
      } else {
        bits[bit / 8] &= uint8_t(~(1u << (bit % 8)));
      }
    }
  }
  return status;
}

bool DryRunVolume::ClustersFree(FsHandle volume, int64_t lcn, int64_t count) {
  alignas(8) uint8_t out[kSharedBufferLength];
  int64_t at = lcn;
  while (at < lcn + count) {
    IoStatusBlock block{};
    const NtStatus status = GetVolumeBitmap(volume, block, &at, sizeof at, out, sizeof out);
    if (status != kStatusSuccess && status != kStatusBufferOverflow) return false;
    VolumeBitmapHeader header;
    std::memcpy(&header, out, sizeof header);
    const int64_t bitsRead = (std::min<int64_t>)(int64_t(block.information - sizeof header) * 8, header.bitmapSize);
    if (bitsRead <= 0 || header.startingLcn > at) return false;
    const int64_t stop = (std::min)(lcn + count, header.startingLcn + bitsRead);
    for (; at < stop; ++at) {
      const int64_t bit = at - header.startingLcn;
      if (out[sizeof header + bit / 8] & (1u << (bit % 8))) return false;
    }
  }
  return true;
}

NtStatus DryRunVolume::MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                                    uint32_t inputLength) {
  if (input == nullptr || inputLength < sizeof(MoveFileRecord)) return kStatusInvalidParameter;
  MoveFileRecord record;
  std::memcpy(&record, input, sizeof record);
  const FsHandle file = FsHandle(record.fileHandle);
  std::vector<Run> runs;
  if (!RunsOf(file, runs)) return kStatusInvalidHandle;
  // The volume never moves an encrypted file.
  const uint32_t attributes = Fs().GetAttributes(paths_[file].path);
  if (attributes != kInvalidAttributes && (attributes & kAttrEncrypted)) return kStatusAccessDenied;
  const int64_t end = runs.empty() ? 0 : runs.back().vcn + runs.back().count;
  const int64_t count = int64_t(record.clusterCount);
  if (count == 0 || record.startingVcn < 0 || record.startingVcn + count > end || record.startingLcn < 0) {
    return kStatusInvalidParameter;
  }
  int64_t first = record.startingVcn, last = record.startingVcn + count;
  if (real_.MovesInUnits(file)) {
    first = first / kUnit * kUnit;
    last = (std::min)(end, (last + kUnit - 1) / kUnit * kUnit);
  }
  // The allocated pieces of the range go one after another from the target.
  std::vector<Run> moved;
  std::vector<Change> freed;
  int64_t total = 0;
  for (const Run& run : runs) {
    const int64_t s = (std::max)(run.vcn, first), e = (std::min)(run.vcn + run.count, last);
    if (s >= e) {
      moved.push_back(run);
      continue;
    }
    if (run.vcn < s) moved.push_back({run.vcn, s - run.vcn, run.lcn < 0 ? -1 : run.lcn});
    if (run.lcn < 0) {
      moved.push_back({s, e - s, -1});
    } else {
      moved.push_back({s, e - s, record.startingLcn + total});
      freed.push_back({run.lcn + (s - run.vcn), e - s, false});
      total += e - s;
    }
    if (e < run.vcn + run.count) {
      moved.push_back({e, run.vcn + run.count - e, run.lcn < 0 ? -1 : run.lcn + (e - run.vcn)});
    }
  }
  if (total == 0) return kStatusSuccess;
  if (!ClustersFree(volume, record.startingLcn, total)) return kStatusAlreadyCommitted;
  changes_.push_back({record.startingLcn, total, true});
  changes_.insert(changes_.end(), freed.begin(), freed.end());
  Merge(moved);
  planned_[paths_[file].key] = std::move(moved);
  block.status = kStatusSuccess;
  block.information = 0;
  return kStatusSuccess;
}
