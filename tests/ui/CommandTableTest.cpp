// The table of commands: every command number of the menus, the drop-downs,
// the accelerators and the option and action lists has exactly one entry with
// a handler, and the rules lock what changes the lists while the window is
// busy.
#include <gtest/gtest.h>

#include <windows.h>

#include <set>
#include <string>
#include <vector>

#include "res/ResourceIds.h"
#include "options/CommandIds.h"
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

class CommandTableTest : public ::testing::Test {};

TEST_F(CommandTableTest, EveryEntryHasAHandlerAndOnlyThePlaceholderIsNeverUsable) {
  for (const CommandEntry& entry : CommandTable()) {
    EXPECT_NE(entry.handler, nullptr) << entry.first;
    const bool placeholder = entry.first <= kRecentProfilesPlaceholderId && kRecentProfilesPlaceholderId <= entry.last;
    EXPECT_EQ((entry.rule & CommandRule::kNever) != 0, placeholder) << entry.first << ".." << entry.last;
  }
  // A number nobody gave is not taken for a command.
  EXPECT_EQ(FindCommand(12345), nullptr);
  EXPECT_EQ(FindCommand(0), nullptr);
}

TEST_F(CommandTableTest, EveryItemOfEveryMenuHasAnEntryAndNoTwoEntriesOverlap) {
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
    for (size_t b = a + 1; b < entries.size(); ++b) {
      const bool apart = entries[a].last < entries[b].first || entries[b].last < entries[a].first;
      EXPECT_TRUE(apart) << entries[a].first << ".." << entries[a].last << " and " << entries[b].first << ".."
                         << entries[b].last;
    }
  }
}

bool Allowed(uint32_t command, const CommandContext& context) {
  const CommandEntry* entry = FindCommand(command);
  return entry && CommandAllowed(*entry, context);
}

// What a careful user expects: a run, an import or a save of the report
// lock everything that changes the items, the filters, the language or the
// settings a run reads; Stop is the one command that needs the work.
TEST_F(CommandTableTest, WhileBusyOnlyWhatLeavesTheListsAloneIsAllowed) {
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
  const std::vector<uint32_t> locked = {9001, 9002, 9005, 9007, 9008, 9077, 9068, 9009, 9075, 9010, 9076,
                                        9061, 9062, 9066, 9069, 9030, 9031, 9057, 9053, 9070, 9071, 9082,
                                        4000, 4001, 4501, 8001, 9063, 9034, 9044};
  for (uint32_t command : locked) {
    EXPECT_TRUE(Allowed(command, idle)) << command;
    EXPECT_FALSE(Allowed(command, busy)) << command;
  }
  for (uint32_t command : {9003u, 9011u, 9018u, 9015u, 9016u, 9047u, 9074u, 9072u, 9073u, 5001u, 9020u, 9029u}) {
    EXPECT_TRUE(Allowed(command, busy)) << command;
  }
  EXPECT_FALSE(Allowed(9011, idle)) << "nothing to stop";
}

TEST_F(CommandTableTest, SelectionFocusAndMarksDecide) {
  CommandContext context;
  context.items = 2;
  EXPECT_TRUE(Allowed(9009, context));
  EXPECT_FALSE(Allowed(9005, context)) << "no row selected";
  EXPECT_FALSE(Allowed(9075, context));
  EXPECT_FALSE(Allowed(9020, context)) << "no list has the focus";
  context.itemSelection = 1;
  EXPECT_FALSE(Allowed(9005, context)) << "Delete removes the rows of the focused list";
  EXPECT_TRUE(Allowed(9076, context));
  context.focusList = 3;
  context.focusSelection = 2;
  EXPECT_TRUE(Allowed(9066, context)) << "the error list's rows go to the exclusions too";
  EXPECT_TRUE(Allowed(9005, context)) << "and Delete removes them";
  EXPECT_FALSE(Allowed(8001, context)) << "the error list has no ticks";
  context.focusList = 2;
  EXPECT_TRUE(Allowed(8001, context));
  EXPECT_FALSE(Allowed(9062, context)) << "no file marked";
  context.fragmented = 4;
  context.marked = 2;
  EXPECT_TRUE(Allowed(9062, context));
  context.items = 0;
  context.itemSelection = 0;
  EXPECT_FALSE(Allowed(9009, context));
  EXPECT_TRUE(Allowed(9013, context)) << "Ctrl+A selects the rows of whichever list has the focus";
  EXPECT_TRUE(Allowed(9001, context));
  context.solidStateDetection = false;
  EXPECT_FALSE(Allowed(9070, context)) << "greyed while detection is off";
}

}  // namespace
