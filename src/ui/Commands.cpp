#include "ui/Commands.h"

#include <commctrl.h>

#include <string>

#include "items/ItemList.h"
#include "selection/RecentProfiles.h"
#include "runs/RunResults.h"
#include "ui/dialogs/FilterDialog.h"
#include "ui/ProfileCommands.h"
#include "options/CommandIds.h"
#include "options/Settings.h"
#include "ui/Language.h"
#include "ui/OptionCommands.h"
#include "ui/HighlightDialog.h"
#include "ui/dialogs/InfoDialogs.h"
#include "ui/ItemCommands.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/RunWindow.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"

namespace {

using R = CommandRule;
using Call = const CommandCall&;

// As the close button: a run under way asks first.
void Exit(Call call) { SendMessageW(call.window, WM_CLOSE, 0, 0); }
void Tab(Call call) { SelectBottomTab(call.command); }
void Column(Call call) { ApplyMainColumnCommand(call.command); }
// An option that only a run or the end of a run reads; a run under way
// reads the follow-ups from the settings as it needs them.
void Option(Call call) { FlipOption(call.command); }

// Enter and Escape reach a dialog window as the commands of its default and
// cancel buttons; the main window has neither and stays as it is.
void DialogKey(Call) {}

// The placeholder of an empty recent-profiles menu is never enabled.
void Placeholder(Call) {}

// Files and folders dropped from the shell are taken as they are; a second
// start's arguments are read as its command line would have been.
void AddPathsFromOutside(Call call) {
  if (!call.paths) return;
  if (call.addPaths) {
    call.addPaths(call.window, *call.paths);
  } else {
    AddPaths(*call.paths);
  }
}

// The import and the save of a profile keep the window busy meanwhile.
void ImportProfileCommand(Call call) {
  WindowBusyScope busy;
  ImportProfile(call.window, L"", false);
}
void SaveProfile(Call call) {
  WindowBusyScope busy;
  SaveProfileCommand(call.window);
}
void RecentProfile(Call call) {
  WindowBusyScope busy;
  ImportRecentProfile(call.window, call.command);
}

// The rows selected in the list that had the focus last, as the rule that
// enables the command reads them.
void ExcludeSelected(Call call) {
  HWND list = LastFocusedList();
  if (!list) return;
  const ExcludeSource source = list == MainItemListView()     ? ExcludeSource::ItemList
                               : list == MainResultListView() ? ExcludeSource::FragmentedFiles
                                                              : ExcludeSource::Errors;
  AddSelectedToExclusions(call.window, list, source, true);
}

// Options that change what a run reads wait for its end; the look of the
// window, the follow-ups and the priority (kept pending during a run) may
// change at any time. An option's row gives its menu item's mark too.
const std::vector<CommandEntry> kTable = {
    {IDOK, IDCANCEL, R::kAlways, DialogKey},
    {kCmdAddPaths, kCmdAddPaths, R::kIdle, AddPathsFromOutside},
    // "File"
    {kCmdAddFiles, kCmdAddFiles, R::kIdle, [](Call call) { AddFilesCommand(call.window); }},
    {kCmdAddFolder, kCmdAddFolder, R::kIdle, [](Call call) { AddFolderCommand(call.window); }},
    {kCmdRemove, kCmdRemove, R::kIdle | R::kFocusSelection, [](Call call) { RemoveSelectedRows(call.window); }},
    {kCmdSaveReport, kCmdSaveReport, R::kIdle | R::kReport, [](Call call) { SaveWindowReport(call.window); }},
    {kCmdExit, kCmdExit, R::kAlways, Exit},
    // "Profili" and the recent profiles
    {kCmdImportProfile, kCmdImportProfile, R::kIdle, ImportProfileCommand},
    {kCmdSaveProfile, kCmdSaveProfile, R::kIdle | R::kItems, SaveProfile},
    {kCmdRecentProfilesDialog, kCmdRecentProfilesDialog, R::kIdle,
     [](Call call) { ShowRecentProfilesDialog(call.window); }},
    {kRecentProfilesPlaceholderId, kRecentProfilesPlaceholderId, R::kNever, Placeholder},
    {kFirstRecentProfileId, kLastRecentProfileId, R::kIdle, RecentProfile},
    // "Azioni"
    {kCmdAnalyzeAll, kCmdAnalyzeAll, R::kIdle | R::kItems, [](Call) { StartWindowRun(RunMode::AnalyseAll); }},
    {kCmdDefragAll, kCmdDefragAll, R::kIdle | R::kItems, [](Call) { StartWindowRun(RunMode::DefragmentAll); }},
    {kCmdStop, kCmdStop, R::kBusy, [](Call) { StopWindowRun(); }},
    {kCmdAnalyzeSelected, kCmdAnalyzeSelected, R::kIdle | R::kItemSelection,
     [](Call) { StartWindowRun(RunMode::AnalyseSelected); }},
    {kCmdDefragSelected, kCmdDefragSelected, R::kIdle | R::kItemSelection,
     [](Call) { StartWindowRun(RunMode::DefragmentSelected); }},
    {kCmdDefragAllFiles, kCmdDefragAllFiles, R::kIdle | R::kItems, [](Call) { StartWindowRun(RunMode::DefragmentAll); }},
    {kCmdDefragSelectedFiles, kCmdDefragSelectedFiles, R::kIdle | R::kMarked,
     [](Call) { StartWindowRun(RunMode::DefragmentMarkedFiles); }},
    {kCmdOpen, kCmdOpen, R::kFocusSelection, [](Call call) { OpenSelected(call.window, false); }},
    {kCmdOpenFromKeyboard, kCmdOpenFromKeyboard, R::kAlways, [](Call call) { OpenSelected(call.window, true); }},
    {kCmdOpenItemFolder, kCmdOpenItemFolder, R::kFocusSelection, [](Call call) { OpenSelectedFolder(call.window); }},
    {kCmdProperties, kCmdProperties, R::kFocusSelection, [](Call call) { ShowSelectedProperties(call.window); }},
    {kCmdFragmentDetails, kCmdFragmentDetails, R::kFocusSelection,
     [](Call call) { ShowSelectedFragmentDetails(call.window); }},
    {kCmdExcludeSelected, kCmdExcludeSelected, R::kIdle | R::kFocusSelection, ExcludeSelected},
    {kCmdSelectAll, kCmdSelectAll, R::kAlways, [](Call) { SelectAllRows(); }},
    {kCmdToggleDefragMark, kCmdToggleDefragMark, R::kIdle | R::kFocusSelection | R::kFocusNotErrors,
     [](Call) { FlipFocusedTicks(); }},
    {kCmdSelectFiles, kCmdInvertSelection, R::kIdle | R::kFragmented, [](Call call) { ChangeAllMarks(call.command); }},
    // "Visualizza": the look of the window, at any time
    {kCmdShowToolbar, kCmdShowToolbar, R::kAlways, [](Call call) { FlipPanel(call.command); }, OptionMarked},
    {kCmdShowInfoPanel, kCmdShowInfoPanel, R::kAlways, [](Call call) { FlipPanel(call.command); }, OptionMarked},
    {kCmdShowStatusBar, kCmdShowStatusBar, R::kAlways, [](Call call) { FlipPanel(call.command); }, OptionMarked},
    {kCmdShowStateIcons, kCmdShowStateIcons, R::kAlways, [](Call) { FlipStateIcons(); }, OptionMarked},
    {kCmdShowSystemIcons, kCmdShowSystemIcons, R::kAlways, [](Call) { FlipSystemIcons(); }, OptionMarked},
    {kCmdFullRow, kCmdFullRow, R::kAlways, [](Call) { FlipFullRow(); }, OptionMarked},
    {kCmdOnTop, kCmdOnTop, R::kAlways, [](Call call) { FlipOnTop(call.window); }, OptionMarked},
    {kCmdFollowItem, kCmdFollowItem, R::kAlways, Option, OptionMarked},
    {kCmdFirstColumn, kCmdDefaultColumns, R::kIdle, Column},
    {kCmdColumnErrorText, kCmdColumnErrorText, R::kIdle, Column},
    {kCmdTabFragmented, kCmdTabErrors, R::kAlways, Tab},
    // "Strumenti"
    {kCmdFilterDialog, kCmdFilterDialog, R::kIdle, [](Call call) { ShowFilterDialog(call.window); }},
    {kCmdHighlightDialog, kCmdHighlightDialog, R::kAlways, [](Call call) { ShowHighlightDialog(call.window); }},
    {kCmdFirstLanguage, kCmdLastLanguage, R::kIdle, [](Call call) { ChooseLanguageCommand(call.command); }},
    {kCmdViewLanguageFile, kCmdViewLanguageFile, R::kAlways, [](Call call) { ShowLanguageFileViewer(call.window); }},
    // "Opzioni"
    {kCmdConfirmPrompts, kCmdConfirmPrompts, R::kAlways, Option, OptionMarked},
    {kCmdQuickStrategy, kCmdSmartStrategy, R::kIdle, [](Call call) { ChooseStrategy(call.command); }, OptionMarked},
    {kCmdDiskCheckAuto, kCmdDiskCheckAsk, R::kIdle, [](Call call) { ChooseDiskCheck(call.command); }, OptionMarked},
    {kCmdCleanupAuto, kCmdCleanupAsk, R::kIdle, [](Call call) { ChooseCleanup(call.command); }, OptionMarked},
    {kCmdCleanupShowErrors, kCmdCleanupShowErrors, R::kIdle, Option, OptionMarked},
    {kCmdPriorityHigh, kCmdPriorityIdle, R::kAlways, [](Call call) { ChoosePriority(call.command); }, OptionMarked},
    {kCmdSkipSolidState, kCmdSkipSolidState, R::kIdle | R::kSolidStateDetection, [](Call) { FlipSkipSolidState(); },
     OptionMarked},
    {kCmdNoSolidStateDetection, kCmdNoSolidStateDetection, R::kIdle, [](Call) { FlipNoSolidStateDetection(); },
     OptionMarked},
    {kCmdCloseAfterDefrag, kCmdCloseAfterDefrag, R::kAlways, Option, OptionMarked},
    {kCmdShutdownAfterDefrag, kCmdShutdownAfterDefrag, R::kAlways, Option, OptionMarked},
    // "?"
    {kCmdCommandLineHelp, kCmdCommandLineHelp, R::kAlways, [](Call call) { ShowCommandLineDialog(call.window); }},
    {kCmdWarrantyDisclaimer, kCmdWarrantyDisclaimer, R::kAlways, [](Call call) { ShowWarrantyDialog(call.window); }},
    {kCmdAbout, kCmdAbout, R::kAlways, [](Call call) { ShowAboutDialog(call.window); }},
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

bool DispatchCommand(const CommandCall& call) {
  const CommandEntry* entry = FindCommand(call.command);
  if (!entry) {
    ShowMessageText(call.window, kMsgIconError,
                    FormatWithStrings(Text(kStrUnknownCommand, L"Il comando %s non è noto al programma."),
                                      {std::to_wstring(call.command)}));
    return false;
  }
  if (!CommandAllowed(*entry, CurrentCommandContext())) return false;
  entry->handler(call);
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
    if (entry && entry->marked) {
      CheckMenuItem(menu, i, MF_BYPOSITION | (entry->marked(id) ? MF_CHECKED : MF_UNCHECKED));
    }
  }
}
