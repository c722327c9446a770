#include "ui/Commands.h"

#include <commctrl.h>

#include <string>

#include "items/ItemList.h"
#include "profiles/RecentProfiles.h"
#include "runs/RunResults.h"
#include "settings/Settings.h"
#include "ui/CommandIds.h"
#include "ui/HighlightDialog.h"
#include "ui/InfoDialogs.h"
#include "ui/ItemCommands.h"
#include "ui/MainWindow.h"
#include "ui/MessageBox.h"
#include "ui/RunWindow.h"
#include "util/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"

CommandHooks gCommandHooks;

namespace {

using R = CommandRule;

// Option commands only change settings that nothing reads during a run:
// the look of the window, the follow-up marks, the priority (kept pending
// during a run). The others change what a run reads and wait for its end.
void Option(HWND window, uint32_t command) {
  if (!gCommandHooks.option || !gCommandHooks.option(window, command)) {
    ShowMessageText(window, kMsgIconError,
                    FormatWithStrings(Text(kStrCommandWithoutHandler, L"Il comando %s non ha un gestore."),
                                      {std::to_wstring(command)}));
  }
}

void Selection(HWND window, uint32_t command) {
  if (!gCommandHooks.selection || !gCommandHooks.selection(window, command)) {
    ShowMessageText(window, kMsgIconError,
                    FormatWithStrings(Text(kStrCommandWithoutHandler, L"Il comando %s non ha un gestore."),
                                      {std::to_wstring(command)}));
  }
}

// The import and the save of a profile keep the window busy meanwhile.
void BusySelection(HWND window, uint32_t command) {
  WindowBusyScope busy;
  Selection(window, command);
}

void Run(HWND window, uint32_t command) { HandleRunCommand(window, command); }

// As the close button: a run under way asks first.
void Exit(HWND window, uint32_t) { SendMessageW(window, WM_CLOSE, 0, 0); }

void Tab(HWND, uint32_t command) { SelectBottomTab(command); }

void Column(HWND, uint32_t command) { ApplyMainColumnCommand(command); }

// Enter and Escape reach a dialog window as the commands of its default and
// cancel buttons; the main window has neither and stays as it is.
void DialogKey(HWND, uint32_t) {}

// The placeholder of an empty recent-profiles menu is never enabled.
void Placeholder(HWND, uint32_t) {}

void AddFiles(HWND window, uint32_t) { AddFilesCommand(window); }
void AddFolder(HWND window, uint32_t) { AddFolderCommand(window); }
void Remove(HWND window, uint32_t) { RemoveSelectedItems(window); }
void SelectAll(HWND, uint32_t) { SelectAllItems(); }
void Open(HWND window, uint32_t command) { OpenSelected(window, command == kCmdOpenFromKeyboard); }
void OpenFolder(HWND window, uint32_t) { OpenSelectedFolder(window); }
void Properties(HWND window, uint32_t) { ShowSelectedProperties(window); }
void ToggleMarks(HWND, uint32_t) { ToggleSelectedMarks(); }
void Marks(HWND, uint32_t command) { ChangeAllMarks(command); }

void FragmentDetails(HWND window, uint32_t) { ShowSelectedFragmentDetails(window); }
void Highlight(HWND window, uint32_t) { ShowHighlightDialog(window); }
void CommandLineHelp(HWND window, uint32_t) { ShowCommandLineDialog(window); }
void Warranty(HWND window, uint32_t) { ShowWarrantyDialog(window); }
void About(HWND window, uint32_t) { ShowAboutDialog(window); }

const std::vector<CommandEntry> kTable = {
    {IDOK, IDCANCEL, R::kAlways, DialogKey},
    // "File"
    {kCmdAddFiles, kCmdAddFiles, R::kIdle, AddFiles},
    {kCmdAddFolder, kCmdAddFolder, R::kIdle, AddFolder},
    {kCmdRemove, kCmdRemove, R::kIdle | R::kItemSelection, Remove},
    {kCmdSaveReport, kCmdSaveReport, R::kIdle | R::kReport, Run},
    {kCmdExit, kCmdExit, R::kAlways, Exit},
    // "Profili" and the recent profiles
    {kCmdImportProfile, kCmdImportProfile, R::kIdle, BusySelection},
    {kCmdSaveProfile, kCmdSaveProfile, R::kIdle | R::kItems, BusySelection},
    {kCmdRecentProfilesDialog, kCmdRecentProfilesDialog, R::kIdle, Selection},
    {kRecentProfilesPlaceholderId, kRecentProfilesPlaceholderId, R::kNever, Placeholder},
    {kFirstRecentProfileId, kLastRecentProfileId, R::kIdle, BusySelection},
    // "Azioni"
    {kCmdAnalyzeAll, kCmdAnalyzeAll, R::kIdle | R::kItems, Run},
    {kCmdDefragAll, kCmdDefragAll, R::kIdle | R::kItems, Run},
    {kCmdStop, kCmdStop, R::kBusy, Run},
    {kCmdAnalyzeSelected, kCmdAnalyzeSelected, R::kIdle | R::kItemSelection, Run},
    {kCmdDefragSelected, kCmdDefragSelected, R::kIdle | R::kItemSelection, Run},
    {kCmdDefragAllFiles, kCmdDefragAllFiles, R::kIdle | R::kItems, Run},
    {kCmdDefragSelectedFiles, kCmdDefragSelectedFiles, R::kIdle | R::kMarked, Run},
    {kCmdOpen, kCmdOpen, R::kFocusSelection, Open},
    {kCmdOpenFromKeyboard, kCmdOpenFromKeyboard, R::kAlways, Open},
    {kCmdOpenItemFolder, kCmdOpenItemFolder, R::kFocusSelection, OpenFolder},
    {kCmdProperties, kCmdProperties, R::kFocusSelection, Properties},
    {kCmdFragmentDetails, kCmdFragmentDetails, R::kFocusSelection, FragmentDetails},
    {kCmdExcludeSelected, kCmdExcludeSelected, R::kIdle | R::kFocusSelection, Selection},
    {kCmdSelectAll, kCmdSelectAll, R::kItems, SelectAll},
    {kCmdToggleDefragMark, kCmdToggleDefragMark, R::kIdle | R::kFragmented, ToggleMarks},
    {kCmdSelectFiles, kCmdInvertSelection, R::kIdle | R::kFragmented, Marks},
    // "Visualizza": the look of the window, at any time
    {kCmdShowToolbar, kCmdShowToolbar, R::kAlways, Option},
    {kCmdShowInfoPanel, kCmdShowInfoPanel, R::kAlways, Option},
    {kCmdShowStatusBar, kCmdShowStatusBar, R::kAlways, Option},
    {kCmdShowStateIcons, kCmdShowStateIcons, R::kAlways, Option},
    {kCmdShowSystemIcons, kCmdShowSystemIcons, R::kAlways, Option},
    {kCmdFullRow, kCmdFullRow, R::kAlways, Option},
    {kCmdOnTop, kCmdOnTop, R::kAlways, Option},
    {kCmdFollowItem, kCmdFollowItem, R::kAlways, Option},
    {kCmdFirstColumn, kCmdDefaultColumns, R::kIdle, Column},
    {kCmdColumnErrorText, kCmdColumnErrorText, R::kIdle, Column},
    {kCmdTabFragmented, kCmdTabErrors, R::kAlways, Tab},
    // "Strumenti"
    {kCmdFilterDialog, kCmdFilterDialog, R::kIdle, Selection},
    {kCmdHighlightDialog, kCmdHighlightDialog, R::kAlways, Highlight},
    {kCmdFirstLanguage, kCmdLastLanguage, R::kIdle, Option},
    {kCmdViewLanguageFile, kCmdViewLanguageFile, R::kAlways, Option},
    // "Opzioni": what a run reads waits for its end; the follow-ups and the
    // priority may be chosen while it goes on.
    {kCmdConfirmPrompts, kCmdConfirmPrompts, R::kAlways, Option},
    {kCmdQuickStrategy, kCmdSmartStrategy, R::kIdle, Option},
    {kCmdDiskCheckAuto, kCmdDiskCheckAsk, R::kIdle, Option},
    {kCmdCleanupAuto, kCmdCleanupAsk, R::kIdle, Option},
    {kCmdCleanupShowErrors, kCmdCleanupShowErrors, R::kIdle, Option},
    {kCmdPriorityHigh, kCmdPriorityIdle, R::kAlways, Option},
    {kCmdSkipSolidState, kCmdSkipSolidState, R::kIdle | R::kSolidStateDetection, Option},
    {kCmdNoSolidStateDetection, kCmdNoSolidStateDetection, R::kIdle, Option},
    {kCmdCloseAfterDefrag, kCmdCloseAfterDefrag, R::kAlways, Option},
    {kCmdShutdownAfterDefrag, kCmdShutdownAfterDefrag, R::kAlways, Option},
    // "?"
    {kCmdCommandLineHelp, kCmdCommandLineHelp, R::kAlways, CommandLineHelp},
    {kCmdWarrantyDisclaimer, kCmdWarrantyDisclaimer, R::kAlways, Warranty},
    {kCmdAbout, kCmdAbout, R::kAlways, About},
};

bool RuleHolds(uint32_t rule, uint32_t bit, bool holds) { return !(rule & bit) || holds; }

}  // namespace

