#include "options/SettingsFile.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <limits>
#include <cwctype>

#include "options/Settings.h"
#include "options/CommandIds.h"
#include "util/WideString.h"

namespace {

// The keys in the order of the file. Reading tries them in this order and
// takes the first that stands at the very start of the line, so
// "COLUMNORDER=" comes before "CL=", "FCOLUMNORDER=" before "FCL=" and
// "ECOLUMNORDER=" before "ECL=".
enum class Key {
  OnTop, FullRow, ShowMessages, CloseProgram, Shutdown, SkipSsd, SmartDefrag, Priority, Language,
  ColumnOrder, ColumnWidths, ColumnVisible, ResultColumnOrder, ResultColumnWidths,
  ResultColumnVisible, ErrorColumnOrder, ErrorColumnWidths, ErrorColumnVisible, FragmentDetailsWidth, FragmentDetailsHeight, FilterWidth, FilterHeight,
  DiskCheckWidth, DiskCheckHeight, MainSize, ProfilePath, FilePath, Cleanup, CleanupShowErrors,
  CleanupProgramPath, CleanupProgramSwitches, DiskCheck, ExcludeBySize, MaxFileSize, ItemColours,
  ItemColourFullRow, SplitterPos, Maximized, SkipSsdWarning, SkipSsdChecking, ShowInfoPanel,
  ShowStatusBar, ShowToolbar, RemoveMissingProfiles, MaxRecentProfiles, ShowStateIcons,
  ShowSystemIcons, ProfilesStart,
};

struct KeyText {
  Key key;
  const wchar_t* text;
};

constexpr KeyText kKeys[] = {
    {Key::OnTop, L"ONTOP="},
    {Key::FullRow, L"FULLROW="},
    {Key::ShowMessages, L"SHOWMESSAGES="},
    {Key::CloseProgram, L"CLOSEPROGRAM="},
    {Key::Shutdown, L"SHUTDOWN="},
    {Key::SkipSsd, L"SKIPSSD="},
    {Key::SmartDefrag, L"SMARTDEFRAG="},
    {Key::Priority, L"PRIORITY="},
    {Key::Language, L"LANGUAGE="},
    {Key::ColumnOrder, L"COLUMNORDER="},
    {Key::ColumnWidths, L"CL="},
    {Key::ColumnVisible, L"VCL="},
    {Key::ResultColumnOrder, L"FCOLUMNORDER="},
    {Key::ResultColumnWidths, L"FCL="},
    {Key::ResultColumnVisible, L"FVCL="},
    {Key::ErrorColumnOrder, L"ECOLUMNORDER="},
    {Key::ErrorColumnWidths, L"ECL="},
    {Key::ErrorColumnVisible, L"EVCL="},
    {Key::FragmentDetailsWidth, L"FDWIDTH="},
    {Key::FragmentDetailsHeight, L"FDHEIGHT="},
    {Key::FilterWidth, L"FLTRWIDTH="},
    {Key::FilterHeight, L"FLTRHEIGHT="},
    {Key::DiskCheckWidth, L"SCANWIDTH="},
    {Key::DiskCheckHeight, L"SCANHEIGHT="},
    {Key::MainSize, L"MAINSIZE="},
    {Key::ProfilePath, L"PROFILEPATH="},
    {Key::FilePath, L"FILEPATH="},
    {Key::Cleanup, L"CLNUP="},
    {Key::CleanupShowErrors, L"CLNUP_SHOWERRORMSG="},
    {Key::CleanupProgramPath, L"CLNUP_EXTPRGPATH="},
    {Key::CleanupProgramSwitches, L"CLNUP_EXTPRGSWITCHES="},
    {Key::DiskCheck, L"SCANDISK="},
    {Key::ExcludeBySize, L"ExcludeItemsBySize="},
    {Key::MaxFileSize, L"MaxFileSizeToElaborate="},
    {Key::ItemColours, L"ItemTextColor0="},
    {Key::ItemColourFullRow, L"ItemTextColorFullRow="},
    {Key::SplitterPos, L"SplitterPos="},
    {Key::Maximized, L"MAXIMIZED="},
    {Key::SkipSsdWarning, L"SkipSSDWarning="},
    {Key::SkipSsdChecking, L"SkipSSDChecking="},
    {Key::ShowInfoPanel, L"ShowInfoPanel="},
    {Key::ShowStatusBar, L"ShowStatusbar="},
    {Key::ShowToolbar, L"ShowToolbar="},
    {Key::RemoveMissingProfiles, L"RemoveMissingMRUProfiles="},
    {Key::MaxRecentProfiles, L"MaxMRUProfiles="},
    {Key::ShowStateIcons, L"ShowStateIcons="},
    {Key::ShowSystemIcons, L"ShowSystemIcons="},
    {Key::ProfilesStart, L"[Profiles]"},
};
constexpr wchar_t kProfilesEnd[] = L"[\\Profiles]";

// The options that are one flag: any character but "0" sets them.
struct FlagKey {
  Key key;
  bool& (*field)(Settings&);
};
constexpr FlagKey kFlagKeys[] = {
    {Key::OnTop, [](Settings& s) -> bool& { return s.onTop; }},
    {Key::FullRow, [](Settings& s) -> bool& { return s.fullRow; }},
    {Key::ShowMessages, [](Settings& s) -> bool& { return s.confirmPrompts; }},
    {Key::CloseProgram, [](Settings& s) -> bool& { return s.followUps.closeAfterDefrag; }},
    {Key::Shutdown, [](Settings& s) -> bool& { return s.followUps.shutdownAfterDefrag; }},
    {Key::CleanupShowErrors, [](Settings& s) -> bool& { return s.cleanupShowErrors; }},
    {Key::ExcludeBySize, [](Settings& s) -> bool& { return s.excludeBySize; }},
    {Key::ItemColourFullRow, [](Settings& s) -> bool& { return s.itemTextColourFullRow; }},
    {Key::Maximized, [](Settings& s) -> bool& { return s.maximized; }},
    {Key::ShowInfoPanel, [](Settings& s) -> bool& { return s.showInfoPanel; }},
    {Key::ShowToolbar, [](Settings& s) -> bool& { return s.showToolbar; }},
    {Key::RemoveMissingProfiles, [](Settings& s) -> bool& { return s.removeMissingRecentProfiles; }},
    {Key::ShowStateIcons, [](Settings& s) -> bool& { return s.showStateIcons; }},
    {Key::ShowSystemIcons, [](Settings& s) -> bool& { return s.showSystemIcons; }},
};

// Radio groups stored as the index of the chosen item in the menu's order:
// for the disk check and the cleanup 0 automatic, 1 off, 2 ask.
constexpr uint32_t kPriorityChoices[] = {kCmdPriorityHigh, kCmdPriorityAboveNormal, kCmdPriorityNormal,
                                         kCmdPriorityBelowNormal, kCmdPriorityIdle};
constexpr uint32_t kCleanupChoices[] = {kCmdCleanupAuto, kCmdCleanupOff, kCmdCleanupAsk};
constexpr uint32_t kDiskCheckChoices[] = {kCmdDiskCheckAuto, kCmdDiskCheckOff, kCmdDiskCheckAsk};

// Column values of a list view that did not exist while the file was read,
// kept so that saving does not lose them.
struct KeptColumns {
  std::wstring order, widths, visible;
  bool kept = false;
};
KeptColumns gKeptColumns[3];

const KeyText* FindKey(const std::wstring& line) {
  for (const KeyText& key : kKeys) {
    size_t length = std::wcslen(key.text);
    if (line.size() >= length && EqualNoCase(std::wstring_view(line).substr(0, length), key.text)) {
      return &key;
    }
  }
  return nullptr;
}

// The one-character rule: the character after the first "=" minus "0". Any
// other character gives a value that is neither 0 nor 1.
int FlagValue(const std::wstring& line) {
  size_t equals = line.find(L'=');
  if (equals == std::wstring::npos || equals + 1 >= line.size()) return -static_cast<int>(L'0');
  return static_cast<int>(line[equals + 1]) - static_cast<int>(L'0');
}

std::wstring ValueText(const std::wstring& line) {
  size_t equals = line.find(L'=');
  return equals == std::wstring::npos ? std::wstring() : line.substr(equals + 1);
}

// A decimal number: leading blanks and a sign allowed, reading stops at the
// first character that is not a digit. A number beyond the 64-bit range
// stays at the range's end, so that the caps applied afterwards still see
// it as too large instead of as whatever it wrapped to.
int64_t NumberValue(std::wstring_view text) {
  size_t at = 0;
  while (at < text.size() && std::iswspace(text[at])) ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == L'-' || text[at] == L'+')) negative = text[at++] == L'-';
  const uint64_t limit = negative ? uint64_t{1} << 63 : (uint64_t{1} << 63) - 1;
  uint64_t value = 0;
  while (at < text.size() && text[at] >= L'0' && text[at] <= L'9') {
    const uint64_t digit = static_cast<uint64_t>(text[at++] - L'0');
    value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
  }
  if (!negative) return static_cast<int64_t>(value);
  return value == limit ? std::numeric_limits<int64_t>::min() : -static_cast<int64_t>(value);
}

