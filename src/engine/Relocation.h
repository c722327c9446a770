#pragma once
// Relocation of one file: its fragments are read into the extent list, one
// free run long enough for all of its clusters is found, and a move thread
// moves the fragments there one after another, in file order, while the
// calling thread keeps the window alive.
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/Analysis.h"
#include "engine/EngineThread.h"
#include "engine/EngineUi.h"
#include "engine/UnitMoves.h"
#include "engine/VolumeAccess.h"

// Outcome codes of a relocation; an empty code means the file was moved, any
// other text is a system text.
constexpr const wchar_t* kMoveAlreadyContiguous = L"AC";
constexpr const wchar_t* kMoveNoFreeRun = L"NF";
constexpr const wchar_t* kMoveNoFreeRunOld = L"PD";  // read like "NF", never produced
constexpr const wchar_t* kMoveStopped = L"ST";
// The move reported success, but the file's clusters are not one run at the
// chosen target: it is still fragmented. Read like "NF" wherever codes are.
constexpr const wchar_t* kMovePartlyMoved = L"PM";

// The system error whose text a worker gets when its thread ended without
// finishing its work ("aborted because of a thread exit").
constexpr uint32_t kErrorThreadEnded = 995;

// EngineFlags bits.
constexpr uint32_t kStopRequested = 0x1;
constexpr uint32_t kSmartStrategy = 0x2;
constexpr uint32_t kEngineDisplayOption = 0x4;

// DoneFlags slots.
constexpr int kDoneFolderWorker = 0;
constexpr int kDoneMoveThread = 1;

// What the move thread is handed.
struct MoveJob {
  int64_t targetLcn = -1;
  FsHandle file = 0;
  FsHandle volume = 0;
  // Written by the move thread; taken over as the file's outcome once the
  // thread has set its done flag.
  std::wstring threadCode;
  // The status of the move that failed, 0 when none did.
  NtStatus failedStatus = 0;
  // For a file moved in whole compression units: the requests that replace
  // the fragment-by-fragment moves of the extent list. Empty otherwise.
  std::vector<UnitMove> unitMoves;
  // Shown the thread's progress (from the thread itself).
  EngineUi* ui = nullptr;
};

struct EngineState {
  std::wstring moveResultCode;
  MoveJob moveJob;
  // Read and written across threads without a lock: words, set before a
  // worker starts and by the worker as its last act.
  std::atomic<uint32_t> doneFlags[2] = {1, 1};
  std::atomic<uint32_t> flags{0};
  WorkerThread moveThread;
};
extern EngineState gEngine;

// Back to the state of a fresh process, for tests: flags, codes, the extent
// list and the cached volume (after any move thread has finished).
void ResetEngineState();

// At the end of a run: closes the cached volume handle, so that a removable
// drive is not held until the program ends. Left open while a move thread a
// quit left running still uses it; the program is ending then.
void EndOfRunRelease();

// Blocks until no move thread is running any more (without handling
// messages: only after a quit message can one still be running).
void WaitForMoveThread();

// Relocates the file at `path` (opened as given), showing its work on `ui`;
// the outcome is gEngine.moveResultCode. When `counts` is given it receives
// the fragments and clusters of the list-building analysis. True when the
// file needed a move and so was tried (it reached the volume step).
bool DefragmentFile(EngineUi& ui, const std::wstring& path, FileAnalysis* counts);

// The move thread: moves the extents of gExtentList, in list order, to
// consecutive clusters from the job's target; stops between two extents when
// a stop was requested. Closes the file handle and sets DoneFlags slot 1.
void MoveThread(void* job);
