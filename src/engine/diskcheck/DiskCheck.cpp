#include "engine/diskcheck/DiskCheck.h"

#include <commctrl.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

#include "engine/EngineUi.h"
#include "engine/EngineThread.h"
#include "engine/Relocation.h"
#include "util/win32/SystemLibrary.h"

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

// One check: the worker, its callback and the window thread share it. The
// error flag and the stage are written by the worker and read by the window
// thread after the worker has ended. A check the window stopped waiting for
// keeps its own copy until its worker ends, and no longer reports anything.
struct CheckerRun {
  ChkdskRoutine chkdsk = nullptr;
  ChkdskRequest request;
  DiskCheckSink sink;
  std::atomic<LONG> errorFlag{0};
  std::atomic<bool> abandoned{false};
};

struct DiskCheckState {
  ChkdskRoutine chkdsk = nullptr;
  std::atomic<LONG> stage{0};
  // The window thread's request to stop waiting, and the checker's thread,
  // kept past an abandoned check: the next check waits for it first.
  std::atomic<bool> abandonRequested{false};
  WorkerThread checker;
};
DiskCheckState gDiskCheck;

// The callback has no argument of its own: it finds its check through the
// worker thread it runs on.
thread_local CheckerRun* tCheck = nullptr;

BOOLEAN WINAPI ReportFromChecker(DWORD command, DWORD, PVOID argument) {
  CheckerRun* check = tCheck;
  // Nobody waits for an abandoned check: the checker is asked to stop.
  if (!check || check->abandoned) return FALSE;
  switch (command) {
    case kCommandProgress: {
      const DWORD percent = argument ? *static_cast<const DWORD*>(argument) : 0;
      if (check->sink.progress) PostMessageW(check->sink.progress, PBM_SETPOS, percent, 0);
      if (percent == 100) gDiskCheck.stage = std::min<LONG>(gDiskCheck.stage + 1, 3);
      break;
    }
    case kCommandDone:
      if (argument) check->errorFlag = *static_cast<const BOOLEAN*>(argument) == 0 ? 1 : 0;
      gDiskCheck.stage = 1;
      break;
    case kCommandOutput: {
      const auto* output = static_cast<const TextOutput*>(argument);
      if (!output || !output->text || !check->sink.output) break;
      char converted[kOutputBufferBytes] = {};
      const DWORD length = static_cast<DWORD>(strnlen(output->text, kOutputBufferBytes - 1));
      OemToCharBuffA(output->text, converted, length);
      // Each piece goes in at the caret, which the previous piece left at
      // the end; the box scrolls along.
      PostMessageW(check->sink.output, EM_SCROLLCARET, 0, 0);
      SendMessageA(check->sink.output, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(converted));
      RedrawWindow(check->sink.output, nullptr, nullptr, RDW_INVALIDATE);
      break;
    }
  }
  return TRUE;  // the check is never stopped from this side while it is waited for
}

void CheckerThread(void* argument) {
  const std::unique_ptr<std::shared_ptr<CheckerRun>> owned(static_cast<std::shared_ptr<CheckerRun>*>(argument));
  CheckerRun& check = **owned;
  tCheck = &check;
  ChkdskRequest& request = check.request;
  check.chkdsk(request.root.data(), request.fileSystem.data(), FALSE, FALSE, FALSE, FALSE, nullptr, nullptr,
               ReportFromChecker);
  tCheck = nullptr;
  if (!check.abandoned) gEngine.doneFlags[kDoneFolderWorker] = 1;
}

// Waits for the checker while the window handles its messages; false when a
// quit message or AbandonVolumeCheck() ended the wait first.
bool WaitForChecker(MessagePump& pump) {
  while (gDiskCheck.checker.Running()) {
    if (!pump.WaitForWorker(gDiskCheck.checker)) return false;
    if (gDiskCheck.abandonRequested) return false;
  }
  return true;
}

}  // namespace

bool ResolveChkdsk(const wchar_t* libraryPath) {
  HMODULE fmifs = libraryPath ? LoadLibraryExW(libraryPath, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)
                              : LoadSystemLibrary(L"fmifs.dll");
  if (!fmifs) return false;
  gDiskCheck.chkdsk = reinterpret_cast<ChkdskRoutine>(reinterpret_cast<void*>(GetProcAddress(fmifs, "Chkdsk")));
  return gDiskCheck.chkdsk != nullptr;
}

bool CheckVolume(MessagePump& pump, const ChkdskRequest& request, const DiskCheckSink& sink, bool& abandoned) {
  abandoned = false;
  if (!gDiskCheck.chkdsk) return false;
  gDiskCheck.abandonRequested = false;
  // The system's checker checks one volume at a time: one left running by an
  // abandoned check ends first.
  if (!WaitForChecker(pump)) {
    abandoned = true;
    return false;
  }
  auto check = std::make_shared<CheckerRun>();
  check->chkdsk = gDiskCheck.chkdsk;
  check->request = request;
  check->sink = sink;
  gEngine.doneFlags[kDoneFolderWorker] = 0;
  auto* handed = new std::shared_ptr<CheckerRun>(check);
  if (!gDiskCheck.checker.Start(CheckerThread, handed)) {
    delete handed;
    gEngine.doneFlags[kDoneFolderWorker] = 1;
    return false;
  }
  if (!WaitForChecker(pump)) {
    check->abandoned = true;
    abandoned = true;
    return false;
  }
  // The checker's text is sent, not posted: the box is complete once the
  // worker has ended.
  return check->errorFlag == 1;
}

void AbandonVolumeCheck() { gDiskCheck.abandonRequested = true; }

int DiskCheckStage() { return gDiskCheck.stage; }
