#include "app/win32/Startup.h"

#include <shellapi.h>

#include <string>
#include <vector>

#include "options/CommandLine.h"
#include "options/RunFlags.h"
#include "app/win32/Console.h"
#ifdef ORDALIS_SIMULATED_VOLUME
#include "app/win32/sim/SimSwitches.h"
#endif
#include "engine/diskcheck/DiskCheck.h"
#include "engine/win32/Win32VolumeAccess.h"
#include "items/ItemList.h"
#include "options/Settings.h"
#include "ui/Language.h"
#include "ui/LoadSaveSettings.h"
#include "ui/OptionCommands.h"
#include "ui/ItemCommands.h"
#include "ui/ProfileCommands.h"
#include "ui/RunWindow.h"
#include "options/CommandIds.h"
#include "ui/dialogs/HelpDialog.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "util/ProgramFolder.h"
#include "util/win32/SystemLibrary.h"
#include "util/Tag.h"

namespace {

constexpr size_t kMaxCommandLine = 2048;

struct ErrorModeState {
  bool threadMode = false;
  UINT previous = 0;
};
ErrorModeState gErrorMode;

using SetThreadErrorModeFn = BOOL(WINAPI*)(DWORD, DWORD*);

SetThreadErrorModeFn ThreadErrorModeCall() {
  // Present from Windows 7 on; older systems only have the process-wide mode.
  return reinterpret_cast<SetThreadErrorModeFn>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetThreadErrorMode")));
}

constexpr wchar_t kNoResourcesText[] =
    L"Ordalis could not be started because there is not enough physical memory or system resources "
    L"available.";

[[noreturn]] void FailStartup(HWND owner, const wchar_t* text) {
  ShowMessage(owner, text, L"Ordalis", MB_OK | MB_ICONSTOP);
  ExitProcess(0);
}

}  // namespace

std::vector<std::wstring> CommandLineArguments() {
  std::wstring line = GetCommandLineW();
  if (line.size() > kMaxCommandLine) line.resize(kMaxCommandLine);
  line = DoubleBackslashes(line);
  int count = 0;
  LPWSTR* argv = CommandLineToArgvW(line.c_str(), &count);
  std::vector<std::wstring> args;
  if (!argv) return args;
  for (int i = 1; i < count; ++i) args.push_back(UndoubleBackslashes(argv[i]));
  LocalFree(argv);
  return args;
}

void RequestExit(uint32_t code) {
  gApp.exitCode = code;
  gApp.exitRequested = true;
  if (HWND window = MainWindowHandle()) SendMessageW(window, WM_COMMAND, kCmdExit, 0);
}

void SuppressCriticalErrorBoxes() {
  const DWORD mode = SEM_FAILCRITICALERRORS;
  if (SetThreadErrorModeFn setThreadErrorMode = ThreadErrorModeCall()) {
    DWORD previous = 0;
    if (setThreadErrorMode(mode, &previous)) {
      gErrorMode.threadMode = true;
      gErrorMode.previous = previous;
      return;
    }
  }
  gErrorMode.previous = SetErrorMode(mode);
}

void RestoreErrorMode() {
  if (gErrorMode.threadMode) {
    ThreadErrorModeCall()(gErrorMode.previous, nullptr);
  } else {
    SetErrorMode(gErrorMode.previous);
  }
}

void RunStartupChecks(HWND mainWindow) {
  // The rich-edit control is only needed by some dialogs; its absence is not fatal.
  LoadSystemLibrary(L"RICHED20.DLL");
  if (!ResolveNtFsControlFile()) {
    FailStartup(nullptr, L"Could not find NtFsControlFile entry point in NTDLL.DLL.");
  }
  // The disk check before a defragmentation calls the checker through the
  // address kept here.
#ifdef ORDALIS_SIMULATED_VOLUME
  // The simulating program checks its drives through the double that lies
  // beside it; the shipped program asks only the system's checker.
  const bool chkdsk = ResolveChkdsk(SimCheckerPath().c_str());
#else
  const bool chkdsk = ResolveChkdsk();
#endif
  if (!chkdsk) {
    FailStartup(nullptr, L"Could not find Chkdsk entry point in FMIFS.DLL.");
  }
  wchar_t programPath[MAX_PATH * 2] = {};
  DWORD length = GetModuleFileNameW(nullptr, programPath, ARRAYSIZE(programPath));
  std::wstring folder(programPath, length);
  size_t slash = folder.find_last_of(L'\\');
  if (length == 0 || length >= ARRAYSIZE(programPath) || slash == std::wstring::npos) {
    FailStartup(GetActiveWindow(), kNoResourcesText);
  }
  gProgramFolder = folder.substr(0, slash);
}

