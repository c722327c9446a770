#include "ui/LoadSaveSettings.h"

#include <windows.h>
#include <commctrl.h>

#include "options/RunFlags.h"
#include "ui/OptionCommands.h"
#include "options/Settings.h"
#include "options/SettingsFile.h"
#include "options/CommandIds.h"
#include "ui/controls/Dpi.h"
#include "ui/MainWindow.h"
#include "util/PathText.h"
#include "util/ProgramFolder.h"

namespace {

HWND ListOf(SettingsList list) {
  switch (list) {
    case SettingsList::Items: return MainItemListView();
    case SettingsList::Errors: return MainErrorListView();
    default: return MainResultListView();
  }
}

class MainWindowSettingsHost : public SettingsHost {
 public:
  bool ApplyPriority(uint32_t command) override { return ApplyProcessPriority(command); }
  int ColumnCount(SettingsList list) override {
    HWND view = ListOf(list);
    return view ? Header_GetItemCount(ListView_GetHeader(view)) : 0;
  }
  std::vector<int> ColumnOrder(SettingsList list) override {
    std::vector<int> order(static_cast<size_t>(ColumnCount(list)));
    if (!order.empty()) ListView_GetColumnOrderArray(ListOf(list), static_cast<int>(order.size()), order.data());
    return order;
  }
  void SetColumnOrder(SettingsList list, const std::vector<int>& order) override {
    std::vector<int> copy = order;
    ListView_SetColumnOrderArray(ListOf(list), static_cast<int>(copy.size()), copy.data());
    InvalidateRect(ListOf(list), nullptr, TRUE);
  }
  std::vector<int> ColumnWidths(SettingsList list) override {
    std::vector<int> widths;
    for (int column = 0; column < ColumnCount(list); ++column) {
      widths.push_back(ListView_GetColumnWidth(ListOf(list), column));
    }
    return widths;
  }
  void SetColumnWidth(SettingsList list, int column, int width) override {
    ListView_SetColumnWidth(ListOf(list), column, width);
  }
  int ScreenWidth() override { return GetSystemMetrics(SM_CXSCREEN); }
  int ScreenHeight() override { return GetSystemMetrics(SM_CYSCREEN); }
  bool IsMaximized() override { return IsZoomed(MainWindowHandle()) != FALSE; }
  bool FileExists(const std::wstring& path) override {
    // A path on a drive without a medium must not bring up a system box.
    UINT previous = SetErrorMode(SEM_FAILCRITICALERRORS);
    bool exists = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    SetErrorMode(previous);
    return exists;
  }
};

std::wstring SettingsPath() { return JoinPath(gProgramFolder, kSettingsFileName); }

}  // namespace

void LoadSettings() {
  HWND window = MainWindowHandle();
  UINT dpi = WindowDpi(window);
  SetScaledSizeDefaults(dpi / 96.0, dpi / 96.0);
  MainWindowSettingsHost host;
  if (!(gApp.runFlags & kRunNoIni)) {
    UnicodeTextReader reader;
    if (reader.Open(SettingsPath(), false, kLineLimitSettings)) ReadSettingsFile(reader, host);
  }
  SetWindowPos(window, nullptr, 0, 0, gSettings.mainWidth, gSettings.mainHeight,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  ApplyOptions();
}

void SaveSettings() {
  HWND window = MainWindowHandle();
  if ((gApp.runFlags & kRunNoIni) || !window || !GetMenu(window)) return;
  WINDOWPLACEMENT placement{};
  placement.length = sizeof placement;
  if (GetWindowPlacement(window, &placement)) {
    gSettings.mainWidth = placement.rcNormalPosition.right - placement.rcNormalPosition.left;
    gSettings.mainHeight = placement.rcNormalPosition.bottom - placement.rcNormalPosition.top;
  }
  MainWindowSettingsHost host;
  UnicodeTextWriter writer;
  if (!writer.Create(SettingsPath())) return;
  for (const std::wstring& line : SettingsFileLines(host)) writer.WriteLine(line);
  writer.Close();
}
