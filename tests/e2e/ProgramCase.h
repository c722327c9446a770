// What the whole-program cases share: a case folder with its own copy of the
// program, the simulated volume described beside it and read back after the
// run, the environment the case sets, the program started with its window
// found, and the program's own command and control numbers.
#pragma once

#include "TestDriver.h"
#include "res/ResourceIds.h"
#include "options/CommandIds.h"
#include "options/ProgramVersion.h"
#include "util/UnicodeTextFile.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace e2e {

namespace fs = std::filesystem;

// The longest any case waits for a window, a state or the program's end.
inline constexpr DWORD kWaitMs = 60000;
inline constexpr wchar_t kDialogClass[] = L"#32770";
inline constexpr wchar_t kMainTitle[] = L"Ordalis";
inline constexpr int kStateColumn = 1;
inline constexpr wchar_t kWorking[] = L"In elaborazione...";
inline std::string ReadWhole(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// For texts that are plain ASCII, as paths and messages in these cases are.
inline std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }
inline std::wstring Widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// The program's start banner on the console.
inline const std::string kBanner =
    "\r\n\r\nOrdalis v" + Narrow(ORDALIS_VERSION_TEXT) + "\r\n" + Narrow(ORDALIS_NOTICE_TEXT) + "\r\n\r\n";

inline int ScreenDpi() {
    HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return dpi;
}

// A length in pixels at 96 dots per inch, at the screen's.
inline int Scaled(int size96) { return MulDiv(size96, ScreenDpi(), 96); }

// The bytes of a text file as the program writes its own (profiles, filter
// lists, settings).
inline std::string Utf16FileLines(const std::vector<std::wstring>& lines) {
    const std::vector<uint8_t> bytes = EncodeUnicodeText(lines);
    return std::string(bytes.begin(), bytes.end());
}

// The line of one file in a volume's description or end state.
inline std::string FileLine(const std::string& state, const std::wstring& path) {
    const std::string key = "file \"" + Narrow(path) + "\"";
    const size_t at = state.find(key);
    if (at == std::string::npos) return "<no " + key + ">";
    return state.substr(at, state.find('\n', at) - at);
}

