#pragma once
// Helpers of the filter and profile tests: a clean pair of lists and settings
// for every test, the stored lines of a list in its order, and whole files
// in the temporary folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "selection/Filters.h"
#include "options/Settings.h"

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::wstring>;
namespace fs = std::filesystem;

class FilterTest : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }
  static void Reset() {
    ClearFilterList(gExclusions);
    ClearFilterList(gInclusions);
    gSettings.excludeBySize = false;
    gSettings.maxFileSizeKiB = 0;
  }
};

inline std::vector<std::wstring> StoredLines(const FilterList& list) {
  std::vector<std::wstring> lines;
  for (const FilterEntry* entry = list.head; entry; entry = entry->next) lines.push_back(entry->storedLine);
  return lines;
}

// A file (or folder) in the temporary folder named after the running test,
// gone before the test and after it.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& prefix, const std::string& suffix = "")
      : path(fs::temp_directory_path() /
             (prefix + testing::UnitTest::GetInstance()->current_test_info()->name() + suffix)) {
    fs::remove_all(path);
  }
  ~ScratchFile() { fs::remove_all(path); }
  Bytes Read() const {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
  }
  void Write(const Bytes& bytes) const {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  const fs::path path;
};
