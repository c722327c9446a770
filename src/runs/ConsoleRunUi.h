#pragma once
// A run with no window: nothing to keep alive, no list to redraw, no one to
// ask. The questions take their unattended answers: no disk check to run
// with, the cleanup goes on, the solid-state files are defragmented as the
// settings say. Dates are written in UTC in fixed forms; the console summary
// goes to standard output; every file's outcome is kept, in the order the
// run reached it.
#include <mutex>

#include "runs/RunResults.h"
#include "runs/RunUi.h"

class ConsoleRunUi : public RunUi {
 public:
  bool PumpMessages() override { return true; }
  bool WaitForWorker(WorkerThread& worker) override;
  std::wstring Text(uint32_t, const wchar_t* literal) override { return literal; }
  void SetStatusText(int, const std::wstring&) override {}
  void SetWorkingIcon(bool) override {}
  void ShowProgress(uint64_t) override {}
  void SetProgress(uint64_t) override {}
  void HideProgress() override {}
  void RedrawList() override {}

  bool RowSelected(uint64_t) override { return false; }
  void ScrollToRow(uint64_t) override {}
  void RedrawRow(uint64_t) override {}
  void RedrawItems() override {}
  void RefreshCounters() override {}
  void RefreshErrors() override {}
  void CacheIcon(const std::wstring&) override {}
  void UpdateStatus(uint32_t) override {}
  void RunLayout(bool, bool) override {}
  void EnableResultTabs() override {}
  void EnableRunMenus(bool) override {}
  void EnableSaveReport(bool) override {}
  void ClipChildren(bool) override {}
  void TaskbarProgress(bool) override {}
  void SetBusyState(uint32_t) override {}
  void BringToFront() override {}

  bool SolidStateWarning() override { return false; }
  void SolidStateLeftOut(uint64_t) override {}
  int DiskCheck(bool) override { return 0; }
  bool CloseForDiskErrors() override { return true; }
  bool Cleanup(bool) override { return true; }

  void ShowSummary() override {}
  void ShutdownCountdown() override {}
  void RequestExit(uint32_t) override {}
  void ApplyPriority(uint32_t) override {}
  void DateTexts(uint64_t ticks, std::wstring& date, std::wstring& time) override;
  // Safe from the folder worker's thread.
  void FileOutcome(const ::FileOutcome& outcome) override;
  std::vector<::FileOutcome> Outcomes() const;
  // Writes the section to standard output as UTF-8, without carriage returns.
  void ConsoleSummary(bool defragmentation, const std::vector<std::wstring>& section) override;
  void PowerOff() override {}

 private:
  mutable std::mutex outcomesLock_;
  std::vector<::FileOutcome> outcomes_;
};
