// The command line on any text: the arguments (UTF-16, split at line feeds)
// through both passes over an in-memory file system that holds a few of the
// paths the seeds name; every path handed to the item list is a full path.
#include "FakeFileQueries.h"
#include "FuzzSupport.h"
#include "options/CommandLine.h"
#include "options/RunFlags.h"

#include <sstream>
#include <vector>

namespace {

struct World {
  World() {
    fs.fake.AddFile(L"C:\\Lavoro\\mail.pst", 10);
    fs.fake.AddFile(L"C:\\Lavoro\\a.txt", 10);
    fs.fake.AddFolder(L"C:\\Lavoro\\sub");
    fs.fake.AddDrive(L'N', 4096, DriveKind::Remote);
    fs.fake.AddDrive(L'E', 2048, DriveKind::CdRom);
    fs.fake.SetCurrentFolder(L"C:\\Lavoro");
  }
  ScopedFakeFileQueries fs;
};

// Says nothing; every path handed on is a full drive-letter path.
class PathsChecked final : public PathArgumentsUi {
 public:
  void ConsoleText(const std::wstring&) override {}
  void ShowMessage(const std::wstring&) override {}
  void AfterPath() override {}
  void AddPath(bool, const std::wstring& path) override {
    FUZZ_CHECK(path.size() >= 3 && path[1] == L':' && path[2] == L'\\');
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static World world;
  std::wstring text = fuzz::WideText(data, size);
  std::vector<std::wstring> args;
  std::wistringstream lines(text);
  for (std::wstring arg; std::getline(lines, arg);) args.push_back(arg);
  FUZZ_CHECK(UndoubleBackslashes(DoubleBackslashes(text)) == text);

  CommandLineChoices choices;
  uint32_t flags = ApplyOptionInteractions(ParseOptions(args, choices));
  FUZZ_CHECK(choices.languageCode.size() <= 4);
  FUZZ_CHECK(!((flags & kRunClose) && (flags & kRunCloseIfOk)));

  PathsChecked paths;
  AddPathArguments(args, flags, paths);
  return 0;
}
