#include "engine/sim/SimVolume.h"
#include "util/PathText.h"
#include "engine/SystemTexts.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstring>
#include <cwctype>
#include <thread>

static_assert(std::endian::native == std::endian::little,
              "the bitmap is handed out as the bytes of its words");

namespace {

thread_local uint32_t gSimLastError = 0;

constexpr uint64_t kUnit = 16;  // clusters per compression unit
constexpr size_t kMaxReported = 20;

// Names compare without regard to case: ASCII and the Latin-1 letters, which
// is what the descriptions use, independent of the C library's locale.
wchar_t FoldCase(wchar_t c) {
  if ((c >= L'a' && c <= L'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) return wchar_t(c - 0x20);
  return c;
}

std::wstring Key(const std::wstring& path) {
  std::wstring key = std::wstring(DisplayPath(path));
  for (wchar_t& c : key) c = FoldCase(c);
  return key;
}

// A described fault on a read decides whether the call is queued and, unless
// it names success, answers its status with nothing read.
void ApplyReadFault(const SimFault* fault, bool& pending, std::function<NtStatus(uintptr_t&)>& work) {
  if (fault == nullptr) return;
  pending = fault->pending;
  if (fault->status == kStatusSuccess) return;
  const NtStatus status = fault->status;
  work = [status](uintptr_t& info) {
    info = 0;
    return status;
  };
}

}  // namespace

uint64_t SimFile::VcnCount() const {
  uint64_t total = 0;
  for (const SimRun& run : runs) total += run.count;
  return total;
}

uint64_t SimFile::AllocatedClusters() const {
  uint64_t total = 0;
  for (const SimRun& run : runs)
    if (run.lcn != -1) total += run.count;
  return total;
}

bool SimFile::MovesByUnits() const {
  if (compressed) return true;
  return std::any_of(runs.begin(), runs.end(), [](const SimRun& run) { return run.lcn == -1; });
}

// ---------------------------------------------------------------- building

bool SimVolume::Create(const SimSettings& settings, std::string& error) {
  std::lock_guard lock(mutex_);
  if (settings.clusters == 0 || settings.bitmapAlign == 0 || settings.clusterSize == 0 ||
      settings.moveChunk == 0) {
    error = "a volume needs clusters, a cluster size, a bitmap alignment and a move chunk";
    return false;
  }
  if (settings.clusters > kMaxSimClusters) {
    error = "a simulated volume holds at most " + std::to_string(kMaxSimClusters) + " clusters";
    return false;
  }
  settings_ = settings;
  settings_.letter = wchar_t(std::towupper(std::wint_t(settings.letter)));
  bitmap_.assign((settings.clusters + 63) / 64, 0);
  files_.clear();
  fileIndex_.clear();
  vcnStarts_.clear();
  reserved_.clear();
  held_.clear();
  tags_.clear();
  faults_.clear();
  handles_.clear();
  completions_.clear();
  moveCalls_ = 0;
  failedCloses_ = 0;
  return true;
}

bool SimVolume::Reserve(int64_t lcn, uint64_t count, std::string& error) {
  return Claim(reserved_, "reserved", lcn, count, error);
}

bool SimVolume::Hold(int64_t lcn, uint64_t count, std::string& error) {
  return Claim(held_, "held", lcn, count, error);
}

bool SimVolume::Claim(std::map<int64_t, uint64_t>& ranges, const char* what, int64_t lcn,
                      uint64_t count, std::string& error) {
  std::lock_guard lock(mutex_);
  if (count == 0 || !InVolume(lcn, count) || !RangeFree(lcn, count)) {
    error = std::string(what) + " range " + std::to_string(lcn) + ":" + std::to_string(count) +
            " is outside the volume or in use";
    return false;
  }
  AddRange(ranges, lcn, count);
  SetBits(lcn, count, true);
  return true;
}

bool SimVolume::AddFile(const SimFile& file, std::string& error) {
  std::lock_guard lock(mutex_);
  if (FindFileLocked(file.path) >= 0) {
    error = "file described twice: " + WideToUtf8(file.path);
    return false;
  }
  if (file.resident && !file.runs.empty()) {
    error = "a resident file has no runs: " + WideToUtf8(file.path);
    return false;
  }
  for (const SimRun& run : file.runs) {
    if (run.count == 0 || run.lcn < -1 || (run.lcn >= 0 && !InVolume(run.lcn, run.count))) {
      error = "run outside the volume in " + WideToUtf8(file.path);
      return false;
    }
  }
  if (!file.resident && file.size > file.VcnCount() * settings_.clusterSize) {
    error = "size larger than the allocation of " + WideToUtf8(file.path);
    return false;
  }
  // The run starts kept per file stay valid: files are only appended, and a
  // new file's entry is made when it is first asked for.
  fileIndex_[Key(file.path)] = int(files_.size());
  files_.push_back(file);
  files_.back().path = std::wstring(DisplayPath(file.path));
  if (!Allocate(uint32_t(files_.size()), error)) {
    fileIndex_.erase(Key(file.path));
    files_.pop_back();
    return false;
  }
  return true;
}

bool SimVolume::Allocate(uint32_t fileIndex, std::string& error) {
  const SimFile& file = files_[fileIndex - 1];
  for (const SimRun& run : file.runs) {
    if (run.lcn >= 0 && !RangeFree(run.lcn, run.count)) {
      error = "clusters " + std::to_string(run.lcn) + ":" + std::to_string(run.count) + " of " +
              WideToUtf8(file.path) + " are already in use";
      // Undo what this file took so far.
      for (const SimRun& taken : file.runs) {
        if (&taken == &run) break;
        if (taken.lcn >= 0) {
          SetBits(taken.lcn, taken.count, false);
          EraseTags(taken.lcn, taken.count);
        }
      }
      return false;
    }
    if (run.lcn >= 0) {
      SetBits(run.lcn, run.count, true);
    }
  }
  int64_t vcn = 0;
  for (const SimRun& run : file.runs) {
    if (run.lcn >= 0) SetTags(run.lcn, run.count, fileIndex, vcn);
    vcn += int64_t(run.count);
  }
  return true;
}

void SimVolume::AddFault(const SimFault& fault) {
  std::lock_guard lock(mutex_);
  faults_.push_back(fault);
  faults_.back().seen = 0;
}

bool SimVolume::AddFileAtLowestFreeRun(const std::wstring& path, uint64_t size, std::string& error) {
  std::lock_guard lock(mutex_);
  SimFile file;
  file.path = std::wstring(DisplayPath(path));
  file.size = size;
  if (size <= kResidentLimit) {
    file.resident = size > 0;
    return AddFile(file, error);
  }
  const uint64_t needed = (size + settings_.clusterSize - 1) / settings_.clusterSize;
  uint64_t runStart = 0, runLength = 0;
  for (uint64_t lcn = 0; lcn < settings_.clusters; ++lcn) {
    if (Bit(int64_t(lcn))) {
      runLength = 0;
      continue;
    }
    if (runLength++ == 0) runStart = lcn;
    if (runLength == needed) {
      file.runs.push_back({int64_t(runStart), needed});
      return AddFile(file, error);
    }
  }
  error = "no free run for " + WideToUtf8(path);
  return false;
}

// ---------------------------------------------------------------- inspection

std::vector<SimFile> SimVolume::Files() const {
  std::lock_guard lock(mutex_);
  return files_;
}

const SimFile* SimVolume::FindFile(const std::wstring& path) const {
  std::lock_guard lock(mutex_);
  int index = FindFileLocked(path);
  return index < 0 ? nullptr : &files_[size_t(index)];
}

int SimVolume::FindFileLocked(const std::wstring& path) const {
  const auto found = fileIndex_.find(Key(path));
  return found == fileIndex_.end() ? -1 : found->second;
}

std::vector<SimRun> SimVolume::Reserved() const {
  std::lock_guard lock(mutex_);
  std::vector<SimRun> out;
  for (auto [lcn, count] : reserved_) out.push_back({lcn, count});
  return out;
}

std::vector<SimRun> SimVolume::Held() const {
  std::lock_guard lock(mutex_);
  std::vector<SimRun> out;
  for (auto [lcn, count] : held_) out.push_back({lcn, count});
  return out;
}

std::vector<SimFault> SimVolume::Faults() const {
  std::lock_guard lock(mutex_);
  return faults_;
}

bool SimVolume::InUse(int64_t lcn) const {
  std::lock_guard lock(mutex_);
  return Bit(lcn);
}

SimTag SimVolume::TagAt(int64_t lcn) const {
  std::lock_guard lock(mutex_);
  auto it = tags_.upper_bound(lcn);
  if (it == tags_.begin()) return {};
  --it;
  if (lcn >= it->first + int64_t(it->second.count)) return {};
  return {it->second.file, it->second.vcn + (lcn - it->first)};
}

uint64_t SimVolume::OpenHandleCount() const {
  std::lock_guard lock(mutex_);
  return handles_.size();
}

uint64_t SimVolume::FailedCloses() const {
  std::lock_guard lock(mutex_);
  return failedCloses_;
}

uint64_t SimVolume::MoveCalls() const {
  std::lock_guard lock(mutex_);
  return moveCalls_;
}

void SimVolume::OverwriteBit(int64_t lcn, bool inUse) {
  std::lock_guard lock(mutex_);
  SetBits(lcn, 1, inUse);
}

void SimVolume::OverwriteTag(int64_t lcn, uint32_t file, int64_t vcn) {
  std::lock_guard lock(mutex_);
  if (file == 0) {
    EraseTags(lcn, 1);
  } else {
    SetTags(lcn, 1, file, vcn);
  }
}

void SimVolume::Checkpoint() {
  std::lock_guard lock(mutex_);
  for (auto [lcn, count] : held_) SetBits(lcn, count, false);
  held_.clear();
}

std::vector<std::string> SimVolume::Check() const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> violations;
  auto report = [&](const std::string& text) {
    if (violations.size() < kMaxReported) violations.push_back(text);
  };
  std::vector<uint64_t> expected(bitmap_.size(), 0);
  auto claim = [&](int64_t lcn, uint64_t count, const std::string& owner) {
    for (uint64_t i = 0; i < count; ++i) {
      uint64_t c = uint64_t(lcn) + i;
      if (c >= settings_.clusters) {
        report(owner + " claims cluster " + std::to_string(c) + " past the end of the volume");
        return;
      }
      uint64_t mask = uint64_t(1) << (c % 64);
      if (expected[c / 64] & mask) report("cluster " + std::to_string(c) + " claimed twice, again by " + owner);
      expected[c / 64] |= mask;
    }
  };
  for (auto [lcn, count] : reserved_) claim(lcn, count, "a reserved range");
  for (auto [lcn, count] : held_) claim(lcn, count, "clusters awaiting a checkpoint");

  uint64_t claimedData = 0;
  for (size_t f = 0; f < files_.size(); ++f) {
    const SimFile& file = files_[f];
    const std::string name = WideToUtf8(file.path);
    if (file.resident && !file.runs.empty()) report(name + " is resident but has runs");
    int64_t vcn = 0;
    for (const SimRun& run : file.runs) {
      if (run.lcn >= 0) {
        claim(run.lcn, run.count, name);
        claimedData += run.count;
        // The clusters must hold this file's data for exactly these VCNs.
        int64_t lcn = run.lcn;
        const int64_t end = run.lcn + int64_t(run.count);
        while (lcn < end) {
          SimTag tag{};
          uint64_t span = 1;
          auto it = tags_.upper_bound(lcn);
          if (it != tags_.begin()) {
            --it;
            if (lcn < it->first + int64_t(it->second.count)) {
              tag = {it->second.file, it->second.vcn + (lcn - it->first)};
              span = uint64_t(it->first + int64_t(it->second.count) - lcn);
            } else {
              auto next = std::next(it);
              span = next == tags_.end() ? uint64_t(end - lcn) : uint64_t(next->first - lcn);
            }
          } else {
            span = it == tags_.end() ? uint64_t(end - lcn) : uint64_t(it->first - lcn);
          }
          span = std::min<uint64_t>(span, uint64_t(end - lcn));
          const int64_t expectVcn = vcn + (lcn - run.lcn);
          if (tag.file != f + 1 || tag.vcn != expectVcn) {
            report(name + " VCN " + std::to_string(expectVcn) + " maps to cluster " +
                   std::to_string(lcn) +
                   (tag.file == 0 ? std::string(" which holds no data")
                                  : " which holds VCN " + std::to_string(tag.vcn) + " of " +
                                        WideToUtf8(files_[tag.file - 1].path)));
          }
          lcn += int64_t(span);
        }
      }
      vcn += int64_t(run.count);
    }
  }
  uint64_t tagged = 0;
  for (const auto& [lcn, tag] : tags_) tagged += tag.count;
  if (tagged != claimedData) {
    report(std::to_string(tagged) + " clusters hold file data but the files claim " +
           std::to_string(claimedData));
  }
  for (size_t w = 0; w < bitmap_.size(); ++w) {
    uint64_t mask = ~uint64_t(0);
    if (w == bitmap_.size() - 1 && settings_.clusters % 64 != 0) {
      mask = (uint64_t(1) << (settings_.clusters % 64)) - 1;
    }
    uint64_t diff = (bitmap_[w] ^ expected[w]) & mask;
    if (diff != 0) {
      uint64_t c = w * 64 + uint64_t(std::countr_zero(diff));
      report(std::string("bitmap shows cluster ") + std::to_string(c) +
             (Bit(int64_t(c)) ? " in use but nothing claims it" : " free but it is claimed"));
    }
  }
  return violations;
}

// ---------------------------------------------------------------- ranges

bool SimVolume::InVolume(int64_t lcn, uint64_t count) const {
  // Without an addition that could wrap past the end of the numbers.
  return lcn >= 0 && count <= settings_.clusters && uint64_t(lcn) <= settings_.clusters - count;
}

bool SimVolume::Bit(int64_t lcn) const {
  return (bitmap_[uint64_t(lcn) / 64] >> (uint64_t(lcn) % 64)) & 1;
}

void SimVolume::SetBits(int64_t lcn, uint64_t count, bool value) {
  for (uint64_t c = uint64_t(lcn), end = uint64_t(lcn) + count; c < end;) {
    if (c % 64 == 0 && end - c >= 64) {
      bitmap_[c / 64] = value ? ~uint64_t(0) : 0;
      c += 64;
      continue;
    }
    uint64_t mask = uint64_t(1) << (c % 64);
    bitmap_[c / 64] = value ? (bitmap_[c / 64] | mask) : (bitmap_[c / 64] & ~mask);
    ++c;
  }
}

bool SimVolume::RangeFree(int64_t lcn, uint64_t count) const {
  for (uint64_t c = uint64_t(lcn), end = uint64_t(lcn) + count; c < end;) {
    if (c % 64 == 0 && end - c >= 64) {
      if (bitmap_[c / 64] != 0) return false;
      c += 64;
      continue;
    }
    if (Bit(int64_t(c))) return false;
    ++c;
  }
  return true;
}

bool SimVolume::RangeHasHeld(int64_t lcn, uint64_t count) const {
  auto it = held_.upper_bound(lcn);
  if (it != held_.begin()) {
    auto before = std::prev(it);
    if (before->first + int64_t(before->second) > lcn) return true;
  }
  return it != held_.end() && it->first < lcn + int64_t(count);
}

void SimVolume::AddRange(std::map<int64_t, uint64_t>& ranges, int64_t lcn, uint64_t count) {
  int64_t start = lcn, end = lcn + int64_t(count);
  auto it = ranges.upper_bound(start);
  if (it != ranges.begin() && std::prev(it)->first + int64_t(std::prev(it)->second) >= start) --it;
  while (it != ranges.end() && it->first <= end) {
    start = std::min(start, it->first);
    end = std::max(end, it->first + int64_t(it->second));
    it = ranges.erase(it);
  }
  ranges[start] = uint64_t(end - start);
}

void SimVolume::EraseRange(std::map<int64_t, uint64_t>& ranges, int64_t lcn, uint64_t count) {
  const int64_t end = lcn + int64_t(count);
  auto it = ranges.upper_bound(lcn);
  if (it != ranges.begin()) --it;
  while (it != ranges.end() && it->first < end) {
    const int64_t s = it->first, e = it->first + int64_t(it->second);
    if (e <= lcn) {
      ++it;
      continue;
    }
    it = ranges.erase(it);
    if (s < lcn) ranges[s] = uint64_t(lcn - s);
    if (e > end) ranges[end] = uint64_t(e - end);
  }
}

void SimVolume::EraseTags(int64_t lcn, uint64_t count) {
  const int64_t end = lcn + int64_t(count);
  auto it = tags_.upper_bound(lcn);
  if (it != tags_.begin()) --it;
  while (it != tags_.end() && it->first < end) {
    const int64_t s = it->first, e = it->first + int64_t(it->second.count);
    const TagRun tag = it->second;
    if (e <= lcn) {
      ++it;
      continue;
    }
    it = tags_.erase(it);
    if (s < lcn) tags_[s] = {tag.file, tag.vcn, uint64_t(lcn - s)};
    if (e > end) tags_[end] = {tag.file, tag.vcn + (end - s), uint64_t(e - end)};
    it = tags_.lower_bound(end);
  }
}

void SimVolume::SetTags(int64_t lcn, uint64_t count, uint32_t file, int64_t vcn) {
  EraseTags(lcn, count);
  auto it = tags_.emplace(lcn, TagRun{file, vcn, count}).first;
  if (it != tags_.begin()) {
    auto before = std::prev(it);
    if (before->second.file == file && before->first + int64_t(before->second.count) == lcn &&
        before->second.vcn + int64_t(before->second.count) == vcn) {
      before->second.count += count;
      tags_.erase(it);
      it = before;
    }
  }
  auto after = std::next(it);
  if (after != tags_.end() && after->second.file == file &&
      it->first + int64_t(it->second.count) == after->first &&
      it->second.vcn + int64_t(it->second.count) == after->second.vcn) {
    it->second.count += after->second.count;
    tags_.erase(after);
  }
}

// ---------------------------------------------------------------- opening

SimFault* SimVolume::MatchFault(SimControl control, const std::wstring& path) {
  // Every fault on this control and file counts the call, so that several
  // faults can target different calls.
  const std::wstring key = Key(path);
  SimFault* match = nullptr;
  for (SimFault& fault : faults_) {
    if (fault.control != control) continue;
    if (control != SimControl::Bitmap && Key(fault.path) != key) continue;
    ++fault.seen;
    if (match == nullptr && (fault.call == 0 || fault.call == fault.seen)) match = &fault;
  }
  return match;
}

FsHandle SimVolume::Open(const std::wstring& path, bool backup) {
  std::lock_guard lock(mutex_);
  if (SimFault* fault = MatchFault(SimControl::Open, path)) {
    gSimLastError = uint32_t(fault->status) < 0x10000 ? uint32_t(fault->status)
                                                      : StatusToError(fault->status);
    return kInvalidHandle;
  }
  int index = FindFileLocked(path);
  if (index < 0) {
    const std::wstring plain = std::wstring(DisplayPath(path));
    uint64_t size = 0;
    bool isDirectory = false;
    std::string error;
    const bool onThisVolume =
        !plain.empty() && wchar_t(std::towupper(std::wint_t(plain[0]))) == settings_.letter;
    if (!onThisVolume || !diskLookup || !diskLookup(plain, size, isDirectory)) {
      gSimLastError = kErrorFileNotFound;
      return kInvalidHandle;
    }
    if (isDirectory) {
      SimFile folder;
      folder.path = plain;
      folder.directory = true;
      folder.resident = true;
      AddFile(folder, error);
    } else if (!AddFileAtLowestFreeRun(plain, size, error)) {
      gSimLastError = 112;  // the disk is full
      return kInvalidHandle;
    }
    index = FindFileLocked(path);
  }
  if (files_[size_t(index)].directory && !backup) {
    gSimLastError = kErrorAccessDenied;
    return kInvalidHandle;
  }
  const FsHandle handle = nextHandle_;
  nextHandle_ += 4;
  handles_[handle] = {HandleKind::File, uint32_t(index + 1)};
  return handle;
}

FsHandle SimVolume::OpenFileForMoving(const std::wstring& path) { return Open(path, false); }

FsHandle SimVolume::OpenFileBackupSemantics(const std::wstring& path) { return Open(path, true); }

FsHandle SimVolume::OpenVolume(const std::string& deviceName) {
  std::lock_guard lock(mutex_);
  const bool wellFormed = deviceName.size() == 6 && deviceName.compare(0, 4, "\\\\.\\") == 0 &&
                          deviceName[5] == ':';
  const wchar_t letter = wellFormed ? wchar_t(std::towupper(deviceName[4])) : 0;
  if (letter != settings_.letter) {
    gSimLastError = kErrorFileNotFound;
    return kInvalidHandle;
  }
  const std::wstring drive{letter, L':'};
  if (SimFault* fault = MatchFault(SimControl::Volume, drive)) {
    gSimLastError = uint32_t(fault->status) < 0x10000 ? uint32_t(fault->status)
                                                      : StatusToError(fault->status);
    return kInvalidHandle;
  }
  const FsHandle handle = nextHandle_;
  nextHandle_ += 4;
  handles_[handle] = {HandleKind::Volume, 0};
  return handle;
}

uint32_t SimVolume::LastError() { return gSimLastError; }

bool SimVolume::Close(FsHandle handle) {
  std::lock_guard lock(mutex_);
  if (handles_.erase(handle) == 0) {
    ++failedCloses_;
    return false;
  }
  // A pending answer nobody waited for can no longer be delivered.
  std::erase_if(completions_, [handle](const Completion& c) {
    return c.issuedOn == handle || c.alsoSignals == handle;
  });
  return true;
}

// ---------------------------------------------------------------- controls

NtStatus SimVolume::Answer(FsHandle handle, FsHandle alsoSignals, IoStatusBlock& block,
                           bool pending, std::function<NtStatus(uintptr_t&)> work) {
  IoStatusBlock* target = &block;
  auto complete = [target, work]() {
    uintptr_t information = 0;
    NtStatus status = work(information);
    target->status = status;
    target->information = information;
    return status;
  };
  if (pending) {
    completions_.push_back({handle, alsoSignals, [complete]() { complete(); }});
    return kStatusPending;
  }
  uintptr_t information = 0;
  const NtStatus status = work(information);
  if (IsError(status)) return Refuse(block, status);
  block.status = status;
  block.information = information;
  return status;
}

NtStatus SimVolume::Refuse(IoStatusBlock& block, NtStatus status) const {
  // A synchronous file object's block is written back on success and on
  // warnings only; an error answered at once leaves it as the caller set it.
  if (settings_.blockOnFailure) {
    block.status = status;
    block.information = 0;
  }
  return status;
}

bool SimVolume::QueuesRead(bool pendingWanted, const std::function<NtStatus(void*)>& probe,
                           uint32_t outputLength) {
  // A read the file system refuses (end of file, a bad parameter) is refused
  // at once; only one it accepts is queued and answered later. The probe
  // writes elsewhere: the caller's buffer is filled only on completion.
  if (!pendingWanted) return false;
  std::vector<uint8_t> scratch(outputLength);
  const NtStatus status = probe(scratch.data());
  return status == kStatusSuccess || status == kStatusBufferOverflow;
}

void SimVolume::Wait(FsHandle handle) {
  std::lock_guard lock(mutex_);
  std::vector<Completion> ready;
  std::erase_if(completions_, [&](Completion& c) {
    if (c.issuedOn != handle && c.alsoSignals != handle) return false;
    ready.push_back(std::move(c));
    return true;
  });
  for (Completion& c : ready) c.complete();
}

bool SimVolume::MovesInUnits(FsHandle file) {
  std::lock_guard lock(mutex_);
  auto it = handles_.find(file);
  return it != handles_.end() && it->second.kind == HandleKind::File && files_[it->second.file - 1].MovesByUnits();
}

NtStatus SimVolume::GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input,
                                         uint32_t inputLength, void* output,
                                         uint32_t outputLength) {
  std::lock_guard lock(mutex_);
  auto it = handles_.find(file);
  if (it == handles_.end()) return Refuse(block, kStatusInvalidHandle);
  if (it->second.kind != HandleKind::File || inputLength < 8) {
    return Refuse(block, kStatusInvalidParameter);
  }
  int64_t vcn;
  std::memcpy(&vcn, input, 8);
  const uint32_t index = it->second.file;
  const SimFault* fault = MatchFault(SimControl::Pointers, files_[index - 1].path);
  std::function<NtStatus(uintptr_t&)> work = [this, index, vcn, output, outputLength](uintptr_t& info) {
    return Pointers(index, vcn, output, outputLength, info);
  };
  bool pending = QueuesRead(
      settings_.pending,
      [&](void* scratch) {
        uintptr_t info;
        return Pointers(index, vcn, scratch, outputLength, info);
      },
      outputLength);
  ApplyReadFault(fault, pending, work);
  return Answer(file, 0, block, pending, work);
}

