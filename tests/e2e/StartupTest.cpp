// Ordalis.exe as a user starts it: the help dialog, the single instance, what
// start-up checks and says, the libraries it never takes from its folder, the
// settings file and the language, and the items that a profile argument puts
// into the list.
#include "ProgramCase.h"

#include <optional>

namespace {

using namespace e2e;
using TestDriver::RunningProgram;

using HelpOption = ProgramCase;
using SingleInstance = ProgramCase;
using StartupChecks = ProgramCase;
using ShippedProgram = ProgramCase;
using SettingsAndLanguage = ProgramCase;

bool WaitUntilForeground(HWND window, DWORD timeoutMs = 5000) {
    for (DWORD start = GetTickCount(); GetForegroundWindow() != window;) {
        if (GetTickCount() - start >= timeoutMs) return false;
        TestDriver::PumpMessages(50);
    }
    return true;
}

// A plain window of this test program, put in front of Ordalis; null when it
// cannot get there. The caller destroys it.
HWND Cover() {
    HWND window = CreateWindowExW(0, L"STATIC", L"Cover", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 400, 300, nullptr,
                                  nullptr, GetModuleHandleW(nullptr), nullptr);
    SetForegroundWindow(window);
    TestDriver::PumpMessages(200);
    return WaitUntilForeground(window) ? window : nullptr;
}

TEST_F(HelpOption, ShowsTheHelpDialogAndEndsWithZeroWhenItIsClosed) {
    Prepare("help", ORDALIS_PROGRAM);
    // The built-in language, whatever the locale: the title is looked for.
    // What the help says is the dialog's own.
    ASSERT_TRUE(StartOnly(L"/? /LANG:IT"));
    HWND help = WaitForTitle(L"Ordalis - Guida");
    ASSERT_NE(help, nullptr) << "no help dialog";
    Picture(L"e2e_help_dialog", help);
    PostMessageW(help, WM_CLOSE, 0, 0);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs)) << "still running after the help was closed";
    EXPECT_EQ(program_->ExitCode(), 0u);
}

// Another program that makes the instance mutex and a window with the main
// window's class and title is not this program: the first start hands it
// nothing and opens its own window. A second start brings that window
// forward and ends with 0; while the window is minimised it flashes it and
// waits until the user activates it. A scheduled job's start is no second
// start: it does its own run without ever showing a window, and leaves the
// open window as it was.
TEST_F(SingleInstance, ASecondStartBringsTheFirstWindowForwardOrWaitsForItsActivation) {
    Prepare("single-instance", ORDALIS_PROGRAM);
    wchar_t desktop[MAX_PATH] = {};
    DWORD needed = 0;
    GetUserObjectInformationW(GetThreadDesktop(GetCurrentThreadId()), UOI_NAME, desktop, sizeof desktop, &needed);
    const std::wstring mutexName = std::wstring(L"Ordalis-7a8caa0e-a83e-4ebe-a126-8e15046ca30d1-") + desktop;
    TestDriver::UniqueHandle mutex(CreateMutexW(nullptr, FALSE, mutexName.c_str()));
    HWND impostor = CreateWindowExW(0, kDialogClass, kMainTitle, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200, 100,
                                    nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(impostor, nullptr);
    TestDriver::PumpMessages(200);
    Start(L"Z:\\");
    DestroyWindow(impostor);
    mutex.reset();
    if (HasFatalFailure()) return;
    std::unique_ptr<RunningProgram> unattended = TestDriver::StartProgram(exe_, L"/NOGUI Z:\\no\\such\\file.txt");
    ASSERT_NE(unattended, nullptr);
    const HWND seen = WindowBeforeTheEnd(*unattended);
    EXPECT_EQ(seen, nullptr) << "window \"" << Narrow(TestDriver::WindowText(seen)) << "\"";
    ASSERT_TRUE(unattended->WaitForExit(kWaitMs)) << "still running after " << kWaitMs << " ms";
    // Its own run, which found nothing to add (a hand-over would end with 0).
    EXPECT_EQ(unattended->ExitCode(), 5u) << unattended->Output();
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 1);
    HWND cover = Cover();
    ASSERT_NE(cover, nullptr) << "cannot put a window in front";
    std::unique_ptr<RunningProgram> second = TestDriver::StartProgram(exe_, L"");
    ASSERT_TRUE(second && second->WaitForExit(kWaitMs)) << "the second instance did not end";
    EXPECT_EQ(second->ExitCode(), 0u);
    EXPECT_TRUE(WaitUntilForeground(main_));
    EXPECT_TRUE(program_->Running());
    Picture(L"e2e_second_instance");
    DestroyWindow(cover);

    ShowWindow(main_, SW_MINIMIZE);
    TestDriver::PumpMessages(300);
    ASSERT_TRUE(IsIconic(main_));
    // A minimised window can still be the foreground one; make sure it is not.
    cover = Cover();
    ASSERT_NE(cover, nullptr) << "cannot put a window in front";
    std::unique_ptr<RunningProgram> waiting = TestDriver::StartProgram(exe_, L"");
    ASSERT_NE(waiting, nullptr);
    // Longer than a few flashes: the wait lasts as long as the user's.
    EXPECT_FALSE(waiting->WaitForExit(6000)) << "ended before the first window was activated";
    ShowWindow(main_, SW_RESTORE);
    SetForegroundWindow(main_);
    ASSERT_TRUE(waiting->WaitForExit(kWaitMs)) << "still waiting after the activation";
    EXPECT_EQ(waiting->ExitCode(), 0u);
    EXPECT_TRUE(WaitUntilForeground(main_));
    EXPECT_EQ(Close(), 0u);
    DestroyWindow(cover);
}

