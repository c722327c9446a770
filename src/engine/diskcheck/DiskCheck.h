#pragma once
// The check of one volume by the system's disk checker (the `Chkdsk` routine
// of "fmifs.dll"), read-only, on a worker thread. The checker's own report
// reaches the window only through window messages: its text is appended to an
// output box, its progress goes to a progress bar.
#include <windows.h>

#include <cstdint>
#include <string>

// The block handed to the worker: the four switches are always off here.
struct ChkdskRequest {
  uint32_t fixErrors = 0;
  uint32_t verbose = 0;
  uint32_t checkOnlyIfDirty = 0;
  uint32_t scanDrive = 0;
  std::wstring fileSystem;  // as the drive list shows it
  std::wstring root;        // "C:\"
};

// Loads "fmifs.dll" from the system folder (or the library at libraryPath,
// a full path) and keeps the address of its `Chkdsk`; false when either is
// missing.
bool ResolveChkdsk(const wchar_t* libraryPath = nullptr);

// Where the checker's report goes; either window may be null.
struct DiskCheckSink {
  HWND output = nullptr;    // an edit or rich-edit box
  HWND progress = nullptr;  // a progress bar
};

// Checks one volume on a worker thread while the window thread keeps
// handling messages. True when the checker reported failure (the error
// flag); a checker that never reports its end counts as finding nothing.
// `abandoned` is set when the wait ended before the checker did: a quit
// message, or AbandonVolumeCheck() from among the window's messages. The
// checker is then asked to stop at its next report and reaches the window
// no more.
bool CheckVolume(const ChkdskRequest& request, const DiskCheckSink& sink, bool& abandoned);

// From the window thread while CheckVolume waits ("Annulla"): the wait ends.
void AbandonVolumeCheck();

// How many times a checker reported a full progress bar, capped at 3.
int DiskCheckStage();
