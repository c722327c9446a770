// The settings file read from and written to byte buffers, with a host that
// only remembers columns.
#include <gtest/gtest.h>

#include <limits>

#include "RememberingSettingsHost.h"
#include "options/Settings.h"
#include "options/SettingsFile.h"
#include "options/CommandIds.h"
#include "util/UnicodeTextFile.h"

namespace {

// A file image as text that shows every byte: the byte-order mark and any
// unit beyond ASCII are written out, line breaks kept, so a failure shows the
// lines that differ.
std::string Readable(const std::vector<uint8_t>& bytes) {
  std::string text;
  for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
    unsigned unit = bytes[at] | (bytes[at + 1] << 8);
    if (unit < 0x80 && unit != 0) {
      text += static_cast<char>(unit);
    } else {
      text += "<" + std::to_string(unit) + ">";
    }
  }
  if (bytes.size() % 2) text += "<odd byte>";
  return text;
}

class SettingsFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gSettings = Settings();
    ResetSettingsFileState();
  }

  void Load(const std::vector<std::wstring>& lines) { LoadBytes(EncodeUnicodeText(lines)); }
  void LoadBytes(const std::vector<uint8_t>& bytes) {
    UnicodeTextReader reader;
    reader.OpenBuffer(bytes.data(), bytes.size(), false, kLineLimitSettings);
    ReadSettingsFile(reader, host);
  }
  std::string SaveBytes() { return Readable(EncodeUnicodeText(SettingsFileLines(host))); }

  RememberingSettingsHost host;
};

// What a fresh installation writes: defaults everywhere.
const std::vector<std::wstring> kDefaultFile = {
    L"RX1.00", L"ONTOP=0", L"FULLROW=0", L"SHOWMESSAGES=1", L"CLOSEPROGRAM=0", L"SHUTDOWN=0",
    L"SKIPSSD=1", L"SMARTDEFRAG=1", L"PRIORITY=2", L"LANGUAGE=EN",
    L"COLUMNORDER=0;1;2;3;4;5;6;7;8;9;", L"CL=100;101;102;103;104;105;106;107;108;109;",
    L"VCL=1;1;1;1;1;1;1;1;1;1;", L"FCOLUMNORDER=0;1;2;3;4;5;6;7;",
    L"FCL=100;101;102;103;104;105;106;107;", L"FVCL=1;1;1;1;1;1;1;1;", L"ECOLUMNORDER=0;1;",
    L"ECL=100;101;", L"EVCL=1;1;", L"FDWIDTH=400",
    L"FDHEIGHT=390", L"FLTRWIDTH=480", L"FLTRHEIGHT=420", L"SCANWIDTH=670", L"SCANHEIGHT=470",
    L"MAINSIZE=600;360", L"PROFILEPATH=", L"FILEPATH=", L"CLNUP=2", L"CLNUP_SHOWERRORMSG=1",
    L"CLNUP_EXTPRGPATH=", L"CLNUP_EXTPRGSWITCHES=", L"SCANDISK=2", L"ExcludeItemsBySize=0",
    L"MaxFileSizeToElaborate=0", L"ItemTextColor0=0", L"ItemTextColorEnabled0=0",
    L"ItemTextColor1=0", L"ItemTextColorEnabled1=0", L"ItemTextColor2=0",
    L"ItemTextColorEnabled2=0", L"ItemTextColor3=0", L"ItemTextColorEnabled3=0",
    L"ItemTextColor4=0", L"ItemTextColorEnabled4=0", L"ItemTextColorFullRow=0",
    L"SplitterPos=-1", L"MAXIMIZED=0", L"SkipSSDWarning=1", L"SkipSSDChecking=0",
    L"ShowInfoPanel=1", L"ShowStatusbar=1", L"ShowToolbar=1", L"RemoveMissingMRUProfiles=1",
    L"MaxMRUProfiles=5", L"ShowStateIcons=1", L"ShowSystemIcons=1", L"[Profiles]", L"[\\Profiles]",
};

