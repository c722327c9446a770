// Language files read from byte buffers into the display-text table.
#include <gtest/gtest.h>

#include "options/LanguageFile.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"

namespace {

class LanguageFileTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetTexts(); }
  void TearDown() override { ResetTexts(); }

  void Read(const std::vector<std::wstring>& lines) {
    std::vector<uint8_t> bytes = EncodeUnicodeText(lines);
    UnicodeTextReader reader;
    reader.OpenBuffer(bytes.data(), bytes.size(), true, kLineLimitFilters);
    ReadLanguageFile(reader);
    SetBuiltInTexts(false);
  }
};

TEST_F(LanguageFileTest, EntriesCommentsEndAndEscapes) {
  SetText(200, L"left from before");
  Read({
      L"' a comment=with an equals sign",
      L"LNG=English",
      L"123=Col\\tumn\\nnext \\x\\",
      L"5=Fragmented",
      L"no equals sign",
      L"abc=read as entry 0",
      L"511=last entry",
      L"512=beyond the table",
      L"99999999999999999999=far beyond",
      L"6=",
      L"$",
      L"7=after the end",
  });
  EXPECT_EQ(std::wstring(Text(123, L"")), L"Col\t umn\r\nnext \\x\\");
  EXPECT_EQ(std::wstring(Text(5, L"")), L"Fragmented");
  EXPECT_EQ(std::wstring(Text(0, L"")), L"read as entry 0");
  EXPECT_EQ(std::wstring(Text(511, L"")), L"last entry");
  EXPECT_EQ(std::wstring(Text(6, L"")), L"");
  EXPECT_EQ(std::wstring(Text(7, L"Errore")), L"");
  EXPECT_EQ(std::wstring(Text(200, L"")), L"");  // the table was cleared first
  EXPECT_EQ(TextCapacity(), kDefaultTextCapacity);
}

// Entry 127, the profile dialogs' file filter, stays as the file has it: a
// blank after its last "|" would make the open and save dialogs' filter list
// end in a description without a pattern. Other texts get their layout's
// blanks.
TEST_F(LanguageFileTest, LayoutPaddingLeavesTheFileFilterAlone) {
  const std::wstring filter = L"Ordalis profile (*.olp)|*.olp|All files (*.*)|*.*|";
  Read({L"11=Name", L"127=" + filter, L"149=E"});
  PadLanguageTextsForLayout();
  EXPECT_EQ(std::wstring(Text(127, L"")), filter);
  EXPECT_EQ(std::wstring(Text(11, L"")), L"      Name");
  EXPECT_EQ(std::wstring(Text(149, L"")), L"E  ");
}

std::vector<uint8_t> FileStart(const std::wstring& header, const std::wstring& rest) {
  return EncodeUnicodeText({header, rest});
}

TEST_F(LanguageFileTest, DisplayNameIsSearchedFromThe256thCharacter) {
  // BOM + 253 characters + CR LF: "LNG=" starts at character 257.
  std::vector<uint8_t> late = FileStart(std::wstring(253, L'x'), L"lng=English (UK)");
  EXPECT_EQ(LanguageDisplayName(late.data(), late.size()), L"English (UK)");

  // A name line in the header itself is too early; a later one is found.
  std::vector<uint8_t> early =
      EncodeUnicodeText({L"LNG=Early", std::wstring(300, L'x'), L"LNG=Later", L"1=x"});
  EXPECT_EQ(LanguageDisplayName(early.data(), early.size()), L"Later");

  // Beyond the first 4,096 bytes nothing is searched; names are cut at 255.
  std::vector<uint8_t> beyond = FileStart(std::wstring(2100, L'x'), L"LNG=Far");
  EXPECT_EQ(LanguageDisplayName(beyond.data(), beyond.size()), L"");
  std::vector<uint8_t> longName = FileStart(std::wstring(300, L'x'), L"LNG=" + std::wstring(400, L'n'));
  EXPECT_EQ(LanguageDisplayName(longName.data(), longName.size()), std::wstring(255, L'n'));
}

TEST_F(LanguageFileTest, LanguageListAndLocales) {
  std::vector<LanguageEntry> list = MakeLanguageList(
      {{L"FR", L"Français"}, {L"it", L"Italiano (file)"}, {L"DE", L"Deutsch"}, {L"EN", L"english"}});
  std::vector<std::pair<std::wstring, uint32_t>> listed;
  for (const LanguageEntry& entry : list) listed.emplace_back(entry.code, entry.command);
  // The program's own language first, the rest by name; commands by file order.
  EXPECT_EQ(listed, (std::vector<std::pair<std::wstring, uint32_t>>{
                        {L"IT", 4000}, {L"DE", 4002}, {L"EN", 4003}, {L"FR", 4001}}));

  EXPECT_EQ(LanguageCodeOfFile(L"ordalis_de.LNG"), L"de");
  EXPECT_EQ(LanguageFileName(L"EN"), L"Ordalis_EN.lng");
  for (auto [locale, code] : {std::pair{L"040c", L"FR"}, {L"0C0A", L"ES"}, {L"0000", L"EN"}}) {
    EXPECT_EQ(LanguageCodeForLocale(locale), code) << locale;
  }
}

}  // namespace
