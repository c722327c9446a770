#pragma once
// The check of one volume by the system's disk checker (the `Chkdsk` routine
// of "fmifs.dll"), read-only, on a worker thread. The checker's own report
// reaches the window only through window messages: its text is appended to an
// output box, its progress goes to a progress bar.
#include <windows.h>

#include <cstdint>
#include <string>

class MessagePump;

// The block handed to the worker: the four switches are always off here.
struct ChkdskRequest {
  uint32_t fixErrors = 0;
  uint32_t verbose = 0;
  uint32_t checkOnlyIfDirty = 0;
  uint32_t scanDrive = 0;
  std::wstring fileSystem;  // as the drive list shows it
  std::wstring root;        // "C:\"
};

// Loads "fmifs.dll" and keeps the address of its `Chkdsk`; false when either
// is missing.
bool ResolveChkdsk();

// Where the checker's report goes; either window may be null.
struct DiskCheckSink {
  HWND output = nullptr;    // an edit or rich-edit box
  HWND progress = nullptr;  // a progress bar
};

// Checks one volume on a worker thread while the window thread keeps
// handling messages. True when the checker reported failure (the error
// flag); a checker that never reports its end counts as finding nothing.
// `quit` is set when a quit message ended the wait.
bool CheckVolume(MessagePump& pump, const ChkdskRequest& request, const DiskCheckSink& sink, bool& quit);

// How many times a checker reported a full progress bar, capped at 3.
int DiskCheckStage();
