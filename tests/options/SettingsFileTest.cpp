// The settings file read from byte buffers and written as its lines, with a
// host that only remembers columns.
#include <gtest/gtest.h>

#include <limits>

#include "RememberingSettingsHost.h"
#include "options/Settings.h"
#include "options/SettingsFile.h"
#include "options/CommandIds.h"
#include "util/UnicodeTextFile.h"

namespace {

class SettingsFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gSettings = Settings();
    ResetSettingsFileState();
  }

  void Load(const std::vector<std::wstring>& lines) {
    const std::vector<uint8_t> bytes = EncodeUnicodeText(lines);
    UnicodeTextReader reader;
    reader.OpenBuffer(bytes.data(), bytes.size(), false, kLineLimitSettings);
    ReadSettingsFile(reader, host);
  }
  std::vector<std::wstring> Saved() { return SettingsFileLines(host); }
  // The line the file would hold for one key.
  std::wstring Written(const std::wstring& key) {
    for (const std::wstring& line : Saved()) {
      if (line.rfind(key + L"=", 0) == 0) return line;
    }
    return L"no " + key;
  }

  RememberingSettingsHost host;
};

// Every key of the file in its order.
// Each row: the key, its default value, a value that differs from it.
const wchar_t* const kKeys[][3] = {
    {L"ONTOP", L"0", L"1"}, {L"FULLROW", L"0", L"1"}, {L"SHOWMESSAGES", L"1", L"0"}, {L"CLOSEPROGRAM", L"0", L"1"},
    {L"SHUTDOWN", L"0", L"1"}, {L"SKIPSSD", L"1", L"0"}, {L"SMARTDEFRAG", L"1", L"0"}, {L"PRIORITY", L"2", L"4"},
    {L"LANGUAGE", L"EN", L"DE"}, {L"COLUMNORDER", L"0;1;2;3;4;5;6;7;8;9;", L"9;8;7;6;5;4;3;2;1;0;"},
    {L"CL", L"100;101;102;103;104;105;106;107;108;109;", L"10;11;12;13;14;15;0;17;18;19;"},
    {L"VCL", L"1;1;1;1;1;1;1;1;1;1;", L"1;1;1;1;1;1;0;1;1;1;"},
    {L"FCOLUMNORDER", L"0;1;2;3;4;5;6;7;", L"1;0;2;3;4;5;7;6;"},
    {L"FCL", L"100;101;102;103;104;105;106;107;", L"0;21;22;23;24;25;26;27;"},
    {L"FVCL", L"1;1;1;1;1;1;1;1;", L"0;1;1;1;1;1;1;1;"}, {L"ECOLUMNORDER", L"0;1;", L"1;0;"},
    {L"ECL", L"100;101;", L"300;0;"}, {L"EVCL", L"1;1;", L"1;0;"}, {L"FDWIDTH", L"400", L"401"},
    {L"FDHEIGHT", L"390", L"391"}, {L"FLTRWIDTH", L"480", L"481"}, {L"FLTRHEIGHT", L"420", L"421"},
    {L"SCANWIDTH", L"670", L"700"}, {L"SCANHEIGHT", L"470", L"500"}, {L"MAINSIZE", L"600;360", L"1024;768"},
    {L"PROFILEPATH", L"", L"C:\\Profili"}, {L"FILEPATH", L"", L"D:\\Dati=nuovi"}, {L"CLNUP", L"2", L"1"},
    {L"CLNUP_SHOWERRORMSG", L"1", L"0"}, {L"CLNUP_EXTPRGPATH", L"", L"C:\\Tools\\clean.exe"},
    {L"CLNUP_EXTPRGSWITCHES", L"", L"/auto /quiet"}, {L"SCANDISK", L"2", L"0"}, {L"ExcludeItemsBySize", L"0", L"1"},
    {L"MaxFileSizeToElaborate", L"0", L"2048"}, {L"ItemTextColor0", L"0", L"255"},
    {L"ItemTextColorEnabled0", L"0", L"1"}, {L"ItemTextColor1", L"0", L"65280"},
    {L"ItemTextColorEnabled1", L"0", L"0"}, {L"ItemTextColor2", L"0", L"16711680"},
    {L"ItemTextColorEnabled2", L"0", L"1"}, {L"ItemTextColor3", L"0", L"8421504"},
    {L"ItemTextColorEnabled3", L"0", L"1"}, {L"ItemTextColor4", L"0", L"16777215"},
    {L"ItemTextColorEnabled4", L"0", L"1"}, {L"ItemTextColorFullRow", L"0", L"1"}, {L"SplitterPos", L"-1", L"333"},
    {L"MAXIMIZED", L"0", L"1"}, {L"SkipSSDWarning", L"1", L"0"}, {L"SkipSSDChecking", L"0", L"1"},
    {L"ShowInfoPanel", L"1", L"0"}, {L"ShowStatusbar", L"1", L"0"}, {L"ShowToolbar", L"1", L"0"},
    {L"RemoveMissingMRUProfiles", L"1", L"0"}, {L"MaxMRUProfiles", L"5", L"9"}, {L"ShowStateIcons", L"1", L"0"},
    {L"ShowSystemIcons", L"1", L"0"},
};

