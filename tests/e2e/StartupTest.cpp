// Ordalis.exe as a user starts it: the unattended console text, the help
// dialog, the single instance, the start-up check of the disk-check library,
// and the items that path arguments put into the list.
//
// Every program started here is killed when its test ends, finished or not,
// so one failure never leaves an instance that blocks the next test.

#include "ProgramCase.h"
#include "options/ProgramVersion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace e2e;
using TestDriver::RunningProgram;

constexpr int kTypeColumn = 6;

std::wstring WorkFolder(const std::wstring& caseName) {
    return TestDriver::HostPathToWindows(ORDALIS_E2E_WORK_DIR) + L"\\" + caseName;
}

// The program in a folder of its own, with the fmifs.dll double unless told
// otherwise. An instance started elsewhere (a manual run left open) would take
// every start over through the single-instance rule, so it is reported first.
std::wstring PrepareProgram(const std::wstring& caseName, bool withFmifs = true) {
    TestDriver::WindowQuery running;
    running.className = kDialogClass;
    running.title = kMainTitle;
    running.visibleOnly = false;
    EXPECT_EQ(TestDriver::FindTopWindow(running), nullptr)
        << "an Ordalis instance not started by this test is running on the Wine desktop";
    TestDriver::ProgramUnderTest program(
        WorkFolder(caseName) + L"\\program", TestDriver::HostPathToWindows(ORDALIS_PROGRAM),
        withFmifs ? TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL) : L"");
    EXPECT_TRUE(program.Ready()) << std::filesystem::path(program.Error()).string();
    return program.ExePath();
}

std::string Printable(const std::string& text) {
    std::string result;
    for (char c : text) {
        result += c == '\r' ? std::string("\\r") : c == '\n' ? std::string("\\n\n") : std::string(1, c);
    }
    return result;
}

// The program's main window, once start-up has shown it.
HWND WaitForMainWindow(const RunningProgram& program) {
    return TestDriver::WaitForWindow(kDialogClass, kMainTitle, program.ProcessId(), kWaitMs);
}

// The program shows the language of the Wine prefix's locale: Italian, or
// English from the language file beside it.
HWND ItemList(HWND mainWindow) {
    HWND list = TestDriver::FindListViewByHeader(mainWindow, L"Nome");
    return list ? list : TestDriver::FindListViewByHeader(mainWindow, L"Name");
}

std::vector<std::wstring> ColumnTexts(HWND list, int column) {
    std::vector<std::wstring> texts;
    for (int row = 0; row < TestDriver::ListViewRowCount(list); ++row) {
        texts.push_back(TestDriver::ListViewCellText(list, row, column));
    }
    return texts;
}

// Closes the program through its exit command and returns its exit code.
DWORD CloseThroughExitCommand(RunningProgram& program, HWND mainWindow) {
    TestDriver::SendCommand(mainWindow, kCmdExit);
    return program.WaitForExit(kWaitMs) ? program.ExitCode() : STILL_ACTIVE;
}

