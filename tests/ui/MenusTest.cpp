// The menus and the table of commands behind them: every item of every menu
// has its string id, so that a language replaces all of a menu's texts and
// none stays Italian, and its command; no menu has two items with the same
// access key, in either language; the rules lock what changes the lists
// while the window is busy.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "options/CommandIds.h"
#include "options/Settings.h"
#include "res/ResourceIds.h"
#include "ui/Commands.h"
#include "ui/Language.h"
#include "ui/MenuTexts.h"
#include "ui/ProfileCommands.h"
#include "util/Text.h"

namespace {

using MenuTextList = std::vector<std::pair<UINT, std::wstring>>;

// Every menu of the resources, with the kind of re-texting it gets.
const std::pair<int, MenuKind> kMenus[] = {
    {IDR_MAIN_MENU, MenuKind::Main},
    {IDR_ITEM_LIST_MENU, MenuKind::ItemList},
    {IDR_FILE_LIST_MENU, MenuKind::FileList},
    {IDR_ERROR_LIST_MENU, MenuKind::FileList},
    {IDR_ADD_MENU, MenuKind::ItemList},
    {IDR_DEFRAG_MENU, MenuKind::Main},
    {IDR_RECENT_PROFILES_MENU, MenuKind::Main},
    {IDR_ITEM_COLUMNS_MENU, MenuKind::Columns},
    {IDR_FILE_COLUMNS_MENU, MenuKind::Columns},
    {IDR_ERROR_COLUMNS_MENU, MenuKind::Columns},
};

// Each entry reads "#" and its id, so a menu text shows where it came from.
void FillTableWithMarkers() {
  ResetTexts();
  for (uint32_t id = 0; id < TextCapacity(); ++id) SetText(id, L"#" + std::to_wstring(id));
  SetBuiltInTexts(false);
}

// The texts of one pop-up's own items with their numbers (0 for a sub-menu's
// holder), the sub-menus' items after their holder when `deep`.
MenuTextList Texts(HMENU menu, bool deep = true) {
  MenuTextList texts;
  for (int position = 0; position < GetMenuItemCount(menu); ++position) {
    wchar_t text[512] = {};
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_ID | MIIM_SUBMENU | MIIM_FTYPE | MIIM_STRING;
    info.dwTypeData = text;
    info.cch = ARRAYSIZE(text);
    GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info);
    if (info.fType & MFT_SEPARATOR) continue;
    texts.emplace_back(info.hSubMenu ? 0 : info.wID, text);
    if (!deep || !info.hSubMenu) continue;
    for (auto& item : Texts(info.hSubMenu)) texts.push_back(std::move(item));
  }
  return texts;
}

// Every pop-up whose items share an access key, with that key.
void CollectDuplicateKeys(HMENU popup, const std::wstring& where, std::vector<std::wstring>& found) {
  std::map<wchar_t, std::wstring> keys;
  for (const auto& [id, text] : Texts(popup, false)) {
    for (size_t i = 0; i + 1 < text.size(); ++i) {
      if (text[i] != L'&') continue;
      if (text[i + 1] == L'&') {
        ++i;
        continue;
      }
      wchar_t key = static_cast<wchar_t>(towlower(text[i + 1]));
      if (keys.count(key)) found.push_back(where + L": \"" + keys[key] + L"\" and \"" + text + L"\"");
      keys[key] = text;
      break;
    }
  }
  for (int position = 0; position < GetMenuItemCount(popup); ++position) {
    if (HMENU sub = GetSubMenu(popup, position)) CollectDuplicateKeys(sub, where + L" > " + std::to_wstring(position), found);
  }
}

bool Allowed(uint32_t command, const CommandContext& context) {
  const CommandEntry* entry = FindCommand(command);
  return entry && CommandAllowed(*entry, context);
}

