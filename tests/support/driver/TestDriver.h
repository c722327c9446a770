// Drives the real Ordalis.exe from a test program: starts it with a command
// line and captures its standard output, finds its windows and reads their
// texts, list-view cells and status-bar parts across the process boundary,
// sends commands, and saves screenshots.
//
// Every wait has a timeout; a helper that cannot do its job returns an empty
// value (null window, empty text, -1 count) so that the test's own assertion
// reports what was expected.
#pragma once

#include <windows.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace TestDriver {

// Owns a kernel handle; "no handle" is both null and INVALID_HANDLE_VALUE.
struct HandleCloser {
    void operator()(HANDLE handle) const {
        if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

// The path a Wine program uses for a path of the Linux host: "/a/b" becomes
// "Z:\a\b". Other paths are only widened from UTF-8.
std::wstring HostPathToWindows(std::string_view path);

// A started program. Its standard output and standard error share one pipe,
// read on a thread. A program still running when this object goes away is
// killed, so a failing test never leaves an instance behind to block the
// single-instance rule of the next one.
class RunningProgram {
public:
    RunningProgram(UniqueHandle process, DWORD processId, UniqueHandle outputRead);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    DWORD ProcessId() const { return processId_; }
    bool Running() const;
    // True when the program ended within the timeout; the output is then complete.
    bool WaitForExit(DWORD timeoutMs);
    DWORD ExitCode() const;  // STILL_ACTIVE while it runs
    std::string Output() const;
    void Kill();

private:
    void ReadOutput();

    UniqueHandle process_;
    DWORD processId_;
    UniqueHandle outputRead_;
    mutable std::mutex outputLock_;
    std::string output_;
    std::thread reader_;
};

// Starts exePath with the arguments (the command line is the quoted program
// path, a blank and the arguments as given), in currentFolder or else in the
// program's own folder. Null when it cannot be started.
std::unique_ptr<RunningProgram> StartProgram(const std::wstring& exePath, const std::wstring& arguments,
                                             const std::wstring& currentFolder = L"");

// Top-level windows.
struct WindowQuery {
    const wchar_t* className = nullptr;  // null: any
    const wchar_t* title = nullptr;      // null: any
    DWORD processId = 0;                 // 0: any
    HWND except = nullptr;               // never this window
    bool visibleOnly = true;
};

HWND FindTopWindow(const WindowQuery& query);
// Polls until the window exists, pumping this thread's messages meanwhile.
HWND WaitForWindow(const WindowQuery& query, DWORD timeoutMs);
void PumpMessages(DWORD forMs);

// Texts, through WM_GETTEXT, so they work for controls of other processes.
std::wstring WindowText(HWND window);
std::wstring WindowClass(HWND window);
// All descendants, in z-order per level; only those of the class when given.
std::vector<HWND> ChildWindows(HWND parent, const wchar_t* className = nullptr);
std::vector<std::wstring> ChildTexts(HWND parent);

// Messages are posted, so a modal loop started by the command cannot block the test.
bool PressButton(HWND dialog, int controlId);  // BN_CLICKED from that control
bool SendCommand(HWND window, int commandId);  // as a menu command

// List views of another process.
int ListViewRowCount(HWND listView);  // -1 when the window does not answer
std::wstring ListViewCellText(HWND listView, int row, int column);
std::wstring ListViewColumnHeader(HWND listView, int column);

// Columns of a list view: widths and the header's sort arrow (+1 up, -1 down, 0 none).
int ListViewColumnWidth(HWND listView, int column);
int ListViewSortArrow(HWND listView, int column);
// Clicks a column's header as the mouse would (button down and up in its middle).
bool ClickListViewHeader(HWND listView, int column);
// A row's state bits under `mask` (LVIS_SELECTED, LVIS_STATEIMAGEMASK for
// its check box), -1 when the list does not answer.
int ListViewRowState(HWND listView, int row, UINT mask);
// Selects exactly these rows.
bool SelectListViewRows(HWND listView, const std::vector<int>& rows);
// The column texts of every row, top to bottom.
std::vector<std::wstring> ListViewColumnTexts(HWND listView, int column);

// Whether a menu bar command can be chosen: 1 enabled, 0 greyed, -1 no such
// item. Menus cannot be read across processes under Wine: the simulating
// program answers for its own menu bar.
int MenuItemEnabled(HWND window, int commandId);

// Sets the text of a control of another process (WM_SETTEXT), as typing would.
bool SetControlText(HWND control, const std::wstring& text);
// Drops files on a window as the shell does: a DROPFILES block in the
// window's process and WM_DROPFILES posted to it.
bool DropFiles(HWND window, const std::vector<std::wstring>& paths);

// A dialog's buttons left to right (their texts and control ids), and the
// texts of its other controls (the message of a message box).
struct DialogButton {
    std::wstring text;
    int id = 0;
};
std::vector<DialogButton> DialogButtons(HWND dialog);
std::wstring MessageBoxMessage(HWND dialog);

// Keys and clicks, posted to the window with the keyboard focus in the
// window's thread (or to the window itself when it has none).
bool PressKey(HWND window, UINT virtualKey);
bool ClickAt(HWND window, POINT client);
// Picture of one window (its screen area) as <name>.png under
// build/screenshots/. The path written, or empty.
std::wstring SaveWindowScreenshot(HWND window, const std::wstring& name);

}  // namespace TestDriver