bool WaitUntilForeground(HWND window, DWORD timeoutMs) {
    DWORD start = GetTickCount();
    while (TestDriver::ForegroundWindow() != window) {
        if (GetTickCount() - start >= timeoutMs) {
            return false;
        }
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
        window_ = CreateWindowExW(0, windowClass.lpszClassName, L"Cover",
                                  WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 400, 300, nullptr,
                                  nullptr, windowClass.hInstance, nullptr);
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

TEST(UnattendedStart, PathThatDoesNotExistIsReportedAndEndsWithFive) {
    std::wstring exe = PrepareProgram(L"not-found");
    TestDriver::RunResult result =
        TestDriver::RunProgram(exe, L"/NOGUI Z:\\no\\such\\file.txt", kWaitMs);
    ASSERT_TRUE(result.started);
    ASSERT_TRUE(result.finished) << "still running after " << kWaitMs << " ms";
    std::string expected = "\r\n\r\nOrdalis v" + Narrow(ORDALIS_VERSION_TEXT) + "\r\n" +
                           Narrow(ORDALIS_NOTICE_TEXT) + "\r\n\r\n" +
                           "Cannot find the following item : Z:\\no\\such\\file.txt \r\n\r\n";
    EXPECT_EQ(result.output, expected) << Printable(result.output);
    EXPECT_EQ(result.exitCode, 5u);
}

// A scheduled job's start does its own run and says what happened, even
// when a window is open; the window is left as it was.
TEST(UnattendedStart, RunsItselfWhileAWindowIsOpen) {
    std::wstring exe = PrepareProgram(L"unattended-beside-window");
    std::unique_ptr<RunningProgram> first = TestDriver::StartProgram(exe, L"");
    ASSERT_NE(first, nullptr);
    HWND mainWindow = WaitForMainWindow(*first);
    ASSERT_NE(mainWindow, nullptr);

    TestDriver::RunResult result =
        TestDriver::RunProgram(exe, L"/NOGUI Z:\\no\\such\\file.txt", kWaitMs);
    ASSERT_TRUE(result.finished) << "still running after " << kWaitMs << " ms";
    std::string expected = "\r\n\r\nOrdalis v" + Narrow(ORDALIS_VERSION_TEXT) + "\r\n" +
                           Narrow(ORDALIS_NOTICE_TEXT) + "\r\n\r\n" +
                           "Cannot find the following item : Z:\\no\\such\\file.txt \r\n\r\n";
    EXPECT_EQ(result.output, expected) << Printable(result.output);
    EXPECT_EQ(result.exitCode, 5u);
    EXPECT_EQ(TestDriver::ListViewRowCount(ItemList(mainWindow)), 0);
    EXPECT_EQ(CloseThroughExitCommand(*first, mainWindow), 0u);
}

TEST(UnattendedStart, NoWindowIsEverShown) {
    std::wstring exe = PrepareProgram(L"no-window");
    std::unique_ptr<RunningProgram> program =
        TestDriver::StartProgram(exe, L"/NOGUI Z:\\no\\such\\file.txt");
    ASSERT_NE(program, nullptr);
    // Watch until it ends: neither the main window nor a message box may appear.
    HWND seen = nullptr;
    DWORD start = GetTickCount();
    while (program->Running() && GetTickCount() - start < kWaitMs) {
        TestDriver::WindowQuery query;
        query.processId = program->ProcessId();
        if (HWND window = TestDriver::FindTopWindow(query)) {
            seen = window;
            break;
        }
        TestDriver::PumpMessages(20);
    }
    EXPECT_EQ(seen, nullptr) << "window \"" << Narrow(TestDriver::WindowText(seen)) << "\"";
    EXPECT_TRUE(program->WaitForExit(kWaitMs));
}

TEST(HelpOption, ShowsTheHelpDialogAndEndsWithZeroWhenItIsClosed) {
    std::wstring exe = PrepareProgram(L"help");
    // The built-in language, whatever the locale: the title is looked for.
    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"/? /LANG:IT");
    ASSERT_NE(program, nullptr);
    HWND help = TestDriver::WaitForWindow(kDialogClass, L"Ordalis - Guida", program->ProcessId(),
                                          kWaitMs);
    ASSERT_NE(help, nullptr) << "no help dialog";
    TestDriver::SaveScreenshot(L"e2e_help_dialog");

    std::vector<std::wstring> texts = TestDriver::ChildTexts(help);
    EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [](const std::wstring& text) {
        return text.find(L"/NOGUI") != std::wstring::npos;
    })) << "the help does not explain the options";

    TestDriver::RequestClose(help);
    ASSERT_TRUE(program->WaitForExit(kWaitMs)) << "still running after the help was closed";
    EXPECT_EQ(program->ExitCode(), 0u);
}

TEST(SingleInstance, SecondStartBringsTheFirstWindowForwardAndEndsWithZero) {
    std::wstring exe = PrepareProgram(L"single-instance");
    std::unique_ptr<RunningProgram> first = TestDriver::StartProgram(exe, L"");
    ASSERT_NE(first, nullptr);
    HWND mainWindow = WaitForMainWindow(*first);
    ASSERT_NE(mainWindow, nullptr);

    CoverWindow cover;
    ASSERT_TRUE(WaitUntilForeground(cover.Get(), 5000)) << "cannot put a window in front";

    TestDriver::RunResult second = TestDriver::RunProgram(exe, L"", kWaitMs);
    ASSERT_TRUE(second.finished) << "the second instance did not end";
    EXPECT_EQ(second.exitCode, 0u);
    EXPECT_TRUE(WaitUntilForeground(mainWindow, 5000));
    EXPECT_TRUE(first->Running());
    TestDriver::SaveScreenshot(L"e2e_second_instance");
    EXPECT_EQ(CloseThroughExitCommand(*first, mainWindow), 0u);
}

