// The program's dialogs and message box inside the test process: each is
// shown on a thread of its own, as the window thread would show it, and the
// test finds it by its title, reads it and answers it. The English texts are
// those of the language file the program ships.
#pragma once

#include "TestDriver.h"
#include "options/LanguageFile.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <set>
#include <string>
#include <type_traits>

inline constexpr DWORD kWaitMs = 10000;

// The screen's dots per inch, for the names of pictures.
inline std::wstring DpiText() {
    HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return std::to_wstring(dpi);
}

// The English file loaded into the text table as the program loads it.
inline bool LoadEnglishTexts() {
    ResetTexts();
    SetTextCapacity(kProgramTextCapacity);
    UnicodeTextReader reader;
    if (!reader.Open((std::filesystem::path(ORDALIS_LANG_DIR) / L"Ordalis_EN.lng").wstring(), true,
                     kLineLimitFilters)) {
        return false;
    }
    ReadLanguageFile(reader);
    PadLanguageTextsForLayout();
    SetBuiltInTexts(false);
    return true;
}

// Every entry of the loaded table, as shown and without its layout blanks.
inline std::set<std::wstring> LoadedTexts() {
    std::set<std::wstring> texts;
    for (uint32_t id = 0; id < TextCapacity(); ++id) {
        std::wstring text = Text(id, L"");
        if (text.empty()) continue;
        texts.insert(text);
        const size_t first = text.find_first_not_of(L' '), last = text.find_last_not_of(L' ');
        if (first != std::wstring::npos) texts.insert(text.substr(first, last - first + 1));
    }
    return texts;
}

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
