#pragma once
// The system's own DLLs, from the system folder alone. The program runs as
// administrator from wherever it was unpacked, often a folder its user can
// write to; a DLL asked for by its bare name would be looked for there first.
#ifdef _WIN32
#include <windows.h>

#include <string>

// Limits the search for every DLL loaded by name from here on (also those
// the system's own DLLs load) to the system folder. Called first thing:
// from Windows 7 with its loader update on; older systems at least lose the
// current folder, and the program's own loads name the system folder anyway.
inline void RestrictLibrarySearchToSystem() {
  using SetDefaultDllDirectoriesFn = BOOL(WINAPI*)(DWORD);
  auto setDefault = reinterpret_cast<SetDefaultDllDirectoriesFn>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories")));
  if (!setDefault || !setDefault(LOAD_LIBRARY_SEARCH_SYSTEM32)) SetDllDirectoryW(L"");
}

// Loads the named DLL from the system folder and nowhere else; the DLLs it
// needs are looked for there first too.
inline HMODULE LoadSystemLibrary(const wchar_t* name) {
  wchar_t folder[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return nullptr;
  const std::wstring path = std::wstring(folder, length) + L"\\" + name;
  return LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

// An export of a system DLL that is not among those the system always maps
// from its own folder (which the program therefore does not import: the
// loader would look for them beside the program before it runs); null when
// the DLL or the export is missing.
template <typename Procedure>
Procedure SystemProcedure(const wchar_t* library, const char* name) {
  HMODULE module = LoadSystemLibrary(library);
  return module ? reinterpret_cast<Procedure>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
}
#endif