// A file in which every value differs from its default.
const std::vector<std::wstring> kChangedFile = {
    L"RX1.00", L"ONTOP=1", L"FULLROW=1", L"SHOWMESSAGES=0", L"CLOSEPROGRAM=1", L"SHUTDOWN=1",
    L"SKIPSSD=0", L"SMARTDEFRAG=0", L"PRIORITY=4", L"LANGUAGE=DE",
    L"COLUMNORDER=9;8;7;6;5;4;3;2;1;0;", L"CL=10;11;12;13;14;15;0;17;18;19;",
    L"VCL=1;1;1;1;1;1;0;1;1;1;", L"FCOLUMNORDER=1;0;2;3;4;5;7;6;",
    L"FCL=0;21;22;23;24;25;26;27;", L"FVCL=0;1;1;1;1;1;1;1;", L"ECOLUMNORDER=1;0;",
    L"ECL=300;0;", L"EVCL=1;0;", L"FDWIDTH=401",
    L"FDHEIGHT=391", L"FLTRWIDTH=481", L"FLTRHEIGHT=421", L"SCANWIDTH=700", L"SCANHEIGHT=500",
    L"MAINSIZE=1024;768", L"PROFILEPATH=C:\\Profili", L"FILEPATH=D:\\Dati=nuovi",
    L"CLNUP=1", L"CLNUP_SHOWERRORMSG=0", L"CLNUP_EXTPRGPATH=C:\\Tools\\clean.exe",
    L"CLNUP_EXTPRGSWITCHES=/auto /quiet", L"SCANDISK=0", L"ExcludeItemsBySize=1",
    L"MaxFileSizeToElaborate=2048", L"ItemTextColor0=255", L"ItemTextColorEnabled0=1",
    L"ItemTextColor1=65280", L"ItemTextColorEnabled1=0", L"ItemTextColor2=16711680",
    L"ItemTextColorEnabled2=1", L"ItemTextColor3=8421504", L"ItemTextColorEnabled3=1",
    L"ItemTextColor4=16777215", L"ItemTextColorEnabled4=1", L"ItemTextColorFullRow=1",
    L"SplitterPos=333", L"MAXIMIZED=1", L"SkipSSDWarning=0", L"SkipSSDChecking=1",
    L"ShowInfoPanel=0", L"ShowStatusbar=0", L"ShowToolbar=0", L"RemoveMissingMRUProfiles=0",
    L"MaxMRUProfiles=9", L"ShowStateIcons=0", L"ShowSystemIcons=0", L"[Profiles]",
    L"C:\\a.prf", L"D:\\gone.prf", L"[\\Profiles]",
};

TEST_F(SettingsFileTest, DefaultsAndChangedValuesRoundTripByteForByte) {
  gSettings.language = L"EN";
  EXPECT_EQ(SaveBytes(), Readable(EncodeUnicodeText(kDefaultFile)));

  Load(kChangedFile);
  EXPECT_EQ(SaveBytes(), Readable(EncodeUnicodeText(kChangedFile)));

  // And back: the defaults file undoes every change (a start reads the file
  // once, into an empty recent-profiles list).
  gSettings.recentProfiles.clear();
  Load(kDefaultFile);
  EXPECT_EQ(SaveBytes(), Readable(EncodeUnicodeText(kDefaultFile)));
}

TEST_F(SettingsFileTest, ValuesReachTheirHomes) {
  Load(kChangedFile);
  EXPECT_TRUE(gSettings.onTop && gSettings.fullRow);
  EXPECT_FALSE(gSettings.smartStrategy || gSettings.showStateIcons || gSettings.confirmPrompts);
  EXPECT_TRUE(gSettings.followUps.closeAfterDefrag && gSettings.followUps.shutdownAfterDefrag);
  EXPECT_EQ(gSettings.priority, kCmdPriorityIdle);
  // The disk check and the cleanup store the chosen item's place: 0
  // automatic, 1 off.
  EXPECT_EQ(gSettings.cleanup, kCmdCleanupOff);
  EXPECT_EQ(gSettings.diskCheck, kCmdDiskCheckAuto);
  EXPECT_EQ(gSettings.solidStateFlags, kSolidStateNoDetection | kSolidStateWarn);
  EXPECT_EQ(host.order[0], (std::vector<int>{9, 8, 7, 6, 5, 4, 3, 2, 1, 0}));
  EXPECT_EQ(gSettings.itemColumnVisible, (std::vector<uint8_t>{1, 1, 1, 1, 1, 1, 0, 1, 1, 1}));
  EXPECT_EQ(host.widths[1][0], 0);
  // The error list's keys are its own, never taken for the item list's.
  EXPECT_EQ(host.order[2], (std::vector<int>{1, 0}));
  EXPECT_EQ(host.widths[2], (std::vector<int>{300, 0}));
  EXPECT_EQ(gSettings.errorColumnVisible, (std::vector<uint8_t>{1, 0}));
  EXPECT_EQ(host.widths[0][0], 10);
  EXPECT_EQ(gSettings.itemTextColour[2], 16711680u);
  EXPECT_EQ(gSettings.itemTextColourEnabled[1], false);
  EXPECT_EQ(gSettings.fileFolder, L"D:\\Dati=nuovi");
  EXPECT_EQ(gSettings.language, L"DE");
  EXPECT_EQ(gSettings.recentProfiles, (std::vector<std::wstring>{L"C:\\a.prf", L"D:\\gone.prf"}));
}

