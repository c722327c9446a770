// How long the program's main window leaves messages unanswered: waits for
// a top-level dialog window with the given title, then sends it
// an empty message every few milliseconds until it is gone, timing each
// answer. Prints the longest wait, the 99th percentile and how long the
// window lived, and the same for each run.
//
// The window is busy while the toolbar's Stop button is enabled; each run
// within it starts with its counters emptied (the bottom panel's four
// counters add up to the files the run processed). Every few seconds the
// probe prints how many files the run has processed so far. Once the window
// has been busy the given number of times and is idle again, or after
// `watch` seconds (stopping a run still going on), it asks the window to
// close (a window run does not end by itself) and keeps timing until it is
// gone.
//
//   window_probe.exe [title (default "Ordalis")] [seconds to wait for it (default 300)]
//                    [watch (default: no limit)] [busy spans (default: no limit)]
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// The program's control numbers, as a user's tool would find them.
constexpr int kStopButton = 9011;
constexpr int kCountersPanel = 1009;
constexpr int kFirstCounter = 1015;
constexpr int kCounterCount = 4;
constexpr double kReportEverySeconds = 10.0;
constexpr double kSampleSeconds = 0.1;
// Each wait this long is printed as it happens.
constexpr double kLongWaitMs = 150.0;

using Clock = std::chrono::steady_clock;

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

// The four counters (fragmented, not fragmented, defragmented, errors), their
// digits whatever the grouping; zeros when the panel is not there.
struct Counters {
  uint64_t values[kCounterCount] = {};
  uint64_t Files() const { return values[0] + values[1] + values[2] + values[3]; }
  bool operator==(const Counters&) const = default;
};

Counters CountersOnce(HWND window) {
  Counters counters;
  HWND panel = GetDlgItem(window, kCountersPanel);
  if (!panel) return counters;
  for (int i = 0; i < kCounterCount; ++i) {
    wchar_t text[64] = {};
    DWORD_PTR copied = 0;
    if (!SendMessageTimeoutW(GetDlgItem(panel, kFirstCounter + i), WM_GETTEXT, 64, reinterpret_cast<LPARAM>(text),
                             SMTO_NORMAL, 60000, &copied)) {
      continue;
    }
    for (const wchar_t* c = text; *c; ++c) {
      if (*c >= L'0' && *c <= L'9') counters.values[i] = counters.values[i] * 10 + static_cast<uint64_t>(*c - L'0');
    }
  }
  return counters;
}

// The counters are read one by one while the run goes on: a reading is
// taken when two in a row agree.
Counters ReadCounters(HWND window) {
  Counters counters = CountersOnce(window);
  for (int tries = 0; tries < 10; ++tries) {
    const Counters again = CountersOnce(window);
    if (again == counters) break;
    counters = again;
  }
  return counters;
}

uint64_t FilesProcessed(HWND window) { return ReadCounters(window).Files(); }

struct Waits {
  std::vector<double> all;
  void Print(const char* what) const {
    std::vector<double> sorted = all.empty() ? std::vector<double>{0} : all;
    std::sort(sorted.begin(), sorted.end());
    std::printf("%s: %zu messages; longest unanswered %.0f ms; 99th percentile %.0f ms; median %.1f ms\n", what,
                all.size(), sorted.back(), sorted[sorted.size() * 99 / 100], sorted[sorted.size() / 2]);
  }
};

struct RunSpan {
  double start = 0;
  double end = -1;
  uint64_t files = 0;
  Waits waits;
};

}  // namespace

