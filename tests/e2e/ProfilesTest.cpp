// Profiles and filters in the real program: "/PROF:" with a file that is not
// there (exit code 1, with and without the window), a profile whose items
// fill the list and whose missing items are listed, and the filter and
// recent-profiles dialogs opened from their commands.
#include "ProgramCase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace e2e;

using TestDriver::RunningProgram;

std::wstring WorkFolder(const std::wstring& caseName) {
    return TestDriver::HostPathToWindows(ORDALIS_E2E_WORK_DIR) + L"\\profiles-" + caseName;
}

// Every start asks for the built-in Italian, whose texts the checks compare.
std::wstring PrepareProgram(const std::wstring& caseName) {
    TestDriver::ProgramUnderTest program(WorkFolder(caseName) + L"\\program",
                                         TestDriver::HostPathToWindows(ORDALIS_PROGRAM),
                                         TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL));
    EXPECT_TRUE(program.Ready()) << std::filesystem::path(program.Error()).string();
    return program.ExePath();
}


std::vector<std::wstring> Column(HWND list, int column) {
    std::vector<std::wstring> texts;
    for (int row = 0; row < TestDriver::ListViewRowCount(list); ++row) {
        texts.push_back(TestDriver::ListViewCellText(list, row, column));
    }
    return texts;
}

bool Contains(const std::vector<std::wstring>& texts, const std::wstring& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

DWORD CloseThroughExitCommand(RunningProgram& program, HWND mainWindow) {
    TestDriver::SendCommand(mainWindow, kCmdExit);
    return program.WaitForExit(kWaitMs) ? program.ExitCode() : STILL_ACTIVE;
}

TEST(ProfileOption, MissingFileUnattendedEndsWithOne) {
    std::wstring exe = PrepareProgram(L"missing-nogui");
    TestDriver::RunResult result =
        TestDriver::RunProgram(exe, L"/LANG:IT /NOGUI /PROF:Z:\\no\\such\\profile.olp", kWaitMs);
    ASSERT_TRUE(result.started);
    ASSERT_TRUE(result.finished) << "still running after " << kWaitMs << " ms";
    EXPECT_EQ(result.exitCode, 1u);
    EXPECT_NE(result.output.find("The profile specified on the command line does not exist.\r\n"),
              std::string::npos)
        << result.output;
}

// The splitting of the command line undoes its backslash doubling once; a
// long path's leading pair must survive it.
TEST(ProfileOption, ALongPathProfileIsFoundUnattended) {
    std::wstring exe = PrepareProgram(L"long-prefix");
    std::filesystem::path data = WorkFolder(L"long-prefix") + L"\\data";
    std::filesystem::create_directories(data);
    std::ofstream(data / L"uno.txt") << "uno";
    std::filesystem::path profile = data / L"lungo.olp";
    std::ofstream(profile, std::ios::binary) << Utf16FileLines({L"kv70rx", (data / L"uno.txt").wstring()});
    TestDriver::RunResult result =
        TestDriver::RunProgram(exe, L"/LANG:IT /NOGUI /PROF:\\\\?\\" + profile.wstring(), kWaitMs);
    ASSERT_TRUE(result.started);
    ASSERT_TRUE(result.finished) << "still running after " << kWaitMs << " ms";
    EXPECT_EQ(result.output.find("does not exist"), std::string::npos) << result.output;
    EXPECT_EQ(result.exitCode, 0u);
}

TEST(ProfileOption, MissingFileWithTheWindowSaysSoAndTheExitCodeIsOne) {
    std::wstring exe = PrepareProgram(L"missing-window");
    std::unique_ptr<RunningProgram> program =
        TestDriver::StartProgram(exe, L"/LANG:IT /PROF:Z:\\no\\such\\profile.olp");
    ASSERT_NE(program, nullptr);
    HWND mainWindow = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program->ProcessId(), kWaitMs);
    ASSERT_NE(mainWindow, nullptr);
    HWND box = TestDriver::WaitForDialogOf(program->ProcessId(), mainWindow, kWaitMs);
    ASSERT_NE(box, nullptr) << "no message";
    EXPECT_TRUE(Contains(TestDriver::ChildTexts(box),
                         L"Il profilo specificato sulla riga di comando non esiste."));
    TestDriver::PressButton(box, IDOK);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(CloseThroughExitCommand(*program, mainWindow), 1u);
}