const std::vector<CommandEntry>& CommandTable() { return kTable; }

const CommandEntry* FindCommand(uint32_t command) {
  for (const CommandEntry& entry : kTable) {
    if (command >= entry.first && command <= entry.last) return &entry;
  }
  return nullptr;
}

bool CommandAllowed(const CommandEntry& entry, const CommandContext& context) {
  const uint32_t rule = entry.rule;
  const bool focusRows = context.focusList != 0 && context.focusSelection > 0;
  return RuleHolds(rule, R::kNever, false) && RuleHolds(rule, R::kIdle, !context.busy) &&
         RuleHolds(rule, R::kBusy, context.busy) && RuleHolds(rule, R::kItems, context.items > 0) &&
         RuleHolds(rule, R::kItemSelection, context.itemSelection > 0) &&
         RuleHolds(rule, R::kFocusSelection, focusRows) &&
         RuleHolds(rule, R::kFocusNotErrors, context.focusList != 3) &&
         RuleHolds(rule, R::kFragmented, context.fragmented > 0) &&
         RuleHolds(rule, R::kMarked, context.marked > 0) && RuleHolds(rule, R::kReport, context.reportReady) &&
         RuleHolds(rule, R::kSolidStateDetection, context.solidStateDetection);
}

CommandContext CurrentCommandContext() {
  CommandContext context;
  context.busy = MainWindowBusy();
  context.items = ItemCount();
  HWND items = MainItemListView();
  if (items) context.itemSelection = ListView_GetSelectedCount(items);
  HWND lists[] = {items, MainResultListView(), MainErrorListView()};
  // The menu bar and the toolbar take no focus: the list last focused counts.
  HWND focus = LastFocusedList();
  for (int i = 0; i < 3; ++i) {
    if (focus && focus == lists[i]) {
      context.focusList = i + 1;
      context.focusSelection = ListView_GetSelectedCount(focus);
    }
  }
  context.fragmented = gRun.fragmented.size();
  context.marked = MarkedFileCount();
  context.reportReady = MainReportReady();
  context.solidStateDetection = !(gSettings.solidStateFlags & kSolidStateNoDetection);
  return context;
}