// A language replaces every text of every menu (and the built-in language
// brings the menu's own texts back); every item has its command; no pop-up
// has two items with the same access key, in English or in the built-in
// Italian.
TEST(MenuTexts, EveryItemOfEveryMenuHasAStringIdACommandAndAnAccessKeyOfItsOwn) {
  for (auto [resource, kind] : kMenus) {
    SCOPED_TRACE(testing::Message() << "menu " << resource);
    HMENU loaded = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resource));
    ASSERT_NE(loaded, nullptr);
    const MenuTextList original = Texts(loaded);
    std::vector<std::wstring> duplicates;
    CollectDuplicateKeys(loaded, L"IT", duplicates);
    FillTableWithMarkers();
    RetextMenu(loaded, kind);
    const MenuTextList texts = Texts(loaded);
    EXPECT_FALSE(texts.empty());
    for (const auto& [id, text] : texts) {
      if (id != 0) {
        EXPECT_NE(FindCommand(id), nullptr) << "item " << id << " has no command";
      }
      // The language list names each language in its own words; the pop-up
      // holders of the context menus are never shown; the recent-profiles
      // menu writes its placeholder itself (below).
      if (id >= kCmdFirstLanguage && id <= kCmdLastLanguage) continue;
      if (id == kRecentProfilesPlaceholderId) continue;
      if (text.empty() && id == 0) continue;
      EXPECT_EQ(text.substr(0, 1), L"#") << "item " << id << " keeps its built-in text";
    }
    SetBuiltInTexts(true);
    RetextMenu(loaded, kind);
    EXPECT_EQ(Texts(loaded), original);
    ResetTexts();
    SetTextCapacity(kProgramTextCapacity);
    ASSERT_EQ(LoadLanguageFile((std::filesystem::path(ORDALIS_LANG_DIR) / L"Ordalis_EN.lng").wstring()), 0);
    SetBuiltInTexts(false);
    RetextMenu(loaded, kind);
    CollectDuplicateKeys(loaded, L"EN", duplicates);
    EXPECT_EQ(duplicates, std::vector<std::wstring>{});
    DestroyMenu(loaded);
  }
  ResetTexts();
}

// The placeholder of an empty recent-profiles list shares its number with
// the first recent profile: re-texting a menu leaves a profile's name alone,
// and the placeholder comes from the language when the menu is filled.
TEST(MenuTexts, TheFirstRecentProfileKeepsItsNameAndThePlaceholderFollowsTheLanguage) {
  FillTableWithMarkers();
  HMENU menu = CreatePopupMenu();
  AppendMenuW(menu, MF_STRING, kRecentProfilesPlaceholderId, L"&1 C:\\Profili\\lavoro.olp");
  RetextMenu(menu, MenuKind::Main);
  EXPECT_EQ(Texts(menu), (MenuTextList{{kRecentProfilesPlaceholderId, L"&1 C:\\Profili\\lavoro.olp"}}));
  FillRecentProfilesMenu(menu);
  EXPECT_EQ(Texts(menu), (MenuTextList{{kRecentProfilesPlaceholderId, L"#29"}}));
  DestroyMenu(menu);
  ResetTexts();
}

// Every accelerator has its command; every command one entry.
TEST(CommandTableTest, EveryKeyHasACommandAndEveryCommandOneEntry) {
  HACCEL keys = LoadAcceleratorsW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_ACCELERATORS));
  ACCEL table[16];
  const int count = CopyAcceleratorTableW(keys, table, 16);
  ASSERT_GT(count, 0);
  for (int i = 0; i < count; ++i) EXPECT_NE(FindCommand(table[i].cmd), nullptr) << table[i].cmd;

  const std::vector<CommandEntry>& entries = CommandTable();
  for (size_t a = 0; a < entries.size(); ++a) {
    for (size_t b = a + 1; b < entries.size(); ++b) {
      EXPECT_TRUE(entries[a].last < entries[b].first || entries[b].last < entries[a].first)
          << entries[a].first << ".." << entries[a].last << " and " << entries[b].first << ".." << entries[b].last;
    }
  }
}

// Each check or radio item of the main menu (but the languages, which follow
// the language file) takes its mark from the settings, and the fresh
// settings mark what the menu marks as it is built. After a change, the
// menu's marks follow the settings once the states are applied.
TEST(CommandTableTest, TheMainMenusMarksComeFromTheSettings) {
  gSettings = Settings();
  HMENU menu = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MAIN_MENU));
  ASSERT_NE(menu, nullptr);
  int marked = 0;
  for (const auto& [id, text] : Texts(menu)) {
    MENUITEMINFOW item{};
    item.cbSize = sizeof item;
    item.fMask = MIIM_FTYPE | MIIM_STATE;
    if (id == 0 || (id >= kCmdFirstLanguage && id <= kCmdLastLanguage)) continue;
    ASSERT_TRUE(GetMenuItemInfoW(menu, id, FALSE, &item));
    const bool checked = (item.fState & MFS_CHECKED) != 0;
    if (!checked && !(item.fType & MFT_RADIOCHECK)) continue;
    const CommandEntry* entry = FindCommand(id);
    ASSERT_TRUE(entry && entry->marked) << id;
    EXPECT_EQ(entry->marked(id), checked) << id;
    ++marked;
  }
  EXPECT_GE(marked, 20);
  gSettings.diskCheck = kCmdDiskCheckOff;
  gSettings.followUps.shutdownAfterDefrag = true;
  ApplyCommandStates(menu);
  EXPECT_EQ(GetMenuState(menu, kCmdDiskCheckAsk, MF_BYCOMMAND) & MF_CHECKED, 0u);
  EXPECT_NE(GetMenuState(menu, kCmdDiskCheckOff, MF_BYCOMMAND) & MF_CHECKED, 0u);
  EXPECT_NE(GetMenuState(menu, kCmdShutdownAfterDefrag, MF_BYCOMMAND) & MF_CHECKED, 0u);
  DestroyMenu(menu);
  gSettings = Settings();
}

