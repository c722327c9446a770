// The steps before a defragmentation in the whole program: the solid-state
// warning on a described drive, the disk check through the fmifs double and
// the cleanup of a prepared temporary folder, unattended and in the window.
#include "ProgramCase.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace e2e;

constexpr char kBanner[] = "\r\n\r\nOrdalis v1.00\r\nCopyright (c) 2026 The Ordalis developers\r\n\r\n";
// Controls of the disk-check dialog.
constexpr int kDriveList = 1003;
constexpr int kOutput = 1005;
constexpr int kAutoContinue = 1008;
constexpr int kNeverCheck = 1009;
constexpr int kCheckButton = 1010;
constexpr int kSkipButton = 1011;
// Of the cleanup dialog.
constexpr int kCleanupExternal = 1104;
constexpr int kCleanupPath = 1106;
constexpr int kCleanupNever = 1110;
constexpr int kCleanupSkip = 1112;
// The solid-state warning's buttons.
constexpr int kKeepOff = 100;

const char* kSummaryNothing =
    "Summary:\r\n\r\n"
    "Number of processed files : 0\r\n"
    "Number of fragmented files : 0\r\n"
    "Number of already contiguous files : 0\r\n"
    "Number of defragmented files : 0\r\n"
    "Number of files that were not defragmented due to processing errors : 0\r\n"
    "\r\n";
// A defragmentation counts the files it moved, not those it processed.
const char* kSummaryOneMoved =
    "Summary:\r\n\r\n"
    "Number of processed files : 0\r\n"
    "Number of fragmented files : 0\r\n"
    "Number of already contiguous files : 0\r\n"
    "Number of defragmented files : 1\r\n"
    "Number of files that were not defragmented due to processing errors : 0\r\n"
    "\r\n";

// A visible dialog of the process that is neither of the two given windows.
HWND OtherDialogOf(DWORD processId, HWND first, HWND second) {
    struct Search {
        DWORD processId;
        HWND first, second, found;
    } search{processId, first, second, nullptr};
    for (int i = 0; i < 200 && !search.found; ++i) {
        EnumWindows(
            [](HWND window, LPARAM data) -> BOOL {
                auto* s = reinterpret_cast<Search*>(data);
                if (window == s->first || window == s->second || !IsWindowVisible(window)) return TRUE;
                if (TestDriver::ProcessIdOf(window) != s->processId || TestDriver::WindowClass(window) != L"#32770") {
                    return TRUE;
                }
                s->found = window;
                return FALSE;
            },
            reinterpret_cast<LPARAM>(&search));
        if (!search.found) TestDriver::PumpMessages(100);
    }
    return search.found;
}

class PreRunStepsTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (const wchar_t* name : {L"ORDALIS_SIMVOLUME", L"ORDALIS_SIMVOLUME_OUT", L"ORDALIS_FMIFS_SCRIPT",
                                    L"ORDALIS_FMIFS_LOG", L"ORDALIS_SIM_DRIVES", L"ORDALIS_SIM_DRIVES_LOG", L"TMP",
                                    L"TEMP"}) {
            SetEnvironmentVariableW(name, nullptr);
        }
    }

    // A folder with the program, the fmifs double and one fragmented file
    // "data\a.bin" on the described volume.
    void Prepare(const std::string& caseName, const std::string& settings = "") {
        host_ = fs::path(ORDALIS_E2E_WORK_DIR) / ("prerun-" + caseName);
        // A read-only file left by an earlier failure would refuse removal.
        std::error_code ignored;
        for (const auto& entry : fs::recursive_directory_iterator(host_, ignored)) {
            fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add, ignored);
        }
        fs::remove_all(host_);
        fs::create_directories(host_ / "data");
        TestDriver::ProgramUnderTest program(TestDriver::HostPathToWindows((host_ / "program").string()),
                                             TestDriver::HostPathToWindows(ORDALIS_SIM_PROGRAM),
                                             TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL));
        ASSERT_TRUE(program.Ready()) << fs::path(program.Error()).string();
        exe_ = program.ExePath();
        std::ofstream(host_ / "data" / "a.bin", std::ios::binary) << std::string(16384, 'x');
        description_ = "volume letter=Z clusters=4000 clusterSize=4096\nfile \"" + Win("data\\a.bin") +
                       "\" size=16384 runs=100:2,110:2\n";
        std::ofstream(host_ / "volume.txt", std::ios::binary) << description_;
        Set(L"ORDALIS_SIMVOLUME", host_ / "volume.txt");
        Set(L"ORDALIS_SIMVOLUME_OUT", host_ / "end.txt");
        Set(L"ORDALIS_FMIFS_LOG", host_ / "chkdsk.log");
        Set(L"ORDALIS_SIM_DRIVES_LOG", host_ / "drives.log");
        // Clean by default; the temporary folder is the case's own.
        SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", L"Z:result=ok");
        fs::create_directories(host_ / "temp");
        Set(L"TMP", host_ / "temp");
        Set(L"TEMP", host_ / "temp");
        if (!settings.empty()) {
            // The settings file: UTF-16 with its byte-order mark.
            const std::string text = "RX1.00\r\n" + settings;
            std::ofstream(host_ / "program" / "ordalis.ini", std::ios::binary)
                << Utf16FileBytes(std::wstring(text.begin(), text.end()));
        }
    }

    void Set(const wchar_t* name, const fs::path& path) {
        SetEnvironmentVariableW(name, TestDriver::HostPathToWindows(path.string()).c_str());
    }

    std::string Win(const std::string& relative) const {
        std::string path = Narrow(TestDriver::HostPathToWindows(host_.string()));
        if (!relative.empty()) path += "\\" + relative;
        for (char& c : path) {
            if (c == '/') c = '\\';
        }
        return path;
    }

    TestDriver::RunResult Run(const std::string& arguments) {
        return TestDriver::RunProgram(exe_, std::wstring(arguments.begin(), arguments.end()), kWaitMs);
    }

    // In the built-in language, whatever the machine's locale.
    std::unique_ptr<TestDriver::RunningProgram> Start(const std::string& arguments) {
        const std::string line = "/LANG:IT " + arguments;
        return TestDriver::StartProgram(exe_, std::wstring(line.begin(), line.end()));
    }

    // The end state without its first line, the checker's verdict included.
    std::string EndFiles() const {
        const std::string end = ReadWhole(host_ / "end.txt");
        return end.substr(end.find('\n') + 1);
    }
    std::string StartFiles() const { return description_.substr(description_.find('\n') + 1) + "check ok\n"; }
    std::string ChkdskLog() const { return ReadWhole(host_ / "chkdsk.log"); }
    bool Moved() const { return EndFiles().find("runs=0:4\n") != std::string::npos; }

    // Closes a program that shows its window and waits for its end.
    void CloseProgram(TestDriver::RunningProgram& program, HWND main) {
        TestDriver::SendCommand(main, kCmdExit);
        ASSERT_TRUE(program.WaitForExit(kWaitMs));
    }

    HWND MainWindow(const TestDriver::RunningProgram& program) {
        return TestDriver::WaitForWindow(L"#32770", L"Ordalis", program.ProcessId(), kWaitMs);
    }

    HWND DialogTitled(const TestDriver::RunningProgram& program, const wchar_t* title) {
        return TestDriver::WaitForWindow(L"#32770", title, program.ProcessId(), kWaitMs);
    }

    fs::path host_;
    std::wstring exe_;
    std::string description_;
};

TEST_F(PreRunStepsTest, UnattendedDiskCheckWithErrorsEndsWithCodeTwoAndMovesNothing) {
    Prepare("chkdsk-damaged");
    SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", L"Z:text=Checking files|Found a problem;result=fail");

    TestDriver::RunResult run = Run("/NOGUI /DEFRAG /CHKDSK:1 " + Win("data"));

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 2u);
    EXPECT_EQ(run.output, std::string(kBanner) + kSummaryNothing);
    EXPECT_EQ(EndFiles(), StartFiles());
    const std::string log = ChkdskLog();
    EXPECT_EQ(log.rfind("Chkdsk root=Z:\\ fs=", 0), 0u) << log;
    EXPECT_NE(log.find(" fix=0 verbose=0 dirtyonly=0 scan=0 reserved=0,0 callback=1\r\n"), std::string::npos) << log;
}

TEST_F(PreRunStepsTest, UnattendedDiskCheckOfACleanDriveGoesOn) {
    Prepare("chkdsk-clean");
    TestDriver::RunResult run = Run("/NOGUI /DEFRAG /QUICK /CHKDSK:1 " + Win("data"));
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, std::string(kBanner) + kSummaryOneMoved);
    EXPECT_TRUE(Moved()) << EndFiles();
    EXPECT_NE(ChkdskLog().find("Chkdsk root=Z:\\"), std::string::npos);
}

