#include "runs/RunOptions.h"

#include "options/RunFlags.h"

RunOptions RunOptionsFrom(const Settings& settings, uint32_t runFlags) {
  RunOptions options;
  options.unattended = (runFlags & kRunNoGui) != 0;
  options.analyse = (runFlags & kRunAnalyze) != 0;
  options.defragment = (runFlags & kRunDefrag) != 0;
  options.close = (runFlags & kRunClose) != 0;
  options.closeIfOk = (runFlags & kRunCloseIfOk) != 0;
  options.shutdown = (runFlags & kRunShutdown) != 0;
  options.showReport = (runFlags & kRunShowReport) != 0;
  options.allowAbort = (runFlags & kRunAllowAbort) != 0;
  options.followUps = &settings.followUps;
  const DefragSteps steps =
      StepsForThisRun({settings.diskCheck, settings.cleanup}, options.unattended,
                      (runFlags & kRunDiskCheckGiven) != 0, (runFlags & kRunCleanupGiven) != 0);
  options.diskCheck = steps.diskCheck;
  options.cleanup = steps.cleanup;
  options.solidStateFlags = settings.solidStateFlags;
  return options;
}
