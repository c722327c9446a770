#include "ui/PreRunSteps.h"

#include "options/Settings.h"
#include "runs/RunUi.h"
#include "runs/RunSteps.h"
#include "ui/CleanupDialog.h"
#include "ui/DiskCheckDialog.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/dialogs/MessageDialog.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

constexpr int kKeepOff = 100;     // "&Non deframmentare"
constexpr int kGoOnAnyway = 200;  // "&Deframmenta comunque"
constexpr int kSolidStateWarningWidth = 480;

}  // namespace

bool SolidStateWarningDialog(HWND owner) {
  const std::wstring text = std::wstring(L"<b>") + Text(kStrSolidStateHeading, L"Rilevato disco SSD") + L"</b>\r\n\r\n" +
                            Text(kStrSolidStateText,
                                 L"Le prestazioni delle unità a stato solido non sono influenzate dalla frammentazione "
                                 L"dei dati. Le numerose operazioni di scrittura effettuate durante la deframmentazione "
                                 L"dei file potrebbero ridurre la durata dell'unità. Si consiglia pertanto di non "
                                 L"deframmentare i file memorizzati sulle unità a stato solido.");
  const std::vector<MessageButton> buttons = {
      {kKeepOff, Text(kStrSolidStateKeepOff, L"&Non deframmentare")},
      {kGoOnAnyway, Text(kStrSolidStateGoOn, L"&Deframmenta comunque")}};
  const int result = RunMessageDialogWithButtons(owner, kMsgIconWarning, text,
                                                 Text(kStrSolidStateTitle, L"Disco SSD"), buttons,
                                                 kSolidStateWarningWidth);
  return result == kKeepOff;
}

int DiskCheckForRun(HWND owner, bool automatic, bool unattended) {
  if (unattended) return RunDiskCheckUnattended();
  return RunDiskCheckDialog(owner, automatic);
}

bool CloseForDiskErrorsQuestion(HWND owner) {
  const int answer = ShowMessageBox(
      owner, kMsgIconWarning | kMsgContinueQuit, kStrDiskErrorsQuestion,
      L"Sono stati rilevati errori durante il controllo di coerenza sul disco. Si consiglia di chiudere Ordalis e "
      L"correggere gli errori. In alternativa, è possibile continuare normalmente.");
  return answer == kMsgResultQuit;
}

bool CleanupForRun(HWND owner, bool automatic, bool unattended) {
  const int result = unattended ? RunCleanupUnattended() : RunCleanupDialog(owner, automatic);
  return result != kCleanupResultCancelled;
}

// A choice made in a dialog shows in the menu at once.
uint32_t DiskCheckChoice() { return gSettings.diskCheck; }
void SetDiskCheckChoice(uint32_t command) {
  gSettings.diskCheck = command;
  RefreshCommandStates();
}
uint32_t CleanupChoice() { return gSettings.cleanup; }
void SetCleanupChoice(uint32_t command) {
  gSettings.cleanup = command;
  RefreshCommandStates();
}