TEST(ProfileOption, ProfileFillsTheListAndListsWhatIsMissing) {
    std::wstring exe = PrepareProgram(L"load");
    std::filesystem::path data = WorkFolder(L"load") + L"\\data";
    std::filesystem::create_directories(data / L"cartella");
    std::ofstream(data / L"uno.txt") << "uno";
    std::filesystem::path profile = data / L"lavoro.olp";
    std::ofstream(profile, std::ios::binary) << Utf16FileLines({L"kv70rx", (data / L"uno.txt").wstring(), L">" + (data / L"cartella").wstring(),
                               L">" + (data / L"sparita").wstring(), (data / L"perso.txt").wstring()});

    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"/LANG:IT /PROF:" + profile.wstring());
    ASSERT_NE(program, nullptr);
    HWND mainWindow = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program->ProcessId(), kWaitMs);
    ASSERT_NE(mainWindow, nullptr);
    HWND missing = TestDriver::WaitForWindow(kDialogClass, L"Elementi non trovati", program->ProcessId(), kWaitMs);
    ASSERT_NE(missing, nullptr) << "the missing items were not listed";
    TestDriver::SaveScreenshot(L"e2e_profile_missing_items");
    HWND missingList = TestDriver::FindListViewByHeader(missing, L"Tipo");
    ASSERT_NE(missingList, nullptr);
    EXPECT_EQ(Column(missingList, 0), (std::vector<std::wstring>{L"Cartella", L"File"}));
    EXPECT_EQ(Column(missingList, 1),
              (std::vector<std::wstring>{(data / L"sparita").wstring(), (data / L"perso.txt").wstring()}));
    TestDriver::PressButton(missing, IDOK);
    TestDriver::PumpMessages(300);

    HWND list = TestDriver::FindListViewByHeader(mainWindow, L"Nome");
    ASSERT_NE(list, nullptr);
    std::vector<std::wstring> names = Column(list, 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::wstring>{(data / L"cartella").wstring(), (data / L"uno.txt").wstring()}));
    EXPECT_EQ(CloseThroughExitCommand(*program, mainWindow), 0u);
}

TEST(FilterDialog, OpensFromItsCommandAndCancelLeavesNoFiles) {
    std::wstring exe = PrepareProgram(L"filter-dialog");
    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"/LANG:IT");
    ASSERT_NE(program, nullptr);
    HWND mainWindow = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program->ProcessId(), kWaitMs);
    ASSERT_NE(mainWindow, nullptr);

    TestDriver::SendCommand(mainWindow, kCmdFilterDialog);
    HWND filter = TestDriver::WaitForWindow(kDialogClass, L"Filtro", program->ProcessId(), kWaitMs);
    ASSERT_NE(filter, nullptr);
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"e2e_filter_dialog");
    std::vector<std::wstring> texts = TestDriver::ChildTexts(filter);
    EXPECT_TRUE(Contains(texts, L"&Non elaborare file di dimensioni maggiori di (in KB):"));
    TestDriver::PressButton(filter, IDCANCEL);
    TestDriver::PumpMessages(300);

    TestDriver::SendCommand(mainWindow, kCmdRecentProfilesDialog);
    HWND recent = TestDriver::WaitForWindow(kDialogClass, L"Elenco profili recenti", program->ProcessId(), kWaitMs);
    ASSERT_NE(recent, nullptr);
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"e2e_recent_profiles_dialog");
    TestDriver::PressButton(recent, IDCANCEL);
    TestDriver::PumpMessages(300);

    EXPECT_EQ(CloseThroughExitCommand(*program, mainWindow), 0u);
    std::filesystem::path folder = WorkFolder(L"filter-dialog") + L"\\program";
    EXPECT_FALSE(std::filesystem::exists(folder / L"Exclude.ini"));
    EXPECT_FALSE(std::filesystem::exists(folder / L"Include.ini"));
}