// A number for a field of the platform's int size (window sizes, positions),
// held at that range's ends rather than cut to its low bits.
int IntValue(std::wstring_view text) {
  return static_cast<int>(std::clamp<int64_t>(NumberValue(text), std::numeric_limits<int>::min(),
                                              std::numeric_limits<int>::max()));
}

std::vector<int64_t> ListValue(std::wstring_view text) {
  std::vector<int64_t> numbers;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(L';', start);
    if (end == std::wstring_view::npos) end = text.size();
    numbers.push_back(NumberValue(text.substr(start, end - start)));
    start = end + 1;
  }
  return numbers;
}

// The command a radio group's line chooses, or 0 for an index outside the group.
template <size_t N>
uint32_t ChoiceOf(const std::wstring& line, const uint32_t (&choices)[N]) {
  int index = FlagValue(line);
  return index >= 0 && static_cast<size_t>(index) < N ? choices[index] : 0;
}

template <size_t N>
int ChoiceIndex(const uint32_t (&choices)[N], uint32_t chosen) {
  for (size_t i = 0; i < N; ++i) {
    if (choices[i] == chosen) return static_cast<int>(i);
  }
  return 0;
}

SettingsList ListOf(Key key) {
  switch (key) {
    case Key::ColumnOrder: case Key::ColumnWidths: case Key::ColumnVisible: return SettingsList::Items;
    case Key::ErrorColumnOrder: case Key::ErrorColumnWidths: case Key::ErrorColumnVisible: return SettingsList::Errors;
    default: return SettingsList::Results;
  }
}

