#include "app/win32/ProcessControl.h"

#include <windows.h>

#include "ui/CommandIds.h"
#include "ui/MainWindow.h"

namespace {

bool SystemPowerOff(unsigned flags, unsigned long reason) {
  return ExitWindowsEx(flags, reason) != FALSE;
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
  if (!gPowerOff) gPowerOff = SystemPowerOff;
  gPowerOff(EWX_SHUTDOWN | EWX_FORCE | EWX_POWEROFF, 0xFFFFFFFFul);
  return 0;
}
