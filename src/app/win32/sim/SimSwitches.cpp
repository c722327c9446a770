#include "app/win32/sim/SimSwitches.h"

#include <windows.h>
#include <commctrl.h>

#include <string>

#include <climits>
#include <cstdlib>
#include <new>
#include <string>

#include "app/win32/ProcessControl.h"
#include "ui/RunWindow.h"
#include "ui/dialogs/CrashReportDialog.h"
#include "ui/controls/Controls.h"
#include "util/Tag.h"
#include "util/win32/Win32Handle.h"

namespace {

constexpr wchar_t kPowerOffLogVariable[] = L"ORDALIS_POWEROFF_LOG";

// Writes what would have been powered off instead of doing it.
bool LoggedPowerOff(unsigned flags, unsigned long reason) {
  wchar_t path[MAX_PATH];
  DWORD length = GetEnvironmentVariableW(kPowerOffLogVariable, path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return false;
  const UniqueHandle log(
      CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!log) return false;
  char line[64];
  int count = wsprintfA(line, "power off %u %08lx\r\n", flags, reason);
  DWORD written = 0;
  WriteFile(log.Get(), line, static_cast<DWORD>(count), &written, nullptr);
  return true;
}

// Windows of this procedure refuse to be created.
LRESULT CALLBACK RefusingProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) return FALSE;
  return DefWindowProcW(window, message, wParam, lParam);
}

enum class SimFaultKind { kWrite, kOutOfMemory, kStackOverflow };

struct SimFault {
  uint32_t tag = 0;
  SimFaultKind kind = SimFaultKind::kWrite;
};
SimFault gSimFault;

std::wstring Variable(const wchar_t* name) {
  wchar_t value[MAX_PATH];
  DWORD length = GetEnvironmentVariableW(name, value, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return {};
  return std::wstring(value, length);
}

// Calls itself until the thread's stack is gone: each frame holds a page,
// so the stack ends long before the depth does.
[[gnu::noinline]] int Recurse(int depth) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(depth);
  if (depth == INT_MAX) return frame[0];
  return Recurse(depth + 1) + frame[0];
}

void Fault() {
  if (gSimFault.kind == SimFaultKind::kOutOfMemory) throw std::bad_alloc();
  if (gSimFault.kind == SimFaultKind::kStackOverflow) Recurse(0);
  volatile int* volatile target = reinterpret_cast<int*>(0x10);
  *target = 1;
}

void FaultAtTag(uint32_t tag) {
  if (tag == gSimFault.tag) Fault();
}

void WriteCrashReport(const std::string& richText) {
  const std::wstring path = Variable(L"ORDALIS_SIM_CRASH_REPORT");
  const UniqueHandle file(
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return;
  DWORD written = 0;
  WriteFile(file.Get(), richText.data(), static_cast<DWORD>(richText.size()), &written, nullptr);
}

}  // namespace

void InstallSimFault() {
  const std::wstring tag = Variable(L"ORDALIS_SIM_FAULT_TAG");
  if (tag.empty()) return;
  gSimFault.tag = static_cast<uint32_t>(std::wcstoul(tag.c_str(), nullptr, 10));
  const std::wstring kind = Variable(L"ORDALIS_SIM_FAULT_KIND");
  if (kind == L"memory") gSimFault.kind = SimFaultKind::kOutOfMemory;
  if (kind == L"stack") gSimFault.kind = SimFaultKind::kStackOverflow;
  if (gSimFault.tag < kTagNeutral) {
    SetTag(gSimFault.tag);
    Fault();
  }
  SetTagObserver(FaultAtTag);
}

void InstallSimCrashReportCopy() {
  if (!Variable(L"ORDALIS_SIM_CRASH_REPORT").empty()) SetCrashReportObserver(WriteCrashReport);
}

void InstallSimPowerOffLog() {
  if (GetEnvironmentVariableW(kPowerOffLogVariable, nullptr, 0)) SetPowerOffCall(LoggedPowerOff);
}

void InstallSimPanelRefusal() {
  if (!GetEnvironmentVariableW(L"ORDALIS_SIM_REFUSE_PANELS", nullptr, 0)) return;
  // The splitter's class, taken first: the window finds it registered and
  // its creation fails.
  WNDCLASSEXW windowClass{sizeof windowClass};
  windowClass.lpfnWndProc = RefusingProc;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kSplitterClass;
  RegisterClassExW(&windowClass);
}

namespace {

LRESULT CALLBACK MenuProbe(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR probe) {
  if (message != static_cast<UINT>(probe)) return DefSubclassProc(window, message, wParam, lParam);
  const UINT state = GetMenuState(GetMenu(window), static_cast<UINT>(wParam), MF_BYCOMMAND);
  if (state == static_cast<UINT>(-1)) return -1;
  return (state & (MF_GRAYED | MF_DISABLED)) ? 0 : 1;
}

}  // namespace

void InstallSimMenuProbe(HWND mainWindow) {
  const UINT probe = RegisterWindowMessageW(L"Ordalis.MenuItemState");
  if (probe) SetWindowSubclass(mainWindow, MenuProbe, 1, probe);
}

std::wstring SimCheckerPath() {
  std::wstring path(32768, L'\0');
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  path.resize(length < path.size() ? length : 0);
  const size_t slash = path.find_last_of(L'\\');
  return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1) + L"fmifs.dll";
}