const std::vector<int64_t>& SimVolume::VcnStarts(uint32_t fileIndex) const {
  if (vcnStarts_.size() < files_.size()) vcnStarts_.resize(files_.size());
  std::vector<int64_t>& starts = vcnStarts_[fileIndex - 1];
  const SimFile& file = files_[fileIndex - 1];
  if (starts.size() != file.runs.size() + 1) {
    starts.clear();
    int64_t vcn = 0;
    for (const SimRun& run : file.runs) {
      starts.push_back(vcn);
      vcn += int64_t(run.count);
    }
    starts.push_back(vcn);
  }
  return starts;
}

NtStatus SimVolume::Pointers(uint32_t fileIndex, int64_t vcn, void* output, uint32_t outputLength,
                             uintptr_t& information) const {
  const SimFile& file = files_[fileIndex - 1];
  information = 0;
  if (vcn < 0) return kStatusInvalidParameter;
  if (outputLength < sizeof(RetrievalPointersHeader) + sizeof(RetrievalExtent)) {
    return kStatusBufferTooSmall;
  }
  const std::vector<int64_t>& starts = VcnStarts(fileIndex);
  // End of file for a file without clusters (kept inside its record, empty)
  // and for a start at or past the allocation: the one refusal a reader
  // takes as the end of the runs. Every other refusal, the described faults'
  // included, is an error of the file.
  if (file.resident || vcn >= starts.back()) return kStatusEndOfFile;
  const size_t first = size_t(std::upper_bound(starts.begin(), starts.end(), vcn) - starts.begin()) - 1;
  const int64_t runStart = starts[first];
  const uint64_t room = (outputLength - sizeof(RetrievalPointersHeader)) / sizeof(RetrievalExtent);
  const uint64_t remaining = file.runs.size() - first;
  const uint64_t count = std::min(room, remaining);
  // Whole extents only; the returned start is that of the extent holding
  // the asked VCN.
  RetrievalPointersHeader header{uint32_t(count), 0, runStart};
  auto* bytes = static_cast<uint8_t*>(output);
  std::memcpy(bytes, &header, sizeof header);
  int64_t next = runStart;
  for (uint64_t i = 0; i < count; ++i) {
    const SimRun& run = file.runs[first + i];
    next += int64_t(run.count);
    RetrievalExtent extent{next, run.lcn};
    std::memcpy(bytes + sizeof header + i * sizeof extent, &extent, sizeof extent);
  }
  information = sizeof header + count * sizeof(RetrievalExtent);
  return count < remaining ? kStatusBufferOverflow : kStatusSuccess;
}

