// The block of paths a second start hands over: what the running instance
// reads back, and the blocks from elsewhere it must refuse whole.
#include "options/HandedPaths.h"

#include <gtest/gtest.h>

namespace {

std::optional<std::vector<std::wstring>> Unpack(const std::wstring& block) {
  return UnpackHandedPaths(block.data(), block.size() * sizeof(wchar_t));
}

TEST(HandedPaths, PathsComeBackAsTheyWereSent) {
  std::vector<std::wstring> paths{L"C:\\", L"D:\\cartella con spazi\\file.txt", L"\\\\?\\E:\\lungo"};
  EXPECT_EQ(Unpack(PackHandedPaths(paths)), paths);
  // Empty paths carry nothing and are dropped.
  EXPECT_EQ(Unpack(std::wstring(L"a\0\0b\0", 5)), (std::vector<std::wstring>{L"a", L"b"}));
}

TEST(HandedPaths, MalformedBlocksAreRefused) {
  EXPECT_EQ(UnpackHandedPaths(nullptr, 0), std::nullopt);
  std::wstring unterminated = L"C:\\file";
  EXPECT_EQ(Unpack(unterminated), std::nullopt);
  std::wstring block = PackHandedPaths({L"C:\\file"});
  // Half a character at the end.
  EXPECT_EQ(UnpackHandedPaths(block.data(), block.size() * sizeof(wchar_t) - 1), std::nullopt);
  std::wstring huge(kMaxHandedPathsBytes / sizeof(wchar_t) + 1, L'\0');
  EXPECT_EQ(Unpack(huge), std::nullopt);
}

}  // namespace