TEST_F(SettingsFileTest, ReadingQuirks) {
  Load({
      L"rx1.00",
      L"ontop=17",               // one character counts: 1
      L" FULLROW=1",             // a leading blank hides the key
      L"SHOWMESSAGES=x",         // not a digit: true
      L"SKIPSSD=0",
      L"SkipSSDChecking=0",
      L"FVCL=0;0;",              // not taken for "VCL="
      L"PRIORITY=7",             // beyond the group: no change
      L"SMARTDEFRAG=",           // nothing behind "=": no change
      L"CLNUP=2junk",
      L"ShowStatusbar=2",        // only exactly 1 keeps the status bar
      L"MaxFileSizeToElaborate=1500000000",
      L"MAINSIZE=5000;4000",
      L"SCANWIDTH=10",
      L"SCANHEIGHT=  -5",
      L"FDWIDTH=  +12abc",
      L"SplitterPos=abc",
      L"COLUMNORDER=3;2;1;",     // too few: the default order
      L"FCOLUMNORDER=0;1;2;3;4;5;6;6;",  // a column twice: the default order
      L"ECOLUMNORDER=0;-5;",     // a column that does not exist: the default order
      L"CL=50;60",
      L"",                       // empty lines are read and ignored
      L"UNKNOWN=1",
      L"ItemTextColor0=1",
      L"x=2", L"y=3", L"z=4", L"ItemTextColorEnabled2=5", L"6", L"=7", L"ItemTextColor4=8", L"9=1",
      L"[Profiles]",
      L"C:\\kept.prf",
      L"C:\\missing.prf",
  });
  EXPECT_TRUE(gSettings.onTop);
  EXPECT_FALSE(gSettings.fullRow);
  EXPECT_TRUE(gSettings.confirmPrompts);
  EXPECT_EQ(gSettings.solidStateFlags, 0u);
  EXPECT_TRUE(gSettings.itemColumnVisible.empty());
  EXPECT_EQ(gSettings.resultColumnVisible, (std::vector<uint8_t>{0, 0, 1, 1, 1, 1, 1, 1}));
  EXPECT_EQ(gSettings.priority, kCmdPriorityNormal);
  EXPECT_TRUE(gSettings.smartStrategy);
  EXPECT_EQ(gSettings.cleanup, kCmdCleanupAsk);
  EXPECT_FALSE(gSettings.showStatusBar);
  EXPECT_EQ(gSettings.maxFileSizeKiB, 999999999);
  EXPECT_EQ(gSettings.mainWidth, 1820);
  EXPECT_EQ(gSettings.mainHeight, 880);
  EXPECT_EQ(gSettings.diskCheckWidth, 670);
  EXPECT_EQ(gSettings.diskCheckHeight, 470);
  EXPECT_EQ(gSettings.fragmentDetailsWidth, 12);
  EXPECT_EQ(gSettings.splitterPosition, 0);
  EXPECT_EQ(host.order[0], (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(host.order[1], (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(host.order[2], (std::vector<int>{0, 1}));
  EXPECT_EQ(host.widths[0][0], 50);
  EXPECT_EQ(host.widths[0][1], 60);
  EXPECT_EQ(host.widths[0][2], 102);
  // The nine lines after the first colour are taken in turn, whatever their keys.
  EXPECT_EQ(gSettings.itemTextColour[0], 1u);
  EXPECT_EQ(gSettings.itemTextColour[1], 3u);
  EXPECT_EQ(gSettings.itemTextColour[2], 5u);
  EXPECT_EQ(gSettings.itemTextColour[3], 7u);
  EXPECT_EQ(gSettings.itemTextColour[4], 1u);
  EXPECT_TRUE(gSettings.itemTextColourEnabled[0]);
  EXPECT_TRUE(gSettings.itemTextColourEnabled[1]);  // from "z=4"
  EXPECT_TRUE(gSettings.itemTextColourEnabled[2]);  // "6" has no "=": not a digit, true
  EXPECT_TRUE(gSettings.itemTextColourEnabled[3]);
  // The section ran to the end of the file; missing profiles were dropped.
  EXPECT_TRUE(gSettings.recentProfiles.empty());
}

// Numbers beyond the 64-bit range stay at its ends, so the caps still hold.
TEST_F(SettingsFileTest, NumbersTooLargeForTheirFieldsStayTooLarge) {
  Load({
      L"RX1.00",
      L"MAINSIZE=4294967297;1",  // would be 1 in the low 32 bits
      L"FDWIDTH=-4294967000",
      L"MaxFileSizeToElaborate=18446744073709551617",
  });
  EXPECT_EQ(gSettings.maxFileSizeKiB, 999999999);
  EXPECT_EQ(gSettings.mainWidth, 1820);
  EXPECT_EQ(gSettings.mainHeight, 880);
  EXPECT_EQ(gSettings.fragmentDetailsWidth, std::numeric_limits<int>::min());
  Load({L"RX1.00", L"MaxFileSizeToElaborate=-99999999999999999999999", L"SplitterPos=-9223372036854775808"});
  EXPECT_EQ(gSettings.maxFileSizeKiB, std::numeric_limits<int64_t>::min());
  EXPECT_EQ(gSettings.splitterPosition, std::numeric_limits<int>::min());
}

// Found by fuzzing: a hand-ordered file whose visibility line comes first
// left a hidden column with a width, which the next start then took away.
TEST_F(SettingsFileTest, AHiddenColumnHasNoWidthWhicheverLineComesFirst) {
  Load({L"RX1.00", L"VCL=1;0;1;", L"CL=50;60;70;"});
  EXPECT_EQ(host.widths[0][0], 50);
  EXPECT_EQ(host.widths[0][1], 0);
  EXPECT_EQ(host.widths[0][2], 70);
  std::string written = SaveBytes();
  Load({L"RX1.00", L"CL=50;60;70;", L"VCL=1;0;1;"});
  EXPECT_EQ(SaveBytes(), written);

  // Any number but 0 shows a column, 256 included.
  Load({L"RX1.00", L"CL=50;60;70;", L"VCL=1;256;-1;"});
  EXPECT_EQ(host.widths[0][1], 60);
  EXPECT_NE(SaveBytes().find("VCL=1;1;1;1;"), std::string::npos);
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

TEST_F(SettingsFileTest, AnotherVersionIsNeverPartlyRead) {
  gSettings.language = L"EN";
  std::vector<std::wstring> lines = kChangedFile;
  lines[0] = L"RX1.01";
  Load(lines);
  EXPECT_EQ(SaveBytes(), Readable(EncodeUnicodeText(kDefaultFile)));
  LoadBytes({});
  EXPECT_EQ(SaveBytes(), Readable(EncodeUnicodeText(kDefaultFile)));
}

TEST_F(SettingsFileTest, CommandLineLanguageIsNotKept) {
  Load(kDefaultFile);
  gSettings.language = L"FR";
  gSettings.languageFromCommandLine = true;
  EXPECT_EQ(SaveBytes(), Readable(EncodeUnicodeText(kDefaultFile)));
  gSettings.languageFromCommandLine = false;
  std::vector<std::wstring> lines = SettingsFileLines(host);
  EXPECT_EQ(lines[9], L"LANGUAGE=FR");
}

TEST_F(SettingsFileTest, PriorityIsKeptOnlyWhenTheSystemTookIt) {
  host.priorityFails = true;
  Load({L"RX1.00", L"PRIORITY=0"});
  EXPECT_EQ(gSettings.priority, kCmdPriorityNormal);
  host.priorityFails = false;
  Load({L"RX1.00", L"PRIORITY=0"});
  EXPECT_EQ(gSettings.priority, kCmdPriorityHigh);
}

TEST_F(SettingsFileTest, ColumnsOfAMissingListAreKeptAsWritten) {
  host.hasResultList = false;
  std::vector<std::wstring> lines = kChangedFile;
  lines[13] = L"FCOLUMNORDER=7;x;";
  Load(lines);
  EXPECT_EQ(SaveBytes(), Readable(EncodeUnicodeText(lines)));
}

TEST_F(SettingsFileTest, ScaledDefaults) {
  SetScaledSizeDefaults(1.25, 1.5);
  Load({L"RX1.00", L"SCANWIDTH=700", L"SCANHEIGHT=700"});
  std::vector<std::wstring> lines = SettingsFileLines(host);
  std::vector<std::wstring> sizes(lines.begin() + 19, lines.begin() + 26);
  EXPECT_EQ(sizes, (std::vector<std::wstring>{L"FDWIDTH=500", L"FDHEIGHT=585", L"FLTRWIDTH=600",
                                              L"FLTRHEIGHT=630", L"SCANWIDTH=837", L"SCANHEIGHT=705",
                                              L"MAINSIZE=750;540"}));
}

}  // namespace