bool IsOrderKey(Key key) {
  return key == Key::ColumnOrder || key == Key::ResultColumnOrder || key == Key::ErrorColumnOrder;
}
bool IsWidthsKey(Key key) {
  return key == Key::ColumnWidths || key == Key::ResultColumnWidths || key == Key::ErrorColumnWidths;
}
bool IsVisibleKey(Key key) {
  return key == Key::ColumnVisible || key == Key::ResultColumnVisible || key == Key::ErrorColumnVisible;
}

std::vector<uint8_t>& VisibleFlags(SettingsList list) {
  switch (list) {
    case SettingsList::Items: return gSettings.itemColumnVisible;
    case SettingsList::Errors: return gSettings.errorColumnVisible;
    default: return gSettings.resultColumnVisible;
  }
}

void ReadColumnOrder(SettingsList list, const std::wstring& value, SettingsHost& host) {
  int count = host.ColumnCount(list);
  std::vector<int64_t> numbers = ListValue(value);
  // The list view trusts the order it is given to name each of its columns
  // once; anything else in the file (a column named twice or out of range)
  // gives the default order, as a wrong count does.
  std::vector<int> order;
  std::vector<bool> named(static_cast<size_t>(std::max(count, 0)), false);
  if (numbers.size() == static_cast<size_t>(count)) {
    for (int64_t number : numbers) {
      if (number < 0 || number >= count || named[static_cast<size_t>(number)]) break;
      named[static_cast<size_t>(number)] = true;
      order.push_back(static_cast<int>(number));
    }
  }
  if (order.size() != static_cast<size_t>(count)) {
    order.clear();
    for (int column = 0; column < count; ++column) order.push_back(column);
  }
  host.SetColumnOrder(list, order);
}