// The unattended mode checks only when its own command line asks, whatever
// the stored choice.
TEST_F(PreRunStepsTest, UnattendedRunsWithoutTheChoiceCheckNothing) {
    for (const char* option : {"/CHKDSK:0 ", ""}) {
        Prepare("chkdsk-none", "SCANDISK=1\r\n");  // automatic
        TestDriver::RunResult run = Run(std::string("/NOGUI /DEFRAG /QUICK ") + option + Win("data"));
        ASSERT_TRUE(run.finished);
        EXPECT_EQ(run.exitCode, 0u) << option;
        EXPECT_TRUE(Moved()) << option;
        EXPECT_FALSE(fs::exists(host_ / "chkdsk.log")) << option;
    }
}

TEST_F(PreRunStepsTest, UnattendedCleanupEmptiesTheTemporaryFolderAndKeepsIt) {
    Prepare("clean");
    fs::create_directories(host_ / "temp" / "sub" / "deeper");
    std::ofstream(host_ / "temp" / "a.tmp") << "a";
    std::ofstream(host_ / "temp" / "sub" / "deeper" / "b.tmp") << "b";
    std::ofstream(host_ / "temp" / "ro.tmp") << "r";
    fs::permissions(host_ / "temp" / "ro.tmp", fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);

    TestDriver::RunResult run = Run("/NOGUI /DEFRAG /QUICK /CLEAN:1 " + Win("data"));

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_TRUE(fs::exists(host_ / "temp"));
    EXPECT_TRUE(fs::is_empty(host_ / "temp")) << (fs::exists(host_ / "temp" / "ro.tmp") ? "read-only file kept" : "");
    EXPECT_TRUE(Moved());
}

TEST_F(PreRunStepsTest, UnattendedCleanupRefusesADriveRootAndTheRunDoesNotStart) {
    Prepare("clean-root");
    SetEnvironmentVariableW(L"TMP", L"Z:\\");
    SetEnvironmentVariableW(L"TEMP", L"Z:\\");
    TestDriver::RunResult run = Run("/NOGUI /DEFRAG /QUICK /CLEAN:1 " + Win("data"));
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.output, std::string(kBanner) + kSummaryNothing);
    EXPECT_EQ(EndFiles(), StartFiles());
    EXPECT_TRUE(fs::exists(host_ / "data" / "a.bin"));
}

// Skipping and detection are decided in the run itself; what only the whole
// program shows is the warning as the user meets it.
TEST_F(PreRunStepsTest, TheSolidStateWarningOffersToKeepTheDriveAsItIs) {
    // Skipping off: the warning, with its two buttons; "Non deframmentare"
    // ends the run.
    Prepare("ssd-warn", "SKIPSSD=0\r\nSCANDISK=0\r\nCLNUP=0\r\n");
    SetEnvironmentVariableW(L"ORDALIS_SIM_DRIVES", L"Z:smart=Samsung SSD 850 EVO");
    auto program = Start("/DEFRAG /QUICK " + Win("data"));
    ASSERT_NE(program, nullptr);
    HWND warning = DialogTitled(*program, L"Disco SSD");
    ASSERT_NE(warning, nullptr);
    TestDriver::PumpMessages(500);
    TestDriver::SaveWindowScreenshot(warning, L"e2e_prerun_ssd_warning");
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(warning, kKeepOff)), L"&Non deframmentare");
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(warning, 200)), L"&Deframmenta comunque");
    EXPECT_NE(TestDriver::MessageBoxMessage(warning).find(L"Rilevato disco SSD"), std::wstring::npos);
    RECT frame{};
    GetWindowRect(warning, &frame);
    EXPECT_GE(frame.right - frame.left, 480);
    TestDriver::PressButton(warning, kKeepOff);
    HWND main = MainWindow(*program);
    ASSERT_NE(main, nullptr);
    TestDriver::PumpMessages(500);
    CloseProgram(*program, main);
    EXPECT_EQ(EndFiles(), StartFiles());
}

// Automatic mode: the check starts by itself and, finding nothing, the
// dialog closes with the run going on.
TEST_F(PreRunStepsTest, TheAutomaticDiskCheckClosesByItselfWhenNothingIsFound) {
    Prepare("chkdsk-dialog-auto", "CLNUP=0\r\n");
    SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", L"Z:delay=300;progress=50,100;text=All well;result=ok");
    std::unique_ptr<TestDriver::RunningProgram> program = Start("/DEFRAG /QUICK /CHKDSK:1 " + Win("data"));
    ASSERT_NE(program, nullptr);
    HWND dialog = DialogTitled(*program, L"Controllo disco");
    ASSERT_NE(dialog, nullptr);
    // Without a click the check runs, and the summary of the run follows.
    HWND summary = DialogTitled(*program, L"Riepilogo");
    ASSERT_NE(summary, nullptr);
    EXPECT_FALSE(IsWindow(dialog));
    TestDriver::PressButton(summary, IDOK);
    HWND main = MainWindow(*program);
    CloseProgram(*program, main);
    EXPECT_TRUE(Moved());
    EXPECT_NE(ChkdskLog().find("Chkdsk root=Z:\\"), std::string::npos);
}