NtStatus SimVolume::GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input,
                                    uint32_t inputLength, void* output, uint32_t outputLength) {
  std::lock_guard lock(mutex_);
  auto it = handles_.find(volume);
  if (it == handles_.end()) return Refuse(block, kStatusInvalidHandle);
  if (it->second.kind != HandleKind::Volume || inputLength < 8) {
    return Refuse(block, kStatusInvalidParameter);
  }
  int64_t lcn;
  std::memcpy(&lcn, input, 8);
  const SimFault* fault = MatchFault(SimControl::Bitmap, std::wstring());
  std::function<NtStatus(uintptr_t&)> work = [this, lcn, output, outputLength](uintptr_t& info) {
    return Bitmap(lcn, output, outputLength, info);
  };
  bool pending = QueuesRead(
      settings_.pending,
      [&](void* scratch) {
        uintptr_t info;
        return Bitmap(lcn, scratch, outputLength, info);
      },
      outputLength);
  ApplyReadFault(fault, pending, work);
  return Answer(volume, 0, block, pending, work);
}

NtStatus SimVolume::Bitmap(int64_t lcn, void* output, uint32_t outputLength,
                           uintptr_t& information) const {
  information = 0;
  if (outputLength < sizeof(VolumeBitmapHeader) + 8) return kStatusBufferTooSmall;
  if (lcn < 0 || uint64_t(lcn) >= settings_.clusters) return kStatusInvalidParameter;
  const uint64_t start = uint64_t(lcn) / settings_.bitmapAlign * settings_.bitmapAlign;
  const uint64_t size = settings_.clusters - start;
  const uint64_t room = outputLength - sizeof(VolumeBitmapHeader);
  const uint64_t needed = (size + 7) / 8;
  const uint64_t bytes = std::min(room, needed);
  VolumeBitmapHeader header{int64_t(start), int64_t(size)};  // to the end, even on overflow
  auto* out = static_cast<uint8_t*>(output);
  std::memcpy(out, &header, sizeof header);
  uint8_t* bits = out + sizeof header;
  if (start % 8 == 0) {
    // Whole bytes of the volume's own bitmap, least significant bit first.
    std::memcpy(bits, reinterpret_cast<const uint8_t*>(bitmap_.data()) + start / 8, bytes);
    const uint64_t end = start + bytes * 8;
    if (end > settings_.clusters) {
      bits[bytes - 1] |= uint8_t(0xFF << (8 - (end - settings_.clusters)));
    }
    information = sizeof header + bytes;
    return bytes < needed ? kStatusBufferOverflow : kStatusSuccess;
  }
  for (uint64_t b = 0; b < bytes; ++b) {
    uint8_t value = 0;
    for (unsigned k = 0; k < 8; ++k) {
      const uint64_t c = start + b * 8 + k;
      // Bits past the end of the volume read as in use.
      if (c >= settings_.clusters || Bit(int64_t(c))) value |= uint8_t(1u << k);
    }
    bits[b] = value;
  }
  information = sizeof header + bytes;
  return bytes < needed ? kStatusBufferOverflow : kStatusSuccess;
}

