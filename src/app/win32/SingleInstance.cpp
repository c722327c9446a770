#include "app/win32/SingleInstance.h"

#include <windows.h>

#include <string>
#include <vector>

#include "options/CommandLine.h"
#include "options/RunFlags.h"
#include "app/win32/PathHandOver.h"
#include "app/win32/Startup.h"
#include "util/win32/Win32Handle.h"

namespace {

constexpr wchar_t kInstanceBaseName[] = L"Ordalis-7a8caa0e-a83e-4ebe-a126-8e15046ca30d1";
constexpr size_t kMaxMutexName = 260;
constexpr DWORD kFlashIntervalMs = 450;

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

// The image path and the integrity level of a process; empty when either
// cannot be read.
struct ProcessIdentity {
  std::wstring image;
  DWORD integrity = 0;
  bool known = false;
};

DWORD IntegrityOf(HANDLE process) {
  HANDLE rawToken = nullptr;
  if (!OpenProcessToken(process, TOKEN_QUERY, &rawToken)) return 0;
  UniqueHandle token(rawToken);
  DWORD needed = 0;
  GetTokenInformation(token.Get(), TokenIntegrityLevel, nullptr, 0, &needed);
  if (needed == 0) return 0;
  std::vector<BYTE> buffer(needed);
  if (!GetTokenInformation(token.Get(), TokenIntegrityLevel, buffer.data(), needed, &needed)) return 0;
  PSID sid = reinterpret_cast<TOKEN_MANDATORY_LABEL*>(buffer.data())->Label.Sid;
  if (!IsValidSid(sid) || *GetSidSubAuthorityCount(sid) == 0) return 0;
  return *GetSidSubAuthority(sid, *GetSidSubAuthorityCount(sid) - 1u);
}

ProcessIdentity IdentityOf(HANDLE process) {
  ProcessIdentity identity;
  std::vector<wchar_t> image(32768);
  DWORD count = static_cast<DWORD>(image.size());
  if (!QueryFullProcessImageNameW(process, 0, image.data(), &count)) return identity;
  identity.image.assign(image.data(), count);
  identity.integrity = IntegrityOf(process);
  identity.known = identity.integrity != 0;
  return identity;
}

// Only a window of this same program, running with this start's integrity,
// may receive its paths: this program runs as administrator, and a window
// any other process can make with the same class and title would otherwise
// make every elevated start hand its paths over and end. A window that is
// not shown belongs to an unattended instance, which has no list to take
// paths into.
bool IsSameProgramWindow(HWND window, const ProcessIdentity& self) {
  if (!IsWindowVisible(window)) return false;
  DWORD processId = 0;
  GetWindowThreadProcessId(window, &processId);
  if (processId == 0 || processId == GetCurrentProcessId()) return false;
  UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (!process.Valid()) return false;
  ProcessIdentity other = IdentityOf(process.Get());
  return other.known && other.integrity == self.integrity &&
         CompareStringOrdinal(other.image.c_str(), -1, self.image.c_str(), -1, TRUE) == CSTR_EQUAL;
}

HWND FindSameProgramWindow() {
  const ProcessIdentity self = IdentityOf(GetCurrentProcess());
  if (!self.known) return nullptr;
  for (HWND window = FindWindowExW(nullptr, nullptr, L"#32770", L"Ordalis"); window;
       window = FindWindowExW(nullptr, window, L"#32770", L"Ordalis")) {
    if (IsSameProgramWindow(window, self)) return window;
  }
  return nullptr;
}

// A minimised window is flashed until the user brings it forward (or it
// goes away); the other instance is the user's to activate, not ours.
void BringForward(HWND other) {
  if (IsIconic(other)) {
    while (IsWindow(other) && GetForegroundWindow() != other) {
      FlashWindow(other, TRUE);
      Sleep(kFlashIntervalMs);
      FlashWindow(other, FALSE);
    }
  }
  SetForegroundWindow(other);
}

bool IsUnattendedStart(const std::vector<std::wstring>& args) {
  CommandLineChoices choices;
  return (ParseOptions(args, choices) & kRunNoGui) != 0;
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
  const std::vector<std::wstring> args = CommandLineArguments();
  // An unattended start is a scheduled job's own run: it never hands its
  // work to a window, where nobody may be there to do it.
  if (IsUnattendedStart(args)) return false;
  HWND other = FindSameProgramWindow();
  if (!other) return false;
  HandPathsToRunningInstance(other, args);
  BringForward(other);
  return true;
}