// Ask mode: the dialog waits; the check shows the checker's lines; errors
// keep it open and the question that follows can stop the run.
TEST_F(PreRunStepsTest, TheDiskCheckDialogWaitsShowsTheCheckerAndItsErrorsStopTheRun) {
    Prepare("chkdsk-dialog-ask", "CLNUP=0\r\n");
    SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", L"Z:progress=30,100;text=Phase one|Bad index found;result=fail");
    std::unique_ptr<TestDriver::RunningProgram> program = Start("/DEFRAG /QUICK /CHKDSK:2 " + Win("data"));
    ASSERT_NE(program, nullptr);
    HWND dialog = DialogTitled(*program, L"Controllo disco");
    ASSERT_NE(dialog, nullptr);
    TestDriver::PumpMessages(1000);
    EXPECT_FALSE(fs::exists(host_ / "chkdsk.log"));  // waiting for the user
    HWND list = GetDlgItem(dialog, kDriveList);
    ASSERT_EQ(TestDriver::ListViewRowCount(list), 1);
    EXPECT_EQ(TestDriver::ListViewColumnHeader(list, 5), L"% spazio libero");
    EXPECT_NE(TestDriver::ListViewCellText(list, 0, 0).find(L"(Z:)"), std::wstring::npos);
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, kOutput)), L"Il disco non è stato ancora analizzato.");
    TestDriver::SaveWindowScreenshot(dialog, L"e2e_prerun_diskcheck_waiting");

    TestDriver::PressButton(dialog, kCheckButton);
    // Errors keep the dialog open, relabelled.
    for (int i = 0; i < 100 && TestDriver::WindowText(GetDlgItem(dialog, IDCANCEL)) != L"C&hiudi"; ++i) {
        TestDriver::PumpMessages(100);
    }
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, IDCANCEL)), L"C&hiudi");
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, 1001)), L"Errore disco");
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, kOutput)), L"Phase one\r\nBad index found\r\n");
    EXPECT_EQ(TestDriver::ListViewCellText(list, 0, 1), L"Completato");
    TestDriver::PumpMessages(300);
    TestDriver::SaveWindowScreenshot(dialog, L"e2e_prerun_diskcheck_errors");
    TestDriver::PressButton(dialog, IDCANCEL);
    // Question 318: "Esci" stops the run.
    HWND question = OtherDialogOf(program->ProcessId(), dialog, MainWindow(*program));
    ASSERT_NE(question, nullptr);
    EXPECT_NE(TestDriver::MessageBoxMessage(question).find(L"controllo di coerenza"), std::wstring::npos);
    TestDriver::SaveWindowScreenshot(question, L"e2e_prerun_diskcheck_question");
    TestDriver::PressButton(question, 11);
    HWND main = MainWindow(*program);
    TestDriver::PumpMessages(500);
    CloseProgram(*program, main);
    EXPECT_EQ(EndFiles(), StartFiles());
}

// A checker that does not end holds nothing: "Annulla" stays available
// while it works, ends the dialog at once and the run does not start.
TEST_F(PreRunStepsTest, ACheckThatDoesNotEndIsCancelledAndTheRunDoesNotStart) {
    Prepare("chkdsk-cancel", "CLNUP=0\r\n");
    SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", L"Z:delay=60000;progress=10");
    std::unique_ptr<TestDriver::RunningProgram> program = Start("/DEFRAG /QUICK /CHKDSK:2 " + Win("data"));
    ASSERT_NE(program, nullptr);
    HWND dialog = DialogTitled(*program, L"Controllo disco");
    ASSERT_NE(dialog, nullptr);
    HWND main = MainWindow(*program);
    HWND list = GetDlgItem(dialog, kDriveList);
    TestDriver::PressButton(dialog, kCheckButton);
    for (int i = 0; i < 100 && TestDriver::ListViewCellText(list, 0, 1) != L"In analisi..."; ++i) {
        TestDriver::PumpMessages(100);
    }
    ASSERT_EQ(TestDriver::ListViewCellText(list, 0, 1), L"In analisi...");
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, IDCANCEL)));

    TestDriver::PressButton(dialog, IDCANCEL);
    for (int i = 0; i < 50 && IsWindow(dialog); ++i) TestDriver::PumpMessages(100);
    EXPECT_FALSE(IsWindow(dialog)) << "the dialog still waits for the checker";
    TestDriver::PumpMessages(500);
    CloseProgram(*program, main);
    EXPECT_EQ(EndFiles(), StartFiles());
}