// The whole file: every key with its default or its changed value, then the
// recent profiles' section.
std::vector<std::wstring> SettingsFile(bool changed, const std::vector<std::wstring>& profiles = {}) {
  std::vector<std::wstring> lines{L"RX1.00"};
  for (const auto& key : kKeys) lines.push_back(std::wstring(key[0]) + L"=" + key[changed ? 2 : 1]);
  lines.push_back(L"[Profiles]");
  lines.insert(lines.end(), profiles.begin(), profiles.end());
  lines.push_back(L"[\\Profiles]");
  return lines;
}

// What a fresh installation writes, and a file in which every value differs.
const std::vector<std::wstring> kDefaultFile = SettingsFile(false);
const std::vector<std::wstring> kChangedFile = SettingsFile(true, {L"C:\\a.prf", L"D:\\gone.prf"});

TEST_F(SettingsFileTest, DefaultsAndChangedValuesRoundTripByteForByte) {
  gSettings.language = L"EN";
  EXPECT_EQ(Saved(), kDefaultFile);

  Load(kChangedFile);
  EXPECT_EQ(Saved(), kChangedFile);

  // And back: the defaults file undoes every change (a start reads the file
  // once, into an empty recent-profiles list).
  gSettings.recentProfiles.clear();
  Load(kDefaultFile);
  EXPECT_EQ(Saved(), kDefaultFile);

  // The columns of a list that does not exist yet are kept as written.
  host.hasResultList = false;
  std::vector<std::wstring> lines = kChangedFile;
  lines[13] = L"FCOLUMNORDER=7;x;";
  Load(lines);
  EXPECT_EQ(Saved(), lines);

  // At a fresh start, a file of another version, or none, reads as a fresh
  // installation.
  SetUp();
  host = RememberingSettingsHost();
  gSettings.language = L"EN";
  lines = kChangedFile;
  lines[0] = L"RX1.01";
  Load(lines);
  EXPECT_EQ(Saved(), kDefaultFile);
  Load({});
  EXPECT_EQ(Saved(), kDefaultFile);
  // A language given on the command line is for this run only.
  Load(kDefaultFile);
  gSettings.language = L"FR";
  gSettings.languageFromCommandLine = true;
  EXPECT_EQ(Saved(), kDefaultFile);
  gSettings.languageFromCommandLine = false;
  EXPECT_EQ(Written(L"LANGUAGE"), L"LANGUAGE=FR");
}

// The round trip above cannot tell where a value lived in between: these
// keys land in fields whose meaning differs from what the file writes.
TEST_F(SettingsFileTest, ValuesReachTheirHomes) {
  Load(kChangedFile);
  EXPECT_TRUE(gSettings.followUps.closeAfterDefrag && gSettings.followUps.shutdownAfterDefrag);
  EXPECT_FALSE(gSettings.confirmPrompts);
  EXPECT_EQ(gSettings.priority, kCmdPriorityIdle);
  // The disk check and the cleanup store the chosen item's place: 0
  // automatic, 1 off.
  EXPECT_EQ(gSettings.cleanup, kCmdCleanupOff);
  EXPECT_EQ(gSettings.diskCheck, kCmdDiskCheckAuto);
  EXPECT_EQ(gSettings.solidStateFlags, kSolidStateNoDetection | kSolidStateWarn);
  EXPECT_EQ(gSettings.errorColumnVisible, (std::vector<uint8_t>{1, 0}));
  // A priority the system refused is not kept.
  host.priorityFails = true;
  Load({L"RX1.00", L"PRIORITY=0"});
  EXPECT_EQ(gSettings.priority, kCmdPriorityIdle);
}

