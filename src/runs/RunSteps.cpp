#include "runs/RunSteps.h"

#include <algorithm>

#include "engine/Relocation.h"
#include "engine/SolidState.h"
#include "items/ItemList.h"
#include "runs/FolderWalk.h"
#include "runs/RunOptions.h"
#include "runs/RunUi.h"
#include "options/Settings.h"
#include "util/WideString.h"

namespace {

bool ToBeProcessed(const ItemRecord& record) {
  return (record.flags & ItemFlags::kToProcess) && !(record.flags & ItemFlags::kSkipped);
}

}  // namespace

namespace {

// Asks each used drive letter once; `used` becomes whether it is a
// solid-state drive.
bool FindSolidStateDrives(RunUi& ui, bool (&used)[26]) {
  bool detected = false;
  ui.SetBusyState(kBusyCheckingDrives);
  for (int index = 0; index < 26; ++index) {
    used[index] = used[index] && IsSolidStateVolume(wchar_t(L'A' + index));
    detected = detected || used[index];
  }
  ui.SetBusyState(kBusyIdle);
  return detected;
}

int LetterIndex(wchar_t first) {
  // A character below "[" counts from "A", any other from "a".
  const int index = first < L'[' ? int(first) - 'A' : int(first) - 'a';
  return index >= 0 && index < 26 ? index : -1;
}

}  // namespace

uint64_t MarkItemsOnSolidStateDrives(RunUi& ui, const RunOptions& options, bool& detected) {
  detected = false;
  const uint32_t flags = options.solidStateFlags;
  if (flags & kSolidStateNoDetection) return 0;
  bool used[26] = {};
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    const std::wstring& path = node->record.path;
    if (path.empty()) continue;
    if (const int index = LetterIndex(path[0]); index >= 0) used[index] = true;
  }
  detected = FindSolidStateDrives(ui, used);
  uint64_t count = 0;
  for (int index = 0; index < 26; ++index) {
    const wchar_t letter = wchar_t(L'A' + index);
    if (!used[index]) continue;
    for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
      ItemRecord& record = node->record;
      if (!ToBeProcessed(record) || record.path.empty() || record.path[0] != letter) continue;
      ++count;
      if (flags & kSolidStateSkip) record.flags = (record.flags | ItemFlags::kSkipped) & ~ItemFlags::kToProcess;
    }
  }
  ui.RedrawItems();
  return count;
}

uint64_t DropFilesOnSolidStateDrives(RunUi& ui, const RunOptions& options, std::vector<FragmentedFileRecord>& files,
                                     bool& detected) {
  detected = false;
  const uint32_t flags = options.solidStateFlags;
  if (flags & kSolidStateNoDetection) return 0;
  bool used[26] = {};
  for (const FragmentedFileRecord& file : files) {
    if (file.path.empty()) continue;
    if (const int index = LetterIndex(UpperCaseUnit(file.path[0])); index >= 0) used[index] = true;
  }
  detected = FindSolidStateDrives(ui, used);
  auto onSolidState = [&used](const FragmentedFileRecord& file) {
    if (file.path.empty()) return false;
    const int index = LetterIndex(UpperCaseUnit(file.path[0]));
    return index >= 0 && used[index];
  };
  const uint64_t count = static_cast<uint64_t>(std::count_if(files.begin(), files.end(), onSolidState));
  if (flags & kSolidStateSkip) files.erase(std::remove_if(files.begin(), files.end(), onSolidState), files.end());
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