// A column already read as hidden keeps its width of 0, so that a file whose
// visibility line stands before its widths reads as the program writes it.
void ReadColumnWidths(SettingsList list, const std::wstring& value, SettingsHost& host) {
  int count = host.ColumnCount(list);
  const std::vector<uint8_t>& visible = VisibleFlags(list);
  std::vector<int64_t> numbers = ListValue(value);
  for (size_t column = 0; column < numbers.size() && column < static_cast<size_t>(count); ++column) {
    const bool hidden = column < visible.size() && visible[column] == 0;
    host.SetColumnWidth(list, static_cast<int>(column), hidden ? 0 : static_cast<int16_t>(numbers[column]));
  }
}

void ReadColumnVisible(SettingsList list, const std::wstring& value, SettingsHost& host) {
  int count = host.ColumnCount(list);
  std::vector<uint8_t>& visible = VisibleFlags(list);
  visible.assign(static_cast<size_t>(count), 1);
  std::vector<int64_t> numbers = ListValue(value);
  for (size_t column = 0; column < numbers.size() && column < visible.size(); ++column) {
    // Any number but 0 shows the column; cut to a byte, 256 would hide it.
    visible[column] = numbers[column] != 0 ? 1 : 0;
    if (numbers[column] == 0) host.SetColumnWidth(list, static_cast<int>(column), 0);
  }
}

void ReadColumns(Key key, const std::wstring& value, SettingsHost& host) {
  SettingsList list = ListOf(key);
  if (host.ColumnCount(list) == 0) {
    KeptColumns& kept = gKeptColumns[static_cast<int>(list)];
    kept.kept = true;
    if (IsOrderKey(key)) kept.order = value;
    if (IsWidthsKey(key)) kept.widths = value;
    if (IsVisibleKey(key)) kept.visible = value;
    return;
  }
  if (IsOrderKey(key)) ReadColumnOrder(list, value, host);
  if (IsWidthsKey(key)) ReadColumnWidths(list, value, host);
  if (IsVisibleKey(key)) ReadColumnVisible(list, value, host);
}

// The colour block: the value of "ItemTextColor0=" and the values of the
// nine lines that follow, whatever their keys.
void ReadItemColours(const std::wstring& first, UnicodeTextReader& reader) {
  gSettings.itemTextColour[0] = static_cast<uint32_t>(NumberValue(ValueText(first)));
  std::wstring line;
  for (int entry = 1; entry < 2 * kItemColourCount; ++entry) {
    if (!reader.NextLine(line)) return;
    int index = entry / 2;
    if (entry % 2 == 1) {
      gSettings.itemTextColourEnabled[index] = FlagValue(line) != 0;
    } else {
      gSettings.itemTextColour[index] = static_cast<uint32_t>(NumberValue(ValueText(line)));
    }
  }
}

// Recent profiles up to the closing line, or to the end of a file that lost it.
// Those that no longer exist are dropped once the whole file is read, by the
// option's last word wherever in the file it stands.
void ReadProfiles(UnicodeTextReader& reader) {
  std::wstring line;
  while (reader.NextLine(line)) {
    if (line.find(kProfilesEnd) != std::wstring::npos) return;
    gSettings.recentProfiles.push_back(line);
  }
}

void DropMissingProfiles(SettingsHost& host) {
  if (!gSettings.removeMissingRecentProfiles) return;
  std::erase_if(gSettings.recentProfiles, [&](const std::wstring& path) { return !host.FileExists(path); });
}

