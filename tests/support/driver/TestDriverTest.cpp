// The driver against a probe: this same program started a second time with
// "--driver-probe=<mode>", so every window helper works across a process
// boundary exactly as it does on Ordalis.exe.

#include "TestDriver.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

constexpr wchar_t kProbeClass[] = L"OrdalisDriverProbe";
constexpr wchar_t kProbeTitle[] = L"Driver probe";
constexpr int kButtonId = 1001;
constexpr int kCommandId = 9003;
constexpr DWORD kWaitMs = 20000;

// The probe's list is virtual, as the program's item list is: the texts come
// from this table through LVN_GETDISPINFOW.
const wchar_t* const kCells[2][2] = {{L"Z:\\data\\first.txt", L"Documento"},
                                     {L"Z:\\", L"Cartella principale"}};

LRESULT CALLBACK ProbeProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COMMAND:
        if (LOWORD(wParam) == kButtonId && HIWORD(wParam) == BN_CLICKED) {
            PostQuitMessage(11);
        } else if (LOWORD(wParam) == kCommandId) {
            PostQuitMessage(12);
        }
        return 0;
    case WM_CLOSE:
        PostQuitMessage(13);
        return 0;
    case WM_NOTIFY: {
        auto* info = reinterpret_cast<NMLVDISPINFOW*>(lParam);
        if (info->hdr.code == LVN_GETDISPINFOW && (info->item.mask & LVIF_TEXT)) {
            lstrcpynW(info->item.pszText, kCells[info->item.iItem][info->item.iSubItem],
                      info->item.cchTextMax);
        }
        return 0;
    }
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

int RunProbeWindow() {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = ProbeProc;
    windowClass.hInstance = instance;
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    windowClass.lpszClassName = kProbeClass;
    RegisterClassW(&windowClass);
    HWND window = CreateWindowExW(0, kProbeClass, kProbeTitle, WS_OVERLAPPEDWINDOW, 100, 100,
                                  500, 300, nullptr, nullptr, instance, nullptr);
    HWND list = CreateWindowExW(0, WC_LISTVIEWW, L"",
                                WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_OWNERDATA, 0, 0, 480,
                                180, window, nullptr, instance, nullptr);
    const wchar_t* headers[] = {L"Nome", L"Tipo"};
    for (int column = 0; column < 2; ++column) {
        LVCOLUMNW record{};
        record.mask = LVCF_TEXT | LVCF_WIDTH;
        record.cx = 200;
        record.pszText = const_cast<wchar_t*>(headers[column]);
        SendMessageW(list, LVM_INSERTCOLUMNW, column, reinterpret_cast<LPARAM>(&record));
    }
    SendMessageW(list, LVM_SETITEMCOUNT, 2, 0);
    CreateWindowExW(0, L"BUTTON", L"OK", WS_CHILD | WS_VISIBLE, 10, 190, 80, 25, window,
                    reinterpret_cast<HMENU>(static_cast<INT_PTR>(kButtonId)), instance, nullptr);
    HWND status = CreateWindowExW(0, STATUSCLASSNAMEW, L"", WS_CHILD | WS_VISIBLE, 0, 0, 0, 0,
                                  window, nullptr, instance, nullptr);
    int edges[] = {150, -1};
    SendMessageW(status, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(edges));
    SendMessageW(status, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(L"Part one"));
    SendMessageW(status, SB_SETTEXTW, 1, reinterpret_cast<LPARAM>(L"Part two"));
    ShowWindow(window, SW_SHOW);

    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

// Runs before the tests when this program was started as a probe.
const bool gProbeHandled = [] {
    const wchar_t* mode = wcsstr(GetCommandLineW(), L"--driver-probe=");
    if (!mode) {
        return false;
    }
    mode += wcslen(L"--driver-probe=");
    if (wcsncmp(mode, L"print", 5) == 0) {
        // Raw handles: the C runtime's text mode would add a CR to every LF.
        DWORD written = 0;
        WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), "to standard output\r\n", 20, &written,
                  nullptr);
        WriteFile(GetStdHandle(STD_ERROR_HANDLE), "to standard error\r\n", 19, &written,
                  nullptr);
        ExitProcess(7);
    }
    if (wcsncmp(mode, L"hang", 4) == 0) {
        Sleep(INFINITE);
    }
    ExitProcess(RunProbeWindow());
}();

std::wstring SelfPath() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

TEST(TestDriverProcess, CapturesOutputAndExitCode) {
    TestDriver::RunResult result =
        TestDriver::RunProgram(SelfPath(), L"--driver-probe=print", kWaitMs);
    ASSERT_TRUE(result.started);
    EXPECT_TRUE(result.finished);
    EXPECT_EQ(result.exitCode, 7u);
    EXPECT_EQ(result.output, "to standard output\r\nto standard error\r\n");
}

TEST(TestDriverProcess, KillsAProgramThatOutlivesItsTimeout) {
    DWORD start = GetTickCount();
    TestDriver::RunResult result = TestDriver::RunProgram(SelfPath(), L"--driver-probe=hang", 1500);
    ASSERT_TRUE(result.started);
    EXPECT_FALSE(result.finished);
    EXPECT_NE(result.exitCode, STILL_ACTIVE);
    EXPECT_LT(GetTickCount() - start, 15000u);
}

