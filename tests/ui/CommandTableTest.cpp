// The table of commands: every item of the menus, the drop-downs and the
// accelerators has exactly one entry with a handler, and the rules lock what
// changes the lists while the window is busy.
#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

#include "res/ResourceIds.h"
#include "options/CommandIds.h"
#include "options/Settings.h"
#include "ui/Commands.h"

namespace {

void CollectIds(HMENU menu, std::vector<UINT>& ids) {
  for (int position = 0; position < GetMenuItemCount(menu); ++position) {
    if (HMENU sub = GetSubMenu(menu, position)) {
      CollectIds(sub, ids);
      continue;
    }
    const UINT id = GetMenuItemID(menu, position);
    if (id != 0 && id != static_cast<UINT>(-1)) ids.push_back(id);
  }
}

bool Allowed(uint32_t command, const CommandContext& context) {
  const CommandEntry* entry = FindCommand(command);
  return entry && CommandAllowed(*entry, context);
}

TEST(CommandTableTest, EveryItemOfEveryMenuHasOneEntryWithAHandler) {
  for (int resource : {IDR_MAIN_MENU, IDR_ITEM_LIST_MENU, IDR_FILE_LIST_MENU, IDR_ERROR_LIST_MENU, IDR_ADD_MENU,
                       IDR_DEFRAG_MENU, IDR_RECENT_PROFILES_MENU, IDR_ITEM_COLUMNS_MENU, IDR_FILE_COLUMNS_MENU,
                       IDR_ERROR_COLUMNS_MENU}) {
    HMENU menu = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resource));
    ASSERT_NE(menu, nullptr) << resource;
    std::vector<UINT> ids;
    CollectIds(menu, ids);
    for (UINT id : ids) EXPECT_NE(FindCommand(id), nullptr) << "menu " << resource << " item " << id;
    DestroyMenu(menu);
  }
  HACCEL keys = LoadAcceleratorsW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_ACCELERATORS));
  ACCEL table[16];
  const int count = CopyAcceleratorTableW(keys, table, 16);
  ASSERT_EQ(count, 6);
  for (int i = 0; i < count; ++i) EXPECT_NE(FindCommand(table[i].cmd), nullptr) << table[i].cmd;

  const std::vector<CommandEntry>& entries = CommandTable();
  for (size_t a = 0; a < entries.size(); ++a) {
    EXPECT_NE(entries[a].handler, nullptr) << entries[a].first;
    // Only the placeholder of an empty recent-profiles list is never usable.
    const bool placeholder =
        entries[a].first <= kRecentProfilesPlaceholderId && kRecentProfilesPlaceholderId <= entries[a].last;
    EXPECT_EQ((entries[a].rule & CommandRule::kNever) != 0, placeholder) << entries[a].first;
    for (size_t b = a + 1; b < entries.size(); ++b) {
      EXPECT_TRUE(entries[a].last < entries[b].first || entries[b].last < entries[a].first)
          << entries[a].first << ".." << entries[a].last << " and " << entries[b].first << ".." << entries[b].last;
    }
  }
  EXPECT_EQ(FindCommand(12345), nullptr) << "a number nobody gave is not taken for a command";
}

// Each check or radio item of the main menu (but the languages, which follow
// the language file) takes its mark from the settings, and the fresh
// settings mark what the menu marks as it is built. After a change, the
// menu's marks follow the settings once the states are applied.
TEST(CommandTableTest, TheMainMenusMarksComeFromTheSettings) {
  gSettings = Settings();
  HMENU menu = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MAIN_MENU));
  ASSERT_NE(menu, nullptr);
  std::vector<UINT> ids;
  CollectIds(menu, ids);
  int marked = 0;
  for (UINT id : ids) {
    MENUITEMINFOW item{};
    item.cbSize = sizeof item;
    item.fMask = MIIM_FTYPE | MIIM_STATE;
    ASSERT_TRUE(GetMenuItemInfoW(menu, id, FALSE, &item));
    const bool checked = (item.fState & MFS_CHECKED) != 0;
    if (!checked && !(item.fType & MFT_RADIOCHECK)) continue;
    if (id >= kCmdFirstLanguage && id <= kCmdLastLanguage) continue;
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
  CommandContext idle;
  idle.items = 3;
  idle.itemSelection = 1;
  idle.focusList = 1;
  idle.focusSelection = 1;
  idle.fragmented = 2;
  idle.marked = 1;
  idle.reportReady = true;
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
  EXPECT_TRUE(Allowed(kCmdAnalyzeAll, context));
  EXPECT_FALSE(Allowed(kCmdRemove, context)) << "no row selected";
  EXPECT_FALSE(Allowed(kCmdAnalyzeSelected, context));
  EXPECT_FALSE(Allowed(kCmdOpen, context)) << "no list has the focus";
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
  EXPECT_FALSE(Allowed(kCmdAnalyzeAll, context));
  EXPECT_TRUE(Allowed(kCmdSelectAll, context)) << "Ctrl+A selects the rows of whichever list has the focus";
  EXPECT_TRUE(Allowed(kCmdAddFiles, context));
  context.solidStateDetection = false;
  EXPECT_FALSE(Allowed(kCmdSkipSolidState, context)) << "greyed while detection is off";
}

}  // namespace
