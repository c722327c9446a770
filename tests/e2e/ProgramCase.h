// What the whole-program cases share: a case folder with its own copy of the
// program, the simulated volume described beside it and read back after the
// run, and the program's own command and control numbers.
#pragma once

#include "TestDriver.h"
#include "res/ResourceIds.h"
#include "options/CommandIds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace e2e {

namespace fs = std::filesystem;

// The longest any case waits for a window, a state or the program's end.
inline constexpr DWORD kWaitMs = 60000;
inline constexpr wchar_t kDialogClass[] = L"#32770";
inline constexpr wchar_t kMainTitle[] = L"Ordalis";
inline constexpr int kStateColumn = 1;

inline std::string ReadWhole(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// For texts that are plain ASCII, as paths and messages in these cases are.
inline std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

inline int ScreenDpi() {
    HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return dpi;
}

// A length in pixels at 96 dots per inch, at the screen's.
inline int Scaled(int size96) { return MulDiv(size96, ScreenDpi(), 96); }

// The bytes of a text file as the program writes its own (profiles, filter
// lists, settings): UTF-16LE after a byte-order mark.
inline std::string Utf16FileBytes(const std::wstring& text) {
    std::string bytes("\xFF\xFE", 2);
    for (wchar_t c : text) {
        bytes += static_cast<char>(c & 0xFF);
        bytes += static_cast<char>((c >> 8) & 0xFF);
    }
    return bytes;
}

// The same with CR LF after each line.
inline std::string Utf16FileLines(const std::vector<std::wstring>& lines) {
    std::wstring text;
    for (const std::wstring& line : lines) text += line + L"\r\n";
    return Utf16FileBytes(text);
}

// One case: its folder on the host, the same folder as the program sees it,
// the program copied into it, and the volume description beside it.
class ProgramCase : public ::testing::Test {
protected:
    void TearDown() override {
        SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME", nullptr);
        SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME_OUT", nullptr);
    }

    // `folder`: the case's folder name under the work folder.
    void Prepare(const std::string& folder, const char* program) {
        host_ = fs::path(ORDALIS_E2E_WORK_DIR) / folder;
        fs::remove_all(host_);
        fs::create_directories(host_ / "data");
        TestDriver::ProgramUnderTest copy(TestDriver::HostPathToWindows((host_ / "program").string()),
                                          TestDriver::HostPathToWindows(program),
                                          TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL));
        ASSERT_TRUE(copy.Ready()) << fs::path(copy.Error()).string();
        exe_ = copy.ExePath();
    }

    // The path as the program sees it, for a path below the case folder
    // (the folder itself for an empty one).
    std::wstring Win(const std::string& relative) const {
        std::wstring path = TestDriver::HostPathToWindows((relative.empty() ? host_ : host_ / relative).string());
        std::replace(path.begin(), path.end(), L'/', L'\\');
        return path;
    }
    std::string WinText(const std::string& relative) const { return Narrow(Win(relative)); }

    void MakeFile(const std::string& relative, uintmax_t size) {
        fs::create_directories((host_ / relative).parent_path());
        std::ofstream(host_ / relative, std::ios::binary) << std::string(size, 'x');
    }

    // "volume ..." first line, then one line per file given as relative path
    // and attributes, then any further lines as they are.
    void Describe(const std::string& volumeLine, const std::vector<std::pair<std::string, std::string>>& files,
                  const std::string& more = "") {
        description_ = volumeLine + "\n";
        for (const auto& [relative, attributes] : files) {
            description_ += "file \"" + WinText(relative) + "\" " + attributes + "\n";
        }
        description_ += more;
        std::ofstream(host_ / "volume.txt", std::ios::binary) << description_;
        SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME", Win("volume.txt").c_str());
        SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME_OUT", Win("end.txt").c_str());
    }

    std::string EndState() const { return ReadWhole(host_ / "end.txt"); }

    fs::path host_;
    std::wstring exe_;
    std::string description_;
};

}  // namespace e2e
