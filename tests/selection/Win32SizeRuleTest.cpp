// The size rule on a real file, through the Windows file queries.
#include <gtest/gtest.h>

#include <windows.h>

#include "FilterTestSupport.h"
#include "engine/win32/Win32FileQueries.h"

namespace {

// Held open without any sharing by someone else, a file still tells its size.
TEST_F(FilterTest, SizeRuleReadsRealFilesEvenWhenTheyAreOpenElsewhere) {
  Win32FileQueries queries;
  SetFileQueries(&queries);
  const ScratchFile file("ordalis-size-rule-", ".bin");
  const fs::path& path = file.path;
  file.Write(Bytes(1025, 'x'));
  gSettings.excludeBySize = true;
  gSettings.maxFileSizeKiB = 1;
  HANDLE held = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(IsFileExcluded(path.wstring()), 1);
  gSettings.maxFileSizeKiB = 2;
  EXPECT_EQ(IsFileExcluded(path.wstring()), 0);
  CloseHandle(held);
  SetFileQueries(nullptr);
}

}  // namespace