std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void SetControlText(HWND dialog, int id, const wchar_t* text) {
    SendMessageW(GetDlgItem(dialog, id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    TestDriver::PumpMessages(100);
}

// Control numbers of the filter dialog and its helpers.
constexpr int kMaskBox = 4008, kAddIncluded = 4009, kAddMasks = 4005, kSizeCheck = 4010, kSizeBox = 4011;
constexpr int kMaskInput = 4021, kChoiceSecond = 4033, kChoiceThird = 4034;

TEST(FilterDialog, MasksAndSizeLimitAreCorrectedCheckedAndSavedOnOk) {
    std::wstring exe = PrepareProgram(L"filter-edit");
    std::filesystem::path folder = WorkFolder(L"filter-edit") + L"\\program";
    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"/LANG:IT");
    ASSERT_NE(program, nullptr);
    HWND mainWindow = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program->ProcessId(), kWaitMs);
    ASSERT_NE(mainWindow, nullptr);
    TestDriver::SendCommand(mainWindow, kCmdFilterDialog);
    HWND filter = TestDriver::WaitForWindow(kDialogClass, L"Filtro", program->ProcessId(), kWaitMs);
    ASSERT_NE(filter, nullptr);

    // Inclusion masks: split at ";", blanks trimmed, empty pieces dropped; a
    // backslash typed into the box is refused.
    HWND maskBox = GetDlgItem(filter, kMaskBox);
    SetControlText(filter, kMaskBox, L" *.dll ; *.exe;;");
    PostMessageW(maskBox, WM_CHAR, L'\\', 1);
    TestDriver::PumpMessages(200);
    EXPECT_EQ(TestDriver::WindowText(maskBox), L" *.dll ; *.exe;;");
    PostMessageW(maskBox, WM_LBUTTONDOWN, 0, 0);  // a click takes the balloon away
    PostMessageW(maskBox, WM_LBUTTONUP, 0, 0);
    TestDriver::PressButton(filter, kAddIncluded);
    TestDriver::PumpMessages(200);
    EXPECT_EQ(TestDriver::WindowText(maskBox), L"");

    // A mask longer than the filter file can read back is refused, with the
    // reason, and stays in the box to be shortened; the mask beside it is
    // added.
    const std::wstring refusedText = L"*.ok;*" + std::wstring(2044, L'a');
    SetControlText(filter, kMaskBox, refusedText.c_str());
    TestDriver::PressButton(filter, kAddIncluded);
    TestDriver::WindowQuery box;
    box.className = kDialogClass;
    box.title = kMainTitle;
    box.processId = program->ProcessId();
    box.except = mainWindow;
    HWND refusal = TestDriver::WaitForWindow(box, kWaitMs);
    ASSERT_NE(refusal, nullptr) << "the long mask was not refused";
    EXPECT_EQ(TestDriver::MessageBoxMessage(refusal),
              L"Una maschera può contenere al massimo 2.044 caratteri: le maschere più lunghe non sono state "
              L"aggiunte.");
    TestDriver::PressButton(refusal, IDOK);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::WindowText(maskBox), refusedText);
    SetControlText(filter, kMaskBox, L"");

    // The size box keeps 1 to 999999999.
    PostMessageW(GetDlgItem(filter, kSizeCheck), BM_CLICK, 0, 0);
    TestDriver::PumpMessages(200);
    HWND sizeBox = GetDlgItem(filter, kSizeBox);
    SetControlText(filter, kSizeBox, L"0");
    EXPECT_EQ(TestDriver::WindowText(sizeBox), L"1");
    SetControlText(filter, kSizeBox, L"12345678901");
    EXPECT_EQ(TestDriver::WindowText(sizeBox), L"999999999");
    SetControlText(filter, kSizeBox, L"2048");
    EXPECT_EQ(TestDriver::WindowText(sizeBox), L"2048");

    // An exclusion mask through the small input dialog, the same as an
    // inclusion mask.
    TestDriver::PressButton(filter, kAddMasks);
    HWND input = TestDriver::WaitForWindow(kDialogClass, L"Aggiungi maschera", program->ProcessId(), kWaitMs);
    ASSERT_NE(input, nullptr);
    HWND inputBox = GetDlgItem(input, kMaskInput);
    PostMessageW(inputBox, WM_CHAR, L':', 1);
    TestDriver::PumpMessages(500);
    TestDriver::SaveScreenshot(L"e2e_mask_refused");
    EXPECT_EQ(TestDriver::WindowText(inputBox), L"");
    SetControlText(input, kMaskInput, L"*.tmp;*.DLL");
    TestDriver::PressButton(input, IDOK);
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"e2e_filter_dialog_edited");

    // OK warns about the duplicate mask; "edit" keeps the dialog open.
    TestDriver::PressButton(filter, IDOK);
    HWND warning = TestDriver::WaitForWindow(kDialogClass, L"Maschere duplicate", program->ProcessId(), kWaitMs);
    ASSERT_NE(warning, nullptr);
    TestDriver::SaveScreenshot(L"e2e_duplicate_masks");
    TestDriver::PressButton(warning, kChoiceThird);
    TestDriver::PumpMessages(300);
    EXPECT_TRUE(IsWindow(filter));
    EXPECT_FALSE(std::filesystem::exists(folder / L"Include.ini"));

    TestDriver::PressButton(filter, IDOK);
    warning = TestDriver::WaitForWindow(kDialogClass, L"Maschere duplicate", program->ProcessId(), kWaitMs);
    ASSERT_NE(warning, nullptr);
    TestDriver::PressButton(warning, kChoiceSecond);
    for (DWORD start = GetTickCount(); IsWindow(filter) && GetTickCount() - start < kWaitMs;) {
        TestDriver::PumpMessages(50);
    }
    TestDriver::SaveScreenshot(L"e2e_filter_after_ok");
    EXPECT_FALSE(IsWindow(filter));
    EXPECT_EQ(ReadBytes(folder / L"Include.ini"), Utf16FileLines({L"W*.dll", L"W*.exe", L"W*.ok"}));
    EXPECT_EQ(ReadBytes(folder / L"Exclude.ini"), Utf16FileLines({L"W*.DLL", L"W*.tmp"}));
    EXPECT_EQ(CloseThroughExitCommand(*program, mainWindow), 0u);
}

}  // namespace
