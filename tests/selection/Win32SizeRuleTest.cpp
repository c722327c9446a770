// The size rule on real files, through the Windows file queries.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "FilterTestSupport.h"
#include "engine/win32/Win32FileQueries.h"

namespace {

TEST_F(FilterTest, SizeRuleReadsRealFilesEvenWhenTheyAreOpenElsewhere) {
  Win32FileQueries queries;
  SetFileQueries(&queries);
  fs::path folder = fs::temp_directory_path() / "ordalis-size-rule";
  fs::remove_all(folder);
  fs::create_directories(folder);
  auto make = [&folder](const char* name, size_t size) {
    std::ofstream(folder / name, std::ios::binary) << std::string(size, 'x');
    return (folder / name).wstring();
  };
  std::wstring exact = make("exact.bin", 1024);
  std::wstring over = make("over.bin", 1025);
  gSettings.excludeBySize = true;
  gSettings.maxFileSizeKiB = 1;
  EXPECT_EQ(IsFileExcluded(exact), 0);
  EXPECT_EQ(IsFileExcluded(over), 1);
  EXPECT_EQ(IsFileExcluded((folder / "missing.bin").wstring()), 1);

  // Held open without any sharing by someone else, the file still tells its size.
  HANDLE held = CreateFileW(exact.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(IsFileExcluded(exact), 0);
  CloseHandle(held);

  SetFileQueries(nullptr);
  fs::remove_all(folder);
}

}  // namespace