int wmain(int argc, wchar_t** argv) {
  Search search;
  search.prefix = argc > 1 ? argv[1] : L"Ordalis";
  const double patience = argc > 2 ? _wtof(argv[2]) : 300.0;
  const double watch = argc > 3 ? _wtof(argv[3]) : 0.0;
  const int busyWanted = argc > 4 ? _wtoi(argv[4]) : 0;
  bool closing = false;
  bool stopping = false;
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
  auto since = [&seen] { return std::chrono::duration<double>(Clock::now() - seen).count(); };
  Waits waits;
  std::vector<RunSpan> runs;
  bool running = false;
  double nextReport = kReportEverySeconds;
  double nextSample = 0;
  uint64_t lastFiles = 0;
  uint64_t lastFragmented = 0;
  int busySpans = 0;
  while (IsWindow(search.found)) {
    const auto before = Clock::now();
    DWORD_PTR answer = 0;
    const LRESULT sent = SendMessageTimeoutW(search.found, WM_NULL, 0, 0, SMTO_NORMAL, 3600000, &answer);
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - before).count();
    if (sent == 0 && !IsWindow(search.found)) break;
    waits.all.push_back(ms);
    if (running) runs.back().waits.all.push_back(ms);
    if (ms >= kLongWaitMs) {
      std::printf("%7.1f s  unanswered for %.0f ms%s\n", since(), ms, running ? "" : " (no run going on)");
    }

    // The window is busy (Stop enabled) through all the runs the command
    // line asked for; a new run empties the counters.
    const bool nowRunning = IsWindowEnabled(GetDlgItem(search.found, kStopButton)) != FALSE;
    auto begin = [&] {
      runs.emplace_back();
      runs.back().start = since();
      std::printf("%7.1f s  run %zu starts\n", runs.back().start, runs.size());
    };
    // A run that ended between two readings is known by its last one.
    auto end = [&](uint64_t files, bool lastReading) {
      runs.back().end = since();
      runs.back().files = files;
      std::printf("%7.1f s  run %zu ends: %llu files%s\n", runs.back().end, runs.size(),
                  static_cast<unsigned long long>(files), lastReading ? " at its last reading" : "");
    };
    if (nowRunning && !running) {
      begin();
      lastFiles = lastFragmented = 0;
    } else if (!nowRunning && running) {
      end(FilesProcessed(search.found), false);
      busySpans++;
    }
    running = nowRunning;
    if (running && since() >= nextSample) {
      nextSample = since() + kSampleSeconds;
      const Counters counters = ReadCounters(search.found);
      const uint64_t files = counters.Files();
      // A defragmentation lists no fragmented file while it goes on.
      if (!stopping && (files < lastFiles || (lastFragmented > 0 && counters.values[0] == 0))) {
        end(lastFiles, true);
        begin();
      }
      lastFiles = files;
      lastFragmented = counters.values[0];
      if (since() >= nextReport) {
        nextReport = since() + kReportEverySeconds;
        std::printf("%7.1f s  run %zu: %llu files\n", since(), runs.size(), static_cast<unsigned long long>(files));
      }
    }
    std::fflush(stdout);

    // A run still going on at the end of the watch is stopped first: closing
    // during a run asks whether to stop it.
    const bool allRan = busyWanted > 0 && busySpans >= busyWanted && !running;
    if (!stopping && running && watch > 0 && since() > watch) {
      stopping = true;
      runs.back().files = FilesProcessed(search.found);
      std::printf("%7.1f s  still running at the end of the watch: run %zu at %llu files; stopped\n", since(),
                  runs.size(), static_cast<unsigned long long>(runs.back().files));
      HWND stop = GetDlgItem(search.found, kStopButton);
      PostMessageW(search.found, WM_COMMAND, MAKEWPARAM(kStopButton, BN_CLICKED), reinterpret_cast<LPARAM>(stop));
    }
    if (!closing && !running && (allRan || stopping || (watch > 0 && since() > watch))) {
      closing = true;
      PostMessageW(search.found, WM_CLOSE, 0, 0);
    }
    Sleep(5);
  }
  const double lived = since();
  for (size_t i = 0; i < runs.size(); ++i) {
    const RunSpan& run = runs[i];
    const double seconds = (run.end < 0 ? lived : run.end) - run.start;
    char what[160];
    std::snprintf(what, sizeof what, "run %zu%s: %llu files in %.1f s (%.0f files/s)", i + 1,
                  run.end < 0 ? " (not ended)" : "", static_cast<unsigned long long>(run.files), seconds,
                  seconds > 0 ? static_cast<double>(run.files) / seconds : 0.0);
    run.waits.Print(what);
  }
  char what[96];
  std::snprintf(what, sizeof what, "window lived %.1f s", lived);
  waits.Print(what);
  return 0;
}
