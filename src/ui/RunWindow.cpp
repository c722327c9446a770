#include "ui/RunWindow.h"

#include <commctrl.h>

#include <mutex>
#include <string>

#include "options/RunFlags.h"
#include "engine/Analysis.h"
#include "ui/dialogs/ChoiceDialog.h"
#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "options/CommandIds.h"
#include "options/Settings.h"
#include "runs/FolderWalk.h"
#include "runs/RunDriver.h"
#include "runs/RunOptions.h"
#include "runs/RunUi.h"
#include "runs/UnattendedRun.h"
#include "runs/RunReport.h"
#include "runs/RunResults.h"
#include "ui/Artwork.h"
#include "ui/Commands.h"
#include "ui/controls/DialogPlacement.h"
#include "ui/MainWindow.h"
#include "util/win32/FileDialogs.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/PreRunSteps.h"
#include "ui/StatusBars.h"
#include "ui/TaskbarProgress.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"

namespace {

constexpr UINT_PTR kShutdownTimer = 1;
constexpr UINT kShutdownStepMs = 250;
constexpr int kShutdownSteps = 60;

class WindowRunUi;

struct RunWindowState {
  HWND main = nullptr;
  RunWindowHost* host = nullptr;  // set with the window
  // What the window's runs are told.
  RunOptions options;
};
RunWindowState gRunWindow;

void LocalDateTexts(uint64_t ticks, std::wstring& date, std::wstring& time) {
  FILETIME utc{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  FILETIME local{};
  SYSTEMTIME system{};
  FileTimeToLocalFileTime(&utc, &local);
  FileTimeToSystemTime(&local, &system);
  wchar_t buffer[128];
  date = GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &system, nullptr, buffer, 128) ? buffer : L"";
  time = GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &system, nullptr, buffer, 128) ? buffer : L"";
}

HWND ItemListView() { return MainItemListView(); }

void PowerOff();
void RequestExitCode(uint32_t code);

// The report's numbers, date and time in the user's locale.
class LocaleReportFormat final : public ReportFormat {
 public:
  std::wstring GroupDigits(int64_t value) const override { return LocaleNumbers().GroupDigits(value); }
  std::wstring Decimal(const std::wstring& twoDecimals) const override {
    wchar_t buffer[64];
    if (!GetNumberFormatW(LOCALE_USER_DEFAULT, 0, twoDecimals.c_str(), nullptr, buffer, 64)) return twoDecimals;
    return std::wstring(buffer);
  }
  std::wstring Date() const override {
    wchar_t buffer[128];
    return GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, nullptr, nullptr, buffer, 128) ? std::wstring(buffer)
                                                                                                : std::wstring();
  }
  std::wstring Time() const override {
    wchar_t buffer[128];
    return GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, nullptr, nullptr, buffer, 128) ? std::wstring(buffer)
                                                                                                : std::wstring();
  }
};

void SaveReportCommand(HWND owner) {
  WindowMessagePump pump;
  const std::wstring filter = std::wstring(Text(kStrReportFileKind, L"File di testo (*.txt)")) + L"|*.txt|";
  FileDialogRequest request;
  request.filter = filter.c_str();
  request.flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY;
  const std::wstring name = AskFileToSave(owner, request);
  if (name.empty()) return;
  if (!SaveAnalysisReport(name, LocaleReportFormat(), pump)) return;
  ShowMessage(owner, Text(kStrReportSaved, L"Report salvato correttamente."), L"Ordalis",
              MB_OK | MB_ICONINFORMATION);
}

INT_PTR CALLBACK SummaryProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG: {
      SetWindowTextW(dialog, Text(kStrSummaryTitle, L"Riepilogo"));
      SetDlgItemTextW(dialog, IDC_SUMMARY_PROCESSED_LABEL, Text(kStrSummaryProcessed, L"File elaborati:"));
      SetDlgItemTextW(dialog, IDC_SUMMARY_FRAGMENTED_LABEL, Text(kStrSummaryFragmented, L"File frammentati:"));
      SetDlgItemTextW(dialog, IDC_SUMMARY_NOT_FRAGMENTED_LABEL,
                      Text(kStrSummaryNotFragmented, L"File non frammentati:"));
      SetDlgItemTextW(dialog, IDC_SUMMARY_DEFRAGMENTED_LABEL,
                      Text(kStrSummaryDefragmented, L"File deframmentati:"));
      SetDlgItemTextW(dialog, IDC_SUMMARY_ERRORS_LABEL, Text(kStrSummaryErrors, L"Errori:"));
      const NumberFormat& numbers = LocaleNumbers();
      SetDlgItemTextW(dialog, IDC_SUMMARY_PROCESSED, GroupedCount(numbers, gRun.counters.filesSeen).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_FRAGMENTED, GroupedCount(numbers, gRun.counters.fragmented).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_NOT_FRAGMENTED, GroupedCount(numbers, gRun.counters.notFragmented).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_DEFRAGMENTED, GroupedCount(numbers, gRun.counters.filesMoved).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_ERRORS, GroupedCount(numbers, gRun.errors.size()).c_str());
      return TRUE;
    }
  }
  return EndsOnClose(dialog, message, wParam);
}

