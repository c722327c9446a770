#pragma once
// How a run talks to its user: the window, the console or a test. A run is
// handed one whole implementation with its options; every question it asks
// and every display it refreshes goes through here.
#include <cstdint>
#include <string>
#include <vector>

#include "engine/EngineUi.h"

struct FileOutcome;

// Status updates of the main window's bars, combinable.
constexpr uint32_t kStatusItemCount = 0x02;       // "Oggetti totali in elenco: " + count
constexpr uint32_t kStatusWaiting = 0x04;         // "In attesa"
constexpr uint32_t kStatusProcessedCount = 0x08;  // "Totale file elaborati: " + count
constexpr uint32_t kStatusRunStarting = 0x10;     // "Analisi in corso..." / "In elaborazione..."
constexpr uint32_t kStatusPleaseWait = 0x20;      // "Attendere che l'operazione ..."

// What the disk check answers: Cancel, and the bit of errors found.
constexpr int kDiskCheckCancelled = 2;
constexpr int kDiskCheckErrorsFound = 0x4;

class RunUi : public EngineUi {
 public:
  // The item list view.
  virtual bool RowSelected(uint64_t row) = 0;
  virtual void ScrollToRow(uint64_t row) = 0;
  virtual void RedrawRow(uint64_t row) = 0;
  virtual void RedrawItems() = 0;
  // The counters display, the error list and the fragmented-file list.
  virtual void RefreshCounters() = 0;
  virtual void RefreshErrors() = 0;
  // A fragmented file was listed: its icon is looked up now, not while the
  // list paints.
  virtual void CacheIcon(const std::wstring& path) = 0;
  virtual void UpdateStatus(uint32_t flags) = 0;
  // The result tabs and run panel for a running run of the given kind;
  // false restores the idle layout.
  virtual void RunLayout(bool running, bool defragmenting) = 0;
  // Enables the tabs of the result lists that have entries.
  virtual void EnableResultTabs() = 0;
  virtual void EnableRunMenus(bool enabled) = 0;  // follow-item, priority
  virtual void EnableSaveReport(bool enabled) = 0;
  virtual void ClipChildren(bool on) = 0;
  virtual void TaskbarProgress(bool busy) = 0;  // indeterminate while busy
  // kBusyCheckingDrives while the drives are asked what they are, then kBusyIdle.
  virtual void SetBusyState(uint32_t state) = 0;
  virtual void BringToFront() = 0;

  // The questions of the steps before a defragmentation.
  // True: do not defragment the files on solid-state drives.
  virtual bool SolidStateWarning() = 0;
  // Marked files on solid-state drives were left out of the run, as the
  // settings say: the user is told how many, so a run that moves nothing
  // does not read as done.
  virtual void SolidStateLeftOut(uint64_t files) = 0;
  // Runs the disk check (`automatic`: without waiting for the user); its
  // result, kDiskCheckCancelled or with kDiskCheckErrorsFound.
  virtual int DiskCheck(bool automatic) = 0;
  // The question after a check that found errors: true closes.
  virtual bool CloseForDiskErrors() = 0;
  // Runs the cleanup (`automatic` as for the disk check); false: cancelled.
  virtual bool Cleanup(bool automatic) = 0;

  // After a defragmentation: the summary; the power-off countdown.
  virtual void ShowSummary() = 0;
  virtual void ShutdownCountdown() = 0;
  virtual void RequestExit(uint32_t code) = 0;
  // A priority command asked during the run, applied between two items.
  virtual void ApplyPriority(uint32_t command) = 0;
  // Last-write time (100-ns ticks, UTC) as date and time texts. Called from
  // the folder worker too.
  virtual void DateTexts(uint64_t ticks, std::wstring& date, std::wstring& time) = 0;
  // Each file's outcome as soon as it is known; during an analysis it comes
  // from the folder worker's thread. The window lists only the fragmented
  // files and the errors and lets it pass.
  virtual void FileOutcome(const ::FileOutcome& outcome) = 0;

  // The command line's runs, unattended: one has ended and its console
  // summary is to be written (the analysis section, or the defragmentation
  // one), with whatever else the user asked to keep of it.
  virtual void ConsoleSummary(bool defragmentation, const std::vector<std::wstring>& section) = 0;
  // Powers the machine off at once ("/SHUTDOWN" after an unattended run).
  virtual void PowerOff() = 0;
};
