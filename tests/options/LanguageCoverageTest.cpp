// The English language file covers every text the program shows: each string
// id that the sources use, by name or by number, has a non-empty entry.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "options/LanguageFile.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"

namespace {

namespace fs = std::filesystem;

std::string ReadWhole(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

// Name → id of every constant in the header of string ids, and of the
// display texts other headers number for their own module (kText...).
std::map<std::string, uint32_t> StringIdNames() {
  std::map<std::string, uint32_t> names;
  std::regex constant(R"(constexpr\s+uint32_t\s+(kStr\w+|kText\w+)\s*=\s*(\d+)\s*;)");
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(ORDALIS_SOURCE_DIR)) {
    if (entry.path().extension() != ".h") continue;
    std::string header = ReadWhole(entry.path());
    for (std::sregex_iterator it(header.begin(), header.end(), constant), end; it != end; ++it) {
      names[(*it)[1]] = static_cast<uint32_t>(std::stoul((*it)[2]));
    }
  }
  return names;
}

// Every id the sources use: the names of the header that appear elsewhere,
// and numbers written directly as the first argument of the text calls.
std::map<uint32_t, std::string> UsedIds(const std::map<std::string, uint32_t>& names) {
  std::map<uint32_t, std::string> used;
  std::regex name(R"(\bkStr\w+)");
  std::regex number(R"(\b(?:Text|CopyText|SetControlText|SetDlgItemText\w*)\(\s*(?:[\w:]+,\s*)?(\d+)\s*,)");
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(ORDALIS_SOURCE_DIR)) {
    std::string extension = entry.path().extension().string();
    if (extension != ".cpp" && extension != ".h") continue;
    if (entry.path().filename() == "StringIds.h") continue;
    std::string source = ReadWhole(entry.path());
    std::string where = entry.path().filename().string();
    for (std::sregex_iterator it(source.begin(), source.end(), name), end; it != end; ++it) {
      auto found = names.find(it->str());
      if (found != names.end()) used.emplace(found->second, it->str() + " in " + where);
    }
    for (std::sregex_iterator it(source.begin(), source.end(), number), end; it != end; ++it) {
      used.emplace(static_cast<uint32_t>(std::stoul((*it)[1])), "number in " + where);
    }
  }
  return used;
}

TEST(EnglishLanguageFile, HasANonEmptyEntryForEveryIdInUse) {
  ResetTexts();
  // The table the program makes, with room for its own texts above 511.
  SetTextCapacity(kProgramTextCapacity);
  fs::path file = fs::path(ORDALIS_LANG_DIR) / "Ordalis_EN.lng";
  UnicodeTextReader reader;
  ASSERT_TRUE(reader.Open(file.wstring(), true, kLineLimitFilters)) << file;
  ReadLanguageFile(reader);
  SetBuiltInTexts(false);

  std::map<std::string, uint32_t> names = StringIdNames();
  ASSERT_GT(names.size(), 50u) << "the header of string ids was not read";
  std::map<uint32_t, std::string> used = UsedIds(names);
  ASSERT_GT(used.size(), 20u) << "no uses of string ids were found in the sources";
  for (const auto& [id, where] : used) {
    EXPECT_LT(id, kProgramTextCapacity) << where;
    EXPECT_NE(std::wstring(Text(id, L"")), L"") << "no English text for id " << id << " (" << where << ")";
  }
  ResetTexts();
}

TEST(EnglishLanguageFile, IsListedUnderItsName) {
  std::string bytes = ReadWhole(fs::path(ORDALIS_LANG_DIR) / "Ordalis_EN.lng");
  ASSERT_GE(bytes.size(), 2u);
  EXPECT_EQ(bytes.substr(0, 2), std::string("\xFF\xFE", 2));
  EXPECT_EQ(LanguageDisplayName(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), L"English");
}

}  // namespace
