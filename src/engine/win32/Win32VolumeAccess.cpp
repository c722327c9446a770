#include "engine/win32/Win32VolumeAccess.h"

#include <windows.h>

namespace {

using NtFsControlFileFn = LONG(NTAPI*)(HANDLE file, HANDLE event, void* apcRoutine,
                                       void* apcContext, void* ioStatusBlock, ULONG code,
                                       void* input, ULONG inputLength, void* output,
                                       ULONG outputLength);
using RtlNtStatusToDosErrorFn = ULONG(NTAPI*)(LONG status);

struct NativeEntries {
  NtFsControlFileFn fsControl = nullptr;
  RtlNtStatusToDosErrorFn statusToError = nullptr;
};
NativeEntries gNative;

HANDLE AsHandle(FsHandle handle) { return reinterpret_cast<HANDLE>(handle); }
FsHandle FromHandle(HANDLE handle) { return reinterpret_cast<FsHandle>(handle); }

// Every control goes the same way: no event, no completion routine, no
// context, on a handle opened without overlapped I/O.
NtStatus Control(FsHandle handle, IoStatusBlock& block, ULONG code, const void* input,
                 uint32_t inputLength, void* output, uint32_t outputLength) {
  if (gNative.fsControl == nullptr) {
    // Answered like any synchronous failure: the block is left alone.
    return kStatusNotSupported;
  }
  return gNative.fsControl(AsHandle(handle), nullptr, nullptr, nullptr, &block, code,
                           const_cast<void*>(input), inputLength, output, outputLength);
}

}  // namespace

bool ResolveNtFsControlFile() {
  HMODULE ntdll = GetModuleHandleA("ntdll.dll");
  if (ntdll == nullptr) return false;
  gNative.fsControl =
      reinterpret_cast<NtFsControlFileFn>(reinterpret_cast<void*>(GetProcAddress(ntdll, "NtFsControlFile")));
  gNative.statusToError = reinterpret_cast<RtlNtStatusToDosErrorFn>(
      reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlNtStatusToDosError")));
  return gNative.fsControl != nullptr;
}

Win32VolumeAccess& Win32Volumes() {
  static Win32VolumeAccess instance;
  return instance;
}

// Attribute-read access is all a move needs of the file; full sharing lets
// files in use by others be moved; no buffering keeps the cache out of it.
FsHandle Win32VolumeAccess::OpenFileForMoving(const std::wstring& path) {
  return FromHandle(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_NO_BUFFERING, nullptr));
}

// Backup semantics is what opens a directory.
FsHandle Win32VolumeAccess::OpenFileBackupSemantics(const std::wstring& path) {
  return FromHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

// Synchronous, read and write: the bitmap read and the move need both, and
// only administrators get them.
FsHandle Win32VolumeAccess::OpenVolume(const std::string& deviceName) {
  return FromHandle(CreateFileA(deviceName.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                nullptr));
}

uint32_t Win32VolumeAccess::LastError() { return GetLastError(); }

bool Win32VolumeAccess::Close(FsHandle handle) { return CloseHandle(AsHandle(handle)) != 0; }

// FSCTL_GET_RETRIEVAL_POINTERS on a file or directory handle (attribute-read
// access suffices). 0 when every remaining extent fit, 0x80000005 when more
// follow, 0xC0000011 for a file without clusters or a VCN past its end,
// 0xC000000D for a bad VCN, 0xC0000023 for an output under 32 bytes.
NtStatus Win32VolumeAccess::GetRetrievalPointers(FsHandle file, IoStatusBlock& block,
                                                 const void* input, uint32_t inputLength,
                                                 void* output, uint32_t outputLength) {
  return Control(file, block, kFsctlGetRetrievalPointers, input, inputLength, output, outputLength);
}

// FSCTL_GET_VOLUME_BITMAP on a volume handle (read access). 0 when the rest
// of the volume fit, 0x80000005 when more follows, 0xC000000D for a start at
// or past the end, 0xC0000023 for an output under 24 bytes.
NtStatus Win32VolumeAccess::GetVolumeBitmap(FsHandle volume, IoStatusBlock& block,
                                            const void* input, uint32_t inputLength,
                                            void* output, uint32_t outputLength) {
  return Control(volume, block, kFsctlGetVolumeBitmap, input, inputLength, output, outputLength);
}

// FSCTL_MOVE_FILE on a volume handle (read and write access; the file handle
// inside the record needs attribute-read access). 0 when moved, possibly only
// in part; 0xC0000021 (or 0xC000000D on older systems) for a target in use;
// 0xC000000D for a range outside the file or the volume.
NtStatus Win32VolumeAccess::MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                                     uint32_t inputLength) {
  return Control(volume, block, kFsctlMoveFile, input, inputLength, nullptr, 0);
}

void Win32VolumeAccess::Wait(FsHandle handle) { WaitForSingleObject(AsHandle(handle), INFINITE); }

// The attributes come with the attribute-read access the file was opened for.
bool Win32VolumeAccess::MovesInUnits(FsHandle file) {
  BY_HANDLE_FILE_INFORMATION information{};
  if (!GetFileInformationByHandle(AsHandle(file), &information)) return false;
  return (information.dwFileAttributes & (FILE_ATTRIBUTE_COMPRESSED | FILE_ATTRIBUTE_SPARSE_FILE)) != 0;
}

// The same lookup serves error numbers and native status values; a status
// handed over as it stands usually finds no text.
std::wstring Win32VolumeAccess::SystemText(uint32_t code) {
  char* text = nullptr;
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM,
                                      nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                      reinterpret_cast<char*>(&text), 0, nullptr);
  if (length == 0 || text == nullptr) return std::wstring();
  const std::string narrow(text, length);
  LocalFree(text);
  const int count = MultiByteToWideChar(CP_ACP, 0, narrow.data(), int(narrow.size()), nullptr, 0);
  std::wstring wide(size_t(count), L'\0');
  MultiByteToWideChar(CP_ACP, 0, narrow.data(), int(narrow.size()), wide.data(), count);
  return wide;
}

uint32_t Win32VolumeAccess::StatusToError(NtStatus status) {
  return gNative.statusToError != nullptr ? gNative.statusToError(status) : kErrorNoMessageForStatus;
}