void SetSolidStateBit(uint32_t bit, bool on) {
  if (on) {
    gSettings.solidStateFlags |= bit;
  } else {
    gSettings.solidStateFlags &= ~bit;
  }
}

int Scaled(int size96, double scale) { return static_cast<int>(size96 * scale); }

void ReadLine(const KeyText& key, const std::wstring& line, UnicodeTextReader& reader,
              SettingsHost& host) {
  for (const FlagKey& flag : kFlagKeys) {
    if (flag.key == key.key) {
      flag.field(gSettings) = FlagValue(line) != 0;
      return;
    }
  }
  const std::wstring value = ValueText(line);
  const int flag = FlagValue(line);
  switch (key.key) {
    case Key::SkipSsd: SetSolidStateBit(kSolidStateSkip, flag != 0); break;
    case Key::SmartDefrag:
      if (flag == 0 || flag == 1) gSettings.smartStrategy = flag == 1;
      break;
    case Key::Priority:
      if (uint32_t command = ChoiceOf(line, kPriorityChoices); command && host.ApplyPriority(command)) {
        gSettings.priority = command;
      }
      break;
    case Key::Language:
      gSettings.language = value;
      gSettings.languageInFile = value;
      break;
    case Key::ColumnOrder: case Key::ColumnWidths: case Key::ColumnVisible:
    case Key::ResultColumnOrder: case Key::ResultColumnWidths: case Key::ResultColumnVisible:
    case Key::ErrorColumnOrder: case Key::ErrorColumnWidths: case Key::ErrorColumnVisible:
      ReadColumns(key.key, value, host);
      break;
    case Key::FragmentDetailsWidth: gSettings.fragmentDetailsWidth = IntValue(value); break;
    case Key::FragmentDetailsHeight: gSettings.fragmentDetailsHeight = IntValue(value); break;
    case Key::FilterWidth: gSettings.filterWidth = IntValue(value); break;
    case Key::FilterHeight: gSettings.filterHeight = IntValue(value); break;
    case Key::DiskCheckWidth:
      gSettings.diskCheckWidth = std::max(IntValue(value), gSettings.diskCheckMinWidth);
      break;
    case Key::DiskCheckHeight:
      gSettings.diskCheckHeight = std::max(IntValue(value), gSettings.diskCheckMinHeight);
      break;
    case Key::MainSize: {
      size_t separator = value.find(L';');
      gSettings.mainSizeSaved = true;
      gSettings.mainWidth = IntValue(value.substr(0, separator));
      gSettings.mainHeight = separator == std::wstring::npos
                                 ? 0
                                 : IntValue(std::wstring_view(value).substr(separator + 1));
      if (gSettings.mainWidth > host.ScreenWidth()) {
        gSettings.mainWidth = host.ScreenWidth() - 100;
        gSettings.mainHeight = host.ScreenHeight() - 200;
      }
      break;
    }
    case Key::ProfilePath: gSettings.profileFolder = value; break;
    case Key::FilePath: gSettings.fileFolder = value; break;
    case Key::Cleanup:
      if (uint32_t command = ChoiceOf(line, kCleanupChoices)) gSettings.cleanup = command;
      break;
    case Key::CleanupProgramPath: gSettings.cleanupProgramPath = value; break;
    case Key::CleanupProgramSwitches: gSettings.cleanupProgramSwitches = value; break;
    case Key::DiskCheck:
      if (uint32_t command = ChoiceOf(line, kDiskCheckChoices)) gSettings.diskCheck = command;
      break;
    case Key::MaxFileSize:
      gSettings.maxFileSizeKiB = std::min(NumberValue(value), kMaxSizeLimitKiB);
      break;
    case Key::ItemColours: ReadItemColours(line, reader); break;
    case Key::SplitterPos: gSettings.splitterPosition = IntValue(value); break;
    case Key::SkipSsdWarning:
      if (flag == 1) SetSolidStateBit(kSolidStateWarn, false);
      if (flag == 0) SetSolidStateBit(kSolidStateWarn, true);
      break;
    case Key::SkipSsdChecking:
      SetSolidStateBit(kSolidStateNoDetection, flag != 0);
      break;
    // Only exactly "1" keeps the status bars.
    case Key::ShowStatusBar: gSettings.showStatusBar = flag == 1; break;
    case Key::MaxRecentProfiles: gSettings.maxRecentProfiles = NumberValue(value); break;
    case Key::ProfilesStart: ReadProfiles(reader); break;
    default: break;
  }
}

