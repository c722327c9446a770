#pragma once
// The one text-file format of the program: UTF-16LE, a byte-order mark FF FE
// first, every line ended by CR LF. The settings, filter, profile and language
// files all go through this reader and writer.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Line limits of the callers, in characters.
constexpr size_t kLineLimitFilters = 2046;    // filter and language files
constexpr size_t kLineLimitProfile = 32766;   // profiles
constexpr size_t kLineLimitSettings = 33278;  // the settings file

// Where the reader's bytes come from: a file or a buffer in memory.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Reads up to `length` bytes; returns how many were read, 0 at the end or
  // on a read error.
  virtual size_t Read(uint8_t* buffer, size_t length) = 0;
};

class UnicodeTextReader {
 public:
  static constexpr size_t kBlockLength = 65536;

  UnicodeTextReader() = default;
  UnicodeTextReader(const UnicodeTextReader&) = delete;
  UnicodeTextReader& operator=(const UnicodeTextReader&) = delete;
  ~UnicodeTextReader() { Close(); }

  // Opens an existing file for reading and writing with read sharing. False
  // when it cannot be opened (the system's error number is in Error()).
  bool Open(const std::wstring& path, bool skipEmptyLines, size_t lineLimit);
  // Reads the same format from bytes in memory (copied). Always succeeds.
  void OpenBuffer(const void* data, size_t length, bool skipEmptyLines, size_t lineLimit);
  // Reads from any source.
  void OpenSource(std::unique_ptr<ByteSource> source, bool skipEmptyLines, size_t lineLimit);

  // The next line without its LF and the CR before it. False at the end of
  // the file, after a line that reached the limit, and for a last line
  // without LF (which is not handed out).
  bool NextLine(std::wstring& line);
  void Close();

  bool IsOpen() const { return source_ != nullptr; }
  uint32_t Error() const { return error_; }

 private:
  bool FillBlock();

  std::unique_ptr<ByteSource> source_;
  // Filled from the source before it is read: never zeroed first, so that
  // opening a small file does not cost a whole block's worth of writes.
  std::unique_ptr<uint8_t[]> block_;
  size_t blockPos_ = 0;
  size_t blockEnd_ = 0;
  int pendingByte_ = -1;  // first byte of a code unit split between blocks
  bool skipEmptyLines_ = false;
  size_t lineLimit_ = 0;
  bool finished_ = false;
  uint32_t error_ = 0;
};

class UnicodeTextWriter {
 public:
  UnicodeTextWriter();
  UnicodeTextWriter(const UnicodeTextWriter&) = delete;
  UnicodeTextWriter& operator=(const UnicodeTextWriter&) = delete;
  ~UnicodeTextWriter();

  // Creates or truncates the file and writes the byte-order mark. False when
  // the file cannot be created (the system's error number is in Error()).
  bool Create(const std::wstring& path);
  // Appends the text and CR LF. False once a write has failed.
  bool WriteLine(std::wstring_view text);
  // Writes what is buffered and closes; false when a write failed.
  bool Close();

  bool IsOpen() const { return file_ != nullptr; }
  uint32_t Error() const { return error_; }

 private:
  bool Flush();
  void AppendUnit(uint32_t unit);

  struct File;
  std::unique_ptr<File> file_;
  std::vector<uint8_t> buffer_;
  bool failed_ = false;
  uint32_t error_ = 0;
};

// Encodes lines as a complete file image (byte-order mark, each line + CR LF),
// for tests and for callers that build a file in memory.
std::vector<uint8_t> EncodeUnicodeText(const std::vector<std::wstring>& lines);

// Deletes a file the program wrote (a list that became empty); false when it
// was not there or could not be deleted.
bool DeleteTextFile(const std::wstring& path);
