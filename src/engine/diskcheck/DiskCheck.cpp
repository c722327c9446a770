#include "engine/diskcheck/DiskCheck.h"

#include <commctrl.h>

#include <algorithm>
#include <cstring>

#include "engine/EngineThread.h"
#include "engine/Relocation.h"

namespace {

using ChkdskCallback = BOOLEAN(WINAPI*)(DWORD command, DWORD subAction, PVOID argument);
using ChkdskRoutine = VOID(WINAPI*)(PWCHAR root, PWCHAR fileSystem, BOOL fixErrors, BOOL verbose,
                                    BOOL checkOnlyIfDirty, BOOL scanDrive, PVOID, PVOID, ChkdskCallback);

constexpr DWORD kCommandProgress = 0;
constexpr DWORD kCommandDone = 11;
constexpr DWORD kCommandOutput = 14;
constexpr size_t kOutputBufferBytes = 2048;

// What a text report points at.
struct TextOutput {
  DWORD lines;
  const char* text;
};

// One check at a time: the worker, its callback and the window thread share
// this. The error flag and the stage are written by the worker and read by
// the window thread after the worker has ended.
struct DiskCheckState {
  ChkdskRoutine chkdsk = nullptr;
  ChkdskRequest request;
  DiskCheckSink sink;
  volatile LONG errorFlag = 0;
  volatile LONG stage = 0;
};
DiskCheckState gDiskCheck;

BOOLEAN WINAPI ReportFromChecker(DWORD command, DWORD, PVOID argument) {
  switch (command) {
    case kCommandProgress: {
      const DWORD percent = argument ? *static_cast<const DWORD*>(argument) : 0;
      if (gDiskCheck.sink.progress) PostMessageW(gDiskCheck.sink.progress, PBM_SETPOS, percent, 0);
      if (percent == 100) gDiskCheck.stage = std::min<LONG>(gDiskCheck.stage + 1, 3);
      break;
    }
    case kCommandDone:
      if (argument) gDiskCheck.errorFlag = *static_cast<const BOOLEAN*>(argument) == 0 ? 1 : 0;
      gDiskCheck.stage = 1;
      break;
    case kCommandOutput: {
      const auto* output = static_cast<const TextOutput*>(argument);
      if (!output || !output->text || !gDiskCheck.sink.output) break;
      char converted[kOutputBufferBytes] = {};
      const DWORD length = static_cast<DWORD>(strnlen(output->text, kOutputBufferBytes - 1));
      OemToCharBuffA(output->text, converted, length);
      // Each piece goes in at the caret, which the previous piece left at
      // the end; the box scrolls along.
      PostMessageW(gDiskCheck.sink.output, EM_SCROLLCARET, 0, 0);
      SendMessageA(gDiskCheck.sink.output, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(converted));
      RedrawWindow(gDiskCheck.sink.output, nullptr, nullptr, RDW_INVALIDATE);
      break;
    }
  }
  return TRUE;  // the check is never stopped from this side
}

void CheckerThread(void*) {
  ChkdskRequest& request = gDiskCheck.request;
  gDiskCheck.chkdsk(request.root.data(), request.fileSystem.data(), FALSE, FALSE, FALSE, FALSE, nullptr, nullptr,
                    ReportFromChecker);
  gEngine.doneFlags[kDoneFolderWorker] = 1;
}

}  // namespace

bool ResolveChkdsk() {
  HMODULE fmifs = LoadLibraryW(L"fmifs.dll");
  if (!fmifs) return false;
  gDiskCheck.chkdsk = reinterpret_cast<ChkdskRoutine>(reinterpret_cast<void*>(GetProcAddress(fmifs, "Chkdsk")));
  return gDiskCheck.chkdsk != nullptr;
}

bool CheckVolume(MessagePump& pump, const ChkdskRequest& request, const DiskCheckSink& sink, bool& quit) {
  quit = false;
  if (!gDiskCheck.chkdsk) return false;
  gDiskCheck.request = request;
  gDiskCheck.sink = sink;
  gDiskCheck.errorFlag = 0;
  gEngine.doneFlags[kDoneFolderWorker] = 0;
  WorkerThread worker;
  if (!worker.Start(CheckerThread, nullptr)) {
    gEngine.doneFlags[kDoneFolderWorker] = 1;
    return false;
  }
  quit = !WaitForWorker(pump, worker);
  // The checker's text is sent, not posted: the box is complete once the
  // worker has ended.
  gDiskCheck.request.fileSystem.clear();
  return gDiskCheck.errorFlag == 1;
}

int DiskCheckStage() { return gDiskCheck.stage; }