// "Non controllare i dischi in futuro" moves the choice at once; "Annulla"
// before a check restores it, "Non controllare" keeps it.
TEST_F(PreRunStepsTest, NeverCheckingAgainIsKeptOnlyWhenTheCheckIsSkipped) {
    for (int button : {IDCANCEL, kSkipButton}) {
        Prepare("chkdsk-never", "SCANDISK=2\r\nCLNUP=0\r\n");
        std::unique_ptr<TestDriver::RunningProgram> program = Start("/DEFRAG /QUICK " + Win("data"));
        ASSERT_NE(program, nullptr);
        HWND dialog = DialogTitled(*program, L"Controllo disco");
        ASSERT_NE(dialog, nullptr);
        PostMessageW(GetDlgItem(dialog, kNeverCheck), BM_CLICK, 0, 0);
        TestDriver::PumpMessages(300);
        TestDriver::PressButton(dialog, button);
        HWND main = MainWindow(*program);
        if (button == kSkipButton) {
            // Not checking goes on with the run.
            HWND summary = DialogTitled(*program, L"Riepilogo");
            ASSERT_NE(summary, nullptr);
            TestDriver::PressButton(summary, IDOK);
        }
        TestDriver::PumpMessages(300);
        CloseProgram(*program, main);
        const std::string settings = ReadWhole(host_ / "program" / "ordalis.ini");
        const std::string expected = button == IDCANCEL ? "SCANDISK=2" : "SCANDISK=0";
        std::string narrow;
        for (size_t i = 2; i < settings.size(); i += 2) narrow += settings[i];
        EXPECT_NE(narrow.find(expected), std::string::npos) << button << "\n" << narrow;
        EXPECT_EQ(Moved(), button == kSkipButton);
    }
}

TEST_F(PreRunStepsTest, TheCleanupDialogWaitsAndItsChoicesAreKept) {
    Prepare("clean-dialog", "SCANDISK=0\r\nCLNUP=2\r\n");
    std::ofstream(host_ / "temp" / "a.tmp") << "a";
    std::unique_ptr<TestDriver::RunningProgram> program = Start("/DEFRAG /QUICK " + Win("data"));
    ASSERT_NE(program, nullptr);
    HWND dialog = DialogTitled(*program, L"Eliminazione file temporanei");
    ASSERT_NE(dialog, nullptr);
    TestDriver::PumpMessages(500);
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, kCleanupPath)));
    TestDriver::SaveWindowScreenshot(dialog, L"e2e_prerun_cleanup_waiting");
    // The external program: its fields open up; with no program named the
    // dialog complains and stays.
    PostMessageW(GetDlgItem(dialog, kCleanupExternal), BM_CLICK, 0, 0);
    TestDriver::PumpMessages(300);
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, kCleanupPath)));
    PostMessageW(GetDlgItem(dialog, kCleanupNever), BM_CLICK, 0, 0);
    TestDriver::PumpMessages(300);
    TestDriver::PressButton(dialog, 1111);  // "&Avvia pulitura"
    HWND complaint = OtherDialogOf(program->ProcessId(), dialog, MainWindow(*program));
    ASSERT_NE(complaint, nullptr);
    EXPECT_EQ(TestDriver::MessageBoxMessage(complaint), L"Nessun programma esterno specificato.");
    TestDriver::PressButton(complaint, IDOK);
    TestDriver::PumpMessages(300);
    EXPECT_TRUE(IsWindow(dialog));
    TestDriver::PressButton(dialog, kCleanupSkip);
    HWND summary = DialogTitled(*program, L"Riepilogo");
    ASSERT_NE(summary, nullptr);
    TestDriver::PressButton(summary, IDOK);
    HWND main = MainWindow(*program);
    TestDriver::PumpMessages(300);
    CloseProgram(*program, main);
    EXPECT_TRUE(fs::exists(host_ / "temp" / "a.tmp"));  // not cleaned by choice
    EXPECT_TRUE(Moved());
    const std::string settings = ReadWhole(host_ / "program" / "ordalis.ini");
    std::string narrow;
    for (size_t i = 2; i < settings.size(); i += 2) narrow += settings[i];
    EXPECT_NE(narrow.find("CLNUP=0"), std::string::npos) << narrow;  // never again, kept
}

}  // namespace