// A start that cannot go on as usual says why in a box with the program's
// title first. Without the disk check library it ends with 0; without its
// panels with 6, and the settings file it never read properly stays as it
// was; without the language file asked for, the window follows in Italian.
TEST_F(StartupChecks, AStartThatCannotGoOnAsUsualSaysWhyFirst) {
    struct Row {
        const char* name;
        const char* program;
        const wchar_t* settings;
        const wchar_t* said;  // a part of the message
        DWORD code;           // STILL_ACTIVE: the window follows
    };
    const Row rows[] = {
        {"no-fmifs", ORDALIS_PROGRAM, L"", L"FMIFS.DLL", 0},
        {"no-panels", ORDALIS_SIM_PROGRAM, L"ONTOP=1", L"could not be started", 6},
        {"language-missing", ORDALIS_PROGRAM, L"LANGUAGE=XX", L"Cannot load the language file:", STILL_ACTIVE},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string name = row.name;
        Prepare(name, row.program, row.settings, name != "no-fmifs");
        // As a system without one, until the row ends, however it ends: the
        // cases after it need the checker back.
        struct CheckerBack {
            ~CheckerBack() { InstallSystemChecker(); }
        };
        std::optional<CheckerBack> checkerBack;
        if (name == "no-fmifs") {
            const std::wstring checker = SystemChecker().wstring();
            checkerBack.emplace();
            ASSERT_TRUE(MoveFileExW(checker.c_str(), (checker + L".hidden").c_str(), MOVEFILE_REPLACE_EXISTING));
        }
        if (name == "no-panels") {
            Describe("volume letter=Z clusters=100", {});
            Env(L"ORDALIS_SIM_REFUSE_PANELS", L"1");
        }
        const std::string written = ReadWhole(host_ / "program" / "ordalis.ini");
        ASSERT_TRUE(StartOnly(L""));
        HWND box = WaitForDialog();
        ASSERT_NE(box, nullptr) << "no message";
        Picture(L"e2e_start_" + Widen(name), box);
        EXPECT_EQ(TestDriver::WindowText(box), kMainTitle);
        // Static controls of message boxes may show the line breaks as CR LF.
        std::wstring message = TestDriver::MessageBoxMessage(box);
        message.erase(std::remove(message.begin(), message.end(), L'\r'), message.end());
        EXPECT_NE(message.find(row.said), std::wstring::npos) << Narrow(message);
        if (name == "language-missing") {
            EXPECT_NE(message.find(Win("program/lang/Ordalis_XX.lng.")), std::wstring::npos);
        }
        TestDriver::PressButton(box, IDOK);
        if (row.code == STILL_ACTIVE) {
            // The box has the main window's title: wait until it is gone.
            WaitGone(box);
            main_ = TestDriver::WaitForWindow({kDialogClass, kMainTitle, program_->ProcessId()}, kWaitMs);
            ASSERT_NE(main_, nullptr);
            EXPECT_EQ(TestDriver::ListViewColumnHeader(GetDlgItem(main_, IDC_ITEM_LIST), 0), L"Nome");
            EXPECT_EQ(Close(), 0u);
        } else {
            ASSERT_TRUE(program_->WaitForExit(kWaitMs)) << "still running after the message";
            EXPECT_EQ(program_->ExitCode(), row.code);
            EXPECT_EQ(ReadWhole(host_ / "program" / "ordalis.ini"), written);
        }
        TearDown();
    }
}