bool CommandEnabled(uint32_t command) {
  const CommandEntry* entry = FindCommand(command);
  return entry && CommandAllowed(*entry, CurrentCommandContext());
}

bool DispatchCommand(HWND window, uint32_t command) {
  const CommandEntry* entry = FindCommand(command);
  if (!entry) {
    ShowMessageText(window, kMsgIconError,
                    FormatWithStrings(Text(kStrUnknownCommand, L"Il comando %s non è noto al programma."),
                                      {std::to_wstring(command)}));
    return false;
  }
  if (!CommandAllowed(*entry, CurrentCommandContext())) return false;
  entry->handler(window, command);
  RefreshCommandStates();
  return true;
}

void ApplyCommandStates(HMENU menu) {
  if (!menu) return;
  const CommandContext context = CurrentCommandContext();
  for (int i = 0, count = GetMenuItemCount(menu); i < count; ++i) {
    if (HMENU sub = GetSubMenu(menu, i)) {
      ApplyCommandStates(sub);
      continue;
    }
    const UINT id = GetMenuItemID(menu, i);
    if (id == 0 || id == static_cast<UINT>(-1)) continue;  // separators
    const CommandEntry* entry = FindCommand(id);
    const bool enabled = entry && CommandAllowed(*entry, context);
    EnableMenuItem(menu, i, MF_BYPOSITION | (enabled ? MF_ENABLED : MF_GRAYED));
  }
}

std::vector<uint32_t> CommandsWithoutHandler() {
  std::vector<uint32_t> missing;
  for (const CommandEntry& entry : kTable) {
    if (!entry.handler) missing.push_back(entry.first);
    if (entry.handler == Option && !gCommandHooks.option) missing.push_back(entry.first);
    if ((entry.handler == Selection || entry.handler == BusySelection) && !gCommandHooks.selection) {
      missing.push_back(entry.first);
    }
    if (entry.first == kFirstRecentProfileId && (!gCommandHooks.fillRecentProfiles || !gCommandHooks.refreshRecentProfiles)) {
      missing.push_back(entry.first);
    }
  }
  return missing;
}
