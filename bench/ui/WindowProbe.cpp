// How long the program's main window leaves messages unanswered: waits for
// a top-level dialog window with the given title, then sends it
// an empty message every few milliseconds until it is gone, timing each
// answer. Prints the longest wait, the 99th percentile and how long the
// window lived. After `watch` seconds it asks the window to close (a window
// run does not end by itself) and keeps timing until it is gone.
//
//   window_probe.exe [title (default "Ordalis")] [seconds to wait for it (default 300)] [watch (default: no limit)]
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Search {
  std::wstring prefix;
  HWND found = nullptr;
};

BOOL CALLBACK Match(HWND window, LPARAM parameter) {
  auto* search = reinterpret_cast<Search*>(parameter);
  wchar_t title[256] = {};
  GetWindowTextW(window, title, 256);
  wchar_t className[64] = {};
  GetClassNameW(window, className, 64);
  // The main window is a dialog; its message boxes have other titles.
  if (std::wstring(className) != L"#32770" || std::wstring(title) != search->prefix) return TRUE;
  search->found = window;
  return FALSE;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  using Clock = std::chrono::steady_clock;
  Search search;
  search.prefix = argc > 1 ? argv[1] : L"Ordalis";
  const double patience = argc > 2 ? _wtof(argv[2]) : 300.0;
  const double watch = argc > 3 ? _wtof(argv[3]) : 0.0;
  bool closing = false;
  const auto started = Clock::now();
  while (search.found == nullptr) {
    EnumWindows(Match, reinterpret_cast<LPARAM>(&search));
    if (search.found != nullptr) break;
    if (std::chrono::duration<double>(Clock::now() - started).count() > patience) {
      std::printf("no window\n");
      return 1;
    }
    Sleep(20);
  }
  const auto seen = Clock::now();
  std::vector<double> waits;
  while (IsWindow(search.found)) {
    const auto before = Clock::now();
    DWORD_PTR answer = 0;
    const LRESULT sent = SendMessageTimeoutW(search.found, WM_NULL, 0, 0, SMTO_NORMAL, 3600000, &answer);
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - before).count();
    if (sent == 0 && !IsWindow(search.found)) break;
    waits.push_back(ms);
    if (!closing && watch > 0 && std::chrono::duration<double>(Clock::now() - seen).count() > watch) {
      closing = true;
      PostMessageW(search.found, WM_CLOSE, 0, 0);
    }
    Sleep(5);
  }
  const double lived = std::chrono::duration<double>(Clock::now() - seen).count();
  if (waits.empty()) waits.push_back(0);
  std::vector<double> sorted = waits;
  std::sort(sorted.begin(), sorted.end());
  std::printf("window lived %.1f s; %zu messages; longest unanswered %.0f ms; 99th percentile %.0f ms; median %.1f ms\n",
              lived, waits.size(), sorted.back(), sorted[sorted.size() * 99 / 100], sorted[sorted.size() / 2]);
  return 0;
}
