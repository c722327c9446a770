#include "ui/OptionCommands.h"

#include "options/CommandLine.h"
#include "options/RunFlags.h"
#include "engine/Relocation.h"
#include "runs/RunDriver.h"
#include "options/Settings.h"
#include "options/CommandIds.h"
#include "ui/MainWindow.h"

namespace {

// The field of an option that is one check mark; null for any other command.
bool* OptionFlag(uint32_t command) {
  switch (command) {
    case kCmdOnTop: return &gSettings.onTop;
    case kCmdFullRow: return &gSettings.fullRow;
    case kCmdShowToolbar: return &gSettings.showToolbar;
    case kCmdShowInfoPanel: return &gSettings.showInfoPanel;
    case kCmdShowStatusBar: return &gSettings.showStatusBar;
    case kCmdShowStateIcons: return &gSettings.showStateIcons;
    case kCmdShowSystemIcons: return &gSettings.showSystemIcons;
    case kCmdFollowItem: return &gSettings.followUps.followItem;
    case kCmdConfirmPrompts: return &gSettings.confirmPrompts;
    case kCmdCleanupShowErrors: return &gSettings.cleanupShowErrors;
    case kCmdCloseAfterDefrag: return &gSettings.followUps.closeAfterDefrag;
    case kCmdShutdownAfterDefrag: return &gSettings.followUps.shutdownAfterDefrag;
    default: return nullptr;
  }
}

bool Flip(uint32_t command) {
  bool* flag = OptionFlag(command);
  *flag = !*flag;
  return *flag;
}

void FlipSolidStateBit(uint32_t bit) { gSettings.solidStateFlags ^= bit; }

void ApplyStrategy() {
  if (gSettings.smartStrategy) {
    gEngine.flags |= kSmartStrategy;
  } else {
    gEngine.flags &= ~kSmartStrategy;
  }
}

void SetOnTop(HWND window, bool onTop, UINT extraFlags) {
  SetWindowPos(window, onTop ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | extraFlags);
}

void ApplyPanels() {
  ShowMainPanels(gSettings.showToolbar, gSettings.showInfoPanel, gSettings.showStatusBar);
}

}  // namespace

bool OptionMarked(uint32_t command) {
  if (const bool* flag = OptionFlag(command)) return *flag;
  switch (command) {
    case kCmdSkipSolidState: return (gSettings.solidStateFlags & kSolidStateSkip) != 0;
    case kCmdNoSolidStateDetection: return (gSettings.solidStateFlags & kSolidStateNoDetection) != 0;
    case kCmdQuickStrategy: return !gSettings.smartStrategy;
    case kCmdSmartStrategy: return gSettings.smartStrategy;
    default:
      return command == gSettings.diskCheck || command == gSettings.cleanup || command == gSettings.priority;
  }
}

bool ApplyProcessPriority(uint32_t command) {
  DWORD priorityClass = 0;
  switch (command) {
    case kCmdPriorityHigh: priorityClass = HIGH_PRIORITY_CLASS; break;
    case kCmdPriorityAboveNormal: priorityClass = ABOVE_NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityNormal: priorityClass = NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityBelowNormal: priorityClass = BELOW_NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityIdle: priorityClass = IDLE_PRIORITY_CLASS; break;
    default: return false;
  }
  return SetPriorityClass(GetCurrentProcess(), priorityClass) != FALSE;
}

uint32_t SetProcessPriority(uint32_t command) {
  if (!ApplyProcessPriority(command)) return 0;
  gSettings.priority = command;
  // A run applies a pending choice between two items: the mark follows now.
  RefreshCommandStates();
  return 1;
}

void FlipOnTop(HWND window) {
  SetOnTop(window, Flip(kCmdOnTop), 0);
  gApp.runFlags &= ~kRunOnTop;
}

void FlipFullRow() {
  SetFullRowSelect(Flip(kCmdFullRow));
  gApp.runFlags &= ~kRunFullRow;
}

void FlipOption(unsigned command) { Flip(command); }

void FlipPanel(unsigned command) {
  Flip(command);
  ApplyPanels();
}

void FlipStateIcons() { SetStateIconsShown(Flip(kCmdShowStateIcons)); }

void FlipSystemIcons() {
  Flip(kCmdShowSystemIcons);
  InvalidateRect(MainItemListView(), nullptr, FALSE);
}

void FlipSkipSolidState() { FlipSolidStateBit(kSolidStateSkip); }

// Its rule greys "skip solid-state drives" while detection is off.
void FlipNoSolidStateDetection() { FlipSolidStateBit(kSolidStateNoDetection); }

void ChooseStrategy(unsigned command) {
  gSettings.smartStrategy = command == kCmdSmartStrategy;
  ApplyStrategy();
  gApp.runFlags &= ~kRunQuick;
}

void ChooseDiskCheck(unsigned command) {
  gSettings.diskCheck = command;
  gApp.runFlags &= ~kRunDiskCheckGiven;
}

void ChooseCleanup(unsigned command) {
  gSettings.cleanup = command;
  gApp.runFlags &= ~kRunCleanupGiven;
}

void ChoosePriority(unsigned command) {
  // A run takes the new priority between two items.
  if (gRunState.running) {
    gRunState.pendingPriority = command;
  } else {
    SetProcessPriority(command);
  }
}

void ApplyOptions() {
  HWND window = MainWindowHandle();
  if (gSettings.onTop) SetOnTop(window, true, SWP_NOACTIVATE);
  SetFullRowSelect(gSettings.fullRow);
  SetStateIconsShown(gSettings.showStateIcons);
  ApplyStrategy();
  ApplyPanels();
  RefreshCommandStates();
}

void ApplyCommandLineOptions(unsigned runFlags, const CommandLineChoices& choices) {
  if (runFlags & kRunFullRow) {
    gSettings.fullRow = true;
    SetFullRowSelect(true);
  }
  if (runFlags & kRunQuick) {
    gSettings.smartStrategy = false;
    ApplyStrategy();
  }
  if (runFlags & kRunNoPrompt) gSettings.confirmPrompts = false;
  if (runFlags & kRunNoScroll) gSettings.followUps.followItem = false;
  if (choices.diskCheckCommand) gSettings.diskCheck = choices.diskCheckCommand;
  if (choices.cleanupCommand) gSettings.cleanup = choices.cleanupCommand;
  RefreshCommandStates();
}
