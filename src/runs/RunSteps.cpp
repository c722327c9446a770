#include "runs/RunSteps.h"

#include "app/RunFlags.h"
#include "engine/Relocation.h"
#include "engine/SolidState.h"
#include "items/ItemList.h"
#include "runs/FolderWalk.h"
#include "runs/RunHooks.h"
#include "settings/Settings.h"

namespace {

bool ToBeProcessed(const ItemRecord& record) {
  return (record.flags & ItemFlags::kToProcess) && !(record.flags & ItemFlags::kSkipped);
}

}  // namespace

uint64_t MarkItemsOnSolidStateDrives(bool& detected) {
  detected = false;
  const uint32_t flags = gSettings.solidStateFlags;
  if (flags & kSolidStateNoDetection) return 0;
  if (gRunHooks.setBusyState) gRunHooks.setBusyState(kBusyCheckingDrives);
  bool used[26] = {};
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    const std::wstring& path = node->record.path;
    if (path.empty()) continue;
    // A character below "[" counts from "A", any other from "a".
    const int index = path[0] < L'[' ? int(path[0]) - 'A' : int(path[0]) - 'a';
    if (index >= 0 && index < 26) used[index] = true;
  }
  uint64_t count = 0;
  for (int index = 0; index < 26; ++index) {
    const wchar_t letter = wchar_t(L'A' + index);
    if (!used[index] || !IsSolidStateVolume(letter)) continue;
    detected = true;
    for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
      ItemRecord& record = node->record;
      if (!ToBeProcessed(record) || record.path.empty() || record.path[0] != letter) continue;
      ++count;
      if (flags & kSolidStateSkip) record.flags = (record.flags | ItemFlags::kSkipped) & ~ItemFlags::kToProcess;
    }
  }
  if (gRunHooks.setBusyState) gRunHooks.setBusyState(kBusyIdle);
  if (gRunHooks.redrawItems) gRunHooks.redrawItems();
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
