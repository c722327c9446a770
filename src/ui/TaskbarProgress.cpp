#include "ui/TaskbarProgress.h"

#include "util/win32/Win32Handle.h"

namespace {

ITaskbarList3* MakeSystemTaskbar() {
  ITaskbarList3* taskbar = nullptr;
  if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3,
                              reinterpret_cast<void**>(&taskbar)))) {
    return nullptr;
  }
  return taskbar;
}

// Released when the window goes (ReleaseTaskbar), while COM is still there.
struct TaskbarState {
  TaskbarMaker maker = MakeSystemTaskbar;
  ComPtr<ITaskbarList3> taskbar;
  bool tried = false;
};
TaskbarState gTaskbar;

}  // namespace

void SetTaskbarBusy(HWND window, bool busy) {
  if (!gTaskbar.tried) {
    gTaskbar.tried = true;
    // Absent before the task bar had progress: then there is nothing to show.
    gTaskbar.taskbar.Attach(gTaskbar.maker());
    // The list must be initialised before any other call; one that cannot
    // be is of no use.
    if (gTaskbar.taskbar && FAILED(gTaskbar.taskbar->HrInit())) ReleaseTaskbar();
  }
  if (!gTaskbar.taskbar || !window) return;
  gTaskbar.taskbar->SetProgressState(window, busy ? TBPF_INDETERMINATE : TBPF_NOPROGRESS);
}

void ReleaseTaskbar() {
  gTaskbar.taskbar.Reset();
  gTaskbar.tried = false;
}

void SetTaskbarMaker(TaskbarMaker maker) {
  ReleaseTaskbar();
  gTaskbar.maker = maker ? maker : MakeSystemTaskbar;
}