NtStatus SimVolume::MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                             uint32_t inputLength) {
  // The disk's time is spent outside the volume's lock, as the file system
  // lets other requests through while one move waits for the disk.
  if (settings_.moveDelayMs != 0) std::this_thread::sleep_for(std::chrono::milliseconds(settings_.moveDelayMs));
  std::lock_guard lock(mutex_);
  ++moveCalls_;
  auto it = handles_.find(volume);
  if (it == handles_.end()) return Refuse(block, kStatusInvalidHandle);
  if (it->second.kind != HandleKind::Volume || inputLength < sizeof(MoveFileRecord)) {
    return Refuse(block, kStatusInvalidParameter);
  }
  MoveFileRecord record;
  std::memcpy(&record, input, sizeof record);
  auto file = handles_.find(FsHandle(record.fileHandle));
  if (file == handles_.end() || file->second.kind != HandleKind::File) {
    return Refuse(block, kStatusInvalidHandle);
  }
  const uint32_t index = file->second.file;
  const SimFault* fault = MatchFault(SimControl::Move, files_[index - 1].path);
  bool pending = settings_.pending;
  uint64_t partial = ~uint64_t(0);
  std::function<NtStatus(uintptr_t&)> work;
  if (fault != nullptr) {
    pending = fault->pending;
    if (fault->partial != 0) partial = fault->partial;
    if (fault->status != kStatusSuccess) {
      const NtStatus status = fault->status;
      work = [status](uintptr_t&) { return status; };
    }
  }
  if (!work) {
    work = [this, index, record, partial](uintptr_t&) {
      return Move(index, record.startingVcn, record.startingLcn, record.clusterCount, partial);
    };
  }
  return Answer(volume, FsHandle(record.fileHandle), block, pending, work);
}

