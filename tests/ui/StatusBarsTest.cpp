// A status text changed with the bar's drawing held back (as a run changes
// them, painted with the window's next paint): the text reaches the part it
// was meant for, on a shown bar as on a hidden one, and a hidden bar stays
// hidden.

#include "ui/StatusBars.h"

#include <commctrl.h>

#include <gtest/gtest.h>

namespace {

std::wstring PartText(HWND bar, int part) {
    wchar_t text[256] = {};
    SendMessageW(bar, SB_GETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
    return text;
}

bool Shown(HWND window) { return (GetWindowLongW(window, GWL_STYLE) & WS_VISIBLE) != 0; }

TEST(StatusBarsTest, TextReachesItsPartAndAHiddenBarStaysHidden) {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    HWND parent = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 100, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(parent, nullptr);
    for (const bool shown : {true, false}) {
        HWND bar = CreateWindowExW(0, STATUSCLASSNAMEW, L"", WS_CHILD | (shown ? WS_VISIBLE : 0), 0, 0, 400, 20,
                                   parent, nullptr, GetModuleHandleW(nullptr), nullptr);
        ASSERT_NE(bar, nullptr);
        int parts[] = {200, -1};
        SendMessageW(bar, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(parts));
        std::wstring first, second;
        SetTextPaintedLater(bar, SB_SETTEXTW, 0, L"Deframmentazione in corso...", first);
        SetTextPaintedLater(bar, SB_SETTEXTW, 1, L"Z:\\dati\\f1.bin", second);
        SetTextPaintedLater(bar, SB_SETTEXTW, 1, L"Z:\\dati\\f2.bin", second);
        EXPECT_EQ(PartText(bar, 0), L"Deframmentazione in corso...") << (shown ? "shown" : "hidden");
        EXPECT_EQ(PartText(bar, 1), L"Z:\\dati\\f2.bin") << (shown ? "shown" : "hidden");
        EXPECT_EQ(Shown(bar), shown);
        DestroyWindow(bar);
    }
    DestroyWindow(parent);
}

}  // namespace
