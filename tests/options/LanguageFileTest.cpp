// Language files: the reader's rules on files made here, and the shipped
// English file, which must cover every text the program shows.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "options/LanguageFile.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"

namespace {

namespace fs = std::filesystem;

class LanguageFileTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetTexts(); }
  void TearDown() override { ResetTexts(); }
};

// Comments, the name line and lines without "=" are skipped, an id is the
// line's leading digits, "$" ends the file, "\t" and "\n" are the only
// escapes; the table is emptied first, and counts only once the program
// takes the language in place of its built-in texts. Entry 127, the profile
// dialogs' file filter, keeps its text when the layout pads others: a blank
// after its last "|" would end the dialogs' filter list in a description
// without a pattern.
TEST_F(LanguageFileTest, EntriesCommentsEndEscapesAndLayoutPadding) {
  SetText(200, L"left from before");
  const std::wstring filter = L"Ordalis profile (*.olp)|*.olp|All files (*.*)|*.*|";
  std::vector<uint8_t> bytes = EncodeUnicodeText({
      L"' a comment=with an equals sign", L"LNG=English", L"123=Col\\tumn\\nnext \\x\\", L"11=Name",
      L"no equals sign", L"abc=read as entry 0", L"511=last entry", L"512=beyond the table",
      L"99999999999999999999=far beyond", L"127=" + filter, L"6=", L"$", L"7=after the end"});
  UnicodeTextReader reader;
  reader.OpenBuffer(bytes.data(), bytes.size(), true, kLineLimitFilters);
  ReadLanguageFile(reader);
  EXPECT_STREQ(Text(11, L"Nome"), L"Nome") << "the built-in text until the language is taken";
  SetBuiltInTexts(false);
  PadLanguageTextsForLayout();
  const std::pair<uint32_t, std::wstring> texts[] = {
      {123, L"Col\t umn\r\nnext \\x\\"}, {0, L"read as entry 0"}, {511, L"last entry"}, {6, L""},
      {7, L""}, {200, L""}, {127, filter}, {11, L"      Name"}};
  for (const auto& [id, text] : texts) EXPECT_EQ(std::wstring(Text(id, L"Errore")), text) << id;
  EXPECT_EQ(TextCapacity(), kDefaultTextCapacity);

  // The display name is searched from the 256th character (the mark is the
  // first) within the first 4,096 bytes, and cut at 255 characters.
  auto name = [](const std::vector<std::wstring>& lines) {
    std::vector<uint8_t> start = EncodeUnicodeText(lines);
    return LanguageDisplayName(start.data(), start.size());
  };
  EXPECT_EQ(name({std::wstring(253, L'x'), L"lng=English (UK)"}), L"English (UK)");
  EXPECT_EQ(name({L"LNG=Early", std::wstring(300, L'x'), L"LNG=Later"}), L"Later");
  EXPECT_EQ(name({std::wstring(2100, L'x'), L"LNG=Far"}), L"");
  EXPECT_EQ(name({std::wstring(300, L'x'), L"LNG=" + std::wstring(400, L'n')}), std::wstring(255, L'n'));

  // The program's own language first, the rest by name; commands by file order.
  std::vector<std::pair<std::wstring, uint32_t>> listed;
  for (const LanguageEntry& entry : MakeLanguageList(
           {{L"FR", L"Français"}, {L"it", L"Italiano (file)"}, {L"DE", L"Deutsch"}, {L"EN", L"english"}})) {
    listed.emplace_back(entry.code, entry.command);
  }
  EXPECT_EQ(listed, (std::vector<std::pair<std::wstring, uint32_t>>{
                        {L"IT", 4000}, {L"DE", 4002}, {L"EN", 4003}, {L"FR", 4001}}));
}

std::string ReadWhole(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

// Every string id the sources define, with where: the string-id constants
// (kStr..., and kText... that a module numbers for itself) in every header.
std::map<uint32_t, std::string> DefinedIds() {
  std::map<uint32_t, std::string> ids;
  std::regex constant(R"(constexpr\s+uint32_t\s+(kStr\w+|kText\w+)\s*=\s*(\d+)\s*;)");
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(ORDALIS_SOURCE_DIR)) {
    if (entry.path().extension() != ".h") continue;
    std::string header = ReadWhole(entry.path());
    for (std::sregex_iterator it(header.begin(), header.end(), constant), end; it != end; ++it) {
      ids.emplace(static_cast<uint32_t>(std::stoul((*it)[2])),
                  (*it)[1].str() + " in " + entry.path().filename().string());
    }
  }
  return ids;
}

// The shipped file starts with the mark, is listed under its name, and has a
// non-empty entry, within the table the program makes, for every string id.
TEST_F(LanguageFileTest, TheEnglishFileIsListedByNameAndCoversEveryStringId) {
  const fs::path file = fs::path(ORDALIS_LANG_DIR) / "Ordalis_EN.lng";
  const std::string bytes = ReadWhole(file);
  ASSERT_GE(bytes.size(), 2u);
  EXPECT_EQ(bytes.substr(0, 2), std::string("\xFF\xFE", 2));
  EXPECT_EQ(LanguageDisplayName(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), L"English");

  SetTextCapacity(kProgramTextCapacity);
  UnicodeTextReader reader;
  ASSERT_TRUE(reader.Open(file.wstring(), true, kLineLimitFilters)) << file;
  ReadLanguageFile(reader);
  SetBuiltInTexts(false);
  std::map<uint32_t, std::string> ids = DefinedIds();
  ASSERT_GT(ids.size(), 50u) << "the headers of string ids were not read";
  for (const auto& [id, where] : ids) {
    EXPECT_LT(id, kProgramTextCapacity) << where;
    EXPECT_NE(std::wstring(Text(id, L"")), L"") << "no English text for id " << id << " (" << where << ")";
  }
}

}  // namespace
