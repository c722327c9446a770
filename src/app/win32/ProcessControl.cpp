#include "app/win32/ProcessControl.h"

#include <windows.h>

#include "ui/CommandIds.h"
#include "ui/MainWindow.h"

namespace {

bool SystemPowerOff(unsigned flags, unsigned long reason) {
  return ExitWindowsEx(flags, reason) != FALSE;
}

// Writes what would have been powered off instead of doing it.
bool LoggedPowerOff(unsigned flags, unsigned long reason) {
  wchar_t path[MAX_PATH];
  if (!GetEnvironmentVariableW(L"ORDALIS_POWEROFF_LOG", path, MAX_PATH)) return false;
  HANDLE log = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  if (log == INVALID_HANDLE_VALUE) return false;
  char line[64];
  int length = wsprintfA(line, "power off %u %08lx\r\n", flags, reason);
  DWORD written = 0;
  WriteFile(log, line, static_cast<DWORD>(length), &written, nullptr);
  CloseHandle(log);
  return true;
}

PowerOffCall ChoosePowerOffCall() {
  return GetEnvironmentVariableW(L"ORDALIS_POWEROFF_LOG", nullptr, 0) ? LoggedPowerOff
                                                                      : SystemPowerOff;
}

PowerOffCall gPowerOff = nullptr;

class TokenHandle {
 public:
  ~TokenHandle() {
    if (handle) CloseHandle(handle);
  }
  HANDLE handle = nullptr;
};

}  // namespace

void SetPowerOffCall(PowerOffCall call) { gPowerOff = call; }

uint32_t SetProcessPriority(uint32_t command) {
  DWORD priorityClass = 0;
  switch (command) {
    case kCmdPriorityHigh: priorityClass = HIGH_PRIORITY_CLASS; break;
    case kCmdPriorityAboveNormal: priorityClass = ABOVE_NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityNormal: priorityClass = NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityBelowNormal: priorityClass = BELOW_NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityIdle: priorityClass = IDLE_PRIORITY_CLASS; break;
    default: return 0;
  }
  if (!SetPriorityClass(GetCurrentProcess(), priorityClass)) return 0;
  if (HMENU menu = GetMenu(MainWindowHandle())) {
    CheckMenuRadioItem(menu, kCmdPriorityHigh, kCmdPriorityIdle, command, MF_BYCOMMAND);
  }
  return 1;
}

uint32_t ShutdownMachine() {
  TokenHandle token;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token.handle)) {
    return 1;
  }
  TOKEN_PRIVILEGES privileges{};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  LookupPrivilegeValueW(nullptr, L"SeShutdownPrivilege", &privileges.Privileges[0].Luid);
  SetLastError(ERROR_SUCCESS);
  AdjustTokenPrivileges(token.handle, FALSE, &privileges, 0, nullptr, nullptr);
  // Any error after the adjustment, "not all assigned" included, means the
  // privilege is not held.
  if (GetLastError() != ERROR_SUCCESS) return 2;
  if (!gPowerOff) gPowerOff = ChoosePowerOffCall();
  gPowerOff(EWX_SHUTDOWN | EWX_FORCE | EWX_POWEROFF, 0xFFFFFFFFul);
  return 0;
}
