#include "util/UnicodeTextFile.h"

#include <algorithm>
#include <cstring>

#ifdef _WIN32
#include "util/win32/Win32Handle.h"
#else
#include <cerrno>
#include <cstdio>

#include "util/WideString.h"
#endif

namespace {

constexpr uint16_t kLineFeed = 0x000A;
constexpr uint16_t kCarriageReturn = 0x000D;
constexpr size_t kWriteBufferLength = 65536;

class MemorySource final : public ByteSource {
 public:
  MemorySource(const void* data, size_t length)
      : bytes_(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + length) {}
  size_t Read(uint8_t* buffer, size_t length) override {
    size_t count = std::min(length, bytes_.size() - pos_);
    if (count != 0) std::memcpy(buffer, bytes_.data() + pos_, count);
    pos_ += count;
    return count;
  }

 private:
  std::vector<uint8_t> bytes_;
  size_t pos_ = 0;
};

#ifdef _WIN32
class FileSource final : public ByteSource {
 public:
  explicit FileSource(UniqueHandle file) : file_(std::move(file)) {}
  size_t Read(uint8_t* buffer, size_t length) override {
    DWORD got = 0;
    if (!ReadFile(file_.Get(), buffer, static_cast<DWORD>(length), &got, nullptr)) return 0;
    return got;
  }

 private:
  UniqueHandle file_;
};
#else
uint32_t SystemErrorFromErrno(int error) {
  switch (error) {
    case ENOENT: return 2;
    case ENOTDIR: return 3;
    case EACCES:
    case EPERM:
    case EISDIR:
    case EROFS: return 5;
    default: return static_cast<uint32_t>(error);
  }
}

class FileSource final : public ByteSource {
 public:
  explicit FileSource(std::FILE* file) : file_(file) {}
  ~FileSource() override { std::fclose(file_); }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  size_t Read(uint8_t* buffer, size_t length) override { return std::fread(buffer, 1, length, file_); }

 private:
  std::FILE* file_;
};
#endif

}  // namespace

bool UnicodeTextReader::Open(const std::wstring& path, bool skipEmptyLines, size_t lineLimit) {
  Close();
#ifdef _WIN32
  // Read and write access with read sharing, as every reader of these files
  // has always opened them: a file another program is writing is not read.
  UniqueHandle file(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.Valid()) {
    error_ = GetLastError();
    return false;
  }
  OpenSource(std::make_unique<FileSource>(std::move(file)), skipEmptyLines, lineLimit);
#else
  std::FILE* file = std::fopen(WideToUtf8(path).c_str(), "r+b");
  if (file == nullptr) {
    error_ = SystemErrorFromErrno(errno);
    return false;
  }
  OpenSource(std::make_unique<FileSource>(file), skipEmptyLines, lineLimit);
#endif
  return true;
}

void UnicodeTextReader::OpenBuffer(const void* data, size_t length, bool skipEmptyLines, size_t lineLimit) {
  OpenSource(std::make_unique<MemorySource>(data, length), skipEmptyLines, lineLimit);
}

void UnicodeTextReader::OpenSource(std::unique_ptr<ByteSource> source, bool skipEmptyLines,
                                   size_t lineLimit) {
  Close();
  source_ = std::move(source);
  skipEmptyLines_ = skipEmptyLines;
  lineLimit_ = lineLimit;
  error_ = 0;
  block_ = std::make_unique_for_overwrite<uint8_t[]>(kBlockLength);
  // The first two bytes are taken to be the byte-order mark and are not
  // looked at: a file without one loses its first character.
  uint8_t mark[2];
  size_t skipped = 0;
  while (skipped < 2) {
    size_t got = source_->Read(mark + skipped, 2 - skipped);
    if (got == 0) {
      finished_ = true;
      break;
    }
    skipped += got;
  }
}

bool UnicodeTextReader::FillBlock() {
  blockPos_ = 0;
  blockEnd_ = source_->Read(block_.get(), kBlockLength);
  return blockEnd_ != 0;
}

bool UnicodeTextReader::NextLine(std::wstring& line) {
  line.clear();
  if (source_ == nullptr || finished_) return false;
  for (;;) {
    uint16_t unit;
    if (pendingByte_ < 0 && blockEnd_ - blockPos_ >= 2) {
      unit = static_cast<uint16_t>(block_[blockPos_] | (block_[blockPos_ + 1] << 8));
      blockPos_ += 2;
    } else {
      // A code unit split between two blocks (or the end of the file).
      if (pendingByte_ < 0) {
        if (blockPos_ == blockEnd_ && !FillBlock()) break;
        if (blockEnd_ - blockPos_ >= 2) continue;
        pendingByte_ = block_[blockPos_++];
      }
      if (blockPos_ == blockEnd_ && !FillBlock()) break;
      unit = static_cast<uint16_t>(pendingByte_ | (block_[blockPos_++] << 8));
      pendingByte_ = -1;
    }

    if (unit == kLineFeed) {
      if (!line.empty() && line.back() == static_cast<wchar_t>(kCarriageReturn)) line.pop_back();
      if (line.empty() && skipEmptyLines_) continue;
      return true;
    }
    line.push_back(static_cast<wchar_t>(unit));
    // A CR at the end is not counted yet: it goes if an LF follows.
    size_t count = line.size() - (unit == kCarriageReturn ? 1 : 0);
    if (count >= lineLimit_) break;
  }
  // The end of the file, a line that reached the limit, or a last line
  // without LF: nothing more is handed out.
  finished_ = true;
  line.clear();
  return false;
}

