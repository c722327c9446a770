// The settings file on any bytes, read into a host that only remembers, then
// written and read again: the second reading must give the same file.
#include "FuzzSupport.h"
#include "options/Settings.h"
#include "options/SettingsFile.h"

#include <cstdio>
#include <map>
#include <set>
#include <vector>

namespace {

class RememberingHost final : public SettingsHost {
 public:
  RememberingHost() {
    // The item list, the fragmented files and the errors, each its own
    // columns: lists that shared them would read each other's widths.
    for (int list = 0; list < kLists; ++list) {
      for (int column = 0; column < (list == 0 ? 10 : 8); ++column) {
        order[list].push_back(column);
        widths[list].push_back(100);
      }
    }
  }
  bool IsChecked(uint32_t command) override { return checked.count(command) != 0; }
  void SetChecked(uint32_t command, bool on) override {
    if (on) {
      checked.insert(command);
    } else {
      checked.erase(command);
    }
  }
  void SetEnabled(uint32_t, bool) override {}
  void SetRadio(uint32_t first, uint32_t last, uint32_t command) override {
    for (uint32_t c = first; c <= last; ++c) checked.erase(c);
    checked.insert(command);
  }
  void SetPriority(uint32_t command) override { SetRadio(9047, 9051, command); }
  void ApplyOnTop(bool) override {}
  void ApplyFullRow(bool) override {}
  void ApplyStateIcons(bool) override {}
  void ApplySmartStrategy(bool) override {}
  int ColumnCount(SettingsList list) override { return static_cast<int>(order[Index(list)].size()); }
  std::vector<int> ColumnOrder(SettingsList list) override { return order[Index(list)]; }
  void SetColumnOrder(SettingsList list, const std::vector<int>& o) override { order[Index(list)] = o; }
  std::vector<int> ColumnWidths(SettingsList list) override { return widths[Index(list)]; }
  void SetColumnWidth(SettingsList list, int column, int width) override {
    FUZZ_CHECK(column >= 0 && static_cast<size_t>(column) < widths[Index(list)].size());
    widths[Index(list)][static_cast<size_t>(column)] = width;
  }
  int ScreenWidth() override { return 1920; }
  int ScreenHeight() override { return 1080; }
  bool IsMaximized() override { return false; }
  bool FileExists(const std::wstring& path) override { return path.size() % 2 == 0; }

  std::set<uint32_t> checked;
  static constexpr int kLists = 3;
  std::vector<int> order[kLists];
  std::vector<int> widths[kLists];

 private:
  static size_t Index(SettingsList list) { return static_cast<size_t>(list); }
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
  for (size_t i = 0; i < first.size() && i < second.size(); ++i) {
    if (first[i] != second[i]) {
      std::fprintf(stderr, "line %zu: \"%ls\" then \"%ls\"\n", i, first[i].c_str(), second[i].c_str());
    }
  }
  FUZZ_CHECK(first == second);
  return 0;
}