// The row whose first column reads `text`, or -1.
inline int RowOf(HWND list, const std::wstring& text) {
    const std::vector<std::wstring> names = TestDriver::ListViewColumnTexts(list, 0);
    const auto found = std::find(names.begin(), names.end(), text);
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

inline std::wstring WaitForCell(HWND list, int row, int column, const std::wstring& wanted, DWORD timeoutMs = kWaitMs) {
    std::wstring text;
    for (DWORD waited = 0; waited < timeoutMs; waited += 20) {
        text = TestDriver::ListViewCellText(list, row, column);
        if (text == wanted) break;
        TestDriver::PumpMessages(20);
    }
    return text;
}

inline void WaitGone(HWND window) {
    for (DWORD waited = 0; IsWindow(window) && waited < kWaitMs; waited += 50) TestDriver::PumpMessages(50);
}

// A window that shows up for the process before it ends, or null.
inline HWND WindowBeforeTheEnd(TestDriver::RunningProgram& program) {
    for (DWORD start = GetTickCount(); program.Running() && GetTickCount() - start < kWaitMs;) {
        if (HWND window = TestDriver::FindTopWindow({nullptr, nullptr, program.ProcessId()})) return window;
        TestDriver::PumpMessages(20);
    }
    return nullptr;
}

// The window with the keyboard focus in the window's thread.
inline HWND FocusOf(HWND window) {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    return info.hwndFocus;
}

// The first part of each of the main window's two status bars, top one first.
inline std::vector<std::wstring> StatusTexts(HWND main) {
    return {TestDriver::WindowText(GetDlgItem(main, IDC_STATUS_UPPER)),
            TestDriver::WindowText(GetDlgItem(main, IDC_STATUS_LOWER))};
}

// Wine has no disk checker of its own: the fmifs.dll double stands in for it
// in the system folder, where the shipped program takes it from (the
// simulating one takes the copy beside it).
inline fs::path SystemChecker() {
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    return fs::path(folder) / L"fmifs.dll";
}

// A program that has the checker loaded keeps its copy: the new one arrives
// under another name and takes the place of the old in one step.
inline void InstallSystemChecker() {
    const fs::path installed = SystemChecker();
    std::error_code missing;
    if (fs::file_size(installed, missing) == fs::file_size(ORDALIS_FMIFS_DLL) &&
        fs::last_write_time(installed) >= fs::last_write_time(ORDALIS_FMIFS_DLL)) {
        return;
    }
    const fs::path incoming = installed.wstring() + L".new";
    fs::copy_file(ORDALIS_FMIFS_DLL, incoming, fs::copy_options::overwrite_existing);
    ASSERT_TRUE(MoveFileExW(incoming.c_str(), installed.c_str(), MOVEFILE_REPLACE_EXISTING));
}

// One case: its folder on the host, the same folder as the program sees it,
// the program copied into it, the volume description beside it, and the
// program once started.
class ProgramCase : public ::testing::Test {
protected:
    // Also between the rows of a table of cases.
    void TearDown() override {
        if (program_ && program_->Running()) program_->Kill();
        for (const std::wstring& name : environment_) SetEnvironmentVariableW(name.c_str(), nullptr);
        environment_.clear();
    }

    // `folder`: the case's folder name under the work folder; `settings`:
    // lines of a settings file to put beside the program. An instance
    // started elsewhere (a manual run left open) would take every start over
    // through the single-instance rule, so it is reported first.
    void Prepare(const std::string& folder, const char* program, const std::wstring& settings = L"",
                 bool withFmifs = true) {
        TestDriver::WindowQuery running{kDialogClass, kMainTitle, 0, nullptr, false};
        EXPECT_EQ(TestDriver::FindTopWindow(running), nullptr)
            << "an Ordalis instance not started by this test is running on the Wine desktop";
        host_ = fs::path(ORDALIS_E2E_WORK_DIR) / folder;
        // A read-only file left by an earlier failure would refuse removal.
        std::error_code ignored;
        for (const auto& entry : fs::recursive_directory_iterator(host_, ignored)) {
            fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add, ignored);
        }
        fs::remove_all(host_);
        fs::create_directories(host_ / "data");
        const fs::path from(program);
        const fs::path to = host_ / "program" / from.filename();
        fs::create_directories(to.parent_path());
        fs::copy_file(from, to);
        // The language files ship beside the program; without them a start in a
        // locale other than the built-in language stops at a message box.
        fs::copy(from.parent_path() / "lang", to.parent_path() / "lang", fs::copy_options::recursive);
        if (withFmifs) {
            fs::copy_file(ORDALIS_FMIFS_DLL, to.parent_path() / "fmifs.dll");
            InstallSystemChecker();
        }
        exe_ = TestDriver::HostPathToWindows(to.string());
        if (!settings.empty()) {
            std::ofstream(host_ / "program" / "ordalis.ini", std::ios::binary) << Utf16FileLines({L"RX1.00", settings});
        }
    }

    // The path as the program sees it, for a path below the case folder
    // (the folder itself for an empty one).
    std::wstring Win(const std::string& relative) const {
        return TestDriver::HostPathToWindows((relative.empty() ? host_ : host_ / relative).string());
    }

    void MakeFile(const std::string& relative, uintmax_t size) {
        fs::create_directories((host_ / relative).parent_path());
        std::ofstream(host_ / relative, std::ios::binary) << std::string(size, 'x');
    }

    // Set for the program; unset when the case ends.
    void Env(const std::wstring& name, const std::wstring& value) {
        SetEnvironmentVariableW(name.c_str(), value.c_str());
        environment_.push_back(name);
    }
    void EnvPath(const std::wstring& name, const std::string& relative) { Env(name, Win(relative)); }

    // One file of the simulated volume: made under the case folder with its
    // size, its clusters in the runs given.
    struct SimFile {
        std::string relative;
        uintmax_t size;
        std::string runs;
    };
    // "volume ..." first line, then one line per file, then any further
    // lines as they are.
    void Describe(const std::string& volumeLine, const std::vector<SimFile>& files, const std::string& more = "") {
        description_ = volumeLine + "\n";
        for (const SimFile& file : files) {
            MakeFile(file.relative, file.size);
            description_ += "file \"" + Narrow(Win(file.relative)) + "\" size=" + std::to_string(file.size) +
                            " runs=" + file.runs + "\n";
        }
        description_ += more;
        std::ofstream(host_ / "volume.txt", std::ios::binary) << description_;
        EnvPath(L"ORDALIS_SIMVOLUME", "volume.txt");
        EnvPath(L"ORDALIS_SIMVOLUME_OUT", "end.txt");
    }

    // The volume after the run, its checker's verdict last.
    std::string EndState() const { return ReadWhole(host_ / "end.txt"); }

    // Starts the program and finds its window and item list.
    void Start(const std::wstring& arguments) {
        program_ = TestDriver::StartProgram(exe_, arguments);
        ASSERT_TRUE(program_);
        main_ = TestDriver::WaitForWindow({kDialogClass, kMainTitle, program_->ProcessId()}, kWaitMs);
        ASSERT_NE(main_, nullptr) << "no main window";
        items_ = GetDlgItem(main_, IDC_ITEM_LIST);
        ASSERT_NE(items_, nullptr);
    }

    // Starts the program without looking for its window: for what comes
    // before the window or instead of it.
    bool StartOnly(const std::wstring& arguments) {
        program_ = TestDriver::StartProgram(exe_, arguments);
        return program_ != nullptr;
    }

    // A message box or a modal dialog over the main window.
    HWND WaitForDialog() { return TestDriver::WaitForWindow({kDialogClass, nullptr, program_->ProcessId(), main_}, kWaitMs); }
    HWND WaitForTitle(const wchar_t* title) {
        return TestDriver::WaitForWindow({kDialogClass, title, program_->ProcessId()}, kWaitMs);
    }

    // Closes the window through its exit command; the exit code.
    DWORD Close() {
        TestDriver::SendCommand(main_, kCmdExit);
        return program_->WaitForExit(kWaitMs) ? program_->ExitCode() : STILL_ACTIVE;
    }

    void Picture(const std::wstring& name, HWND window = nullptr) {
        TestDriver::PumpMessages(400);
        TestDriver::SaveWindowScreenshot(window ? window : main_, name + L"-" + std::to_wstring(ScreenDpi()));
    }

    fs::path host_;
    std::wstring exe_;
    std::string description_;
    std::vector<std::wstring> environment_;
    std::unique_ptr<TestDriver::RunningProgram> program_;
    HWND main_ = nullptr;
    HWND items_ = nullptr;
};

}  // namespace e2e