INT_PTR CALLBACK ShutdownProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG: {
      SetWindowTextW(dialog, Text(kStrShutdownTitle, L"Arresto del sistema"));
      SetDlgItemTextW(dialog, IDC_SHUTDOWN_TEXT,
                      Text(kStrShutdownText, L"Il computer verrà spento tra pochi secondi."));
      SetDlgItemTextW(dialog, IDCANCEL, Text(kStrCancel, L"Annulla"));
      HWND bar = GetDlgItem(dialog, IDC_SHUTDOWN_PROGRESS);
      SendMessageW(bar, PBM_SETRANGE32, 0, kShutdownSteps);
      SendMessageW(bar, PBM_SETSTEP, 1, 0);
      SetTimer(dialog, kShutdownTimer, kShutdownStepMs, nullptr);
      return TRUE;
    }
    case WM_TIMER: {
      HWND bar = GetDlgItem(dialog, IDC_SHUTDOWN_PROGRESS);
      SendMessageW(bar, PBM_STEPIT, 0, 0);
      if (SendMessageW(bar, PBM_GETPOS, 0, 0) >= kShutdownSteps) {
        KillTimer(dialog, kShutdownTimer);
        EndDialog(dialog, IDOK);
      }
      return TRUE;
    }
    case WM_COMMAND:
      if (LOWORD(wParam) == IDCANCEL) {
        KillTimer(dialog, kShutdownTimer);
        EndDialog(dialog, IDCANCEL);
        return TRUE;
      }
      break;
  }
  return FALSE;
}

void PowerOff() {
  gRunWindow.host->PowerOff();
}

void RequestExitCode(uint32_t code) {
  gRunWindow.host->RequestExit(code);
}

void WriteConsole(const std::vector<std::wstring>& texts) {
  for (const std::wstring& text : texts) gRunWindow.host->ConsoleWrite(text);
}

// The main window's side of a run: its status bars, lists, dialogs and
// task-bar button.
class WindowRunUi final : public RunUi {
 public:
  bool PumpMessages() override { return PumpWindowMessages(); }
  bool WaitForWorker(WorkerThread& worker) override { return WaitForWorkerWithMessages(worker); }
  std::wstring Text(uint32_t id, const wchar_t* literal) override { return ::Text(id, literal); }
  void SetStatusText(int part, const std::wstring& text) override { SetUpperStatusPart(part, text); }
  void SetWorkingIcon(bool working) override { SetLowerStatusIcon(working); }
  void ShowProgress(uint64_t last) override { ShowMainProgress(last); }
  // Called from the move thread: only posts.
  void SetProgress(uint64_t position) override { SetMainProgress(position); }
  void HideProgress() override { HideMainProgress(); }
  void RedrawList() override { RedrawMainItemRows(); }

  bool RowSelected(uint64_t row) override {
    HWND list = ItemListView();
    return list && (ListView_GetItemState(list, static_cast<int>(row), LVIS_SELECTED) & LVIS_SELECTED);
  }
  void ScrollToRow(uint64_t row) override {
    if (HWND list = ItemListView()) ListView_EnsureVisible(list, static_cast<int>(row), FALSE);
  }
  void RedrawRow(uint64_t row) override {
    if (HWND list = ItemListView()) ListView_RedrawItems(list, static_cast<int>(row), static_cast<int>(row));
  }
  void RedrawItems() override {
    if (HWND list = ItemListView()) InvalidateRect(list, nullptr, FALSE);
  }
  // The fragmented files, the errors and the counters show in the bottom
  // panel; staged results bring both lists. A run only adds to the lists, so
  // a list whose rows are the ones it shows is left as it is: the counters
  // change with every file moved, the lists seldom.
  void RefreshCounters() override {
    ::RefreshCounters();
    RefreshResultsIfChanged();
    RefreshErrorsIfChanged();
  }
  void RefreshErrors() override {
    ::RefreshCounters();
    RefreshErrorsIfChanged();
  }
  // The shell's icon of a listed file is looked up once, as it is listed,
  // rather than while the list paints.
  void CacheIcon(const std::wstring& path) override { ShellImageIndex(path, false); }
  void UpdateStatus(uint32_t flags) override { UpdateMainStatus(flags); }
  void RunLayout(bool running, bool defragmenting) override {
    SetRunInProgress(running);
    if (defragmenting) SetDefragmentationLayout(running);
  }
  // The run's end may have sorted the lists: both are shown afresh.
  void EnableResultTabs() override {
    RefreshResultList();
    RefreshErrorList();
    resultsShown_ = ListShown{gRun.fragmented.size(), gRun.counters.filesSeen > 0};
    errorsShown_ = ListShown{gRun.errors.size(), gRun.counters.filesSeen > 0};
  }
  void EnableRunMenus(bool) override { RefreshCommandStates(); }
  void EnableSaveReport(bool enabled) override { SetMainReportReady(enabled); }
  void ClipChildren(bool on) override {
    if (!gRunWindow.main) return;
    LONG_PTR style = GetWindowLongPtrW(gRunWindow.main, GWL_STYLE);
    SetWindowLongPtrW(gRunWindow.main, GWL_STYLE, on ? (style | WS_CLIPCHILDREN) : (style & ~WS_CLIPCHILDREN));
  }
  void TaskbarProgress(bool busy) override { SetTaskbarBusy(gRunWindow.main, busy); }
  void SetBusyState(uint32_t state) override { SetMainBusyState(state); }
  void BringToFront() override {
    if (gRunWindow.main) SetForegroundWindow(gRunWindow.main);
  }