// Hand-edited lines: keys match whole from the line's start in any case, a
// flag is its value's first character, and values beyond their range are
// capped or change nothing. Numbers beyond the 64-bit range stay at its ends
// rather than wrap, so the caps still hold.
TEST_F(SettingsFileTest, HandEditedValuesAreMatchedWholeAndHeldWithinTheirRanges) {
  const struct {
    const wchar_t* line;
    int64_t (*field)();
    int64_t value;
  } cases[] = {
      {L"ontop=17", [] { return int64_t{gSettings.onTop}; }, 1},
      {L" FULLROW=1", [] { return int64_t{gSettings.fullRow}; }, 0},  // a leading blank hides the key
      {L"PRIORITY=7", [] { return int64_t{gSettings.priority}; }, kCmdPriorityNormal},  // beyond the group
      {L"ShowStatusbar=2", [] { return int64_t{gSettings.showStatusBar}; }, 0},  // only exactly 1 shows it
      {L"MaxFileSizeToElaborate=1500000000", [] { return gSettings.maxFileSizeKiB; }, kMaxSizeLimitKiB},
      {L"MaxFileSizeToElaborate=-99999999999999999999999", [] { return gSettings.maxFileSizeKiB; }, INT64_MIN},
      {L"MAINSIZE=5000;4000", [] { return int64_t{gSettings.mainWidth}; }, 1820},
      {L"MAINSIZE=5000;4000", [] { return int64_t{gSettings.mainHeight}; }, 880},
      {L"MAINSIZE=4294967297;1", [] { return int64_t{gSettings.mainWidth}; }, 1820},  // 1 in the low 32 bits
      {L"SCANWIDTH=10", [] { return int64_t{gSettings.diskCheckWidth}; }, 670},
      {L"FDWIDTH=  +12abc", [] { return int64_t{gSettings.fragmentDetailsWidth}; }, 12},
      {L"FDWIDTH=-4294967000", [] { return int64_t{gSettings.fragmentDetailsWidth}; }, INT_MIN},
      {L"SplitterPos=-9223372036854775808", [] { return int64_t{gSettings.splitterPosition}; }, INT_MIN},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(c.line)));
    gSettings = Settings();
    Load({L"RX1.00", c.line});
    EXPECT_EQ(c.field(), c.value);
  }
}

// The list view trusts an order to name each of its columns once: anything
// else gives the default order. A hidden column has no width whichever line
// comes first (found by fuzzing: a hand-ordered file left one with a width,
// which the next start took away), and any number but 0 shows a column.
TEST_F(SettingsFileTest, ColumnOrdersAreWholeAndHiddenColumnsHaveNoWidth) {
  Load({
      L"RX1.00",
      L"COLUMNORDER=3;2;1;",             // too few
      L"FCOLUMNORDER=0;1;2;3;4;5;6;6;",  // a column twice
      L"ECOLUMNORDER=0;-5;",             // a column that does not exist
      L"FVCL=0;0;",                      // not taken for "VCL="
      L"VCL=1;0;1;",
      L"CL=50;60;70;",
  });
  EXPECT_EQ(host.order[0], (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(host.order[1], (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(host.order[2], (std::vector<int>{0, 1}));
  EXPECT_EQ(gSettings.resultColumnVisible, (std::vector<uint8_t>{0, 0, 1, 1, 1, 1, 1, 1}));
  const std::wstring widths = Written(L"CL");
  EXPECT_EQ(widths, L"CL=50;0;70;103;104;105;106;107;108;109;");
  Load({L"RX1.00", L"CL=50;60;70;", L"VCL=1;0;1;"});
  EXPECT_EQ(Written(L"CL"), widths);
  Load({L"RX1.00", L"CL=50;60;70;", L"VCL=1;256;-1;"});
  EXPECT_EQ(host.widths[0][1], 60);
  EXPECT_EQ(Written(L"VCL"), L"VCL=1;1;1;1;1;1;1;1;1;1;");
}

TEST_F(SettingsFileTest, ProfilesSectionWithoutClosingLineEndsAtTheEnd) {
  host.existing = {L"C:\\kept.prf"};
  Load({L"RX1.00", L"RemoveMissingMRUProfiles=1", L"[Profiles]", L"C:\\kept.prf", L"C:\\missing.prf",
        L"ONTOP=1"});
  EXPECT_EQ(gSettings.recentProfiles, (std::vector<std::wstring>{L"C:\\kept.prf"}));
  EXPECT_FALSE(gSettings.onTop);  // a path line, not a key, inside the section

  gSettings.recentProfiles.clear();
  Load({L"RX1.00", L"RemoveMissingMRUProfiles=0", L"[Profiles]", L"C:\\missing.prf",
        L"  [\\Profiles]  ", L"ONTOP=1"});
  EXPECT_EQ(gSettings.recentProfiles, (std::vector<std::wstring>{L"C:\\missing.prf"}));
  EXPECT_TRUE(gSettings.onTop);
}

// Sizes a file does not give, and the least a dialog may be, follow the
// screen's scale.
TEST_F(SettingsFileTest, ScaledDefaults) {
  SetScaledSizeDefaults(1.25, 1.5);
  Load({L"RX1.00", L"SCANWIDTH=700"});
  EXPECT_EQ(Written(L"FDWIDTH"), L"FDWIDTH=500");
  EXPECT_EQ(Written(L"FDHEIGHT"), L"FDHEIGHT=585");
  EXPECT_EQ(Written(L"SCANWIDTH"), L"SCANWIDTH=837");
  EXPECT_EQ(Written(L"MAINSIZE"), L"MAINSIZE=750;540");
}

}  // namespace
