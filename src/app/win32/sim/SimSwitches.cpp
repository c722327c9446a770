#include "app/win32/sim/SimSwitches.h"

#include <windows.h>

#include "app/win32/ProcessControl.h"

namespace {

constexpr wchar_t kPowerOffLogVariable[] = L"ORDALIS_POWEROFF_LOG";

// Writes what would have been powered off instead of doing it.
bool LoggedPowerOff(unsigned flags, unsigned long reason) {
  wchar_t path[MAX_PATH];
  DWORD length = GetEnvironmentVariableW(kPowerOffLogVariable, path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return false;
  HANDLE log = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  if (log == INVALID_HANDLE_VALUE) return false;
  char line[64];
  int count = wsprintfA(line, "power off %u %08lx\r\n", flags, reason);
  DWORD written = 0;
  WriteFile(log, line, static_cast<DWORD>(count), &written, nullptr);
  CloseHandle(log);
  return true;
}

}  // namespace

void InstallSimPowerOffLog() {
  if (GetEnvironmentVariableW(kPowerOffLogVariable, nullptr, 0)) SetPowerOffCall(LoggedPowerOff);
}
