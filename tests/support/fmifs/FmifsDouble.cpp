// A stand-in for the system's fmifs.dll, for tests only: it is copied beside
// Ordalis.exe in test folders and never shipped. It exports Chkdsk with the
// system's argument list and calling convention and plays back, through the
// caller's callback, whatever the test scripted for the drive.
//
// ORDALIS_FMIFS_SCRIPT holds one entry per drive. An entry begins with the
// drive letter and a colon ("*:" matches every drive without an entry of its
// own), at the start of the text or after a blank or line break, followed
// directly by its fields, separated by ";":
//
//   progress=10,50,100       one progress report (command 0) per number
//   text=Line one|Line two   one text report (command 14) per line, the line
//                            in the OEM code page with "\r\n" appended
//   delay=200                milliseconds to wait before each report
//   result=ok | fail | none  the closing report (command 11) with success
//                            TRUE or FALSE, or no closing report; default ok
//
// Reports go out in the order the fields are written; the closing report comes
// last. If the callback answers FALSE, nothing more is sent. Example:
//
//   C:progress=10,50;text=Checking files|No problems;progress=100 D:result=fail
//
// A drive without an entry gets only the closing report, with success. An
// entry with a field this double does not know sends a text report naming the
// field and closes with FALSE, so a mistyped script shows up as a failed check.
//
// ORDALIS_FMIFS_LOG names a file to which every call appends one UTF-8 line
// before any report is sent:
//
//   Chkdsk root=C:\ fs=NTFS fix=0 verbose=0 dirtyonly=0 scan=0 reserved=0,0 callback=1

#include <windows.h>

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

struct DriveScript {
    std::vector<Report> reports;
    DWORD delayMs = 0;
    bool sendDone = true;
    BOOLEAN success = TRUE;
};

std::wstring EnvironmentText(const wchar_t* name) {
    DWORD count = GetEnvironmentVariableW(name, nullptr, 0);
    if (count == 0) {
        return {};
    }
    std::wstring value(count, L'\0');
    count = GetEnvironmentVariableW(name, value.data(), count);
    value.resize(count);
    return value;
}

std::string ToCodePage(std::wstring_view text, UINT codePage) {
    if (text.empty()) {
        return {};
    }
    int length = WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()),
                                     nullptr, 0, nullptr, nullptr);
    std::string result(length, '\0');
    WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), result.data(),
                        length, nullptr, nullptr);
    return result;
}

// An entry begins with a drive letter (or "*"), a colon and a field name with
// its "=": at the start of the script or after white space. A colon inside a
// text line ("Drive C: is fine") is not followed by a name and "=".
bool StartsEntry(std::wstring_view script, size_t pos) {
    if (pos + 2 > script.size() || script[pos + 1] != L':') {
        return false;
    }
    if (pos > 0 && !std::iswspace(script[pos - 1])) {
        return false;
    }
    if (!std::iswalpha(script[pos]) && script[pos] != L'*') {
        return false;
    }
    size_t name = pos + 2;
    while (name < script.size() && script[name] >= L'a' && script[name] <= L'z') {
        ++name;
    }
    return name > pos + 2 && name < script.size() && script[name] == L'=';
}

// The fields of the entry for the drive (or of the "*:" entry), or nothing.
std::wstring_view FindEntry(std::wstring_view script, wchar_t driveLetter) {
    std::wstring_view wildcard;
    size_t pos = 0;
    while (pos < script.size()) {
        if (!StartsEntry(script, pos)) {
            ++pos;
            continue;
        }
        size_t end = pos + 2;
        while (end < script.size() && !StartsEntry(script, end)) {
            ++end;
        }
        std::wstring_view fields = script.substr(pos + 2, end - pos - 2);
        while (!fields.empty() && std::iswspace(fields.back())) {
            fields.remove_suffix(1);
        }
        if (std::towupper(script[pos]) == driveLetter) {
            return fields;
        }
        if (script[pos] == L'*' && wildcard.empty()) {
            wildcard = fields;
        }
        pos = end;
    }
    return wildcard;
}

std::vector<std::wstring_view> Split(std::wstring_view text, wchar_t separator) {
    std::vector<std::wstring_view> parts;
    size_t start = 0;
    for (;;) {
        size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end == std::wstring_view::npos ? end : end - start));
        if (end == std::wstring_view::npos) {
            return parts;
        }
        start = end + 1;
    }
}