void FailWindowPanels(HWND mainWindow) {
  // What a window without its panels read or showed is not the user's
  // choice: it must not overwrite the settings file.
  gApp.runFlags |= kRunNoIni;
  ShowMessage(mainWindow, kNoResourcesText, L"Ordalis", MB_OK | MB_ICONSTOP);
  RequestExit(6);
}

namespace {

// The command line's paths go into the main window's item list.
class WindowPathArguments final : public PathArgumentsUi {
 public:
  explicit WindowPathArguments(HWND mainWindow) : mainWindow_(mainWindow) {}
  void ConsoleText(const std::wstring& text) override { ConsoleWriteText(text); }
  void ShowMessage(const std::wstring& text) override {
    ::ShowMessage(mainWindow_, text, L"Ordalis", MB_OK | MB_ICONEXCLAMATION);
  }
  void AfterPath() override { RefreshItemList(); }
  void AddPath(bool isFolder, const std::wstring& path) override { AddItem(WindowItems(), isFolder, path); }

 private:
  HWND mainWindow_;
};

}  // namespace

bool AddPathsToList(HWND mainWindow, const std::vector<std::wstring>& args) {
  WindowPathArguments paths(mainWindow);
  return AddPathArguments(args, gApp.runFlags, paths);
}

void RunCommandLine(HWND mainWindow) {
  std::vector<std::wstring> args = CommandLineArguments();
  CommandLineChoices choices;
  // The options are read first: "/NOINI" decides whether the settings file is read.
  gApp.runFlags |= ParseOptions(args, choices);

  gSettings.language = LanguageFromLocale();
  gSettings.languageInFile = gSettings.language;
  BuildLanguageList();
  {
    TagScope tag(kTagReadingFiles);
    LoadSettings();
    // The exclude and include lists, and the recent profiles the settings named.
    LoadSelectionState();
    ApplyLanguage(gSettings.language);
  }

  if (gApp.runFlags & kRunLanguage) {
    gSettings.languageFromCommandLine = true;
    ApplyLanguage(choices.languageCode == L"AUTO" ? LanguageFromLocale() : choices.languageCode);
  }
  if (gApp.runFlags & kRunHelp) {
    ShowHelpDialog(mainWindow);
    RequestExit(0);
    return;
  }
  gApp.runFlags = ApplyOptionInteractions(gApp.runFlags);
  ApplyCommandLineOptions(gApp.runFlags, choices);
  if (gApp.runFlags & kRunNoGui) {
    ConsoleWriteText(ConsoleBanner());
  }

  bool pathGiven = AddPathsToList(mainWindow, args);

  if (pathGiven && ItemCount() == 0) {
    gApp.runFlags &= ~(kRunAnalyze | kRunDefrag);
    RequestExit(5);
    return;
  }
  if (!(gApp.runFlags & kRunNoGui)) {
    if (gApp.runFlags & kRunOnTop) {
      SetWindowPos(mainWindow, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    }
    ShowMainWindow(gSettings.maximized);
  }
  if (gApp.runFlags & kRunProfile) {
    bool noGui = (gApp.runFlags & kRunNoGui) != 0;
    WindowBusyScope busy;
    if (ImportProfile(mainWindow, choices.profilePath, noGui) == ImportResult::CannotOpen) {
      gApp.exitCode = 1;
      if (noGui) {
        // Unattended, nothing is left to do without the profile's items.
        ConsoleWriteText(L"The profile specified on the command line does not exist.\r\n");
        RequestExit(1);
        return;
      }
    }
  }
  // "/ANALYZE" first, then "/DEFRAG"; the unattended mode ends after them.
  RunCommandLineRuns(mainWindow);
}
