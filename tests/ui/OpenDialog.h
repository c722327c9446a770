// A modal dialog or message box on a thread of its own, as the window thread
// would show it: the test finds it by its title, reads it and answers it.
#pragma once

#include "TestDriver.h"

#include <chrono>
#include <future>
#include <string>
#include <type_traits>

inline constexpr DWORD kWaitMs = 10000;

class OpenDialog {
public:
    // `paintMs`: how long to let it paint before anything is read or pictured.
    template <typename Show>
    OpenDialog(Show show, const std::wstring& title, DWORD paintMs = 300)
        : result_(std::async(std::launch::async, [show] {
              if constexpr (std::is_void_v<std::invoke_result_t<Show>>) {
                  show();
                  return 0;
              } else {
                  return int(show());
              }
          })) {
        TestDriver::WindowQuery query;
        query.className = L"#32770";
        query.title = title.c_str();
        query.processId = GetCurrentProcessId();
        dialog_ = TestDriver::WaitForWindow(query, kWaitMs);
        if (paintMs != 0) TestDriver::PumpMessages(paintMs);
    }
    // A dialog the test left open is cancelled; one that cannot be cancelled
    // (a message box without a way out) is ended.
    ~OpenDialog() {
        if (!result_.valid()) return;
        if (dialog_ && IsWindow(dialog_)) {
            PostMessageW(dialog_, WM_COMMAND, IDCANCEL, 0);
            if (result_.wait_for(std::chrono::seconds(1)) != std::future_status::ready && IsWindow(dialog_)) {
                EndDialog(dialog_, 0);
            }
        }
        result_.wait();
    }
    HWND Dialog() const { return dialog_; }
    HWND Item(int id) const { return GetDlgItem(dialog_, id); }
    std::wstring ItemText(int id) const { return TestDriver::WindowText(Item(id)); }
    void Press(int id) {
        TestDriver::PressButton(dialog_, id);
        TestDriver::PumpMessages(200);
    }
    // True when the dialog closed within the wait.
    bool Closed(DWORD waitMs = kWaitMs) {
        return result_.wait_for(std::chrono::milliseconds(waitMs)) == std::future_status::ready;
    }
    // What showing it returned once it has closed, or -1 while it is open.
    int Result(DWORD waitMs = kWaitMs) {
        if (!Closed(waitMs)) return -1;
        return result_.get();
    }

private:
    std::future<int> result_;
    HWND dialog_ = nullptr;
};
