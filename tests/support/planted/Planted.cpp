// A DLL planted beside the program under a system DLL's name. It exports
// nothing; on being loaded it appends its own path to the file that
// ORDALIS_PLANTED_LOG names, so a test sees whether the program took it.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  wchar_t log[MAX_PATH] = {};
  wchar_t self[MAX_PATH] = {};
  if (!GetEnvironmentVariableW(L"ORDALIS_PLANTED_LOG", log, MAX_PATH)) return TRUE;
  const DWORD length = GetModuleFileNameW(module, self, MAX_PATH);
  HANDLE file = CreateFileW(log, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return TRUE;
  DWORD written = 0;
  WriteFile(file, self, length * sizeof(wchar_t), &written, nullptr);
  WriteFile(file, L"\n", sizeof(wchar_t), &written, nullptr);
  CloseHandle(file);
  return TRUE;
}