// Another program that makes the instance mutex and a window with the main
// window's class and title is not this program: a start hands it nothing
// and opens its own window.
TEST(SingleInstance, AnImpostorWindowIsHandedNothing) {
    std::wstring exe = PrepareProgram(L"single-instance-impostor");
    wchar_t desktop[MAX_PATH] = {};
    DWORD needed = 0;
    GetUserObjectInformationW(GetThreadDesktop(GetCurrentThreadId()), UOI_NAME, desktop, sizeof desktop, &needed);
    const std::wstring mutexName = std::wstring(L"Ordalis-7a8caa0e-a83e-4ebe-a126-8e15046ca30d1-") + desktop;
    TestDriver::UniqueHandle mutex(CreateMutexW(nullptr, FALSE, mutexName.c_str()));
    HWND impostor = CreateWindowExW(0, kDialogClass, kMainTitle, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200, 100,
                                    nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(impostor, nullptr);
    TestDriver::PumpMessages(200);

    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"Z:\\");
    ASSERT_NE(program, nullptr);
    HWND mainWindow = WaitForMainWindow(*program);
    EXPECT_NE(mainWindow, nullptr) << "the start handed its paths over and ended";
    if (mainWindow) EXPECT_EQ(CloseThroughExitCommand(*program, mainWindow), 0u);
    DestroyWindow(impostor);
}

TEST(SingleInstance, MinimisedFirstWindowKeepsTheSecondStartWaitingUntilItIsActivated) {
    std::wstring exe = PrepareProgram(L"single-instance-minimised");
    std::unique_ptr<RunningProgram> first = TestDriver::StartProgram(exe, L"");
    ASSERT_NE(first, nullptr);
    HWND mainWindow = WaitForMainWindow(*first);
    ASSERT_NE(mainWindow, nullptr);
    ShowWindow(mainWindow, SW_MINIMIZE);
    TestDriver::PumpMessages(300);
    ASSERT_TRUE(TestDriver::IsMinimised(mainWindow));
    // A minimised window can still be the foreground one; make sure it is not.
    CoverWindow cover;
    ASSERT_TRUE(WaitUntilForeground(cover.Get(), 5000)) << "cannot put a window in front";

    // The second instance flashes the first one's window until the user
    // activates it, and only then ends.
    std::unique_ptr<RunningProgram> second = TestDriver::StartProgram(exe, L"");
    ASSERT_NE(second, nullptr);
    // Longer than a few flashes: the wait lasts as long as the user's.
    EXPECT_FALSE(second->WaitForExit(6000)) << "ended before the first window was activated";

    ShowWindow(mainWindow, SW_RESTORE);
    SetForegroundWindow(mainWindow);
    ASSERT_TRUE(second->WaitForExit(kWaitMs)) << "still waiting after the activation";
    EXPECT_EQ(second->ExitCode(), 0u);
    EXPECT_TRUE(WaitUntilForeground(mainWindow, 5000));
    EXPECT_EQ(CloseThroughExitCommand(*first, mainWindow), 0u);
}

TEST(StartupChecks, WithoutTheDiskCheckLibraryTheProgramSaysSoAndEndsWithZero) {
    std::wstring exe = PrepareProgram(L"no-fmifs", false);
    TestDriver::SystemCheckerHidden noSystemChecker;
    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"");
    ASSERT_NE(program, nullptr);
    HWND box = TestDriver::WaitForDialogOf(program->ProcessId(), nullptr, kWaitMs);
    ASSERT_NE(box, nullptr) << "no message box";
    TestDriver::SaveScreenshot(L"e2e_no_fmifs");

    EXPECT_EQ(TestDriver::WindowText(box), kMainTitle);
    std::vector<std::wstring> texts = TestDriver::ChildTexts(box);
    EXPECT_NE(std::find(texts.begin(), texts.end(),
                        L"Could not find Chkdsk entry point in FMIFS.DLL."),
              texts.end());

    TestDriver::PressButton(box, IDOK);
    ASSERT_TRUE(program->WaitForExit(kWaitMs)) << "still running after the message";
    EXPECT_EQ(program->ExitCode(), 0u);
}

