#pragma once
// The command line's options as one word of bits, read everywhere.
#include <cstdint>

constexpr uint32_t kRunOnTop = 0x1;
constexpr uint32_t kRunQuick = 0x2;
constexpr uint32_t kRunFullRow = 0x4;
constexpr uint32_t kRunClose = 0x8;
constexpr uint32_t kRunCloseIfOk = 0x10;
constexpr uint32_t kRunShutdown = 0x20;
constexpr uint32_t kRunNoPrompt = 0x40;
constexpr uint32_t kRunNoScroll = 0x80;
constexpr uint32_t kRunNoGui = 0x100;
constexpr uint32_t kRunDiskCheckGiven = 0x200;
constexpr uint32_t kRunCleanupGiven = 0x400;
constexpr uint32_t kRunDefrag = 0x800;
constexpr uint32_t kRunAnalyze = 0x1000;
constexpr uint32_t kRunVerboseConsole = 0x2000;
constexpr uint32_t kRunProfile = 0x4000;
constexpr uint32_t kRunLanguage = 0x8000;
constexpr uint32_t kRunNoIni = 0x10000;
constexpr uint32_t kRunHelp = 0x20000;
constexpr uint32_t kRunShowReport = 0x40000;
constexpr uint32_t kRunAllowAbort = 0x80000;

// The process-wide state of the application shell.
struct AppState {
  uint32_t runFlags = 0;
  uint32_t exitCode = 0;
  bool exitRequested = false;  // the Exit command was sent: the message loop will end
};
extern AppState gApp;
