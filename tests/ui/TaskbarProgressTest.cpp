// The task-bar progress with a recording task-bar list in place of the
// system's: initialised before its first use, made once, released at the end.
#include "ui/TaskbarProgress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class RecordingTaskbar final : public ITaskbarList3 {
 public:
  ULONG references = 1;
  std::vector<std::string> calls;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override {
    calls.push_back("Release");
    return --references;
  }
  HRESULT STDMETHODCALLTYPE HrInit() override {
    calls.push_back("HrInit");
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE AddTab(HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE DeleteTab(HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ActivateTab(HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetActiveAlt(HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE MarkFullscreenWindow(HWND, BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetProgressValue(HWND, ULONGLONG, ULONGLONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetProgressState(HWND, TBPFLAG state) override {
    calls.push_back(state == TBPF_INDETERMINATE ? "busy" : state == TBPF_NOPROGRESS ? "idle" : "other");
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE RegisterTab(HWND, HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UnregisterTab(HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetTabOrder(HWND, HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetTabActive(HWND, HWND, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ThumbBarAddButtons(HWND, UINT, LPTHUMBBUTTON) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ThumbBarUpdateButtons(HWND, UINT, LPTHUMBBUTTON) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ThumbBarSetImageList(HWND, HIMAGELIST) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetOverlayIcon(HWND, HICON, LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetThumbnailTooltip(HWND, LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetThumbnailClip(HWND, RECT*) override { return E_NOTIMPL; }
};

RecordingTaskbar* gRecording = nullptr;
int gMade = 0;

ITaskbarList3* MakeRecording() {
  ++gMade;
  return gRecording;
}

TEST(TaskbarProgress, IsInitialisedBeforeItsFirstUseKeptForTheRunsAndReleasedAtTheEnd) {
  RecordingTaskbar taskbar;
  gRecording = &taskbar;
  gMade = 0;
  SetTaskbarMaker(MakeRecording);
  HWND window = GetDesktopWindow();

  SetTaskbarBusy(window, true);
  SetTaskbarBusy(window, false);
  SetTaskbarBusy(window, true);
  SetTaskbarBusy(window, false);
  EXPECT_EQ(gMade, 1);
  ReleaseTaskbar();

  EXPECT_EQ(taskbar.calls, (std::vector<std::string>{"HrInit", "busy", "idle", "busy", "idle", "Release"}));
  EXPECT_EQ(taskbar.references, 0u);
  SetTaskbarMaker(nullptr);
  gRecording = nullptr;
}

}  // namespace