void UnicodeTextReader::Close() {
  source_.reset();
  block_.reset();
  blockPos_ = blockEnd_ = 0;
  pendingByte_ = -1;
  finished_ = false;
}

struct UnicodeTextWriter::File {
#ifdef _WIN32
  UniqueHandle handle;
#else
  std::FILE* handle = nullptr;
  ~File() {
    if (handle != nullptr) std::fclose(handle);
  }
#endif
};

UnicodeTextWriter::UnicodeTextWriter() = default;
UnicodeTextWriter::~UnicodeTextWriter() { Close(); }

bool UnicodeTextWriter::Create(const std::wstring& path) {
  Close();
  failed_ = false;
  error_ = 0;
  auto file = std::make_unique<File>();
#ifdef _WIN32
  file->handle.Reset(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file->handle.Valid()) {
    error_ = GetLastError();
    return false;
  }
#else
  file->handle = std::fopen(WideToUtf8(path).c_str(), "wb");
  if (file->handle == nullptr) {
    error_ = SystemErrorFromErrno(errno);
    return false;
  }
#endif
  file_ = std::move(file);
  buffer_.clear();
  buffer_.reserve(kWriteBufferLength + 16);
  buffer_.push_back(0xFF);
  buffer_.push_back(0xFE);
  return true;
}

void UnicodeTextWriter::AppendUnit(uint32_t unit) {
  buffer_.push_back(static_cast<uint8_t>(unit & 0xFF));
  buffer_.push_back(static_cast<uint8_t>((unit >> 8) & 0xFF));
}

bool UnicodeTextWriter::WriteLine(std::wstring_view text) {
  if (file_ == nullptr || failed_) return false;
  for (wchar_t c : text) {
    uint32_t value = static_cast<uint32_t>(c);
    if (value > 0xFFFF) {
      // Only where wchar_t holds whole code points: write the UTF-16 pair.
      value -= 0x10000;
      AppendUnit(0xD800 + (value >> 10));
      AppendUnit(0xDC00 + (value & 0x3FF));
    } else {
      AppendUnit(value);
    }
    if (buffer_.size() >= kWriteBufferLength && !Flush()) return false;
  }
  AppendUnit(kCarriageReturn);
  AppendUnit(kLineFeed);
  if (buffer_.size() >= kWriteBufferLength) return Flush();
  return true;
}

bool UnicodeTextWriter::Flush() {
  if (buffer_.empty() || failed_) return !failed_;
#ifdef _WIN32
  DWORD written = 0;
  if (!WriteFile(file_->handle.Get(), buffer_.data(), static_cast<DWORD>(buffer_.size()), &written, nullptr) ||
      written != buffer_.size()) {
    error_ = GetLastError();
    failed_ = true;
  }
#else
  if (std::fwrite(buffer_.data(), 1, buffer_.size(), file_->handle) != buffer_.size()) {
    error_ = SystemErrorFromErrno(errno);
    failed_ = true;
  }
#endif
  buffer_.clear();
  return !failed_;
}

bool UnicodeTextWriter::Close() {
  if (file_ == nullptr) return !failed_;
  Flush();
#ifndef _WIN32
  if (std::fclose(file_->handle) != 0 && !failed_) {
    error_ = SystemErrorFromErrno(errno);
    failed_ = true;
  }
  file_->handle = nullptr;
#endif
  file_.reset();
  return !failed_;
}

std::vector<uint8_t> EncodeUnicodeText(const std::vector<std::wstring>& lines) {
  std::vector<uint8_t> bytes{0xFF, 0xFE};
  auto append = [&bytes](uint32_t unit) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>((unit >> 8) & 0xFF));
  };
  for (const std::wstring& line : lines) {
    for (wchar_t c : line) {
      uint32_t value = static_cast<uint32_t>(c);
      if (value > 0xFFFF) {
        value -= 0x10000;
        append(0xD800 + (value >> 10));
        append(0xDC00 + (value & 0x3FF));
      } else {
        append(value);
      }
    }
    append(kCarriageReturn);
    append(kLineFeed);
  }
  return bytes;
}

bool DeleteTextFile(const std::wstring& path) {
#ifdef _WIN32
  return DeleteFileW(path.c_str()) != 0;
#else
  return std::remove(WideToUtf8(path).c_str()) == 0;
#endif
}
