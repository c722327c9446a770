// The settings file on any bytes, read into a host that only remembers, then
// written and read again: the second reading must give the same file.
#include "FuzzSupport.h"
#include "options/Settings.h"
#include "options/SettingsFile.h"
#include "RememberingSettingsHost.h"

#include <vector>

namespace {

// Every other path exists, so that both kinds of recent profile are read.
class RememberingHost final : public RememberingSettingsHost {
 public:
  bool FileExists(const std::wstring& path) override { return path.size() % 2 == 0; }
};

std::vector<std::wstring> ReadAndWrite(const uint8_t* data, size_t size, RememberingHost& host) {
  gSettings = Settings{};
  ResetSettingsFileState();
  UnicodeTextReader reader;
  reader.OpenBuffer(data, size, false, kLineLimitSettings);
  ReadSettingsFile(reader, host);
  FUZZ_CHECK(gSettings.maxFileSizeKiB <= kMaxSizeLimitKiB);
  return SettingsFileLines(host);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  RememberingHost host;
  std::vector<std::wstring> first = ReadAndWrite(data, size, host);
  std::vector<uint8_t> written = EncodeUnicodeText(first);
  RememberingHost again;
  std::vector<std::wstring> second = ReadAndWrite(written.data(), written.size(), again);
  FUZZ_CHECK(first == second);
  return 0;
}
