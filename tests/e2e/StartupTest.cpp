// Ordalis.exe as a user starts it: the unattended console text, the help
// dialog, the single instance, what start-up checks and says, the settings
// file and the language, and the items that a profile argument puts into the
// list.
#include "ProgramCase.h"


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

// A plain window of this test program, to stand in front of Ordalis.
class CoverWindow {
public:
    CoverWindow() {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = DefWindowProcW;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"OrdalisE2eCover";
        RegisterClassW(&windowClass);
        window_ = CreateWindowExW(0, windowClass.lpszClassName, L"Cover", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50,
                                  400, 300, nullptr, nullptr, windowClass.hInstance, nullptr);
        SetForegroundWindow(window_);
        TestDriver::PumpMessages(200);
    }
    ~CoverWindow() { DestroyWindow(window_); }
    CoverWindow(const CoverWindow&) = delete;
    CoverWindow& operator=(const CoverWindow&) = delete;
    HWND Get() const { return window_; }

private:
    HWND window_;
};

TEST_F(HelpOption, ShowsTheHelpDialogAndEndsWithZeroWhenItIsClosed) {
    Prepare("help", ORDALIS_PROGRAM);
    // The built-in language, whatever the locale: the title is looked for.
    ASSERT_TRUE(StartOnly(L"/? /LANG:IT"));
    HWND help = WaitForTitle(L"Ordalis - Guida");
    ASSERT_NE(help, nullptr) << "no help dialog";
    TestDriver::SaveScreenshot(L"e2e_help_dialog");
    const std::vector<std::wstring> texts = TestDriver::ChildTexts(help);
    EXPECT_TRUE(std::any_of(texts.begin(), texts.end(),
                            [](const std::wstring& text) { return text.find(L"/NOGUI") != std::wstring::npos; }))
        << "the help does not explain the options";
    TestDriver::RequestClose(help);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs)) << "still running after the help was closed";
    EXPECT_EQ(program_->ExitCode(), 0u);
}

// A second start brings the first window forward and ends with 0; while the
// first window is minimised it flashes it and waits until the user
// activates it. A scheduled job's start is no second start: it does its own
// run and says what happened in English, without ever showing a window, and
// leaves the open window as it was.
TEST_F(SingleInstance, ASecondStartBringsTheFirstWindowForwardOrWaitsForItsActivation) {
    Prepare("single-instance", ORDALIS_PROGRAM);
    Start(L"");
    std::unique_ptr<RunningProgram> unattended = TestDriver::StartProgram(exe_, L"/NOGUI Z:\\no\\such\\file.txt");
    ASSERT_NE(unattended, nullptr);
    const HWND seen = WindowBeforeTheEnd(*unattended);
    EXPECT_EQ(seen, nullptr) << "window \"" << Narrow(TestDriver::WindowText(seen)) << "\"";
    ASSERT_TRUE(unattended->WaitForExit(kWaitMs)) << "still running after " << kWaitMs << " ms";
    const std::string expected = kBanner + "Cannot find the following item : Z:\\no\\such\\file.txt \r\n\r\n";
    EXPECT_EQ(unattended->Output(), expected) << Printable(unattended->Output());
    EXPECT_EQ(unattended->ExitCode(), 5u) << "nothing could be added";
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 0);
    {
        CoverWindow cover;
        ASSERT_TRUE(WaitUntilForeground(cover.Get())) << "cannot put a window in front";
        TestDriver::RunResult second = TestDriver::RunProgram(exe_, L"", kWaitMs);
        ASSERT_TRUE(second.finished) << "the second instance did not end";
        EXPECT_EQ(second.exitCode, 0u);
        EXPECT_TRUE(WaitUntilForeground(main_));
        EXPECT_TRUE(program_->Running());
        TestDriver::SaveScreenshot(L"e2e_second_instance");
    }

    ShowWindow(main_, SW_MINIMIZE);
    TestDriver::PumpMessages(300);
    ASSERT_TRUE(IsIconic(main_));
    // A minimised window can still be the foreground one; make sure it is not.
    CoverWindow cover;
    ASSERT_TRUE(WaitUntilForeground(cover.Get())) << "cannot put a window in front";
    std::unique_ptr<RunningProgram> second = TestDriver::StartProgram(exe_, L"");
    ASSERT_NE(second, nullptr);
    // Longer than a few flashes: the wait lasts as long as the user's.
    EXPECT_FALSE(second->WaitForExit(6000)) << "ended before the first window was activated";
    ShowWindow(main_, SW_RESTORE);
    SetForegroundWindow(main_);
    ASSERT_TRUE(second->WaitForExit(kWaitMs)) << "still waiting after the activation";
    EXPECT_EQ(second->ExitCode(), 0u);
    EXPECT_TRUE(WaitUntilForeground(main_));
    EXPECT_EQ(Close(), 0u);
}

