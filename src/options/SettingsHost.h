#pragma once
// What the settings file is read into and written from besides gSettings:
// the main menu's check and radio marks, the columns of the main window's two
// list views, the window and the screen. The program's host talks to the
// real menu and controls; tests use one that only remembers.
#include <cstdint>
#include <string>
#include <vector>

// The main window's three list views.
enum class SettingsList { Items = 0, Results = 1, Errors = 2 };

class SettingsHost {
 public:
  virtual ~SettingsHost() = default;

  virtual bool IsChecked(uint32_t command) = 0;
  virtual void SetChecked(uint32_t command, bool checked) = 0;
  virtual void SetEnabled(uint32_t command, bool enabled) = 0;
  // Moves the radio mark of the group first..last to `command`.
  virtual void SetRadio(uint32_t first, uint32_t last, uint32_t command) = 0;
  // Applies the priority of one of the five priority commands; the radio mark
  // moves only when that succeeds.
  virtual void SetPriority(uint32_t command) = 0;

  // Effects applied as soon as their key is read.
  virtual void ApplyOnTop(bool onTop) = 0;
  virtual void ApplyFullRow(bool fullRow) = 0;
  virtual void ApplyStateIcons(bool shown) = 0;
  virtual void ApplySmartStrategy(bool smart) = 0;

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
