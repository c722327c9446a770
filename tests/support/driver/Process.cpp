// Starting the program and capturing its output.

#include "TestDriver.h"

#include <algorithm>
#include <filesystem>

namespace TestDriver {

std::wstring HostPathToWindows(std::string_view path) {
    std::wstring wide = std::filesystem::path(std::u8string(path.begin(), path.end())).wstring();
    if (wide.starts_with(L'/')) {
        std::replace(wide.begin(), wide.end(), L'/', L'\\');
        wide.insert(0, L"Z:");
    }
    return wide;
}

RunningProgram::RunningProgram(UniqueHandle process, DWORD processId, UniqueHandle outputRead)
    : process_(std::move(process)), processId_(processId), outputRead_(std::move(outputRead)) {
    reader_ = std::thread([this] { ReadOutput(); });
}

RunningProgram::~RunningProgram() {
    Kill();
    if (reader_.joinable()) {
        reader_.join();
    }
}

void RunningProgram::ReadOutput() {
    // The end of the pipe cannot mark the end of the output: a process that the
    // program causes to start (Wine's desktop process, for one) may inherit the
    // writing end and keep it open. So read what is there until the program
    // has ended, then what it left behind.
    char buffer[4096];
    for (;;) {
        DWORD available = 0;
        if (!PeekNamedPipe(outputRead_.get(), nullptr, 0, nullptr, &available, nullptr)) {
            return;
        }
        if (available == 0) {
            if (WaitForSingleObject(process_.get(), 10) != WAIT_OBJECT_0) {
                continue;
            }
            if (!PeekNamedPipe(outputRead_.get(), nullptr, 0, nullptr, &available, nullptr) ||
                available == 0) {
                return;
            }
        }
        DWORD count = 0;
        if (!ReadFile(outputRead_.get(), buffer, std::min<DWORD>(available, sizeof buffer),
                      &count, nullptr)) {
            return;
        }
        std::lock_guard<std::mutex> lock(outputLock_);
        output_.append(buffer, count);
    }
}

bool RunningProgram::Running() const {
    return WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT;
}

bool RunningProgram::WaitForExit(DWORD timeoutMs) {
    if (WaitForSingleObject(process_.get(), timeoutMs) != WAIT_OBJECT_0) {
        return false;
    }
    if (reader_.joinable()) {
        reader_.join();
    }
    return true;
}

DWORD RunningProgram::ExitCode() const {
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(process_.get(), &code);
    return code;
}

std::string RunningProgram::Output() const {
    std::lock_guard<std::mutex> lock(outputLock_);
    return output_;
}

void RunningProgram::Kill() {
    if (Running()) {
        TerminateProcess(process_.get(), 0xDEAD);
        WaitForSingleObject(process_.get(), 10000);
    }
}

std::unique_ptr<RunningProgram> StartProgram(const std::wstring& exePath, const std::wstring& arguments,
                                             const std::wstring& currentFolder) {
    // Only one pipe end is inheritable at a time, so a program never holds the
    // output pipe of another one open (its reader would never see the end).
    static std::mutex startLock;
    std::lock_guard<std::mutex> lock(startLock);

    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (!CreatePipe(&readEnd, &writeEnd, &inheritable, 0)) return nullptr;
    UniqueHandle outputRead(readEnd);
    UniqueHandle outputWrite(writeEnd);
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    UniqueHandle input(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                   &inheritable, OPEN_EXISTING, 0, nullptr));

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.get();
    startup.hStdOutput = writeEnd;
    startup.hStdError = writeEnd;

    std::wstring commandLine = L"\"" + exePath + L"\" " + arguments;
    std::wstring folder = currentFolder.empty() ? exePath.substr(0, exePath.find_last_of(L'\\')) : currentFolder;
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(exePath.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                        folder.c_str(), &startup, &info)) {
        return nullptr;
    }
    CloseHandle(info.hThread);
    return std::make_unique<RunningProgram>(UniqueHandle(info.hProcess), info.dwProcessId,
                                            std::move(outputRead));
}

}  // namespace TestDriver