// Another program that makes the instance mutex and a window with the main
// window's class and title is not this program: a start hands it nothing
// and opens its own window.
TEST_F(SingleInstance, AnImpostorWindowIsHandedNothing) {
    Prepare("single-instance-impostor", ORDALIS_PROGRAM);
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
    if (main_) EXPECT_EQ(Close(), 0u);
    DestroyWindow(impostor);
}

TEST_F(StartupChecks, WithoutTheDiskCheckLibraryTheProgramSaysSoAndEndsWithZero) {
    Prepare("no-fmifs", ORDALIS_PROGRAM, L"", false);
    TestDriver::SystemCheckerHidden noSystemChecker;
    ASSERT_TRUE(StartOnly(L""));
    HWND box = WaitForDialog();
    ASSERT_NE(box, nullptr) << "no message box";
    TestDriver::SaveScreenshot(L"e2e_no_fmifs");
    EXPECT_EQ(TestDriver::WindowText(box), kMainTitle);
    EXPECT_NE(TestDriver::MessageBoxMessage(box).find(L"FMIFS.DLL"), std::wstring::npos);
    TestDriver::PressButton(box, IDOK);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs)) << "still running after the message";
    EXPECT_EQ(program_->ExitCode(), 0u);
}

// A window that cannot make its panels says so and ends with code 6, and
// the settings file it never read properly stays as it was.
TEST_F(StartupChecks, WithoutItsPanelsTheWindowSaysSoAndEndsWithSix) {
    Prepare("no-panels", ORDALIS_SIM_PROGRAM, L"ONTOP=1");
    Describe("volume letter=Z clusters=100", {});
    Env(L"ORDALIS_SIM_REFUSE_PANELS", L"1");
    const std::string written = ReadWhole(host_ / "program" / "ordalis.ini");
    ASSERT_TRUE(StartOnly(L"/LANG:IT"));
    HWND box = WaitForDialog();
    ASSERT_NE(box, nullptr) << "no message";
    TestDriver::PumpMessages(800);
    TestDriver::SaveScreenshot(L"e2e_no_panels");
    EXPECT_NE(TestDriver::MessageBoxMessage(box).find(L"could not be started"), std::wstring::npos);
    TestDriver::PressButton(box, IDOK);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs)) << "still running after the message";
    EXPECT_EQ(program_->ExitCode(), 6u);
    EXPECT_EQ(ReadWhole(host_ / "program" / "ordalis.ini"), written);
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
    TestDriver::RunResult run = Run(L"/NOGUI");
    ASSERT_TRUE(run.finished) << "the program did not end";
    EXPECT_EQ(run.exitCode, 0u);
    const std::string loaded = ReadWhole(host_ / "planted.log");
    EXPECT_TRUE(loaded.empty()) << "loaded from its own folder: " << Printable(loaded);
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
    TestDriver::SaveScreenshot(L"e2e_language_english");
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
    TestDriver::SaveScreenshot(L"e2e_profile_missing_items");
    // Their kinds are the import's own.
    EXPECT_EQ(TestDriver::ListViewColumnTexts(TestDriver::FindListViewByHeader(missing, L"Tipo"), 1),
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

TEST_F(SettingsAndLanguage, AMissingLanguageFileFallsBackToItalianAfterAMessage) {
    Prepare("language-missing", ORDALIS_PROGRAM, L"LANGUAGE=XX");
    ASSERT_TRUE(StartOnly(L""));
    HWND box = WaitForDialog();
    ASSERT_NE(box, nullptr);
    // Static controls of message boxes may show the line breaks as CR LF.
    std::wstring message = TestDriver::MessageBoxMessage(box);
    message.erase(std::remove(message.begin(), message.end(), L'\r'), message.end());
    EXPECT_EQ(message, L"Cannot load the language file:\n\n " + Win("program/lang/Ordalis_XX.lng") + L".");
    TestDriver::PressButton(box, IDOK);
    // The box has the main window's title: wait until it is gone.
    WaitGone(box);
    main_ = TestDriver::WaitForWindow({kDialogClass, kMainTitle, program_->ProcessId()}, kWaitMs);
    ASSERT_NE(main_, nullptr);
    EXPECT_NE(TestDriver::FindListViewByHeader(main_, L"Nome"), nullptr);
    EXPECT_EQ(Close(), 0u);
}

}  // namespace
