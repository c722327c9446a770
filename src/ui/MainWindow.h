#pragma once
// The main window: a modeless dialog holding the toolbar, the item list view,
// the splitter, the bottom panel (fragmented files, errors, the last run's
// counters), the two status bars and the progress bar. The application shell
// hands in the steps of its start-up that must run inside the window's
// initialisation, and the handlers of the commands the window does not carry
// out itself.
#include <windows.h>

#include <cstdint>
#include <string>

#include "engine/EngineUi.h"

// What the program around the window does at the window's turning points.
class MainWindowHost {
 public:
  virtual ~MainWindowHost() = default;
  // The checks that the platform offers what the program needs; they end the
  // process themselves when something is missing.
  virtual void StartupChecks(HWND window) = 0;
  // The panels or the menu could not be made; the window is of no use and
  // must be closed from here.
  virtual void PanelsFailed(HWND window) = 0;
  // Settings, filters, language and the command line, once the window exists.
  virtual void AfterLayout(HWND window) = 0;
  // Last words before the window goes: restore what start-up changed.
  virtual void BeforeDestroy(HWND window) = 0;
  // The code the message loop ends with.
  virtual int ExitCode() = 0;
  // Data sent by another process (WM_COPYDATA); true when it was understood.
  virtual bool CopyData(HWND window, const COPYDATASTRUCT* data) = 0;
};

// Creates the main dialog (hidden); `host` must outlive it. Returns null when
// it could not be created or when it was closed during its own initialisation.
HWND CreateMainWindow(HINSTANCE instance, MainWindowHost& host);
HWND MainWindowHandle();
// The item list view, and the fragmented-file list and the error list of
// the bottom panel.
HWND MainItemListView();
HWND MainResultListView();
HWND MainErrorListView();

// The window thread's waits, as the engine's hooks: removes and dispatches
// the queued messages (false when a quit message came, which is posted
// again for the message loop); one step of a wait for a worker, asleep until
// the worker ends or nudges or a message arrives.
bool PumpWindowMessages();
bool WaitForWorkerWithMessages(WorkerThread& worker);
// The same two as the engine's message pump.
class WindowMessagePump : public MessagePump {
 public:
  bool PumpMessages() override;
  bool WaitForWorker(WorkerThread& worker) override;
};

// The progress bar of the lower status bar: range 1..last, shown; a position
// (posted: called from the move thread); hidden.
void ShowMainProgress(uint64_t last);
void SetMainProgress(uint64_t position);
void HideMainProgress();
// The item list's rows repainted from their records.
void RedrawMainItemRows();

// Shows the window at the size the settings hold (maximised when asked).
void ShowMainWindow(bool maximized);

// Makes the list view show the item list again after items were added or
// removed or their records changed: the row count is set again without
// scrolling and the rows repaint. The status bar's item count follows.
void RefreshItemList();
// The fragmented-file list after the run's records changed.
void RefreshResultList();
// The error list after the run's error entries changed.
void RefreshErrorList();
// A defragmentation starts (true) or ends: the fragmented-file tab rests and
// the error tab is chosen meanwhile.
void SetDefragmentationLayout(bool running);
// The summary panel's counters and notice from the run's totals.
void RefreshCounters();
// Status bar update by flags (ui/StatusBars.h: 0x02, 0x04, 0x08, 0x10, 0x20, 0x40).
void UpdateMainStatus(uint32_t flags, const std::wstring& text = std::wstring());
// A run starts or ends: sorting and command enabling are suspended meanwhile.
void SetRunInProgress(bool running);
// Enables the toolbar's buttons and the menu bar's items by the command
// rules (ui/Commands.h) for the window's current state.
void RefreshCommandStates();

// Busy: a run, a profile import or a report being saved. Meanwhile the
// commands that change the lists, the filters, the language or the settings
// are refused, drops too, and sorting waits.
bool MainWindowBusy();
// The user closed the window during a run: it closes as soon as the run
// has stopped, with nothing shown in between.
bool MainWindowClosing();
void SetWindowBusy(bool busy);
struct WindowBusyScope {
  WindowBusyScope();
  ~WindowBusyScope();
  WindowBusyScope(const WindowBusyScope&) = delete;
  WindowBusyScope& operator=(const WindowBusyScope&) = delete;
};
// The close box, Alt+F4, "Esc&i" and the session's end: at once when idle;
// while busy the work is asked to stop and the window closes when it has.
void CloseMainWindow(HWND window);

// The accelerators and the dialog keys of the main window, for every message
// loop of the window thread; true when the message was used.
void SetMainAccelerators(HACCEL accelerators);
bool TranslateMainWindowMessage(MSG& message);

// The list that last had the keyboard focus (the menu bar and the toolbar
// take none), or null.
HWND LastFocusedList();
// A column command of the list last focused.
bool ApplyMainColumnCommand(uint32_t command);
// The busy word of the window: 9000 idle, 9001 checking drives, 9002
// adding items, 9005 recording an error.
void SetMainBusyState(uint32_t state);
uint32_t MainBusyState();
// An analysis left results that the report can save.
bool MainReportReady();
void SetMainReportReady(bool ready);

// Selection and highlighting of whole rows in the lists.
void SetFullRowSelect(bool fullRow);

// State icons in the item list on or off.
void SetStateIconsShown(bool shown);

// Sets the texts of the window's controls again after the language changed.
void RetextMainWindow();
// Shows or hides the toolbar, the bottom panel and the status bars.
void ShowMainPanels(bool toolbar, bool infoPanel, bool statusBars);
// Shows the bottom tab of command 5001 (fragmented files) or 5002 (errors).
void SelectBottomTab(uint32_t command);
