// The thread wrappers against the two ways a periodic thread used to go wrong: a step of the
// wall clock, and a stop that times out while the thread is still inside its function.
//
// This program replaces clock_gettime: while g_wallClockBehindSeconds is set, CLOCK_REALTIME
// reads that far in the past, which is what a thread sees when the clock is stepped forward
// just after it computed a deadline.

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <new>
#include <thread>

#include "audio/Threads.h"
#include "support/WaitFor.h"

namespace {
std::atomic<long> g_wallClockBehindSeconds{0};
}

extern "C" int clock_gettime(clockid_t clock, timespec* ts) {
  const int rc = static_cast<int>(syscall(SYS_clock_gettime, clock, ts));
  if (rc == 0 && clock == CLOCK_REALTIME) ts->tv_sec -= g_wallClockBehindSeconds.load();
  return rc;
}

namespace {

using Clock = std::chrono::steady_clock;

struct Runs {
  std::atomic<int> count{0};
  std::atomic<bool> hold{false};
  std::atomic<bool> inside{false};
  static void Run(void* self) {
    auto* r = static_cast<Runs*>(self);
    r->inside = true;
    while (r->hold.load()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    r->inside = false;
    r->count++;
  }
};

int ThreadsInProcess() {
  int count = 0;
  if (DIR* dir = opendir("/proc/self/task")) {
    while (dirent* entry = readdir(dir))
      if (entry->d_name[0] != '.') ++count;
    closedir(dir);
  }
  return count;
}

TEST(PeriodicThread, PeriodsHoldWhenTheWallClockIsStepped) {
  Runs runs;
  g_wallClockBehindSeconds = 3600;
  const auto start = Clock::now();
  {
    CPeriodicThread thread(&Runs::Run, &runs, 3, 40, "clockstep");
    ASSERT_TRUE(WaitFor([&] { return runs.count.load() >= 3; }));
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  g_wallClockBehindSeconds = 0;
  // Three runs are three periods (120 ms); on a wall-clock deadline already in the past the
  // thread spins and gets there in microseconds. 100 ms leaves room for a late first wake.
  EXPECT_GT(seconds, 0.100) << "the period collapsed to nothing";
  EXPECT_LT(runs.count.load(), 10);
}

TEST(PeriodicThread, ATimedOutStopLeavesTheRunningThreadNothingFreed) {
  Runs runs;
  const int before = ThreadsInProcess();
  // The wrapper lives in storage the test owns, so what the thread writes after the wrapper is
  // gone shows up as changed bytes instead of silent heap damage.
  alignas(CPeriodicThread) unsigned char storage[sizeof(CPeriodicThread)];
  auto* thread = new (storage) CPeriodicThread(&Runs::Run, &runs, 3, 60000, "stuck");
  runs.hold = true;
  thread->Wake();
  ASSERT_TRUE(WaitFor([&] { return runs.inside.load(); }));
  thread->Stop(20);  // times out: the function is still held
  thread->~CPeriodicThread();
  std::memset(storage, 0xAB, sizeof storage);

  runs.hold = false;
  // ThreadSanitizer may start its own helper thread in the meantime; it is allowed for.
#if defined(__SANITIZE_THREAD__)
  constexpr int kSanitizerThreads = 1;
#else
  constexpr int kSanitizerThreads = 0;
#endif
  ASSERT_TRUE(WaitFor([&] { return runs.count.load() == 1; })) << "the function never finished";
  ASSERT_TRUE(WaitFor([&] { return ThreadsInProcess() <= before + kSanitizerThreads; }))
      << "the thread never ended";
  for (unsigned char byte : storage) ASSERT_EQ(byte, 0xAB) << "the thread wrote into a freed wrapper";
}

TEST(OneShotThread, WaitTimesOutOnTheMonotonicClock) {
  Runs runs;
  runs.hold = true;
  COneShotThread thread(&Runs::Run, &runs, 3, "oneshot");
  g_wallClockBehindSeconds = 3600;
  const auto start = Clock::now();
  EXPECT_FALSE(thread.Wait(50));
  g_wallClockBehindSeconds = 0;
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(45)) << "a wall-clock step ended the wait early";
  runs.hold = false;
  EXPECT_TRUE(thread.Wait(10000));
}

}  // namespace
