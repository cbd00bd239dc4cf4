#pragma once
// CFileWorker: background analysis of a queue of song paths. In the program, every 950 ms, at
// the lowest priority, one step pops paths until one needs analysis and analyses it; songs
// already done are skipped without work. The browser's "analyze" action and `lumo analyse` feed
// it through Enqueue; the hooks carry progress, results and skipped songs back.
//
// A worker may run several lanes, each a thread with its own analyzer (`lumo analyse --jobs`),
// and may run unpaced: each lane then takes the next song as soon as one is done.
//
// Threads: Enqueue from any thread (the queue is a locked list). Steps run on the lanes'
// threads, or from a test or the offline back end in manual thread mode (Step runs lane 0). The
// hooks are called on the lanes' threads, from several at once when there are several lanes;
// receivers lock what they share and post what the GUI needs.
//
// Close asks running passes to stop (they notice within one decoded second) and waits for them;
// nothing a pass uses is freed while it may still run.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "analysis/TrackAnalyzer.h"
#include "audio/SafeList.h"
#include "audio/Threads.h"

// Why a queued path was not analysed.
enum class FileSkip { kAlreadyDone, kMissing, kSameName, kUndecodable, kTooLong };
const char* FileSkipText(FileSkip why);
inline bool FileSkipIsFailure(FileSkip why) { return why != FileSkip::kAlreadyDone && why != FileSkip::kSameName; }

struct FileWorkerConfig {
  int lanes = 1;       // analyses at once, 1..64
  bool paced = true;   // one song per lane per 950 ms; false: back to back
  bool force = false;  // analyse songs again that already have a tempo and a stripe
  int priorityClass = 0;  // the lanes' (audio/Threads.h): 0 the lowest, for the program's pass
};

class CFileWorker {
 public:
  // Shown on the status line: the queue length and the song's path, or (0, "") when the queue ran
  // empty.
  using StatusHook = std::function<void(size_t queued, const std::string& path)>;
  // Told each finished analysis, with the song's path.
  using ResultHook = std::function<void(const std::string& path, const TrackAnalysis&)>;
  // Told each path taken from the queue and not analysed (a cancelled pass is not reported).
  using SkipHook = std::function<void(const std::string& path, FileSkip why)>;

  static constexpr int kCloseWaitMs = 60000;
  static constexpr int kMaxLanes = 64;

  CFileWorker(StatusHook status, ResultHook result, SkipHook skip = nullptr, FileWorkerConfig config = {});
  ~CFileWorker();  // Close()

  void Start();
  // Appends a path to the queue (the producer side).
  void Enqueue(const std::string& path);
  size_t Queued() { return queue_.Count(); }
  // One step of lane 0: returns true when a song was analysed.
  bool Step();
  // Cancels the passes in progress, stops the lanes and empties the queue. Idempotent.
  void Close();
  bool busy() const { return inPass_.load(std::memory_order_acquire) > 0; }

 private:
  struct Lane {
    CFileWorker* owner = nullptr;
    std::unique_ptr<CTrackAnalyzer> analyzer;
    std::unique_ptr<CPeriodicThread> thread;
  };
  enum class StepResult { kEmpty, kAnalysed, kNotAnalysed };

  static void Run(void* lane);
  StepResult StepLane(Lane& lane);
  // Record and stripe are keyed by the bare file name, so two songs of one name never run at
  // once: false when another lane has the name.
  bool ClaimName(const std::string& name);
  void ReleaseName(const std::string& name);

  CSafeList<std::string> queue_{true};
  StatusHook status_;
  ResultHook result_;
  SkipHook skip_;
  FileWorkerConfig config_;
  std::atomic<bool> cancel_{false};
  std::atomic<int> inPass_{0};
  std::vector<std::unique_ptr<Lane>> lanes_;
  std::mutex namesLock_;
  std::set<std::string> names_;  // bare names in progress
};