std::wstring NumberText(int64_t value) { return std::to_wstring(value); }

std::wstring FlagText(bool on) { return on ? L"1" : L"0"; }

template <typename T>
std::wstring ListText(const std::vector<T>& numbers) {
  std::wstring text;
  for (T number : numbers) text += NumberText(number) + L";";
  return text;
}

void AppendColumnLines(SettingsList list, std::vector<std::wstring>& lines, SettingsHost& host,
                       const wchar_t* orderKey, const wchar_t* widthsKey, const wchar_t* visibleKey) {
  int count = host.ColumnCount(list);
  if (count == 0) {
    const KeptColumns& kept = gKeptColumns[static_cast<int>(list)];
    lines.push_back(orderKey + kept.order);
    lines.push_back(widthsKey + kept.widths);
    lines.push_back(visibleKey + kept.visible);
    return;
  }
  lines.push_back(orderKey + ListText(host.ColumnOrder(list)));
  lines.push_back(widthsKey + ListText(host.ColumnWidths(list)));
  std::vector<int> visible(static_cast<size_t>(count), 1);
  const std::vector<uint8_t>& stored = VisibleFlags(list);
  for (size_t column = 0; column < stored.size() && column < visible.size(); ++column) {
    visible[column] = stored[column];
  }
  lines.push_back(visibleKey + ListText(visible));
}

}  // namespace

void SetScaledSizeDefaults(double scaleX, double scaleY) {
  gSettings.fragmentDetailsWidth = Scaled(400, scaleX);
  gSettings.fragmentDetailsHeight = Scaled(390, scaleY);
  gSettings.filterWidth = Scaled(480, scaleX);
  gSettings.filterHeight = Scaled(420, scaleY);
  gSettings.diskCheckWidth = gSettings.diskCheckMinWidth = Scaled(670, scaleX);
  gSettings.diskCheckHeight = gSettings.diskCheckMinHeight = Scaled(470, scaleY);
  gSettings.mainWidth = Scaled(600, scaleX);
  gSettings.mainHeight = Scaled(360, scaleY);
  gSettings.mainSizeSaved = false;
}

void ReadSettingsFile(UnicodeTextReader& reader, SettingsHost& host) {
  std::wstring line;
  if (!reader.NextLine(line) || !EqualNoCase(line, kSettingsVersionMark)) return;
  // Only this file's visibility lines hide columns while its widths are read.
  gSettings.itemColumnVisible.clear();
  gSettings.resultColumnVisible.clear();
  gSettings.errorColumnVisible.clear();
  while (reader.NextLine(line)) {
    if (const KeyText* key = FindKey(line)) ReadLine(*key, line, reader, host);
  }
  DropMissingProfiles(host);
}

