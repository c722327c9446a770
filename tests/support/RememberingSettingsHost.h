#pragma once
// A settings host that only remembers: the three lists' columns (10, 8 and 2
// of them, so that lists sharing their values would show), the files that
// exist, and whether the system takes a priority.
#include <set>
#include <string>
#include <vector>

#include "options/Settings.h"
#include "options/SettingsHost.h"

class RememberingSettingsHost : public SettingsHost {
 public:
  RememberingSettingsHost() {
    for (int list = 0; list < 3; ++list) {
      const int count = list == 0 ? 10 : list == 1 ? 8 : 2;
      for (int column = 0; column < count; ++column) {
        order[list].push_back(column);
        widths[list].push_back(100 + column);
      }
    }
  }
  bool ApplyPriority(uint32_t) override { return !priorityFails; }
  int ColumnCount(SettingsList list) override {
    return hasResultList || list == SettingsList::Items ? static_cast<int>(order[Index(list)].size()) : 0;
  }
  std::vector<int> ColumnOrder(SettingsList list) override { return order[Index(list)]; }
  void SetColumnOrder(SettingsList list, const std::vector<int>& o) override { order[Index(list)] = o; }
  std::vector<int> ColumnWidths(SettingsList list) override { return widths[Index(list)]; }
  // A column the list does not have is a fault of the reader.
  void SetColumnWidth(SettingsList list, int column, int width) override {
    widths[Index(list)].at(static_cast<size_t>(column)) = width;
  }
  int ScreenWidth() override { return 1920; }
  int ScreenHeight() override { return 1080; }
  bool IsMaximized() override { return gSettings.maximized; }
  bool FileExists(const std::wstring& path) override { return existing.count(path) != 0; }

  static int Index(SettingsList list) { return static_cast<int>(list); }

  std::vector<int> order[3], widths[3];
  std::set<std::wstring> existing;
  bool hasResultList = true;
  bool priorityFails = false;
};
