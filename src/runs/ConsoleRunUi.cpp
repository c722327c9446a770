#include "runs/ConsoleRunUi.h"

#include <cstdio>

#include "util/DateText.h"
#include "util/WideString.h"

bool ConsoleRunUi::WaitForWorker(WorkerThread& worker) {
  NoWindowPump pump;
  return pump.WaitForWorker(worker);
}

void ConsoleRunUi::DateTexts(uint64_t ticks, std::wstring& date, std::wstring& time) {
  const CivilTime civil = CivilFromTicks(ticks);
  date = FixedDateText(civil);
  time = FixedTimeText(civil);
}

void ConsoleRunUi::FileOutcome(const ::FileOutcome& outcome) {
  std::lock_guard lock(outcomesLock_);
  outcomes_.push_back(outcome);
}

std::vector<FileOutcome> ConsoleRunUi::Outcomes() const {
  std::lock_guard lock(outcomesLock_);
  return outcomes_;
}

void ConsoleRunUi::ConsoleSummary(bool, const std::vector<std::wstring>& section) {
  for (const std::wstring& text : section) {
    std::wstring lines;
    for (wchar_t c : text) {
      if (c != L'\r') lines += c;
    }
    std::fputs(WideToUtf8(lines).c_str(), stdout);
  }
  std::fflush(stdout);
}
