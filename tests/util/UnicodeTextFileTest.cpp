#include <gtest/gtest.h>

#include <filesystem>

#include "util/UnicodeTextFile.h"

namespace {

using Lines = std::vector<std::wstring>;

// The text's units as the program writes them, without the line end the
// encoder adds and, if asked, without the mark.
std::vector<uint8_t> Utf16Bytes(const std::wstring& text, bool withMark = true) {
  std::vector<uint8_t> bytes = EncodeUnicodeText({text});
  bytes.resize(bytes.size() - 4);
  if (!withMark) bytes.erase(bytes.begin(), bytes.begin() + 2);
  return bytes;
}

Lines ReadAll(UnicodeTextReader& reader) {
  Lines lines;
  std::wstring line;
  while (reader.NextLine(line)) lines.push_back(line);
  EXPECT_FALSE(reader.NextLine(line)) << "the end stays the end";
  return lines;
}

// Hands out the bytes in small uneven pieces, as a pipe or a network share may.
class TricklingSource : public ByteSource {
 public:
  explicit TricklingSource(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
  size_t Read(uint8_t* buffer, size_t length) override {
    size_t piece = std::min({length, bytes_.size() - pos_, static_cast<size_t>(1 + (calls_++ % 3))});
    std::copy_n(bytes_.begin() + pos_, piece, buffer);
    pos_ += piece;
    return piece;
  }

 private:
  std::vector<uint8_t> bytes_;
  size_t pos_ = 0;
  size_t calls_ = 0;
};

TEST(UnicodeTextReaderTest, LinesEndAtALineFeedAndTheFileAtTheFirstLongLine) {
  const struct {
    const char* what;
    std::vector<uint8_t> bytes;
    bool skipEmpty;
    size_t limit;
    Lines lines;
  } cases[] = {
      {"only the CR before the LF is dropped", Utf16Bytes(L"one\r\ntwo\n\r\nthree\r\r\nfo\rur\r\n"), false,
       kLineLimitProfile, {L"one", L"two", L"", L"three\r", L"fo\rur"}},
      {"empty lines skipped", Utf16Bytes(L"\r\na\r\n\r\n\n \r\nb\r\n"), true, kLineLimitProfile, {L"a", L" ", L"b"}},
      {"the first two bytes skipped whatever they are", Utf16Bytes(L"abc\r\ndef\r\n", false), false,
       kLineLimitProfile, {L"bc", L"def"}},
      {"a last line without LF", Utf16Bytes(L"a\r\nb\r\nlast"), false, kLineLimitProfile, {L"a", L"b"}},
      // Limit 5: four characters pass, five end the file there; the CR of
      // the line end does not count, one inside the line does.
      {"below the limit, then at it", Utf16Bytes(L"xxxx\r\nxxxxx\r\nnever\r\n"), false, 5, {L"xxxx"}},
      {"a CR inside the line", Utf16Bytes(L"ab\rcd\r\nnext\r\n"), false, 5, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    UnicodeTextReader reader;
    reader.OpenBuffer(c.bytes.data(), c.bytes.size(), c.skipEmpty, c.limit);
    EXPECT_EQ(ReadAll(reader), c.lines);
  }
}

TEST(UnicodeTextReaderTest, LinesStraddleBlocksAndUnitsStraddleReads) {
  // The first block starts after the two skipped bytes; a 33,000-character
  // line crosses the 65,536-byte block boundary.
  Lines lines = {std::wstring(30000, L'a'), std::wstring(33000, L'b'), L"tail"};
  for (size_t i = 0; i < 2000; ++i) lines.push_back(L"line " + std::to_wstring(i));
  std::vector<uint8_t> bytes = EncodeUnicodeText(lines);
  ASSERT_GT(bytes.size(), 2 * UnicodeTextReader::kBlockLength);

  UnicodeTextReader reader;
  reader.OpenSource(std::make_unique<TricklingSource>(bytes), false, kLineLimitSettings);
  EXPECT_TRUE(ReadAll(reader) == lines);
}

// A file in the temporary folder, by a wide name that the narrow locale
// could not spell.
std::wstring TemporaryFile(const std::wstring& name) {
  return std::filesystem::temp_directory_path().wstring() + L"/ordalis-text-" + name;
}

// The mark, then each line and CR LF; what the writer wrote reads back, and
// creating the file again starts it afresh. A file that cannot be made is
// told, and so is every line after it.
TEST(UnicodeTextFileTest, WrittenLinesReadBackAndAFileCreatedAgainIsTruncated) {
  EXPECT_EQ(EncodeUnicodeText({L"a"}), (std::vector<uint8_t>{0xFF, 0xFE, 'a', 0, '\r', 0, '\n', 0}));
  const std::wstring path = TemporaryFile(L"Profilo \u00E8.olp");
  for (const Lines& lines : {Lines{L"KV70RX", L"", L"C:\\Cartella\\perch\u00E9.txt", std::wstring(30000, L'z')},
                             Lines{L"only"}}) {
    UnicodeTextWriter writer;
    ASSERT_TRUE(writer.Create(path));
    for (const std::wstring& line : lines) ASSERT_TRUE(writer.WriteLine(line));
    ASSERT_TRUE(writer.Close());
    UnicodeTextReader reader;
    ASSERT_TRUE(reader.Open(path, false, kLineLimitSettings));
    EXPECT_TRUE(ReadAll(reader) == lines);
  }
  EXPECT_TRUE(DeleteTextFile(path));

  UnicodeTextWriter writer;
  EXPECT_FALSE(writer.Create(TemporaryFile(L"no folder/x.ini")));
  EXPECT_NE(writer.Error(), 0u);
  EXPECT_FALSE(writer.WriteLine(L"x"));
}

}  // namespace
