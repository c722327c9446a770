// Starting an external program and waiting for it: the wait ends with the
// program, or at once when the user stops, the program going on by itself.
// How a path with blanks becomes the program's name is LaunchOf's.
#include <gtest/gtest.h>

#include <windows.h>

#include "RecordingRunUi.h"
#include "engine/Relocation.h"
#include "engine/cleanup/RunAndWait.h"

namespace {

TEST(RunAndWaitTest, TheWaitEndsWithTheProgramOrWhenTheUserStops) {
  // This test program stands in for the cleaner; the switches arrive as one
  // argument, which it understands.
  wchar_t self[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  RecordingEngineUi ui;
  EXPECT_EQ(RunAndWait(ui, self, L"--gtest_list_tests", SW_HIDE, true), 1);

  // A cleaner that does not end: "Annulla", pressed among the window's
  // messages, ends the wait at once.
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
  EXPECT_EQ(RunAndWait(ui, self, L"--gtest_filter=RunAndWaitTest.DISABLED_ACleanerThatTakesItsTime", SW_HIDE, true),
            0);
  EXPECT_LT(GetTickCount() - start, 10000u);
  KillTimer(nullptr, timer);
  SetEnvironmentVariableW(L"GTEST_ALSO_RUN_DISABLED_TESTS", nullptr);
  gEngine.flags.fetch_and(~kStopRequested);
}

// The stand-in for the cleaner above, run only by that test.
TEST(RunAndWaitTest, DISABLED_ACleanerThatTakesItsTime) { Sleep(20000); }

}  // namespace
