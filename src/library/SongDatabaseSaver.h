#pragma once
// CSongDatabaseSaver: saves the song database a short while after each change set, so a crash
// or power cut loses at most the last few seconds of analysis and cue edits. A change starts
// the clock; the save comes once no change has arrived for quietMs, or maxDelayMs after the
// first change at the latest, whichever is sooner. The save runs on the saver's own thread and
// never on a caller's: StoreSong only signals it.
//
// Threads: construct and destroy on one thread; any thread may store songs meanwhile. One saver
// at a time listens to the database. The destructor stops the thread without a last save; the
// closing SaveSongDatabase does that.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

class CSongDatabaseSaver {
 public:
  CSongDatabaseSaver(std::string path, int quietMs = 2000, int maxDelayMs = 10000);
  ~CSongDatabaseSaver();
  CSongDatabaseSaver(const CSongDatabaseSaver&) = delete;
  CSongDatabaseSaver& operator=(const CSongDatabaseSaver&) = delete;

  // Successful saves so far (tests wait on it).
  int saves() const;

 private:
  static void OnChange(void* self);
  void Loop();

  const std::string path_;
  const std::chrono::milliseconds quiet_;
  const std::chrono::milliseconds maxDelay_;
  mutable std::mutex lock_;
  std::condition_variable wake_;
  bool pending_ = false;
  bool stop_ = false;
  int saves_ = 0;
  std::chrono::steady_clock::time_point firstChange_{};
  std::chrono::steady_clock::time_point lastChange_{};
  std::thread thread_;
};