// Anything that can set the environment of the elevated program must not be
// able to change what it does: the names the simulating variant reads from
// its environment (the fault switch among them) are not even in the
// shipped program.
TEST(ShippedProgramFile, ReadsNoTestSwitchFromItsEnvironment) {
    auto holds = [](const std::string& bytes, const std::string& name) {
        std::string wide;
        for (char c : name) wide += std::string{c, '\0'};
        return bytes.find(name) != std::string::npos || bytes.find(wide) != std::string::npos;
    };
    const std::string shipped = ReadWhole(ORDALIS_PROGRAM);
    const std::string simulating = ReadWhole(ORDALIS_SIM_PROGRAM);
    ASSERT_FALSE(shipped.empty());
    for (const char* name :
         {"ORDALIS_POWEROFF_LOG", "ORDALIS_SIMVOLUME", "ORDALIS_SIM_REFUSE_PANELS", "ORDALIS_SIM_FAULT_TAG"}) {
        EXPECT_FALSE(holds(shipped, name)) << name;
        EXPECT_TRUE(holds(simulating, name)) << name;
    }
}

// The program runs as administrator, often from a folder its user can
// write to: a DLL with a system DLL's name planted beside it is never loaded,
// neither those it loads by name nor those it would import.
TEST_F(ShippedProgram, LoadsNoDllFromItsOwnFolder) {
    Prepare("planted", ORDALIS_PROGRAM);
    for (const char* name : {"fmifs.dll", "RICHED20.DLL", "UxTheme.dll", "MSIMG32.dll"}) {
        fs::remove(host_ / "program" / name);
        fs::copy_file(ORDALIS_PLANTED_DLL, host_ / "program" / name);
    }
    EnvPath(L"ORDALIS_PLANTED_LOG", "planted.log");
    ASSERT_TRUE(StartOnly(L"/NOGUI") && program_->WaitForExit(kWaitMs)) << "the program did not end";
    EXPECT_EQ(program_->ExitCode(), 0u);
    const std::string loaded = ReadWhole(host_ / "planted.log");
    EXPECT_TRUE(loaded.empty()) << "loaded from its own folder: " << loaded;
}

// A language given on the command line reaches the window's texts, those
// written before it was applied included (that it is not kept is the
// settings file's own). A profile's items fill the list, those that are gone
// listed in their own dialog first. "/NOINI" never writes the file, however
// the options change.
TEST_F(SettingsAndLanguage, TheCommandLinesLanguageAndProfileReachTheWindowAndNoIniWritesNothing) {
    Prepare("settings", ORDALIS_PROGRAM, L"LANGUAGE=IT");
    const fs::path file = host_ / "program" / "ordalis.ini";
    Start(L"/LANG:EN");
    // The item list's headers were made before the language was applied.
    EXPECT_EQ(TestDriver::ListViewColumnHeader(items_, 9), L"Attributes");
    EXPECT_EQ(StatusTexts(main_), (std::vector<std::wstring>{L"Items in list: 0", L"Ready"}));
    Picture(L"e2e_language_english");
    EXPECT_EQ(Close(), 0u);
    const std::string written = ReadWhole(file);
    EXPECT_NE(written.find(Utf16FileLines({L"", L"LANGUAGE=IT"}).substr(2)), std::string::npos) << "not kept";

    fs::create_directories(host_ / "data" / "cartella");
    MakeFile("data/uno.txt", 3);
    std::ofstream(host_ / "lavoro.olp", std::ios::binary)
        << Utf16FileLines({L"kv70rx", Win("data/uno.txt"), L">" + Win("data/cartella"), L">" + Win("data/sparita"),
                           Win("data/perso.txt")});
    Start(L"/NOINI /LANG:IT /PROF:" + Win("lavoro.olp"));
    HWND missing = WaitForTitle(L"Elementi non trovati");
    ASSERT_NE(missing, nullptr) << "the missing items were not listed";
    Picture(L"e2e_profile_missing_items", missing);
    // Their kinds are the import's own.
    EXPECT_EQ(TestDriver::ListViewColumnTexts(GetDlgItem(missing, IDC_MISSING_LIST), 1),
              (std::vector<std::wstring>{Win("data/sparita"), Win("data/perso.txt")}));
    TestDriver::PressButton(missing, IDOK);
    TestDriver::PumpMessages(300);
    std::vector<std::wstring> names = TestDriver::ListViewColumnTexts(items_, 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::wstring>{Win("data/cartella"), Win("data/uno.txt")}));
    // A changed option would be saved by a normal exit.
    TestDriver::SendCommand(main_, kCmdOnTop);
    TestDriver::PumpMessages(200);
    EXPECT_EQ(Close(), 0u);
    EXPECT_EQ(ReadWhole(file), written);
}

}  // namespace
