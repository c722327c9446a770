// The program's entry point: one process, one main window, one message loop.
#include <windows.h>
#include <commctrl.h>
#include <objbase.h>

#include "options/RunFlags.h"
#include "app/win32/Console.h"
#include "app/win32/PathHandOver.h"
#include "app/win32/ProcessControl.h"
#include "app/win32/SingleInstance.h"
#include "app/win32/Startup.h"
#include "engine/probes/Win32DeviceRequests.h"
#include "ui/dialogs/CrashReportDialog.h"
#include "engine/EngineThread.h"
#include "engine/win32/Win32FileQueries.h"
#include "engine/win32/Win32VolumeAccess.h"
#ifdef ORDALIS_SIMULATED_VOLUME
#include "app/win32/sim/SimSwitches.h"
#include "engine/sim/SimDrives.h"
#include "engine/sim/SimEnvironment.h"
#endif
#include "items/ItemList.h"
#include "ui/LoadSaveSettings.h"
#include "ui/OptionCommands.h"
#include "res/ResourceIds.h"
#include "ui/RunWindow.h"
#include "ui/Commands.h"
#include "ui/MainWindow.h"
#include "ui/ProfileCommands.h"
#include "util/SharedLock.h"
#include "util/win32/SystemLibrary.h"
#include "util/Tag.h"
#include "util/Text.h"

#ifdef ORDALIS_SIMULATED_VOLUME
// Outside the program's own exit codes, so a test cannot mistake it for one.
constexpr int kSimVolumeMissingExitCode = 70;
#endif

namespace {

struct MessageLoop {
  int exitCode;
};

void RunMessageLoop(void* argument) {
  MessageLoop& loop = *static_cast<MessageLoop*>(argument);
  MSG message{};
  for (;;) {
    BOOL got = GetMessageW(&message, nullptr, 0, 0);
    if (got == 0) {
      loop.exitCode = static_cast<int>(message.wParam);
      break;
    }
    if (got == -1) break;
    if (!TranslateMainWindowMessage(message)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
}

// What still runs when a fault ends the program. The settings are not saved:
// what a faulting program holds is not the user's choice.
void CleanUpAfterFault() {
  RestoreErrorMode();
#ifdef ORDALIS_SIMULATED_VOLUME
  WriteSimVolumeEndStateFromEnvironment();
#endif
}

// The program around the main window: its start-up and last steps, and what
// the window's runs ask of the process (exit, power-off, priority, console).
class ProgramShell final : public MainWindowHost, public RunWindowHost {
 public:
  void StartupChecks(HWND window) override { RunStartupChecks(window); }
  void PanelsFailed(HWND window) override { FailWindowPanels(window); }
  // Between the window's layout and the command line come, in this order, the
  // settings file, the exclude and include lists and the language.
  void AfterLayout(HWND window) override {
    InstallRunWindow(window, *this);
#ifdef ORDALIS_SIMULATED_VOLUME
    InstallSimMenuProbe(window);
#endif
    RunCommandLine(window);
  }
  void BeforeDestroy(HWND window) override {
    RestoreErrorMode();
    if (!(gApp.runFlags & kRunNoGui)) SaveSettings();
    // An unattended run leaves no trace on the screen while it ends.
    if (gApp.runFlags & kRunNoGui) SetWindowPos(window, nullptr, -100, -100, 1, 1, SWP_NOZORDER);
  }
  int ExitCode() override { return static_cast<int>(gApp.exitCode); }
  bool CopyData(HWND window, const COPYDATASTRUCT* data) override { return ReceiveHandedPaths(window, data); }

  void RequestExit(uint32_t code) override { ::RequestExit(code); }
  void PowerOff() override { ShutdownMachine(); }
  void SetPriority(uint32_t command) override { SetProcessPriority(command); }
  void ConsoleWrite(const std::wstring& text) override { ConsoleWriteText(text); }
};

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  RestrictLibrarySearchToSystem();
  InstallCrashReport(CleanUpAfterFault);
  INITCOMMONCONTROLSEX controls{sizeof controls, 0x40FF};
  if (!InitCommonControlsEx(&controls)) return 0;
  if (AnotherInstanceTookOver()) return 0;
  SuppressCriticalErrorBoxes();
  HACCEL accelerators = LoadAcceleratorsW(instance, MAKEINTRESOURCEW(IDR_ACCELERATORS));
  SetTextCapacity(kProgramTextCapacity);
  CoInitialize(nullptr);
  CreateSharedLock();

  static Win32FileQueries fileQueries;
  SetFileQueries(&fileQueries);
  SetVolumeAccess(&Win32Volumes());
  SetDeviceRequests(&Win32DeviceRequests());
#ifdef ORDALIS_SIMULATED_VOLUME
  // Without its description the simulating program has nothing to work on;
  // the reason is already on stderr.
  if (!InstallSimVolumeFromEnvironment()) return kSimVolumeMissingExitCode;
  if (!InstallSimDrivesFromEnvironment()) return kSimVolumeMissingExitCode;
  InstallSimPowerOffLog();
  InstallSimPanelRefusal();
  InstallSimCrashReportCopy();
  InstallSimFault();
#endif
  // The first checkpoint: from here on a fault shows the crash report.
  SetTag(kTagNeutral);

  SetMainAccelerators(accelerators);
  ProgramShell shell;
  HWND mainWindow = CreateMainWindow(instance, shell);
  if (!mainWindow && !gApp.exitRequested) {
    CoUninitialize();
    return 0;
  }

  MessageLoop loop{static_cast<int>(gApp.exitCode)};
  RunThreadProcedure(RunMessageLoop, &loop);
  const int exitCode = loop.exitCode;
#ifdef ORDALIS_SIMULATED_VOLUME
  WriteSimVolumeEndStateFromEnvironment();
#endif
  ClearItemList();
  DeleteSharedLock();
  CoUninitialize();
  return exitCode;
}
