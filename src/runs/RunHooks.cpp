#include "runs/RunHooks.h"

#include "util/DateText.h"

RunHooks gRunHooks = PortableRunHooks();

RunHooks PortableRunHooks() {
  RunHooks hooks;
  hooks.dateTexts = [](uint64_t ticks, std::wstring& date, std::wstring& time) {
    CivilTime civil = CivilFromTicks(ticks);
    date = FixedDateText(civil);
    time = FixedTimeText(civil);
  };
  return hooks;
}

std::vector<std::string> MissingRunHooks(const RunHooks& hooks) {
  std::vector<std::string> missing;
  auto need = [&missing](bool present, const char* name) {
    if (!present) missing.push_back(name);
  };
  need(bool(hooks.rowSelected), "rowSelected");
  need(bool(hooks.scrollToRow), "scrollToRow");
  need(bool(hooks.redrawRow), "redrawRow");
  need(bool(hooks.redrawItems), "redrawItems");
  need(bool(hooks.refreshCounters), "refreshCounters");
  need(bool(hooks.refreshErrors), "refreshErrors");
  need(bool(hooks.cacheIcon), "cacheIcon");
  need(bool(hooks.updateStatus), "updateStatus");
  need(bool(hooks.runLayout), "runLayout");
  need(bool(hooks.enableResultTabs), "enableResultTabs");
  need(bool(hooks.enableRunMenus), "enableRunMenus");
  need(bool(hooks.enableSaveReport), "enableSaveReport");
  need(bool(hooks.clipChildren), "clipChildren");
  need(bool(hooks.taskbarProgress), "taskbarProgress");
  need(bool(hooks.setBusyState), "setBusyState");
  need(bool(hooks.hiddenStatus), "hiddenStatus");
  need(bool(hooks.setHiddenStatus), "setHiddenStatus");
  need(bool(hooks.bringToFront), "bringToFront");
  need(bool(hooks.optionChecked), "optionChecked");
  need(bool(hooks.diskCheckChoice), "diskCheckChoice");
  need(bool(hooks.cleanupChoice), "cleanupChoice");
  need(bool(hooks.diskCheckDialog), "diskCheckDialog");
  need(bool(hooks.closeForDiskErrors), "closeForDiskErrors");
  need(bool(hooks.cleanupDialog), "cleanupDialog");
  need(bool(hooks.solidStateWarning), "solidStateWarning");
  need(bool(hooks.showSummary), "showSummary");
  need(bool(hooks.shutdownDialog), "shutdownDialog");
  need(bool(hooks.requestExit), "requestExit");
  need(bool(hooks.applyPriority), "applyPriority");
  need(bool(hooks.dateTexts), "dateTexts");
  // fileOutcome is for the programs that list every file.
  return missing;
}
