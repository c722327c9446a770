#include "runs/RunSteps.h"

#include <cwctype>

#include "app/RunFlags.h"
#include "engine/Relocation.h"
#include "items/ItemList.h"
#include "runs/FolderWalk.h"
#include "runs/RunHooks.h"
#include "settings/Settings.h"

namespace {

wchar_t DriveLetterOf(const ItemRecord& record) {
  return record.path.empty() ? L'\0' : wchar_t(std::towupper(std::wint_t(record.path[0])));
}

bool ToBeProcessed(const ItemRecord& record) {
  return (record.flags & ItemFlags::kToProcess) && !(record.flags & ItemFlags::kSkipped);
}

}  // namespace

bool IsSolidStateDrive(wchar_t) { return false; }

uint64_t CountSolidStateItems(bool skip, bool& detected) {
  if (gRunHooks.countSolidState) return gRunHooks.countSolidState(skip, detected);
  detected = false;
  bool asked[26] = {};
  bool solid[26] = {};
  uint64_t count = 0;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    ItemRecord& record = node->record;
    const wchar_t letter = DriveLetterOf(record);
    if (!ToBeProcessed(record) || letter < L'A' || letter > L'Z') continue;
    const int index = letter - L'A';
    if (!asked[index]) {
      asked[index] = true;
      solid[index] = IsSolidStateDrive(letter);
      detected = detected || solid[index];
    }
    if (!solid[index]) continue;
    ++count;
    if (skip) record.flags = (record.flags | ItemFlags::kSkipped) & ~ItemFlags::kToProcess;
  }
  return count;
}

bool AskSolidStateWarning(bool detected) {
  const uint32_t flags = gSettings.solidStateFlags;
  if ((flags & kSolidStateSkip) || (flags & kSolidStateNoDetection) || !detected) return false;
  return gRunHooks.solidStateWarning && gRunHooks.solidStateWarning();
}

DefragSteps StepsForThisRun() {
  DefragSteps steps;
  steps.diskCheck = gRunHooks.diskCheckChoice ? gRunHooks.diskCheckChoice() : kDiskCheckOff;
  steps.cleanup = gRunHooks.cleanupChoice ? gRunHooks.cleanupChoice() : kCleanupOff;
  if (gApp.runFlags & kRunNoGui) {
    if (!(gApp.runFlags & kRunDiskCheckGiven)) steps.diskCheck = kDiskCheckOff;
    if (!(gApp.runFlags & kRunCleanupGiven)) steps.cleanup = kCleanupOff;
  }
  return steps;
}

bool RunDiskCheckStep(uint32_t choice) {
  if (choice == kDiskCheckOff) return true;
  if (gRunHooks.setHiddenStatus) gRunHooks.setHiddenStatus(std::wstring());
  // Without the dialog there is nothing to check with: the run goes on.
  if (!gRunHooks.diskCheckDialog) return true;
  const int result = gRunHooks.diskCheckDialog();
  if (result == kDiskCheckCancelled) return false;
  if (!(result & kDiskCheckErrorsFound)) return true;
  const bool close = (gApp.runFlags & kRunNoGui) ||
                     (gRunHooks.closeForDiskErrors && gRunHooks.closeForDiskErrors());
  if (!close) return true;
  if (gRunHooks.setHiddenStatus) gRunHooks.setHiddenStatus(kDiskCheckErrorsMarker);
  return false;
}

bool RunCleanupStep(uint32_t choice) {
  if (choice == kCleanupOff || !gRunHooks.cleanupDialog) return true;
  if (gRunHooks.cleanupDialog()) return true;
  RequestStop();
  return false;
}