std::vector<std::wstring> SettingsFileLines(SettingsHost& host) {
  std::vector<std::wstring> lines;
  auto add = [&lines](const wchar_t* key, const std::wstring& value) { lines.push_back(key + value); };
  lines.push_back(kSettingsVersionMark);
  add(L"ONTOP=", FlagText(gSettings.onTop));
  add(L"FULLROW=", FlagText(gSettings.fullRow));
  add(L"SHOWMESSAGES=", FlagText(gSettings.confirmPrompts));
  add(L"CLOSEPROGRAM=", FlagText(gSettings.followUps.closeAfterDefrag));
  add(L"SHUTDOWN=", FlagText(gSettings.followUps.shutdownAfterDefrag));
  add(L"SKIPSSD=", FlagText(gSettings.solidStateFlags & kSolidStateSkip));
  add(L"SMARTDEFRAG=", FlagText(gSettings.smartStrategy));
  add(L"PRIORITY=", NumberText(ChoiceIndex(kPriorityChoices, gSettings.priority)));
  // A language chosen on the command line holds for that run only.
  add(L"LANGUAGE=", gSettings.languageFromCommandLine ? gSettings.languageInFile : gSettings.language);
  AppendColumnLines(SettingsList::Items, lines, host, L"COLUMNORDER=", L"CL=", L"VCL=");
  AppendColumnLines(SettingsList::Results, lines, host, L"FCOLUMNORDER=", L"FCL=", L"FVCL=");
  AppendColumnLines(SettingsList::Errors, lines, host, L"ECOLUMNORDER=", L"ECL=", L"EVCL=");
  add(L"FDWIDTH=", NumberText(gSettings.fragmentDetailsWidth));
  add(L"FDHEIGHT=", NumberText(gSettings.fragmentDetailsHeight));
  add(L"FLTRWIDTH=", NumberText(gSettings.filterWidth));
  add(L"FLTRHEIGHT=", NumberText(gSettings.filterHeight));
  add(L"SCANWIDTH=", NumberText(gSettings.diskCheckWidth));
  add(L"SCANHEIGHT=", NumberText(gSettings.diskCheckHeight));
  add(L"MAINSIZE=", NumberText(gSettings.mainWidth) + L";" + NumberText(gSettings.mainHeight));
  add(L"PROFILEPATH=", gSettings.profileFolder);
  add(L"FILEPATH=", gSettings.fileFolder);
  add(L"CLNUP=", NumberText(ChoiceIndex(kCleanupChoices, gSettings.cleanup)));
  add(L"CLNUP_SHOWERRORMSG=", FlagText(gSettings.cleanupShowErrors));
  add(L"CLNUP_EXTPRGPATH=", gSettings.cleanupProgramPath);
  add(L"CLNUP_EXTPRGSWITCHES=", gSettings.cleanupProgramSwitches);
  add(L"SCANDISK=", NumberText(ChoiceIndex(kDiskCheckChoices, gSettings.diskCheck)));
  add(L"ExcludeItemsBySize=", FlagText(gSettings.excludeBySize));
  add(L"MaxFileSizeToElaborate=", NumberText(gSettings.maxFileSizeKiB));
  for (int index = 0; index < kItemColourCount; ++index) {
    lines.push_back(L"ItemTextColor" + std::to_wstring(index) + L"=" +
                    NumberText(gSettings.itemTextColour[index]));
    lines.push_back(L"ItemTextColorEnabled" + std::to_wstring(index) + L"=" +
                    FlagText(gSettings.itemTextColourEnabled[index]));
  }
  add(L"ItemTextColorFullRow=", FlagText(gSettings.itemTextColourFullRow));
  add(L"SplitterPos=", NumberText(gSettings.splitterPosition));
  add(L"MAXIMIZED=", FlagText(host.IsMaximized()));
  add(L"SkipSSDWarning=", FlagText(!(gSettings.solidStateFlags & kSolidStateWarn)));
  add(L"SkipSSDChecking=", FlagText(gSettings.solidStateFlags & kSolidStateNoDetection));
  add(L"ShowInfoPanel=", FlagText(gSettings.showInfoPanel));
  add(L"ShowStatusbar=", FlagText(gSettings.showStatusBar));
  add(L"ShowToolbar=", FlagText(gSettings.showToolbar));
  add(L"RemoveMissingMRUProfiles=", FlagText(gSettings.removeMissingRecentProfiles));
  add(L"MaxMRUProfiles=", NumberText(gSettings.maxRecentProfiles));
  add(L"ShowStateIcons=", FlagText(gSettings.showStateIcons));
  add(L"ShowSystemIcons=", FlagText(gSettings.showSystemIcons));
  lines.push_back(L"[Profiles]");
  for (const std::wstring& path : gSettings.recentProfiles) lines.push_back(path);
  lines.push_back(kProfilesEnd);
  return lines;
}

void ResetSettingsFileState() {
  for (KeptColumns& kept : gKeptColumns) kept = KeptColumns();
}