// What a careful user expects: a run, an import or a save of the report
// lock everything that changes the items, the filters, the language or the
// settings a run reads; Stop is the one command that needs the work.
TEST(CommandTableTest, WhileBusyOnlyWhatLeavesTheListsAloneIsAllowed) {
  const CommandContext idle{.items = 3,
                            .itemSelection = 1,
                            .focusList = 1,
                            .focusSelection = 1,
                            .fragmented = 2,
                            .marked = 1,
                            .reportReady = true};
  CommandContext busy = idle;
  busy.busy = true;
  for (uint32_t command :
       {kCmdAddFiles, kCmdAddFolder, kCmdRemove, kCmdImportProfile, kCmdSaveProfile, kCmdRecentProfilesDialog,
        kCmdSaveReport, kCmdAnalyzeAll, kCmdAnalyzeSelected, kCmdDefragAll, kCmdDefragSelected, kCmdDefragAllFiles,
        kCmdDefragSelectedFiles, kCmdExcludeSelected, kCmdFilterDialog, kCmdQuickStrategy, kCmdSmartStrategy,
        kCmdDiskCheckAuto, kCmdCleanupAuto, kCmdSkipSolidState, kCmdNoSolidStateDetection, kCmdCleanupShowErrors,
        kCmdFirstLanguage, kCmdFirstLanguage + 1, kFirstRecentProfileId, kCmdToggleDefragMark, kCmdSelectFiles,
        kCmdColumnName, kCmdDefaultColumns}) {
    EXPECT_TRUE(Allowed(command, idle)) << command;
    EXPECT_FALSE(Allowed(command, busy)) << command;
  }
  for (uint32_t command : {kCmdExit, kCmdStop, kCmdFollowItem, kCmdCloseAfterDefrag, kCmdShutdownAfterDefrag,
                           kCmdPriorityHigh, kCmdShowToolbar, kCmdShowInfoPanel, kCmdShowStatusBar, kCmdTabFragmented,
                           kCmdOpen, kCmdProperties}) {
    EXPECT_TRUE(Allowed(command, busy)) << command;
  }
  EXPECT_FALSE(Allowed(kCmdStop, idle)) << "nothing to stop";
}

TEST(CommandTableTest, SelectionFocusAndMarksDecide) {
  CommandContext context;
  context.items = 2;
  context.itemSelection = 1;
  EXPECT_FALSE(Allowed(kCmdRemove, context)) << "Delete removes the rows of the focused list";
  EXPECT_TRUE(Allowed(kCmdDefragSelected, context));
  context.focusList = 3;
  context.focusSelection = 2;
  EXPECT_TRUE(Allowed(kCmdExcludeSelected, context)) << "the error list's rows go to the exclusions too";
  EXPECT_TRUE(Allowed(kCmdRemove, context)) << "and Delete removes them";
  EXPECT_FALSE(Allowed(kCmdToggleDefragMark, context)) << "the error list has no ticks";
  context.focusList = 2;
  EXPECT_TRUE(Allowed(kCmdToggleDefragMark, context));
  EXPECT_FALSE(Allowed(kCmdDefragSelectedFiles, context)) << "no file marked";
  context.fragmented = 4;
  context.marked = 2;
  EXPECT_TRUE(Allowed(kCmdDefragSelectedFiles, context));
  context.items = 0;
  context.itemSelection = 0;
  EXPECT_TRUE(Allowed(kCmdSelectAll, context)) << "Ctrl+A selects the rows of whichever list has the focus";
  context.solidStateDetection = false;
  EXPECT_FALSE(Allowed(kCmdSkipSolidState, context)) << "greyed while detection is off";
}

}  // namespace
