#include "app/win32/SingleInstance.h"

#include <windows.h>

#include "app/win32/PathHandOver.h"
#include "app/win32/Startup.h"

namespace {

constexpr wchar_t kInstanceBaseName[] = L"Ordalis-7a8caa0e-a83e-4ebe-a126-8e15046ca30d1";
constexpr size_t kMaxMutexName = 260;
// A second instance never waits for the user indefinitely: after this many
// flashes the other window is brought forward all the same.
constexpr int kMaxFlashes = 8;

HANDLE gInstanceMutex = nullptr;  // held until the process ends

std::wstring DesktopName() {
  HDESK desktop = GetThreadDesktop(GetCurrentThreadId());
  wchar_t name[MAX_PATH] = {};
  DWORD needed = 0;
  if (!desktop || !GetUserObjectInformationW(desktop, UOI_NAME, name, sizeof name, &needed)) {
    return L"Win9x";
  }
  return name;
}

void BringForward(HWND other) {
  if (IsIconic(other)) {
    for (int flash = 0; flash < kMaxFlashes && GetForegroundWindow() != other; ++flash) {
      FlashWindow(other, TRUE);
      Sleep(450);
      FlashWindow(other, FALSE);
    }
    if (IsIconic(other)) ShowWindow(other, SW_RESTORE);
  }
  SetForegroundWindow(other);
}

}  // namespace

std::wstring InstanceMutexName() {
  std::wstring name = std::wstring(kInstanceBaseName) + L"-" + DesktopName();
  if (name.size() > kMaxMutexName) name.resize(kMaxMutexName);
  return name;
}

bool AnotherInstanceTookOver() {
  gInstanceMutex = CreateMutexW(nullptr, FALSE, InstanceMutexName().c_str());
  DWORD error = GetLastError();
  if (error != ERROR_ALREADY_EXISTS && error != ERROR_ACCESS_DENIED) return false;
  HWND other = FindWindowW(L"#32770", L"Ordalis");
  if (!other) return false;
  HandPathsToRunningInstance(other, CommandLineArguments());
  BringForward(other);
  return true;
}
