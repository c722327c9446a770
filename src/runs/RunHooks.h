#pragma once
// What a run needs of the window and of the steps around it, as a table of
// hooks. The window fills it; unattended runs and tests fill it with their
// own versions. An empty hook does nothing and answers "no".
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct FileOutcome;

// Status updates of the main window's bars, combinable.
constexpr uint32_t kStatusItemCount = 0x02;       // "Oggetti totali in elenco: " + count
constexpr uint32_t kStatusWaiting = 0x04;         // "In attesa"
constexpr uint32_t kStatusProcessedCount = 0x08;  // "Totale file elaborati: " + count
constexpr uint32_t kStatusRunStarting = 0x10;     // "Analisi in corso..." / "In elaborazione..."
constexpr uint32_t kStatusPleaseWait = 0x20;      // "Attendere che l'operazione ..."

// What the disk-check dialog answers: Cancel, and the bit of errors found.
constexpr int kDiskCheckCancelled = 2;
constexpr int kDiskCheckErrorsFound = 0x4;

// The marker a disk check with errors leaves in the hidden status field.
constexpr const wchar_t* kDiskCheckErrorsMarker = L"FQ";

struct RunHooks {
  // The item list view.
  std::function<bool(uint64_t row)> rowSelected;
  std::function<void(uint64_t row)> scrollToRow;
  std::function<void(uint64_t row)> redrawRow;
  std::function<void()> redrawItems;
  // The counters display, the error list and the fragmented-file list.
  std::function<void()> refreshCounters;
  std::function<void()> refreshErrors;
  std::function<void(const std::wstring& path)> cacheIcon;
  std::function<void(uint32_t flags)> updateStatus;
  // The run layout: the result tabs and run panel for a running run of the
  // given kind; false restores the idle layout.
  std::function<void(bool running, bool defragmenting)> runLayout;
  // Enables the tabs of the result lists that have entries.
  std::function<void()> enableResultTabs;
  std::function<void(bool enabled)> enableRunMenus;  // follow-item, priority
  std::function<void(bool enabled)> enableSaveReport;
  std::function<void(bool on)> clipChildren;
  std::function<void(bool busy)> taskbarProgress;  // indeterminate while busy
  std::function<void(uint32_t state)> setBusyState;
  std::function<std::wstring()> hiddenStatus;
  std::function<void(const std::wstring& text)> setHiddenStatus;
  std::function<void()> bringToFront;
  // Menu marks (close after defragmenting, shut down after, follow item).
  std::function<bool(uint32_t command)> optionChecked;
  // The stored disk-check and cleanup choices (commands 9057..9059, 9053..9055).
  std::function<uint32_t()> diskCheckChoice;
  std::function<uint32_t()> cleanupChoice;
  // Dialogs of the steps before a defragmentation.
  std::function<int()> diskCheckDialog;     // its result (Cancel 2, errors 0x4)
  std::function<bool()> closeForDiskErrors;  // the question after errors: true closes
  std::function<bool()> cleanupDialog;      // false: cancelled
  std::function<bool()> solidStateWarning;  // true: do not defragment
  // The summary dialog; the shutdown dialog (true when the machine goes off).
  std::function<void()> showSummary;
  std::function<void()> shutdownDialog;
  std::function<void(uint32_t code)> requestExit;
  // A priority command asked during the run, applied between two items.
  std::function<void(uint32_t command)> applyPriority;
  // Last-write time (100-ns ticks, UTC) as local date and time texts.
  std::function<void(uint64_t ticks, std::wstring& date, std::wstring& time)> dateTexts;
  // Each file's outcome as soon as it is known; during an analysis it comes
  // from the folder worker's thread. The window lists only the fragmented
  // files and the errors and leaves it empty.
  std::function<void(const FileOutcome& outcome)> fileOutcome;
};
extern RunHooks gRunHooks;

// Hooks with no window: fixed UTC date formats, everything else empty.
RunHooks PortableRunHooks();

// The names of the hooks left empty. A run calls them as "nothing to do", so
// the program's start-up checks that none is missing. The solid-state count
// has a built-in answer and is not listed.
std::vector<std::string> MissingRunHooks(const RunHooks& hooks);
