#include "settings/win32/OptionCommands.h"

#include "app/CommandLine.h"
#include "app/RunFlags.h"
#include "app/win32/ProcessControl.h"
#include "engine/Relocation.h"
#include "runs/RunDriver.h"
#include "settings/Settings.h"
#include "settings/win32/Language.h"
#include "settings/win32/LoadSaveSettings.h"
#include "ui/CommandIds.h"
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

bool HandleOptionCommand(HWND window, unsigned command) {
  switch (command) {
    case kCmdOnTop:
      SetOnTop(window, Flip(command));
      gApp.runFlags &= ~kRunOnTop;
      return true;
    case kCmdFullRow:
      SetFullRowSelect(Flip(command));
      gApp.runFlags &= ~kRunFullRow;
      return true;
    case kCmdConfirmPrompts:
    case kCmdCloseAfterDefrag:
    case kCmdShutdownAfterDefrag:
    case kCmdFollowItem:
    case kCmdCleanupShowErrors:
      Flip(command);
      return true;
    case kCmdShowToolbar:
    case kCmdShowInfoPanel:
    case kCmdShowStatusBar:
      Flip(command);
      ApplyPanelMarks();
      return true;
    case kCmdShowStateIcons:
      SetStateIconsShown(Flip(command));
      return true;
    case kCmdShowSystemIcons:
      gSettings.showSystemIcons = Flip(command);
      InvalidateRect(MainItemListView(), nullptr, FALSE);
      return true;
    case kCmdSkipSolidState:
      SetSolidStateBit(kSolidStateSkip, Flip(command));
      return true;
    case kCmdNoSolidStateDetection: {
      bool off = Flip(command);
      SetSolidStateBit(kSolidStateNoDetection, off);
      EnableMenuItem(GetMenu(window), kCmdSkipSolidState, MF_BYCOMMAND | (off ? MF_GRAYED : MF_ENABLED));
      return true;
    }
    case kCmdQuickStrategy:
    case kCmdSmartStrategy:
      SetStrategy(command);
      gApp.runFlags &= ~kRunQuick;
      return true;
    case kCmdDiskCheckAuto:
    case kCmdDiskCheckOff:
    case kCmdDiskCheckAsk:
      SetRadio(kCmdDiskCheckAuto, kCmdDiskCheckAsk, command);
      gApp.runFlags &= ~kRunDiskCheckGiven;
      return true;
    case kCmdCleanupAuto:
    case kCmdCleanupOff:
    case kCmdCleanupAsk:
      SetRadio(kCmdCleanupAuto, kCmdCleanupAsk, command);
      gApp.runFlags &= ~kRunCleanupGiven;
      return true;
    case kCmdPriorityHigh:
    case kCmdPriorityAboveNormal:
    case kCmdPriorityNormal:
    case kCmdPriorityBelowNormal:
    case kCmdPriorityIdle:
      // A run takes the new priority between two items.
      if (gRunState.running) {
        gRunState.pendingPriority = command;
      } else {
        SetProcessPriority(command);
      }
      return true;
    case kCmdViewLanguageFile:
      ShowLanguageFileViewer(window);
      return true;
  }
  if (command >= kCmdFirstLanguage && command <= kCmdLastLanguage) return ChooseLanguageCommand(command);
  return false;
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
