// A stand-in for the system's fmifs.dll, for tests only: it is copied beside
// Ordalis.exe in test folders and never shipped. It exports Chkdsk with the
// system's argument list and calling convention and plays back, through the
// caller's callback, whatever the test scripted for one drive.
//
// ORDALIS_FMIFS_SCRIPT is the drive letter and a colon, then fields separated
// by ";", sent in the order written:
//
//   progress=10,50,100       one progress report (command 0) per number
//   text=Line one|Line two   one text report (command 14) per line, the line
//                            in the OEM code page with "\r\n" appended
//   delay=200                milliseconds to wait before each report
//   result=ok | fail         the closing report (command 11), success TRUE
//                            or FALSE; ok when not given
//
// Example: "C:progress=10,50;text=Checking files|No problems;progress=100".
// Another drive gets only the closing report, with success. A field this
// double does not know closes with FALSE, so a mistyped script shows up as a
// failed check. If the callback answers FALSE, nothing more is sent.
//
// ORDALIS_FMIFS_LOG names a file to which every call appends one UTF-8 line
// before any report is sent:
//
//   Chkdsk root=C:\ fs=NTFS fix=0 verbose=0 dirtyonly=0 scan=0 reserved=0,0 callback=1

#include <windows.h>

#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>
#include <vector>

namespace {

enum CallbackCommand : DWORD {
    kCommandProgress = 0,
    kCommandDone = 11,
    kCommandOutput = 14,
};

// The record behind a text report: a line count and OEM text.
struct TextOutput {
    DWORD lines;
    char* output;
};

using FmifsCallback = BOOLEAN(WINAPI*)(DWORD command, DWORD subAction, PVOID actionInfo);

struct Report {
    DWORD command;
    DWORD percent;     // progress
    std::string text;  // output, OEM code page
};

std::wstring EnvironmentText(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::string ToCodePage(std::wstring_view text, UINT codePage) {
    const int length =
        WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string result(length, '\0');
    WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), result.data(), length, nullptr,
                        nullptr);
    return result;
}

std::vector<std::wstring_view> Split(std::wstring_view text, wchar_t separator) {
    std::vector<std::wstring_view> parts;
    for (size_t start = 0;;) {
        const size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end == std::wstring_view::npos ? end : end - start));
        if (end == std::wstring_view::npos) return parts;
        start = end + 1;
    }
}

DWORD Number(std::wstring_view text) {
    return static_cast<DWORD>(std::wcstoul(std::wstring(text).c_str(), nullptr, 10));
}

// The reports of the drive's script in order; the closing report's success.
bool ParseScript(std::wstring_view fields, std::vector<Report>& reports, DWORD& delayMs) {
    bool success = true;
    for (std::wstring_view field : Split(fields, L';')) {
        const size_t equals = field.find(L'=');
        const std::wstring_view key = field.substr(0, equals);
        const std::wstring_view value = equals == std::wstring_view::npos ? L"" : field.substr(equals + 1);
        if (key == L"progress") {
            for (std::wstring_view number : Split(value, L',')) {
                reports.push_back({kCommandProgress, Number(number), {}});
            }
        } else if (key == L"text") {
            for (std::wstring_view line : Split(value, L'|')) {
                reports.push_back({kCommandOutput, 0, ToCodePage(std::wstring(line) + L"\r\n", CP_OEMCP)});
            }
        } else if (key == L"delay") {
            delayMs = Number(value);
        } else {
            // "result=fail", and any field this double does not know.
            success = success && key == L"result" && value == L"ok";
        }
    }
    return success;
}

void AppendLog(const std::wstring& line) {
    const std::wstring path = EnvironmentText(L"ORDALIS_FMIFS_LOG");
    if (path.empty()) return;
    HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    const std::string bytes = ToCodePage(line + L"\r\n", CP_UTF8);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

const wchar_t* OrNull(const wchar_t* text) { return text ? text : L"(null)"; }

}  // namespace

// Exported by name through fmifs.def, undecorated, as the system library does.
extern "C" VOID WINAPI Chkdsk(PWCHAR driveRoot, PWCHAR format, BOOL correctErrors, BOOL verbose,
                              BOOL checkOnlyIfDirty, BOOL scanDrive, PVOID reserved1, PVOID reserved2,
                              FmifsCallback callback) {
    AppendLog(std::wstring(L"Chkdsk root=") + OrNull(driveRoot) + L" fs=" + OrNull(format) +
              L" fix=" + std::to_wstring(correctErrors) + L" verbose=" + std::to_wstring(verbose) +
              L" dirtyonly=" + std::to_wstring(checkOnlyIfDirty) + L" scan=" + std::to_wstring(scanDrive) +
              L" reserved=" + (reserved1 ? L"1" : L"0") + L"," + (reserved2 ? L"1" : L"0") +
              L" callback=" + (callback ? L"1" : L"0"));
    if (!callback) return;
    const std::wstring script = EnvironmentText(L"ORDALIS_FMIFS_SCRIPT");
    std::vector<Report> reports;
    DWORD delayMs = 0;
    BOOLEAN success = TRUE;
    if (driveRoot && script.size() >= 2 && script[1] == L':' &&
        std::towupper(script[0]) == std::towupper(driveRoot[0])) {
        success = ParseScript(std::wstring_view(script).substr(2), reports, delayMs);
    }
    for (Report& report : reports) {
        Sleep(delayMs);
        DWORD percent = report.percent;
        TextOutput output{1, report.text.data()};
        const bool progress = report.command == kCommandProgress;
        if (!callback(report.command, 0, progress ? static_cast<PVOID>(&percent) : &output)) return;
    }
    Sleep(delayMs);
    callback(kCommandDone, 0, &success);
}
