// The item list view with a very long list, on a real window: setting the
// row count, scrolling and repainting page by page, jumping to the end and
// the middle, and sorting on a header click with rows selected. Every step
// must cost the same whatever the list's length, except the sort.
//
// Run under Wine with a display: scripts/wine-exec build/windows/bench/ui/ui_list_bench.exe [count]
#include <windows.h>
#include <commctrl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "FakeFileQueries.h"
#include "items/ItemCells.h"
#include "items/ItemList.h"
#include "ui/ItemListView.h"

namespace {

using Clock = std::chrono::steady_clock;
double Milliseconds(Clock::time_point since) {
  return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

HWND gList = nullptr;
uint64_t gCellRequests = 0;

LRESULT CALLBACK HostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NOTIFY) {
    auto* header = reinterpret_cast<NMHDR*>(lParam);
    if (header->hwndFrom == gList) {
      if (header->code == LVN_GETDISPINFOW) ++gCellRequests;
      LRESULT result = 0;
      if (OnItemListNotify(gList, header, result)) return result;
    }
  }
  if (message == WM_SIZE && gList) MoveWindow(gList, 0, 0, LOWORD(lParam), HIWORD(lParam), TRUE);
  return DefWindowProcW(window, message, wParam, lParam);
}

void Pump() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

std::wstring PathOf(size_t i) {
  return L"C:\\Bench\\Folder" + std::to_wstring(i % 100) + L"\\file" + std::to_wstring(i) + L".dat";
}

}  // namespace

int main(int argc, char** argv) {
  size_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000000;
  INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES};
  InitCommonControlsEx(&controls);

  FakeFileQueries fake;
  fake.AddDrive(L'C', 4096);
  for (size_t i = 0; i < count; ++i) fake.AddFile(PathOf(i), 1000 + (i * 7919) % 100000);
  SetFileQueries(&fake);
  PortableItemPlatform items;
  auto start = Clock::now();
  for (size_t i = 0; i < count; ++i) AddItem(items, false, PathOf(i));
  std::printf("%zu items added in %.0f ms\n", static_cast<size_t>(ItemCount()), Milliseconds(start));

  WNDCLASSW host{};
  host.lpfnWndProc = HostProc;
  host.hInstance = GetModuleHandleW(nullptr);
  host.lpszClassName = L"ListBenchHost";
  RegisterClassW(&host);
  HWND window = CreateWindowExW(0, L"ListBenchHost", L"bench", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 1200, 800,
                                nullptr, nullptr, host.hInstance, nullptr);
  gList = CreateWindowExW(0, WC_LISTVIEWW, L"", WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_OWNERDATA |
                                                    LVS_SHOWSELALWAYS | LVS_SHAREIMAGELISTS,
                          0, 0, 1200, 800, window, nullptr, host.hInstance, nullptr);
  InitItemListView(gList);
  Pump();

  start = Clock::now();
  RefreshItemRows(gList);
  UpdateWindow(gList);
  std::printf("row count set and first page painted: %.1f ms\n", Milliseconds(start));

  // Page by page from the top: every page is one repaint.
  const int pages = 300;
  gCellRequests = 0;
  start = Clock::now();
  for (int page = 0; page < pages; ++page) {
    SendMessageW(gList, WM_VSCROLL, SB_PAGEDOWN, 0);
    UpdateWindow(gList);
  }
  double pageTime = Milliseconds(start);
  std::printf("%d page scrolls with repaint: %.2f ms per page (%llu cell requests per page)\n", pages,
              pageTime / pages, static_cast<unsigned long long>(gCellRequests / pages));

  // Jumps far into the list: reaching a row costs no walk.
  start = Clock::now();
  ListView_EnsureVisible(gList, static_cast<int>(count - 1), FALSE);
  UpdateWindow(gList);
  double endTime = Milliseconds(start);
  start = Clock::now();
  ListView_EnsureVisible(gList, static_cast<int>(count / 2), FALSE);
  UpdateWindow(gList);
  std::printf("jump to the last row: %.2f ms; to the middle: %.2f ms\n", endTime, Milliseconds(start));

  // Page by page at the end of the list, as fast as at the start.
  gCellRequests = 0;
  start = Clock::now();
  for (int page = 0; page < pages; ++page) {
    SendMessageW(gList, WM_VSCROLL, SB_PAGEDOWN, 0);
    UpdateWindow(gList);
  }
  std::printf("%d page scrolls in the second half: %.2f ms per page\n", pages, Milliseconds(start) / pages);

  // Sorting on a header click, with a thousand rows selected.
  for (int row = 0; row < 1000; ++row) ListView_SetItemState(gList, row * 997, LVIS_SELECTED, LVIS_SELECTED);
  for (int column : {2, 2, 0}) {
    start = Clock::now();
    SortItemsOnColumnClick(gList, column);
    UpdateWindow(gList);
    std::printf("sort on column %d: %.0f ms\n", column, Milliseconds(start));
  }
  std::printf("selected after the sorts: %d rows\n", ListView_GetSelectedCount(gList));

  // The parts of a sort without the window: building the keys, the merge sort.
  start = Clock::now();
  BuildSortKeys(ItemColumn::Size);
  double keyTime = Milliseconds(start);
  start = Clock::now();
  SortItemList(1);
  std::printf("without the window: keys %.0f ms, merge sort %.0f ms\n", keyTime, Milliseconds(start));
  DestroyWindow(window);
  return 0;
}
