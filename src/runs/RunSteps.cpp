#include "runs/RunSteps.h"

#include "engine/Relocation.h"
#include "engine/SolidState.h"
#include "items/ItemList.h"
#include "runs/FolderWalk.h"
#include "runs/RunOptions.h"
#include "runs/RunUi.h"
#include "settings/Settings.h"

namespace {

bool ToBeProcessed(const ItemRecord& record) {
  return (record.flags & ItemFlags::kToProcess) && !(record.flags & ItemFlags::kSkipped);
}

}  // namespace

uint64_t MarkItemsOnSolidStateDrives(RunUi& ui, const RunOptions& options, bool& detected) {
  detected = false;
  const uint32_t flags = options.solidStateFlags;
  if (flags & kSolidStateNoDetection) return 0;
  ui.SetBusyState(kBusyCheckingDrives);
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
  ui.SetBusyState(kBusyIdle);
  ui.RedrawItems();
  return count;
}

bool AskSolidStateWarning(RunUi& ui, const RunOptions& options, bool detected) {
  const uint32_t flags = options.solidStateFlags;
  if (!(flags & kSolidStateWarn) || (flags & kSolidStateSkip) || (flags & kSolidStateNoDetection) || !detected) {
    return false;
  }
  if (options.unattended) return false;
  return ui.SolidStateWarning();
}

DefragSteps StepsForThisRun(const DefragSteps& stored, bool unattended, bool diskCheckGiven, bool cleanupGiven) {
  DefragSteps steps = stored;
  if (unattended) {
    if (!diskCheckGiven) steps.diskCheck = kDiskCheckOff;
    if (!cleanupGiven) steps.cleanup = kCleanupOff;
  }
  return steps;
}

StepEnd RunDiskCheckStep(RunUi& ui, const RunOptions& options) {
  if (options.diskCheck == kDiskCheckOff) return StepEnd::GoOn;
  const int result = ui.DiskCheck(options.diskCheck == kDiskCheckAuto);
  if (result == kDiskCheckCancelled) return StepEnd::Stop;
  if (!(result & kDiskCheckErrorsFound)) return StepEnd::GoOn;
  const bool close = options.unattended || ui.CloseForDiskErrors();
  return close ? StepEnd::StopForDiskErrors : StepEnd::GoOn;
}

bool RunCleanupStep(RunUi& ui, const RunOptions& options) {
  if (options.cleanup == kCleanupOff) return true;
  if (ui.Cleanup(options.cleanup == kCleanupAuto)) return true;
  RequestStop();
  return false;
}
