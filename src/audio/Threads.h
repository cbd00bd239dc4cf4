#pragma once
// Thread wrappers with the program's priority classes 0 (idle) to 6 (time critical).
// Stacks are 256 KiB. Class 6 asks for SCHED_FIFO, 4 and 5 for a lower nice value (both fall
// back silently to normal scheduling when not permitted), 1 to 3 nice 10 to 0, 0 nice 19.
//
// CPeriodicThread runs its function every period, or at once after Wake. Wake is real-time
// safe: it never blocks, and a wake that arrives while the function runs is kept, so the next
// wait returns at once. Periods are measured on the monotonic clock, so a step of the wall
// clock (NTP, a manual change) neither stretches nor collapses them.
//
// The semaphore and flags the thread uses live in a block the thread shares: when a stop
// times out and the thread is left running, it keeps that block alive, so destroying the
// wrapper never frees what the thread still touches. (What the thread's function touches is
// its owner's to keep alive.)
//
// Manual mode (SetThreadsManual(true) before construction) creates no thread: the function runs
// only from StepManualThreads, which the offline back end calls between blocks. That makes
// headless renders and tests reproducible.

#include <atomic>
#include <cstdint>
#include <memory>
#include <pthread.h>
#include <semaphore.h>
#include <string>

#include "app/base/Realtime.h"

using ThreadFunction = void (*)(void* argument);

// Applies the priority class to the calling thread.
void ApplyThreadPriorityClass(int priorityClass);

void SetThreadsManual(bool manual);
bool ThreadsAreManual();
// Runs the due function of every manual periodic thread: those woken, and those whose period
// has passed in the given elapsed time (audio time, not wall time).
void StepManualThreads(double elapsedMs);

class CPeriodicThread {
 public:
  CPeriodicThread(ThreadFunction fn, void* argument, int priorityClass, int periodMs,
                  const char* name);
  ~CPeriodicThread();  // stops first
  CPeriodicThread(const CPeriodicThread&) = delete;
  CPeriodicThread& operator=(const CPeriodicThread&) = delete;

  LUMO_RT void Wake() noexcept;
  // Sets the stop flag, wakes the thread and waits up to timeoutMs for it; a thread that does
  // not end in time is left to finish on its own (logged). Idempotent.
  static constexpr int kStopTimeoutMs = 30000;
  void Stop(int timeoutMs = kStopTimeoutMs);
  bool running() const { return started_; }
  bool manual() const { return manual_; }
  // Manual mode only: runs the function if woken or due.
  void StepManual(double elapsedMs);

 private:
  struct Shared;
  static void* Entry(void* shared);

  std::shared_ptr<Shared> shared_;
  bool manual_;
  bool started_ = false;
  pthread_t thread_{};
  double sinceLastRunMs_ = 0;
};

class COneShotThread {
 public:
  COneShotThread(ThreadFunction fn, void* argument, int priorityClass, const char* name);
  ~COneShotThread();  // waits for the function to end
  COneShotThread(const COneShotThread&) = delete;
  COneShotThread& operator=(const COneShotThread&) = delete;

  // Waits up to timeoutMs; true when the function has ended.
  bool Wait(int timeoutMs);
  bool finished() const { return finished_.load(std::memory_order_acquire); }

 private:
  static void* Entry(void* self);

  ThreadFunction fn_;
  void* argument_;
  int priorityClass_;
  std::string name_;
  bool started_ = false;
  bool joined_ = false;
  pthread_t thread_{};
  std::atomic<bool> finished_{false};
  sem_t done_{};  // posted when the function has returned
};

// Starts a pthread with the program's stack size and priority class; false on failure.
bool StartThread(pthread_t& thread, void* (*entry)(void*), void* argument);