NtStatus SimVolume::Move(uint32_t fileIndex, int64_t vcn, int64_t target, uint32_t count,
                         uint64_t partialLimit) {
  SimFile& file = files_[fileIndex - 1];
  if (file.resident || count == 0 || vcn < 0 || uint64_t(vcn) + count > file.VcnCount() ||
      !InVolume(target, count)) {
    return kStatusInvalidParameter;
  }
  uint64_t first = uint64_t(vcn), last = uint64_t(vcn) + count;
  if (file.MovesByUnits()) {
    first = first / kUnit * kUnit;
    last = std::min(file.VcnCount(), (last + kUnit - 1) / kUnit * kUnit);
  }
  if (first < file.unmovable) return kStatusAccessDenied;

  // The allocated pieces of the range, in VCN order.
  struct Piece {
    int64_t vcn, lcn;
    uint64_t count;
  };
  std::vector<Piece> pieces;
  uint64_t total = 0;
  int64_t runVcn = 0;
  for (const SimRun& run : file.runs) {
    const int64_t s = std::max<int64_t>(runVcn, int64_t(first));
    const int64_t e = std::min<int64_t>(runVcn + int64_t(run.count), int64_t(last));
    if (s < e && run.lcn != -1) {
      pieces.push_back({s, run.lcn + (s - runVcn), uint64_t(e - s)});
      total += uint64_t(e - s);
    }
    runVcn += int64_t(run.count);
  }
  if (uint64_t(target) + total > settings_.clusters) return kStatusInvalidParameter;
  total = std::min(total, partialLimit);

  // Moves `amount` clusters of the pieces from cluster `done` of the range.
  auto moveSpan = [&](uint64_t done, uint64_t amount) {
    uint64_t skipped = 0;
    for (const Piece& piece : pieces) {
      if (amount == 0) break;
      if (skipped + piece.count <= done) {
        skipped += piece.count;
        continue;
      }
      const uint64_t offset = done > skipped ? done - skipped : 0;
      const uint64_t n = std::min(piece.count - offset, amount);
      Relocate(fileIndex, piece.vcn + int64_t(offset), n, target + int64_t(done));
      done += n;
      amount -= n;
      skipped += piece.count;
    }
  };

  if (!settings_.partialMoves) {
    if (!RangeFree(target, total)) return settings_.inUseStatus;
    moveSpan(0, total);
    return kStatusSuccess;
  }
  // In chunks, each complete in itself: a chunk whose target is still held
  // for a checkpoint ends the move early with success; one whose target holds
  // data fails it, the chunks before it staying moved.
  for (uint64_t done = 0; done < total; done += settings_.moveChunk) {
    const uint64_t n = std::min<uint64_t>(settings_.moveChunk, total - done);
    if (!RangeFree(target + int64_t(done), n)) {
      return RangeHasHeld(target + int64_t(done), n) ? kStatusSuccess : settings_.inUseStatus;
    }
    moveSpan(done, n);
  }
  return kStatusSuccess;
}

