#pragma once
// Whole files in the temporary folder for the filter and profile tests.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::wstring>;
namespace fs = std::filesystem;

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
