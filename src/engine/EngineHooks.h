#pragma once
// What the engine needs of the window, as a table of hooks. The main window
// fills it; unattended runs and tests fill it with their own versions. Any
// hook left empty does nothing (and the pump reports no quit message); an
// empty worker wait blocks on the worker alone.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class WorkerThread;

// Parts of the status bar.
constexpr int kStatusPartState = 0;  // what the program is doing
constexpr int kStatusPartPath = 1;   // the file being worked on

// Display texts the engine shows, by string id and built-in literal.
constexpr uint32_t kTextDefragmenting = 137;
constexpr const wchar_t* kTextDefragmentingLiteral = L"Deframmentazione";
constexpr uint32_t kTextAnalysing = 444;
constexpr const wchar_t* kTextAnalysingLiteral = L"Analisi in corso...";

struct EngineHooks {
  // Removes and dispatches queued window messages until the queue is empty;
  // false when a quit message was removed (it is not dispatched).
  std::function<bool()> pumpMessages;
  // One step of a wait for a worker: blocks until the worker has ended, has
  // nudged or a window message arrives, then handles the queued messages;
  // false when a quit message was removed.
  std::function<bool(WorkerThread& worker)> waitForWorker;
  // The display text for a string id (the language file's, else the literal).
  std::function<std::wstring(uint32_t id, const wchar_t* literal)> text;
  std::function<void(int part, const std::wstring& text)> setStatusText;
  // The working icon beside the status text.
  std::function<void(bool working)> setWorkingIcon;
  // Progress bar: range 1..last with step 1, then shown; positions; hidden.
  std::function<void(uint64_t last)> showProgress;
  // Called from the move thread: the window side must only post or send.
  std::function<void(uint64_t position)> setProgress;
  std::function<void()> hideProgress;
  std::function<void()> redrawList;
  // One more file was tried by a defragmentation: count it, refresh counters.
  std::function<void()> fileTried;
};
extern EngineHooks gEngineHooks;

// The names of the hooks left empty (the program's start-up checks that
// none is). `fileTried` belongs to the run that counts files.
std::vector<std::string> MissingEngineHooks(const EngineHooks& hooks);

// Calls through the table, tolerating empty hooks.
bool PumpMessages();
std::wstring DisplayText(uint32_t id, const wchar_t* literal);
void SetStatusText(int part, const std::wstring& text);
void SetWorkingIcon(bool working);
void ShowProgress(uint64_t last);
void SetProgress(uint64_t position);
void HideProgress();
void RedrawList();
void FileTried();
