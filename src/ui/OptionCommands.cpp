#include "ui/OptionCommands.h"

#include "options/CommandLine.h"
#include "options/RunFlags.h"
#include "engine/Relocation.h"
#include "runs/RunDriver.h"
#include "options/Settings.h"
#include "ui/Language.h"
#include "ui/LoadSaveSettings.h"
#include "options/CommandIds.h"
#include "ui/MainWindow.h"

namespace {

bool Flip(unsigned command) {
  bool checked = !IsMenuChecked(command);
  SetMenuChecked(command, checked);
  return checked;
}

void SetSolidStateBit(uint32_t bit, bool on) {
  if (on) {
    gSettings.solidStateFlags |= bit;
  } else {
    gSettings.solidStateFlags &= ~bit;
  }
}

void SetRadio(unsigned first, unsigned last, unsigned command) {
  CheckMenuRadioItem(GetMenu(MainWindowHandle()), first, last, command, MF_BYCOMMAND);
}

void SetStrategy(unsigned command) {
  SetRadio(kCmdQuickStrategy, kCmdSmartStrategy, command);
  if (command == kCmdSmartStrategy) {
    gEngine.flags |= kSmartStrategy;
  } else {
    gEngine.flags &= ~kSmartStrategy;
  }
}

void SetOnTop(HWND window, bool onTop) {
  SetWindowPos(window, onTop ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
}

}  // namespace

uint32_t SetProcessPriority(uint32_t command) {
  DWORD priorityClass = 0;
  switch (command) {
    case kCmdPriorityHigh: priorityClass = HIGH_PRIORITY_CLASS; break;
    case kCmdPriorityAboveNormal: priorityClass = ABOVE_NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityNormal: priorityClass = NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityBelowNormal: priorityClass = BELOW_NORMAL_PRIORITY_CLASS; break;
    case kCmdPriorityIdle: priorityClass = IDLE_PRIORITY_CLASS; break;
    default: return 0;
  }
  if (!SetPriorityClass(GetCurrentProcess(), priorityClass)) return 0;
  if (HMENU menu = GetMenu(MainWindowHandle())) {
    CheckMenuRadioItem(menu, kCmdPriorityHigh, kCmdPriorityIdle, command, MF_BYCOMMAND);
  }
  return 1;
}

void FlipOnTop(HWND window) {
  SetOnTop(window, Flip(kCmdOnTop));
  gApp.runFlags &= ~kRunOnTop;
}

void FlipFullRow() {
  SetFullRowSelect(Flip(kCmdFullRow));
  gApp.runFlags &= ~kRunFullRow;
}

void FlipMark(unsigned command) { Flip(command); }

void FlipPanel(unsigned command) {
  Flip(command);
  ApplyPanelMarks();
}

void FlipStateIcons() { SetStateIconsShown(Flip(kCmdShowStateIcons)); }

void FlipSystemIcons() {
  gSettings.showSystemIcons = Flip(kCmdShowSystemIcons);
  InvalidateRect(MainItemListView(), nullptr, FALSE);
}

void FlipSkipSolidState() { SetSolidStateBit(kSolidStateSkip, Flip(kCmdSkipSolidState)); }

void FlipNoSolidStateDetection(HWND window) {
  bool off = Flip(kCmdNoSolidStateDetection);
  SetSolidStateBit(kSolidStateNoDetection, off);
  EnableMenuItem(GetMenu(window), kCmdSkipSolidState, MF_BYCOMMAND | (off ? MF_GRAYED : MF_ENABLED));
}

void ChooseStrategy(unsigned command) {
  SetStrategy(command);
  gApp.runFlags &= ~kRunQuick;
}

void ChooseDiskCheck(unsigned command) {
  SetRadio(kCmdDiskCheckAuto, kCmdDiskCheckAsk, command);
  gApp.runFlags &= ~kRunDiskCheckGiven;
}

void ChooseCleanup(unsigned command) {
  SetRadio(kCmdCleanupAuto, kCmdCleanupAsk, command);
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

void ApplyPanelMarks() {
  ShowMainPanels(IsMenuChecked(kCmdShowToolbar), IsMenuChecked(kCmdShowInfoPanel), IsMenuChecked(kCmdShowStatusBar));
}

void ApplyCommandLineMarks(unsigned runFlags, const CommandLineChoices& choices) {
  if (runFlags & kRunFullRow) {
    SetMenuChecked(kCmdFullRow, true);
    SetFullRowSelect(true);
  }
  if (runFlags & kRunQuick) SetStrategy(kCmdQuickStrategy);
  if (runFlags & kRunNoPrompt) SetMenuChecked(kCmdConfirmPrompts, false);
  if (runFlags & kRunNoScroll) SetMenuChecked(kCmdFollowItem, false);
  if (choices.diskCheckCommand) SetRadio(kCmdDiskCheckAuto, kCmdDiskCheckAsk, choices.diskCheckCommand);
  if (choices.cleanupCommand) SetRadio(kCmdCleanupAuto, kCmdCleanupAsk, choices.cleanupCommand);
}
