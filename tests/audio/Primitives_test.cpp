// The ring and the thread wrappers the engine's hand-offs rest on.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "audio/RingBuffer.h"
#include "audio/Threads.h"
#include "support/WaitFor.h"

namespace {

TEST(RingBuffer, WritesAndReadsWholeRequestsOrNothing) {
  CRingBuffer ring(10, false);
  unsigned char in[8] = {1, 2, 3, 4, 5, 6, 7, 8}, out[8] = {};
  EXPECT_FALSE(ring.Write(in, 0)) << "an empty write fails";
  EXPECT_TRUE(ring.Write(in, 8));
  EXPECT_FALSE(ring.Write(in, 3)) << "more than the free space fails whole";
  EXPECT_EQ(ring.Filled(), 8u);
  EXPECT_FALSE(ring.Read(out, 9));
  EXPECT_TRUE(ring.Read(nullptr, 2)) << "a null destination skips";
  EXPECT_TRUE(ring.Read(out, 6));
  EXPECT_EQ(out[0], 3);
  EXPECT_EQ(out[5], 8);
  // Across the wrap.
  EXPECT_TRUE(ring.Write(in, 7));
  EXPECT_TRUE(ring.Read(out, 7));
  EXPECT_EQ(out[6], 7);
}

TEST(RingBuffer, OneWriterOneReaderLoseNothing) {
  CRingBuffer ring(1000, false);
  constexpr int kCount = 200000;
  std::jthread writer([&](std::stop_token stop) {
    for (int i = 0; i < kCount && !stop.stop_requested();) {
      if (ring.Write(&i, sizeof i)) ++i;
    }
  });
  int expected = 0;
  while (expected < kCount) {
    int value;
    if (ring.Read(&value, sizeof value)) {
      ASSERT_EQ(value, expected);
      ++expected;
    }
  }
  writer.join();
}

struct Counter {
  std::atomic<int> runs{0};
  std::atomic<bool> block{false};
  static void Run(void* self) {
    auto* c = static_cast<Counter*>(self);
    c->runs.fetch_add(1);
    while (c->block.load()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
};

bool WaitForCount(const std::atomic<int>& value, int atLeast) {
  return WaitFor([&] { return value.load() >= atLeast; });
}

TEST(PeriodicThread, AWakeDuringTheFunctionIsNotLost) {
  Counter counter;
  counter.block = true;
  CPeriodicThread thread(&Counter::Run, &counter, 3, 60000, "test");
  thread.Wake();
  ASSERT_TRUE(WaitForCount(counter.runs, 1));
  thread.Wake();  // arrives while the function still runs
  counter.block = false;
  EXPECT_TRUE(WaitForCount(counter.runs, 2)) << "the next wait must return at once";
  thread.Stop();
  int after = counter.runs.load();
  thread.Wake();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(counter.runs.load(), after) << "nothing runs after Stop";
}

TEST(PeriodicThread, ManualThreadsRunOnlyWhenSteppedAndDue) {
  SetThreadsManual(true);
  Counter counter;
  {
    CPeriodicThread thread(&Counter::Run, &counter, 0, 250, "manual");
    EXPECT_TRUE(thread.manual());
    StepManualThreads(100);
    EXPECT_EQ(counter.runs.load(), 0);
    thread.Wake();
    StepManualThreads(0);
    EXPECT_EQ(counter.runs.load(), 1) << "a wake runs it at the next step";
    StepManualThreads(249);
    EXPECT_EQ(counter.runs.load(), 1);
    StepManualThreads(1);
    EXPECT_EQ(counter.runs.load(), 2) << "and so does the period passing";
  }
  StepManualThreads(1000);  // a destroyed thread is no longer stepped
  EXPECT_EQ(counter.runs.load(), 2);
  SetThreadsManual(false);
}

}  // namespace
