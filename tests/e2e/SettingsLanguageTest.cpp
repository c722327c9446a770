// The settings file and the language as the real program meets them: a file
// survives a start and an exit unchanged, "/NOINI" never touches it, and a
// language given on the command line shows its texts for that run only.
#include "ProgramCase.h"
#include "util/UnicodeTextFile.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace e2e;
using TestDriver::RunningProgram;

// A file as the program writes it, with a value off its default wherever
// that can be checked from outside (the result list does not exist yet, so
// its columns are carried through as written).
std::vector<std::wstring> SettingsLines(const std::wstring& language) {
  return {
      L"RX1.00", L"ONTOP=0", L"FULLROW=1", L"SHOWMESSAGES=0", L"CLOSEPROGRAM=1", L"SHUTDOWN=0",
      L"SKIPSSD=0", L"SMARTDEFRAG=0", L"PRIORITY=2", L"LANGUAGE=" + language,
      L"COLUMNORDER=1;0;2;3;4;5;6;7;9;8;", L"CL=300;90;110;0;80;70;200;60;130;75;",
      L"VCL=1;1;1;0;1;1;1;1;1;1;", L"FCOLUMNORDER=0;1;2;3;4;5;6;7;",
      L"FCL=400;100;100;120;120;100;140;80;", L"FVCL=1;1;1;1;1;1;1;1;", L"ECOLUMNORDER=1;0;",
      L"ECL=350;0;", L"EVCL=1;0;", L"FDWIDTH=410",
      L"FDHEIGHT=395", L"FLTRWIDTH=490", L"FLTRHEIGHT=430", L"SCANWIDTH=700", L"SCANHEIGHT=480",
      L"MAINSIZE=720;460", L"PROFILEPATH=C:\\Profili", L"FILEPATH=C:\\Dati", L"CLNUP=0",
      L"CLNUP_SHOWERRORMSG=0", L"CLNUP_EXTPRGPATH=C:\\Tools\\clean.exe", L"CLNUP_EXTPRGSWITCHES=/q",
      L"SCANDISK=1", L"ExcludeItemsBySize=1", L"MaxFileSizeToElaborate=4096",
      L"ItemTextColor0=255", L"ItemTextColorEnabled0=1", L"ItemTextColor1=65280",
      L"ItemTextColorEnabled1=0", L"ItemTextColor2=16711680", L"ItemTextColorEnabled2=1",
      L"ItemTextColor3=0", L"ItemTextColorEnabled3=0", L"ItemTextColor4=8421504",
      L"ItemTextColorEnabled4=1", L"ItemTextColorFullRow=1", L"SplitterPos=200", L"MAXIMIZED=0",
      L"SkipSSDWarning=0", L"SkipSSDChecking=1", L"ShowInfoPanel=0", L"ShowStatusbar=1",
      L"ShowToolbar=0", L"RemoveMissingMRUProfiles=0", L"MaxMRUProfiles=7", L"ShowStateIcons=0",
      L"ShowSystemIcons=0", L"[Profiles]", L"C:\\due.prf", L"C:\\uno.prf", L"[\\Profiles]",  // the recent list keeps its paths in alphabetical order
  };
}

std::string ReadBytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteBytes(const fs::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// The program with its language files, in a folder of its own.
class ProgramWithSettings {
 public:
  explicit ProgramWithSettings(const std::wstring& caseName)
      : program_(TestDriver::HostPathToWindows(ORDALIS_E2E_WORK_DIR) + L"\\" + caseName + L"\\program",
                 TestDriver::HostPathToWindows(ORDALIS_PROGRAM),
                 TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL)) {
    ready_ = program_.Ready() && fs::exists(fs::path(program_.Folder()) / L"lang" / L"Ordalis_EN.lng");
  }
  bool Ready() const { return ready_; }
  fs::path SettingsFile() const { return fs::path(program_.Folder()) / L"ordalis.ini"; }
  const std::wstring& Exe() const { return program_.ExePath(); }

 private:
  TestDriver::ProgramUnderTest program_;
  bool ready_ = false;
};

HWND WaitForMainWindow(const RunningProgram& program) {
  return TestDriver::WaitForWindow(kDialogClass, kMainTitle, program.ProcessId(), kWaitMs);
}

// Starts the program, lets `whileShown` look at the main window, and closes
// it through the exit command. Returns the exit code.
template <typename Check>
DWORD RunAndClose(const ProgramWithSettings& setup, const std::wstring& arguments, Check whileShown) {
  std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(setup.Exe(), arguments);
  EXPECT_NE(program, nullptr);
  if (!program) return STILL_ACTIVE;
  HWND window = WaitForMainWindow(*program);
  EXPECT_NE(window, nullptr) << "main window not shown";
  if (!window) return STILL_ACTIVE;
  whileShown(window);
  TestDriver::SendCommand(window, kCmdExit);
  return program->WaitForExit(kWaitMs) ? program->ExitCode() : STILL_ACTIVE;
}

