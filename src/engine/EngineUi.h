#pragma once
// What the engine needs of whoever shows its work: the window, the console or
// a test. Each implements all of it; a run hands its implementation down to
// the engine calls that need it.
#include <cstdint>
#include <string>

class WorkerThread;

// Parts of the status bar.
constexpr int kStatusPartState = 0;  // what the program is doing
constexpr int kStatusPartPath = 1;   // the file being worked on

// Display texts the engine shows, by string id and built-in literal.
constexpr uint32_t kTextDefragmenting = 137;
constexpr const wchar_t* kTextDefragmentingLiteral = L"Deframmentazione";
constexpr uint32_t kTextAnalysing = 444;
constexpr const wchar_t* kTextAnalysingLiteral = L"Analisi in corso...";

// Keeping a window alive while the calling thread works or waits.
class MessagePump {
 public:
  virtual ~MessagePump() = default;
  // Removes and dispatches queued window messages until the queue is empty;
  // false when a quit message was removed (it is not dispatched).
  virtual bool PumpMessages() = 0;
  // One step of a wait for a worker: blocks until the worker has ended, has
  // nudged or a window message arrives, then handles the queued messages;
  // false when a quit message was removed.
  virtual bool WaitForWorker(WorkerThread& worker) = 0;
};

// With no window to keep alive: nothing to pump, and a wait blocks on the
// worker alone.
class NoWindowPump : public MessagePump {
 public:
  bool PumpMessages() override { return true; }
  bool WaitForWorker(WorkerThread& worker) override;
};

class EngineUi : public MessagePump {
 public:
  // The display text for a string id (the language file's, else the literal).
  virtual std::wstring Text(uint32_t id, const wchar_t* literal) = 0;
  virtual void SetStatusText(int part, const std::wstring& text) = 0;
  // The working icon beside the status text.
  virtual void SetWorkingIcon(bool working) = 0;
  // Progress bar: range 1..last with step 1, then shown; positions; hidden.
  virtual void ShowProgress(uint64_t last) = 0;
  // Called from the move thread: a window must only post or send.
  virtual void SetProgress(uint64_t position) = 0;
  virtual void HideProgress() = 0;
  virtual void RedrawList() = 0;
};
