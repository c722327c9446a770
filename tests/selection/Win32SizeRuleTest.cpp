// The size rule on a real file, through the Windows file queries.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>

#include "engine/win32/Win32FileQueries.h"

namespace {

// Held open without any sharing by someone else, a file still tells its size.
TEST(Win32SizeRuleTest, SizeOfAFileHeldOpenElsewhereIsRead) {
  const std::filesystem::path path = std::filesystem::temp_directory_path() / "ordalis-size-rule.bin";
  std::ofstream(path, std::ios::binary) << std::string(1025, 'x');
  HANDLE held = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Win32FileQueries().FileSize(path.wstring()), 1025u);
  CloseHandle(held);
  std::filesystem::remove(path);
}

}  // namespace
