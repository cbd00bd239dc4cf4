#pragma once
// CFileWorker: background analysis of a queue of song paths. Every 950 ms, at the lowest
// priority, one step pops paths until one needs analysis and analyses it; songs already done
// are skipped without work.
//
// Threads: Enqueue from any thread (the queue is a locked list). Step runs on the worker's own
// thread, or from a test or the offline back end in manual thread mode.

#include <functional>
#include <memory>
#include <string>

#include "analysis/TrackAnalyzer.h"
#include "audio/SafeList.h"
#include "audio/Threads.h"

class CFileWorker {
 public:
  // Shown on the status line: the queue length and the song's path, or (0, "") when the queue ran
  // empty. Called on the worker thread; the receiver posts it to the GUI.
  using StatusHook = std::function<void(size_t queued, const std::string& path)>;
  // Told each finished analysis, on the worker thread.
  using ResultHook = std::function<void(const TrackAnalysis&)>;

  CFileWorker(StatusHook status, ResultHook result);
  ~CFileWorker();  // stops the thread, waiting up to 30 s for a pass in progress

  void Start();
  void Enqueue(const std::string& path);
  size_t Queued() { return queue_.Count(); }
  // One step: returns true when a song was analysed.
  bool Step();

 private:
  static void Run(void* self);

  CSafeList<std::string> queue_{true};
  StatusHook status_;
  ResultHook result_;
  CTrackAnalyzer analyzer_;
  std::unique_ptr<CPeriodicThread> thread_;
};