void SimVolume::Relocate(uint32_t fileIndex, int64_t vcn, uint64_t count, int64_t target) {
  SimFile& file = files_[fileIndex - 1];
  // The source is one allocated piece: find its clusters.
  int64_t runVcn = 0;
  int64_t source = -1;
  for (const SimRun& run : file.runs) {
    if (vcn >= runVcn && vcn < runVcn + int64_t(run.count)) {
      source = run.lcn + (vcn - runVcn);
      break;
    }
    runVcn += int64_t(run.count);
  }
  // Copy the data (the tags as they are, not as the file thinks they are),
  // then release the source.
  std::vector<std::pair<int64_t, TagRun>> copied;
  for (int64_t c = source; c < source + int64_t(count);) {
    auto it = tags_.upper_bound(c);
    uint64_t span;
    TagRun tag{0, 0, 0};
    if (it != tags_.begin() && std::prev(it)->first + int64_t(std::prev(it)->second.count) > c) {
      auto holder = std::prev(it);
      tag = {holder->second.file, holder->second.vcn + (c - holder->first), 0};
      span = uint64_t(holder->first + int64_t(holder->second.count) - c);
    } else {
      span = it == tags_.end() ? count : uint64_t(it->first - c);
    }
    span = std::min<uint64_t>(span, uint64_t(source + int64_t(count) - c));
    tag.count = span;
    copied.push_back({c - source, tag});
    c += int64_t(span);
  }
  EraseTags(source, count);
  SetBits(target, count, true);
  for (const auto& [offset, tag] : copied) {
    if (tag.file != 0) SetTags(target + offset, tag.count, tag.file, tag.vcn);
  }
  if (settings_.checkpoint) {
    AddRange(held_, source, count);
  } else {
    SetBits(source, count, false);
  }

  // Remap [vcn, vcn + count) to the target and merge what became adjacent.
  std::vector<SimRun> runs;
  std::vector<bool> touched;
  runVcn = 0;
  const int64_t end = vcn + int64_t(count);
  for (const SimRun& run : file.runs) {
    const int64_t s = runVcn, e = runVcn + int64_t(run.count);
    runVcn = e;
    if (e <= vcn || s >= end) {
      runs.push_back(run);
      touched.push_back(false);
      continue;
    }
    if (s < vcn) {
      runs.push_back({run.lcn, uint64_t(vcn - s)});
      touched.push_back(false);
    }
    const int64_t ms = std::max(s, vcn), me = std::min(e, end);
    runs.push_back({target + (ms - vcn), uint64_t(me - ms)});
    touched.push_back(true);
    if (e > end) {
      runs.push_back({run.lcn + (end - s), uint64_t(e - end)});
      touched.push_back(false);
    }
  }
  file.runs.clear();
  if (fileIndex <= vcnStarts_.size()) vcnStarts_[fileIndex - 1].clear();
  bool lastTouched = false;
  for (size_t i = 0; i < runs.size(); ++i) {
    if (!file.runs.empty() && (touched[i] || lastTouched)) {
      SimRun& back = file.runs.back();
      if ((back.lcn == -1 && runs[i].lcn == -1) ||
          (back.lcn != -1 && runs[i].lcn != -1 && back.lcn + int64_t(back.count) == runs[i].lcn)) {
        back.count += runs[i].count;
        lastTouched = true;
        continue;
      }
    }
    file.runs.push_back(runs[i]);
    lastTouched = touched[i];
  }
}

// ---------------------------------------------------------------- texts

std::wstring SimVolume::SystemText(uint32_t code) {
  return textSource != nullptr ? textSource->SystemText(code) : BuiltInSystemText(code);
}

uint32_t SimVolume::StatusToError(NtStatus status) {
  return textSource != nullptr ? textSource->StatusToError(status) : BuiltInStatusToError(status);
}

