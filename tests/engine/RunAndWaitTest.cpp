// Starting an external program whose path has blanks: the program named is
// the one that starts, never a program named by the path's first word.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>

#include "RecordingRunUi.h"
#include "engine/Relocation.h"
#include "engine/cleanup/RunAndWait.h"

namespace {

namespace fs = std::filesystem;

TEST(RunAndWaitTest, APathWithBlanksStartsThatProgramAndIsWaitedFor) {
  wchar_t self[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  wchar_t tempPath[MAX_PATH] = L"";
  GetTempPathW(MAX_PATH, tempPath);
  // A folder of this run's own: the program started without waiting may
  // still hold its copy when the test ends.
  const fs::path root = fs::path(tempPath) / (L"ordalis-run-and-wait-" + std::to_wstring(GetCurrentProcessId()));
  std::error_code ignored;
  fs::remove_all(root, ignored);
  fs::create_directories(root / L"Clean er");
  // This test program stands in for the cleaner; a file where the path's
  // first word would point is no program at all, so starting it would fail.
  fs::copy_file(self, root / L"Clean er" / L"clean.exe");
  std::ofstream(root / L"Clean.exe") << "not a program";
  const std::wstring program = (root / L"Clean er" / L"clean.exe").wstring();

  // The switches arrive as one argument, which the stand-in understands.
  RecordingEngineUi ui;
  EXPECT_EQ(RunAndWait(ui, program, L"--gtest_list_tests", SW_HIDE, true), 1);

  // A cleaner that does not end: "Annulla", pressed among the window's
  // messages, ends the wait at once, and the cleaner goes on by itself.
  ui.pump = [] {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_TIMER) gEngine.flags.fetch_or(kStopRequested);
    }
    return true;
  };
  SetEnvironmentVariableW(L"GTEST_ALSO_RUN_DISABLED_TESTS", L"1");
  const UINT_PTR timer = SetTimer(nullptr, 0, 500, nullptr);
  const DWORD start = GetTickCount();
  EXPECT_EQ(RunAndWait(ui, program, L"--gtest_filter=RunAndWaitTest.DISABLED_ACleanerThatTakesItsTime", SW_HIDE, true),
            0);
  EXPECT_LT(GetTickCount() - start, 10000u);
  KillTimer(nullptr, timer);
  SetEnvironmentVariableW(L"GTEST_ALSO_RUN_DISABLED_TESTS", nullptr);
  gEngine.flags.fetch_and(~kStopRequested);
  fs::remove_all(root, ignored);
}

// The stand-in for the cleaner above, run only by that test.
TEST(RunAndWaitTest, DISABLED_ACleanerThatTakesItsTime) { Sleep(20000); }

}  // namespace