TEST(TestDriverProcess, PreparesAFreshFolderWithOrWithoutTheDouble) {
    std::wstring folder = TestDriver::HostPathToWindows(ORDALIS_TEST_WORK_DIR) + L"\\prepare";
    std::wstring dll = folder + L"-source.dll";
    std::filesystem::create_directories(folder);
    std::ofstream(std::filesystem::path(folder) / L"stale.txt") << "left by an earlier run";
    std::ofstream(std::filesystem::path(dll)) << "stand-in";

    TestDriver::ProgramUnderTest with(folder, SelfPath(), dll);
    ASSERT_TRUE(with.Ready()) << std::filesystem::path(with.Error()).string();
    EXPECT_TRUE(std::filesystem::exists(with.ExePath()));
    EXPECT_TRUE(std::filesystem::exists(folder + L"\\fmifs.dll"));
    EXPECT_FALSE(std::filesystem::exists(folder + L"\\stale.txt"));

    TestDriver::ProgramUnderTest without(folder, SelfPath(), L"");
    ASSERT_TRUE(without.Ready());
    EXPECT_FALSE(std::filesystem::exists(folder + L"\\fmifs.dll"));
}

class TestDriverWindows : public testing::Test {
protected:
    void SetUp() override {
        probe_ = TestDriver::StartProgram(SelfPath(), L"--driver-probe=window");
        ASSERT_NE(probe_, nullptr);
        window_ = TestDriver::WaitForWindow(kProbeClass, kProbeTitle, probe_->ProcessId(), kWaitMs);
        ASSERT_NE(window_, nullptr);
    }

    DWORD ExitCodeAfter(DWORD timeoutMs) {
        return probe_->WaitForExit(timeoutMs) ? probe_->ExitCode() : STILL_ACTIVE;
    }

    std::unique_ptr<TestDriver::RunningProgram> probe_;
    HWND window_ = nullptr;
};

TEST_F(TestDriverWindows, FindsWindowsOnlyOfTheGivenProcess) {
    EXPECT_EQ(TestDriver::WaitForWindow(kProbeClass, kProbeTitle, GetCurrentProcessId(), 300),
              nullptr);
    EXPECT_EQ(TestDriver::WaitForWindow(kProbeClass, L"Another title", 0, 300), nullptr);
    EXPECT_EQ(TestDriver::WindowText(window_), kProbeTitle);
    EXPECT_EQ(TestDriver::ProcessIdOf(window_), probe_->ProcessId());
}

TEST_F(TestDriverWindows, ReadsAVirtualListViewOfAnotherProcess) {
    HWND list = TestDriver::FindListViewByHeader(window_, L"Nome");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(TestDriver::FindListViewByHeader(window_, L"Stato"), nullptr);
    EXPECT_EQ(TestDriver::ListViewColumnHeader(list, 1), L"Tipo");
    ASSERT_EQ(TestDriver::ListViewRowCount(list), 2);
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 2; ++column) {
            EXPECT_EQ(TestDriver::ListViewCellText(list, row, column), kCells[row][column]);
        }
    }
}

TEST_F(TestDriverWindows, ReadsStatusBarPartsAndChildTexts) {
    std::vector<HWND> bars = TestDriver::ChildWindows(window_, STATUSCLASSNAMEW);
    ASSERT_EQ(bars.size(), 1u);
    EXPECT_EQ(TestDriver::StatusBarTexts(bars[0]),
              (std::vector<std::wstring>{L"Part one", L"Part two"}));
    std::vector<std::wstring> texts = TestDriver::ChildTexts(window_);
    EXPECT_NE(std::find(texts.begin(), texts.end(), L"OK"), texts.end());
}

TEST_F(TestDriverWindows, ButtonCommandAndCloseReachTheWindow) {
    EXPECT_TRUE(TestDriver::PressButton(window_, kButtonId));
    EXPECT_EQ(ExitCodeAfter(kWaitMs), 11u);

    SetUp();
    EXPECT_TRUE(TestDriver::SendCommand(window_, kCommandId));
    EXPECT_EQ(ExitCodeAfter(kWaitMs), 12u);

    SetUp();
    EXPECT_TRUE(TestDriver::RequestClose(window_));
    EXPECT_EQ(ExitCodeAfter(kWaitMs), 13u);
}

TEST_F(TestDriverWindows, SeesMinimisedAndForegroundState) {
    EXPECT_FALSE(TestDriver::IsMinimised(window_));
    SetForegroundWindow(window_);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ForegroundWindow(), window_);
    ShowWindow(window_, SW_MINIMIZE);
    TestDriver::PumpMessages(300);
    EXPECT_TRUE(TestDriver::IsMinimised(window_));
}

TEST_F(TestDriverWindows, SavesAScreenshot) {
    std::wstring path = TestDriver::SaveScreenshot(L"driver_probe");
    ASSERT_FALSE(path.empty());
    // Both formats state the image size near the start: it must be the whole screen.
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    unsigned char head[26] = {};
    file.read(reinterpret_cast<char*>(head), sizeof head);
    auto bigEndian = [&](int at) {
        return head[at] << 24 | head[at + 1] << 16 | head[at + 2] << 8 | head[at + 3];
    };
    auto littleEndian = [&](int at) {
        return head[at + 3] << 24 | head[at + 2] << 16 | head[at + 1] << 8 | head[at];
    };
    int width = 0;
    int height = 0;
    if (head[1] == 'P' && head[2] == 'N' && head[3] == 'G') {
        width = bigEndian(16);
        height = bigEndian(20);
    } else if (head[0] == 'B' && head[1] == 'M') {
        width = littleEndian(18);
        height = littleEndian(22);
    }
    EXPECT_EQ(width, GetSystemMetrics(SM_CXVIRTUALSCREEN)) << "neither PNG nor BMP?";
    EXPECT_EQ(height, GetSystemMetrics(SM_CYVIRTUALSCREEN));
}

}  // namespace
