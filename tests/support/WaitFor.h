#pragma once
// Waiting in threaded tests. CI runs on a busy two-core machine, where a load that takes
// 20 ms on a quiet desk can take seconds: a test waits for the condition it means, with a
// deadline generous enough that only a real hang reaches it, and never sleeps a fixed time
// hoping the other thread got there.
//
// Threads a test starts are std::jthread with a stop_token loop: if an ASSERT returns early,
// the jthread's destructor asks the loop to stop and joins it, so the test fails instead of
// the whole binary aborting on an unjoined std::thread.

#include <atomic>
#include <chrono>
#include <thread>

constexpr std::chrono::milliseconds kGenerousDeadline{30000};
// Work done at idle priority (the deck loader, analysis) gets only what the busy cores leave:
// with a busy loop on every core a 40-second track can take a minute to load and analyse.
constexpr std::chrono::milliseconds kIdleWorkDeadline{240000};

// Polls `condition` every millisecond until it holds or `deadline` passes; returns whether
// it held.
template <typename Condition>
bool WaitFor(Condition&& condition, std::chrono::milliseconds deadline = kGenerousDeadline) {
  const auto until = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= until) return condition();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// For a std::thread that runs until a flag is set: sets the flag and joins on every way out of
// the test, so a failed assertion fails the test rather than the binary.
struct JoinGuard {
  std::atomic<bool>& stop;
  std::thread& thread;
  ~JoinGuard() {
    stop = true;
    if (thread.joinable()) thread.join();
  }
};
