#include "ui/RunWindow.h"

#include <commctrl.h>

#include <mutex>
#include <string>

#include "app/RunFlags.h"
#include "engine/EngineHooks.h"
#include "engine/Analysis.h"
#include "filters/win32/ChoiceDialog.h"
#include "items/ItemCells.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "runs/FolderWalk.h"
#include "runs/RunDriver.h"
#include "runs/RunHooks.h"
#include "runs/RunReport.h"
#include "runs/RunResults.h"
#include "ui/Artwork.h"
#include "settings/CommandIds.h"
#include "ui/Commands.h"
#include "ui/MainWindow.h"
#include "ui/FileDialogs.h"
#include "ui/MessageBox.h"
#include "ui/PreRunSteps.h"
#include "ui/StatusBars.h"
#include "ui/TaskbarProgress.h"
#include "util/StringIds.h"
#include "util/Text.h"

namespace {

constexpr UINT_PTR kShutdownTimer = 1;
constexpr UINT kShutdownStepMs = 250;
constexpr int kShutdownSteps = 60;

struct RunWindowState {
  HWND main = nullptr;
  RunWindowSetup setup;
};
RunWindowState gRunWindow;

HWND Control(int id) { return gRunWindow.main ? GetDlgItem(gRunWindow.main, id) : nullptr; }

void TaskbarProgress(bool busy) { SetTaskbarBusy(gRunWindow.main, busy); }

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

void SaveReportCommand(HWND owner) {
  const std::wstring filter = std::wstring(Text(kStrReportFileKind, L"File di testo (*.txt)")) + L"|*.txt|";
  FileDialogRequest request;
  request.filter = filter.c_str();
  request.flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY;
  const std::wstring name = AskFileToSave(owner, request);
  if (name.empty()) return;
  if (!SaveAnalysisReport(name, PlatformReportFormat())) return;
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
      SetDlgItemTextW(dialog, IDC_SUMMARY_PROCESSED, GroupedCount(gRun.counters.filesSeen).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_FRAGMENTED, GroupedCount(gRun.fragmented.size()).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_NOT_FRAGMENTED, GroupedCount(gRun.counters.notFragmented).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_DEFRAGMENTED, GroupedCount(gRun.counters.filesMoved).c_str());
      SetDlgItemTextW(dialog, IDC_SUMMARY_ERRORS, GroupedCount(gRun.errors.size()).c_str());
      return TRUE;
    }
    case WM_COMMAND:
      if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL) {
        EndDialog(dialog, LOWORD(wParam));
        return TRUE;
      }
      break;
  }
  return FALSE;
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
  if (gRunWindow.setup.powerOff) gRunWindow.setup.powerOff();
}

void RequestExitCode(uint32_t code) {
  if (gRunWindow.setup.requestExit) gRunWindow.setup.requestExit(code);
}

bool RowSelected(uint64_t row) {
  HWND list = ItemListView();
  return list && (ListView_GetItemState(list, static_cast<int>(row), LVIS_SELECTED) & LVIS_SELECTED);
}

void WriteConsole(const std::vector<std::wstring>& texts) {
  if (!gRunWindow.setup.consoleWrite) return;
  for (const std::wstring& text : texts) gRunWindow.setup.consoleWrite(text);
}

// The exit code of the unattended mode once its runs are over: 2 when the
// disk check stopped the defragmentation for errors, 3 for a stopped
// defragmentation that closes with errors, else 4 when any run left errors.
uint32_t UnattendedExitCode(bool diskErrors, bool stoppedWithErrors, bool anyErrors) {
  if (diskErrors) return 2;
  if (stoppedWithErrors) return 3;
  return anyErrors ? 4 : 0;
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

ReportFormat PlatformReportFormat() {
  ReportFormat format = PortableReportFormat();
  format.groupDigits = gItemCellSettings.numbers.groupDigits;
  format.decimal = [](const std::wstring& twoDecimals) {
    wchar_t buffer[64];
    if (!GetNumberFormatW(LOCALE_USER_DEFAULT, 0, twoDecimals.c_str(), nullptr, buffer, 64)) {
      return twoDecimals;
    }
    return std::wstring(buffer);
  };
  format.date = [] {
    wchar_t buffer[128];
    return GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, nullptr, nullptr, buffer, 128)
               ? std::wstring(buffer)
               : std::wstring();
  };
  format.time = [] {
    wchar_t buffer[128];
    return GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, nullptr, nullptr, buffer, 128)
               ? std::wstring(buffer)
               : std::wstring();
  };
  return format;
}

