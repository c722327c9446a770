#include "app/win32/Console.h"

#include <windows.h>

#include <cstdio>

#include "options/RunFlags.h"

namespace {

void WriteBytes(const char* bytes, DWORD length) {
  if (length == 0) return;
  if (gApp.runFlags & kRunVerboseConsole) {
    // Looked up by name: the parent-console attachment is missing on the
    // oldest systems the program still starts on.
    using AttachConsoleFn = BOOL(WINAPI*)(DWORD);
    auto attach = reinterpret_cast<AttachConsoleFn>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "AttachConsole")));
    if (!attach || !attach(ATTACH_PARENT_PROCESS)) return;
    DWORD written = 0;
    WriteConsoleA(GetStdHandle(STD_OUTPUT_HANDLE), bytes, length, &written, nullptr);
    FreeConsole();
    return;
  }
  HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  if (output == nullptr || output == INVALID_HANDLE_VALUE) return;
  DWORD written = 0;
  WriteFile(output, bytes, length, &written, nullptr);
}

}  // namespace

void ConsoleWrite(const char* format, const char* argument) {
  char buffer[2048];
  if (argument) {
    snprintf(buffer, sizeof buffer, format, argument);
  } else {
    lstrcpynA(buffer, format, sizeof buffer);
  }
  WriteBytes(buffer, static_cast<DWORD>(lstrlenA(buffer)));
}

void ConsoleWriteText(const std::wstring& text) {
  if (text.empty()) return;
  int length = WideCharToMultiByte(CP_ACP, 0, text.c_str(), static_cast<int>(text.size()), nullptr,
                                   0, nullptr, nullptr);
  std::string bytes(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.c_str(), static_cast<int>(text.size()), bytes.data(), length,
                      nullptr, nullptr);
  // Written whole: an item's text holds its path, which may be far longer
  // than any fixed buffer, and its outcome line comes after it.
  WriteBytes(bytes.data(), static_cast<DWORD>(bytes.size()));
}
