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