TEST(PathArguments, WildcardAddsTheMatchingFilesButNotTheMatchingFolders) {
    std::wstring exe = PrepareProgram(L"wildcard");
    std::filesystem::path data = WorkFolder(L"wildcard") + L"\\data";
    std::filesystem::create_directories(data / L"folder.txt");
    std::ofstream(data / L"first.txt") << "one";
    std::ofstream(data / L"second.txt") << "two";
    std::ofstream(data / L"other.dat") << "not matched";

    std::unique_ptr<RunningProgram> program =
        TestDriver::StartProgram(exe, L"\"" + (data / L"*.txt").wstring() + L"\"");
    ASSERT_NE(program, nullptr);
    HWND mainWindow = WaitForMainWindow(*program);
    ASSERT_NE(mainWindow, nullptr);
    HWND list = ItemList(mainWindow);
    ASSERT_NE(list, nullptr);
    TestDriver::SaveScreenshot(L"e2e_wildcard");

    std::vector<std::wstring> names = ColumnTexts(list, 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::wstring>{(data / L"first.txt").wstring(),
                                                (data / L"second.txt").wstring()}));
    EXPECT_EQ(CloseThroughExitCommand(*program, mainWindow), 0u);
}

TEST(PathArguments, QuotedDriveRootIsAddedAsTheRootFolder) {
    std::wstring exe = PrepareProgram(L"drive-root");
    // The built-in language, whatever the locale: the type text is checked.
    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"\"Z:\\\" /LANG:IT");
    ASSERT_NE(program, nullptr);
    HWND mainWindow = WaitForMainWindow(*program);
    ASSERT_NE(mainWindow, nullptr);
    HWND list = ItemList(mainWindow);
    ASSERT_NE(list, nullptr);
    TestDriver::SaveScreenshot(L"e2e_drive_root");

    ASSERT_EQ(TestDriver::ListViewRowCount(list), 1);
    EXPECT_EQ(TestDriver::ListViewCellText(list, 0, 0), L"Z:\\");
    EXPECT_EQ(TestDriver::ListViewCellText(list, 0, kTypeColumn), L"Cartella principale");
    EXPECT_EQ(CloseThroughExitCommand(*program, mainWindow), 0u);
}

// Anything that can set the environment of the elevated program must not be
// able to change what it does: the names the simulating variant reads from
// its environment (the fault switch among them) are not even in the
// shipped program.
TEST(ShippedProgram, ReadsNoTestSwitchFromItsEnvironment) {
    auto bytesOf = [](const char* path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    auto holds = [](const std::string& bytes, const std::string& name) {
        std::string wide;
        for (char c : name) wide += std::string{c, '\0'};
        return bytes.find(name) != std::string::npos || bytes.find(wide) != std::string::npos;
    };
    const std::string shipped = bytesOf(ORDALIS_PROGRAM);
    const std::string simulating = bytesOf(ORDALIS_SIM_PROGRAM);
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
TEST(ShippedProgram, LoadsNoDllFromItsOwnFolder) {
    std::wstring exe = PrepareProgram(L"planted");
    const std::filesystem::path folder = std::filesystem::path(exe).parent_path();
    for (const wchar_t* name : {L"fmifs.dll", L"RICHED20.DLL", L"UxTheme.dll", L"MSIMG32.dll"}) {
        std::filesystem::remove(folder / name);
        std::filesystem::copy_file(TestDriver::HostPathToWindows(ORDALIS_PLANTED_DLL), folder / name);
    }
    const std::filesystem::path log = folder.parent_path() / L"planted.log";
    std::filesystem::remove(log);
    SetEnvironmentVariableW(L"ORDALIS_PLANTED_LOG", log.c_str());

    TestDriver::RunResult run = TestDriver::RunProgram(exe, L"/NOGUI", kWaitMs);
    SetEnvironmentVariableW(L"ORDALIS_PLANTED_LOG", nullptr);

    ASSERT_TRUE(run.finished) << "the program did not end";
    EXPECT_EQ(run.exitCode, 0u);
    std::ifstream announced(log, std::ios::binary);
    const std::string loaded((std::istreambuf_iterator<char>(announced)), {});
    EXPECT_TRUE(loaded.empty()) << "loaded from its own folder: " << Printable(loaded);
}

}  // namespace