TEST(SettingsFile, RoundTripsUnchangedThroughStartAndExit) {
  ProgramWithSettings setup(L"settings-round-trip");
  ASSERT_TRUE(setup.Ready());
  std::vector<uint8_t> written = EncodeUnicodeText(SettingsLines(L"IT"));
  WriteBytes(setup.SettingsFile(), written);

  EXPECT_EQ(RunAndClose(setup, L"", [](HWND window) {
              EXPECT_NE(TestDriver::FindListViewByHeader(window, L"Nome"), nullptr);
            }),
            0u);
  EXPECT_EQ(ReadBytes(setup.SettingsFile()), std::string(written.begin(), written.end()));
}

TEST(SettingsFile, NoIniLeavesTheFileAloneAndCreatesNone) {
  ProgramWithSettings setup(L"settings-noini");
  ASSERT_TRUE(setup.Ready());
  std::vector<uint8_t> written = EncodeUnicodeText(SettingsLines(L"IT"));
  WriteBytes(setup.SettingsFile(), written);
  // A changed option would be saved by a normal exit.
  auto changeAnOption = [](HWND window) {
    TestDriver::SendCommand(window, kCmdOnTop);
    TestDriver::PumpMessages(200);
  };
  EXPECT_EQ(RunAndClose(setup, L"/NOINI", changeAnOption), 0u);
  EXPECT_EQ(ReadBytes(setup.SettingsFile()), std::string(written.begin(), written.end()));

  fs::remove(setup.SettingsFile());
  EXPECT_EQ(RunAndClose(setup, L"/noini", changeAnOption), 0u);
  EXPECT_FALSE(fs::exists(setup.SettingsFile()));
}

TEST(Language, CommandLineLanguageShowsItsTextsAndIsNotKept) {
  ProgramWithSettings setup(L"language-command-line");
  ASSERT_TRUE(setup.Ready());
  std::vector<uint8_t> written = EncodeUnicodeText(SettingsLines(L"IT"));
  WriteBytes(setup.SettingsFile(), written);

  EXPECT_EQ(RunAndClose(setup, L"/LANG:EN", [](HWND window) {
              HWND list = TestDriver::FindListViewByHeader(window, L"Name");
              ASSERT_NE(list, nullptr) << "no English column headers";
              std::vector<std::wstring> headers;
              for (int column = 0; column < 10; ++column) {
                headers.push_back(TestDriver::ListViewColumnHeader(list, column));
              }
              EXPECT_EQ(headers, (std::vector<std::wstring>{L"Name", L"Status", L"Size", L"Size on disk",
                                                            L"Fragments", L"Clusters", L"Type", L"% on disk",
                                                            L"Date modified", L"Attributes"}));
              // Texts the window wrote before the language was applied are
              // written again in it.
              std::vector<HWND> bars = TestDriver::ChildWindows(window, STATUSCLASSNAMEW);
              ASSERT_EQ(bars.size(), 2u);
              EXPECT_EQ(TestDriver::StatusBarTexts(bars[0]), (std::vector<std::wstring>{L"Items in list: 0", L""}));
              EXPECT_EQ(TestDriver::StatusBarTexts(bars[1]), (std::vector<std::wstring>{L"Ready"}));
              TestDriver::SaveScreenshot(L"e2e_language_english");
            }),
            0u);
  EXPECT_EQ(ReadBytes(setup.SettingsFile()), std::string(written.begin(), written.end()));

  // The file's language is Italian again at the next start.
  EXPECT_EQ(RunAndClose(setup, L"", [](HWND window) {
              EXPECT_NE(TestDriver::FindListViewByHeader(window, L"Nome"), nullptr);
              TestDriver::SaveScreenshot(L"e2e_language_italian");
            }),
            0u);
}

TEST(Language, MissingLanguageFileFallsBackToItalianAfterAMessage) {
  ProgramWithSettings setup(L"language-missing");
  ASSERT_TRUE(setup.Ready());
  WriteBytes(setup.SettingsFile(), EncodeUnicodeText(SettingsLines(L"XX")));
  std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(setup.Exe(), L"");
  ASSERT_NE(program, nullptr);
  HWND box = TestDriver::WaitForDialogOf(program->ProcessId(), nullptr, kWaitMs);
  ASSERT_NE(box, nullptr);
  std::vector<std::wstring> texts = TestDriver::ChildTexts(box);
  std::wstring expected = L"Cannot load the language file:\n\n " + (fs::path(setup.Exe()).parent_path() /
                          L"lang" / L"Ordalis_XX.lng").wstring() + L".";
  bool found = false;
  for (std::wstring& text : texts) {
    if (text.find(L"Cannot load the language file") != std::wstring::npos) {
      found = true;
      // Static controls of message boxes may show the line breaks as CR LF.
      std::wstring plain;
      for (wchar_t c : text) {
        if (c != L'\r') plain += c;
      }
      EXPECT_EQ(plain, expected);
    }
  }
  EXPECT_TRUE(found) << "no message about the language file";
  TestDriver::PressButton(box, IDOK);
  // The box has the main window's title: wait until it is gone.
  for (DWORD waited = 0; IsWindow(box) && waited < kWaitMs; waited += 50) TestDriver::PumpMessages(50);
  HWND window = WaitForMainWindow(*program);
  ASSERT_NE(window, nullptr);
  EXPECT_NE(TestDriver::FindListViewByHeader(window, L"Nome"), nullptr);
  TestDriver::SendCommand(window, kCmdExit);
  EXPECT_TRUE(program->WaitForExit(kWaitMs));
}

}  // namespace
