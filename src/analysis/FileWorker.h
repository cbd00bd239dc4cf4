#pragma once
// CFileWorker: background analysis of a queue of song paths. Every 950 ms, at the lowest
// priority, one step pops paths until one needs analysis and analyses it; songs already done
// are skipped without work. The browser's "analyze" action and `lumo analyse` feed it through
// Enqueue; the status and result hooks carry progress and results back to the list rows.
//
// Threads: Enqueue from any thread (the queue is a locked list). Step runs on the worker's own
// thread, or from a test or the offline back end in manual thread mode. The hooks are called on
// the worker's thread; receivers post what they need to the GUI.
//
// Close asks a running pass to stop (it notices within one decoded second) and waits for it;
// nothing the pass uses is freed while it may still run.

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "analysis/TrackAnalyzer.h"
#include "audio/SafeList.h"
#include "audio/Threads.h"

class CFileWorker {
 public:
  // Shown on the status line: the queue length and the song's path, or (0, "") when the queue ran
  // empty.
  using StatusHook = std::function<void(size_t queued, const std::string& path)>;
  // Told each finished analysis, with the song's path.
  using ResultHook = std::function<void(const std::string& path, const TrackAnalysis&)>;

  static constexpr int kCloseWaitMs = 60000;

  CFileWorker(StatusHook status, ResultHook result);
  ~CFileWorker();  // Close()

  void Start();
  // Appends a path to the queue (the producer side).
  void Enqueue(const std::string& path);
  size_t Queued() { return queue_.Count(); }
  // One step: returns true when a song was analysed.
  bool Step();
  // Cancels the pass in progress, stops the thread and empties the queue. Idempotent.
  void Close();
  bool busy() const { return inPass_.load(std::memory_order_acquire); }

 private:
  static void Run(void* self);

  CSafeList<std::string> queue_{true};
  StatusHook status_;
  ResultHook result_;
  std::atomic<bool> cancel_{false};
  std::atomic<bool> inPass_{false};
  std::unique_ptr<CTrackAnalyzer> analyzer_;
  std::unique_ptr<CPeriodicThread> thread_;
};
