#pragma once
// What the settings file is read into and written from besides gSettings:
// the columns of the main window's three list views, the window and the
// screen, and the process priority. The program's host talks to the real
// controls; tests use one that only remembers.
#include <cstdint>
#include <string>
#include <vector>

// The main window's three list views.
enum class SettingsList { Items = 0, Results = 1, Errors = 2 };

class SettingsHost {
 public:
  virtual ~SettingsHost() = default;

  // Gives the process the priority of one of the five priority commands;
  // false when the system refused it (the stored choice then stays).
  virtual bool ApplyPriority(uint32_t command) = 0;

  // Number of columns of a list; 0 when the list does not exist.
  virtual int ColumnCount(SettingsList list) = 0;
  virtual std::vector<int> ColumnOrder(SettingsList list) = 0;
  virtual void SetColumnOrder(SettingsList list, const std::vector<int>& order) = 0;
  virtual std::vector<int> ColumnWidths(SettingsList list) = 0;
  virtual void SetColumnWidth(SettingsList list, int column, int width) = 0;

  virtual int ScreenWidth() = 0;
  virtual int ScreenHeight() = 0;
  virtual bool IsMaximized() = 0;
  virtual bool FileExists(const std::wstring& path) = 0;
};