bool ParseNumber(std::wstring_view text, DWORD* value) {
    if (text.empty() || text.size() > 9) {
        return false;
    }
    DWORD result = 0;
    for (wchar_t c : text) {
        if (c < L'0' || c > L'9') {
            return false;
        }
        result = result * 10 + (c - L'0');
    }
    *value = result;
    return true;
}

void FailScript(DriveScript* script, std::wstring_view field) {
    std::wstring message = L"fmifs double: cannot read script field '";
    message.append(field);
    message += L"'\r\n";
    script->reports.push_back({kCommandOutput, 0, ToCodePage(message, CP_OEMCP)});
    script->sendDone = true;
    script->success = FALSE;
}

DriveScript ParseEntry(std::wstring_view fields) {
    DriveScript script;
    if (fields.empty()) {
        return script;
    }
    for (std::wstring_view field : Split(fields, L';')) {
        size_t equals = field.find(L'=');
        std::wstring_view key = field.substr(0, equals);
        std::wstring_view value =
            equals == std::wstring_view::npos ? std::wstring_view{} : field.substr(equals + 1);
        if (equals == std::wstring_view::npos) {
            FailScript(&script, field);
            return script;
        }
        if (key == L"progress") {
            for (std::wstring_view number : Split(value, L',')) {
                DWORD percent = 0;
                if (!ParseNumber(number, &percent)) {
                    FailScript(&script, field);
                    return script;
                }
                script.reports.push_back({kCommandProgress, percent, {}});
            }
        } else if (key == L"text") {
            for (std::wstring_view line : Split(value, L'|')) {
                std::wstring withEnd(line);
                withEnd += L"\r\n";
                script.reports.push_back({kCommandOutput, 0, ToCodePage(withEnd, CP_OEMCP)});
            }
        } else if (key == L"delay") {
            if (!ParseNumber(value, &script.delayMs)) {
                FailScript(&script, field);
                return script;
            }
        } else if (key == L"result" && value == L"ok") {
            script.sendDone = true;
            script.success = TRUE;
        } else if (key == L"result" && value == L"fail") {
            script.sendDone = true;
            script.success = FALSE;
        } else if (key == L"result" && value == L"none") {
            script.sendDone = false;
        } else {
            FailScript(&script, field);
            return script;
        }
    }
    return script;
}

void AppendLog(const std::wstring& line) {
    std::wstring path = EnvironmentText(L"ORDALIS_FMIFS_LOG");
    if (path.empty()) {
        return;
    }
    HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    std::string bytes = ToCodePage(line + L"\r\n", CP_UTF8);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

const wchar_t* OrNull(const wchar_t* text) {
    return text ? text : L"(null)";
}

}  // namespace

// Exported by name through fmifs.def, undecorated, as the system library does.
extern "C" VOID WINAPI Chkdsk(PWCHAR driveRoot, PWCHAR format, BOOL correctErrors, BOOL verbose,
                              BOOL checkOnlyIfDirty, BOOL scanDrive, PVOID reserved1,
                              PVOID reserved2, FmifsCallback callback) {
    AppendLog(std::wstring(L"Chkdsk root=") + OrNull(driveRoot) + L" fs=" + OrNull(format) +
              L" fix=" + std::to_wstring(correctErrors) + L" verbose=" + std::to_wstring(verbose) +
              L" dirtyonly=" + std::to_wstring(checkOnlyIfDirty) +
              L" scan=" + std::to_wstring(scanDrive) + L" reserved=" +
              (reserved1 ? L"1" : L"0") + L"," + (reserved2 ? L"1" : L"0") +
              L" callback=" + (callback ? L"1" : L"0"));
    if (!callback) {
        return;
    }
    wchar_t driveLetter = driveRoot ? static_cast<wchar_t>(std::towupper(driveRoot[0])) : L'\0';
    DriveScript script = ParseEntry(FindEntry(EnvironmentText(L"ORDALIS_FMIFS_SCRIPT"), driveLetter));

    for (Report& report : script.reports) {
        Sleep(script.delayMs);
        BOOLEAN goOn = TRUE;
        if (report.command == kCommandProgress) {
            DWORD percent = report.percent;
            goOn = callback(kCommandProgress, 0, &percent);
        } else {
            TextOutput output{1, report.text.data()};
            goOn = callback(kCommandOutput, 0, &output);
        }
        if (!goOn) {
            return;
        }
    }
    if (script.sendDone) {
        Sleep(script.delayMs);
        BOOLEAN success = script.success;
        callback(kCommandDone, 0, &success);
    }
}
