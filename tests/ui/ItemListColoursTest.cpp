// The item list view's text colours as they reach the screen: the highlight
// colour of a fragmented item on its name only, and across the row with
// full-row highlighting; the other columns stay in their quieter colour.

#include "FakeFileQueries.h"
#include "items/ItemList.h"
#include "options/Settings.h"
#include "ui/ItemListView.h"

#include <commctrl.h>

#include <gtest/gtest.h>

namespace {

HWND gList = nullptr;

LRESULT CALLBACK HostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NOTIFY && gList && reinterpret_cast<NMHDR*>(lParam)->hwndFrom == gList) {
        LRESULT result = 0;
        if (OnItemListNotify(gList, reinterpret_cast<NMHDR*>(lParam), result)) return result;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

bool Reddish(COLORREF colour) {
    return GetRValue(colour) > 150 && GetGValue(colour) < 90 && GetBValue(colour) < 90;
}

class ItemListColoursTest : public ::testing::Test {
protected:
    void SetUp() override {
        INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES};
        InitCommonControlsEx(&controls);
        fake_.AddDrive(L'C', 4096);
        fake_.AddFile(L"C:\\Dati\\spezzato.dat", 123456);
        fake_.AddFile(L"C:\\Dati\\intero.dat", 654321);
        SetFileQueries(&fake_);
        ClearItemList();
        PortableItemPlatform items;
        ASSERT_EQ(AddItem(items, false, L"C:\\Dati\\intero.dat"), kAddOk);
        ASSERT_EQ(AddItem(items, false, L"C:\\Dati\\spezzato.dat"), kAddOk);
        // Row 0 is the newest item: mark it as found fragmented.
        ItemAtRow(0)->flags |= ItemFlags::kOutcomeFragmented;
        saved_ = gSettings;
        gSettings.showSystemIcons = false;
        gSettings.itemTextColour[0] = RGB(230, 0, 0);
        gSettings.itemTextColourEnabled[0] = true;

        WNDCLASSW host{};
        host.lpfnWndProc = HostProc;
        host.hInstance = GetModuleHandleW(nullptr);
        host.lpszClassName = L"ItemListColoursHost";
        RegisterClassW(&host);
        window_ = CreateWindowExW(WS_EX_TOPMOST, L"ItemListColoursHost", L"colours", WS_POPUP | WS_VISIBLE, 0, 0,
                                  1100, 200, nullptr, nullptr, host.hInstance, nullptr);
        gList = CreateWindowExW(0, WC_LISTVIEWW, L"", WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_OWNERDATA |
                                                          LVS_SHAREIMAGELISTS,
                                0, 0, 1100, 200, window_, nullptr, host.hInstance, nullptr);
        InitItemListView(gList);
        RefreshItemRows(gList);
    }
    void TearDown() override {
        DestroyWindow(window_);
        gList = nullptr;
        gSettings = saved_;
        ClearItemList();
        SetFileQueries(nullptr);
    }

    // Counts the reddish pixels of one cell as painted on the screen.
    int ReddishPixels(int row, int column) {
        InvalidateRect(gList, nullptr, TRUE);
        UpdateWindow(gList);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        RECT cell{};
        cell.top = column;
        cell.left = LVIR_LABEL;
        if (!SendMessageW(gList, LVM_GETSUBITEMRECT, row, reinterpret_cast<LPARAM>(&cell))) return -1;
        HDC dc = GetDC(gList);
        int count = 0;
        for (int y = cell.top; y < cell.bottom; ++y) {
            for (int x = cell.left; x < cell.right; ++x) count += Reddish(GetPixel(dc, x, y)) ? 1 : 0;
        }
        ReleaseDC(gList, dc);
        return count;
    }

    FakeFileQueries fake_;
    Settings saved_;
    HWND window_ = nullptr;
};

TEST_F(ItemListColoursTest, HighlightColoursTheNameOnlyUnlessFullRow) {
    constexpr int kName = 0, kSize = 2, kType = 6;
    EXPECT_GT(ReddishPixels(0, kName), 0) << "the fragmented item's name";
    EXPECT_EQ(ReddishPixels(0, kSize), 0) << "its size keeps the detail colour";
    EXPECT_EQ(ReddishPixels(0, kType), 0);
    EXPECT_EQ(ReddishPixels(1, kName), 0) << "the other item has no highlight";

    gSettings.itemTextColourFullRow = true;
    EXPECT_GT(ReddishPixels(0, kName), 0);
    EXPECT_GT(ReddishPixels(0, kSize), 0) << "full row: the size in the highlight colour too";
    EXPECT_EQ(ReddishPixels(1, kSize), 0);

    gSettings.itemTextColourEnabled[0] = false;
    EXPECT_EQ(ReddishPixels(0, kName), 0) << "a disabled category colours nothing";
}

}  // namespace