void InstallRunWindow(HWND mainWindow, const RunWindowSetup& setup) {
  gRunWindow.main = mainWindow;
  gRunWindow.setup = setup;
  RunHooks& hooks = gRunHooks;
  hooks.rowSelected = RowSelected;
  hooks.scrollToRow = [](uint64_t row) {
    if (HWND list = ItemListView()) ListView_EnsureVisible(list, static_cast<int>(row), FALSE);
  };
  hooks.redrawRow = [](uint64_t row) {
    if (HWND list = ItemListView()) ListView_RedrawItems(list, static_cast<int>(row), static_cast<int>(row));
  };
  hooks.redrawItems = [] {
    if (HWND list = ItemListView()) InvalidateRect(list, nullptr, FALSE);
  };
  hooks.updateStatus = [](uint32_t flags) { UpdateMainStatus(flags); };
  // The fragmented files, the errors and the counters show in the bottom
  // panel; staged results bring both lists.
  hooks.refreshCounters = [] {
    RefreshCounters();
    RefreshResultList();
    RefreshErrorList();
  };
  hooks.refreshErrors = [] {
    RefreshCounters();
    RefreshErrorList();
  };
  hooks.enableResultTabs = [] {
    RefreshResultList();
    RefreshErrorList();
  };
  hooks.runLayout = [](bool running, bool defragmenting) {
    SetRunInProgress(running);
    if (defragmenting) SetDefragmentationLayout(running);
  };
  hooks.clipChildren = [](bool on) {
    if (!gRunWindow.main) return;
    LONG_PTR style = GetWindowLongPtrW(gRunWindow.main, GWL_STYLE);
    SetWindowLongPtrW(gRunWindow.main, GWL_STYLE, on ? (style | WS_CLIPCHILDREN) : (style & ~WS_CLIPCHILDREN));
  };
  hooks.taskbarProgress = TaskbarProgress;
  hooks.hiddenStatus = [] {
    wchar_t buffer[16] = L"";
    if (HWND field = Control(IDC_HIDDEN_STATUS)) GetWindowTextW(field, buffer, 16);
    return std::wstring(buffer);
  };
  hooks.setHiddenStatus = [](const std::wstring& text) {
    if (HWND field = Control(IDC_HIDDEN_STATUS)) SetWindowTextW(field, text.c_str());
  };
  hooks.bringToFront = [] {
    if (gRunWindow.main) SetForegroundWindow(gRunWindow.main);
  };
  hooks.optionChecked = [](uint32_t command) {
    HMENU menu = gRunWindow.main ? GetMenu(gRunWindow.main) : nullptr;
    return menu && (GetMenuState(menu, command, MF_BYCOMMAND) & MF_CHECKED) != 0;
  };
  hooks.showSummary = [] { ShowRunSummary(gRunWindow.main); };
  hooks.shutdownDialog = [] {
    if (gApp.runFlags & kRunNoGui) {
      PowerOff();
    } else {
      RunShutdownCountdown(gRunWindow.main);
    }
  };
  hooks.requestExit = RequestExitCode;
  hooks.applyPriority = [](uint32_t command) {
    if (gRunWindow.setup.setPriority) gRunWindow.setup.setPriority(command);
  };
  hooks.dateTexts = LocalDateTexts;
  // The solid-state warning, the disk check and the cleanup.
  InstallPreRunSteps(mainWindow);
  hooks.enableSaveReport = SetMainReportReady;
  hooks.enableRunMenus = [](bool) { RefreshCommandStates(); };
  hooks.setBusyState = SetMainBusyState;
  // The shell's icon of a listed file is looked up once, as it is listed,
  // rather than while the list paints.
  hooks.cacheIcon = [](const std::wstring& path) { ShellImageIndex(path, false); };
  ItemHooks& items = gItemSettings.hooks;
  items.setBusyState = SetMainBusyState;
  items.cacheIcon = [](const std::wstring& path) { ShellImageIndex(path, false); };
  // A file whose size on disk looks far too large is analysed: a file
  // without clusters of its own then counts as taking none.
  items.analyseClusters = [](const std::wstring& longPath) -> uint64_t {
    FileAnalysis analysis;
    AnalyseFile(longPath, analysis);
    return analysis.outcome.empty() ? analysis.clusters : 1;
  };
}

std::vector<std::string> MissingProgramHooks() {
  std::vector<std::string> missing;
  for (const std::string& name : MissingEngineHooks(gEngineHooks)) missing.push_back("engine." + name);
  for (const std::string& name : MissingRunHooks(gRunHooks)) missing.push_back("run." + name);
  for (const std::string& name : MissingItemHooks(gItemSettings.hooks)) missing.push_back("item." + name);
  return missing;
}

void StartWindowRun(RunMode mode) {
  WindowBusyScope busy;
  StartRun(mode);
}

void StopWindowRun() {
  RequestStop();
  if (gRunState.running) UpdateMainStatus(kStatusPleaseWait);
}

void SaveWindowReport(HWND mainWindow) {
  WindowBusyScope busy;
  SaveReportCommand(mainWindow);
}

void RunCommandLineRuns(HWND mainWindow) {
  const bool unattended = (gApp.runFlags & kRunNoGui) != 0;
  const bool analyse = (gApp.runFlags & kRunAnalyze) != 0;
  const bool defragment = (gApp.runFlags & kRunDefrag) != 0;
  if (gApp.exitRequested) return;
  bool anyErrors = false;
  WindowBusyScope busy;
  if (analyse) {
    StartRun(RunMode::AnalyseAll);
    anyErrors = !gRun.errors.empty();
    if (unattended) WriteConsole(ConsoleAnalysisSection());
  }
  bool diskErrors = false;
  bool stoppedWithErrors = false;
  if (defragment) {
    StartRun(RunMode::DefragmentAll);
    anyErrors = anyErrors || !gRun.errors.empty();
    diskErrors = gRunHooks.hiddenStatus && gRunHooks.hiddenStatus() == kDiskCheckErrorsMarker;
    if (unattended) WriteConsole(ConsoleDefragSection());
    const uint32_t flags = gApp.runFlags;
    stoppedWithErrors = gRunState.lastEnd == RunEnd::Stopped && (flags & kRunClose) &&
                        !(flags & kRunAllowAbort) && !gRun.errors.empty();
    if (!unattended && diskErrors) RequestExitCode(2);
  }
  if (!unattended) return;
  if (defragment && gRunState.lastEnd == RunEnd::Completed) {
    const uint32_t flags = gApp.runFlags;
    if ((flags & kRunShowReport) || ((flags & kRunCloseIfOk) && !gRun.errors.empty())) {
      ShowRunSummary(mainWindow);
    }
    if (flags & kRunShutdown) PowerOff();
  }
  RequestExitCode(UnattendedExitCode(diskErrors, stoppedWithErrors, anyErrors));
}
