#include "app/win32/ProcessControl.h"

#include <windows.h>

#include "util/win32/Win32Handle.h"


namespace {

bool SystemPowerOff(unsigned flags, unsigned long reason) {
  return ExitWindowsEx(flags, reason) != FALSE;
}

PowerOffCall gPowerOff = nullptr;

}  // namespace

void SetPowerOffCall(PowerOffCall call) { gPowerOff = call; }

uint32_t ShutdownMachine() {
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &opened)) return 1;
  const UniqueHandle token(opened);
  TOKEN_PRIVILEGES privileges{};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  LookupPrivilegeValueW(nullptr, L"SeShutdownPrivilege", &privileges.Privileges[0].Luid);
  SetLastError(ERROR_SUCCESS);
  AdjustTokenPrivileges(token.Get(), FALSE, &privileges, 0, nullptr, nullptr);
  // Any error after the adjustment, "not all assigned" included, means the
  // privilege is not held.
  if (GetLastError() != ERROR_SUCCESS) return 2;
  if (!gPowerOff) gPowerOff = SystemPowerOff;
  gPowerOff(EWX_SHUTDOWN | EWX_FORCE | EWX_POWEROFF, 0xFFFFFFFFul);
  return 0;
}
