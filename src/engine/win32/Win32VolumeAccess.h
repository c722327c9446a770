#pragma once
// The production volume access: the native file-system control entry point of
// ntdll.dll and the Win32 file calls.
#include "engine/VolumeAccess.h"

// Looks up NtFsControlFile (and the status translation) in the already
// loaded ntdll.dll and keeps them process-wide. False when the control entry
// is missing, which the start-up check treats as fatal.
bool ResolveNtFsControlFile();

class Win32VolumeAccess : public VolumeAccess {
 public:
  FsHandle OpenFileForMoving(const std::wstring& path) override;
  FsHandle OpenFileBackupSemantics(const std::wstring& path) override;
  FsHandle OpenVolume(const std::string& deviceName) override;
  uint32_t LastError() override;
  bool Close(FsHandle handle) override;
  NtStatus GetRetrievalPointers(FsHandle file, IoStatusBlock& block, const void* input,
                                uint32_t inputLength, void* output, uint32_t outputLength) override;
  NtStatus GetVolumeBitmap(FsHandle volume, IoStatusBlock& block, const void* input,
                           uint32_t inputLength, void* output, uint32_t outputLength) override;
  NtStatus MoveClusters(FsHandle volume, IoStatusBlock& block, const void* input,
                    uint32_t inputLength) override;
  void Wait(FsHandle handle) override;
  bool MovesInUnits(FsHandle file) override;
  std::wstring SystemText(uint32_t code) override;
  uint32_t StatusToError(NtStatus status) override;
};

// The one instance the program installs.
Win32VolumeAccess& Win32Volumes();
