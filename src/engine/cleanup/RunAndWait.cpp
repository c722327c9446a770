#include "engine/cleanup/RunAndWait.h"

#include <windows.h>

#include <vector>

#include "engine/Cleanup.h"
#include "engine/EngineUi.h"
#include "engine/Relocation.h"
#include "util/win32/Win32Handle.h"

namespace {

constexpr DWORD kIdleWaitMs = 1500;

// Blocks until the process ends or input arrives, handling the window's
// messages after each wake. False when a quit message came first (the pump
// posts it again for the message loop), or when a stop was asked for among
// the messages handled ("Annulla"): the program then goes on by itself, the
// window no longer waits for it.
bool WaitWithMessages(MessagePump& pump, HANDLE process) {
  for (;;) {
    const DWORD woke = MsgWaitForMultipleObjectsEx(1, &process, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    if (woke == WAIT_OBJECT_0) return true;
    if (woke == WAIT_FAILED) return WaitForSingleObject(process, INFINITE) == WAIT_OBJECT_0;
    if (!pump.PumpMessages()) return false;
    if (gEngine.flags.load() & kStopRequested) return false;
  }
}

}  // namespace

int RunAndWait(MessagePump& pump, const std::wstring& program, const std::wstring& parameters, int showCommand, bool wait) {
  // The program's path goes in as the application name, never to be split at
  // a blank by the system's search for the program.
  const ProgramLaunch launch = LaunchOf(program, parameters);
  std::vector<wchar_t> commandLine(launch.commandLine.begin(), launch.commandLine.end());
  commandLine.push_back(L'\0');
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = static_cast<WORD>(showCommand);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(launch.applicationName.c_str(), commandLine.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS,
                      nullptr, nullptr, &startup, &process)) {
    return 0;
  }
  const UniqueHandle thread(process.hThread);
  const UniqueHandle child(process.hProcess);
  WaitForInputIdle(child.Get(), kIdleWaitMs);
  const bool ended = wait && WaitWithMessages(pump, child.Get());
  return ended ? 1 : 0;
}