  bool SolidStateWarning() override { return SolidStateWarningDialog(gRunWindow.main); }
  void SolidStateLeftOut(uint64_t files) override {
    const std::wstring text = FormatWithStrings(
        Text(kStrSolidStateLeftOut, L"%s file selezionati si trovano su unità a stato solido e sono stati lasciati "
                                    L"come sono, come chiedono le impostazioni."),
        {GroupedCount(LocaleNumbers(), files)});
    ShowMessage(gRunWindow.main, text, Text(kStrSolidStateTitle, L"Disco SSD"), MB_OK | MB_ICONINFORMATION);
  }
  int DiskCheck(bool automatic) override {
    return DiskCheckForRun(gRunWindow.main, automatic, gRunWindow.options.unattended);
  }
  bool CloseForDiskErrors() override { return CloseForDiskErrorsQuestion(gRunWindow.main); }
  bool Cleanup(bool automatic) override {
    return CleanupForRun(gRunWindow.main, automatic, gRunWindow.options.unattended);
  }

  void ShowSummary() override {
    if (!MainWindowClosing()) ShowRunSummary(gRunWindow.main);
  }
  void ShutdownCountdown() override {
    if (gRunWindow.options.unattended) {
      PowerOff();
    } else {
      RunShutdownCountdown(gRunWindow.main);
    }
  }
  void RequestExit(uint32_t code) override { RequestExitCode(code); }
  void ApplyPriority(uint32_t command) override {
    gRunWindow.host->SetPriority(command);
  }
  void DateTexts(uint64_t ticks, std::wstring& date, std::wstring& time) override {
    LocalDateTexts(ticks, date, time);
  }
  // The window lists only the fragmented files and the errors.
  void FileOutcome(const ::FileOutcome&) override {}
  void ConsoleSummary(bool, const std::vector<std::wstring>& section) override { WriteConsole(section); }
  void PowerOff() override { ::PowerOff(); }

 private:
  // What a list was last shown with: its rows, and whether files were seen
  // (an empty list's notice says so).
  struct ListShown {
    size_t rows = ~size_t{0};
    bool filesSeen = false;
    bool operator==(const ListShown&) const = default;
  };
  void RefreshResultsIfChanged() {
    const ListShown now{gRun.fragmented.size(), gRun.counters.filesSeen > 0};
    if (now == resultsShown_) return;
    resultsShown_ = now;
    RefreshResultList();
  }
  void RefreshErrorsIfChanged() {
    const ListShown now{gRun.errors.size(), gRun.counters.filesSeen > 0};
    if (now == errorsShown_) return;
    errorsShown_ = now;
    RefreshErrorList();
  }
  ListShown resultsShown_;
  ListShown errorsShown_;
};

// The options of the window's runs, taken afresh from the command line and
// the settings.
RunOptions& WindowRunOptions() {
  gRunWindow.options = RunOptionsFrom(gSettings, gApp.runFlags);
  return gRunWindow.options;
}

// A run that closes "if it went well" and did, closes after later runs too.
void KeepCloseAfterRun(const RunOptions& options) {
  if (options.close) gApp.runFlags |= kRunClose;
}

// A run the window's commands start.
void RunInWindow(RunMode mode) {
  RunOptions& options = WindowRunOptions();
  WindowRunUi ui;
  StartRun(mode, options, ui);
  KeepCloseAfterRun(options);
}

}  // namespace

void ShowRunSummary(HWND owner) {
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_RUN_SUMMARY), owner, SummaryProc, 0);
}

bool RunShutdownCountdown(HWND owner) {
  if (DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_SHUTDOWN), owner, ShutdownProc, 0) !=
      IDOK) {
    return false;
  }
  PowerOff();
  return true;
}

void InstallRunWindow(HWND mainWindow, RunWindowHost& host) {
  gRunWindow.main = mainWindow;
  gRunWindow.host = &host;
}

void StartWindowRun(RunMode mode) {
  WindowBusyScope busy;
  RunInWindow(mode);
}

void StopWindowRun() {
  RequestStop();
  if (gRunState.running) UpdateMainStatus(kStatusPleaseWait);
}

void SaveWindowReport(HWND mainWindow) {
  WindowBusyScope busy;
  SaveReportCommand(mainWindow);
}

void RunCommandLineRuns(HWND) {
  if (gApp.exitRequested) return;
  WindowBusyScope busy;
  RunOptions& options = WindowRunOptions();
  WindowRunUi ui;
  const uint32_t code = RunUnattended(options, ui);
  KeepCloseAfterRun(options);
  // Attended, only a disk check that found errors ends the program.
  if (options.unattended || code == 2) RequestExitCode(code);
}
