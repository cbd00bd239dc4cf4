// The queue between the drivers' threads and the GUI thread: its limit, the bytes it never
// takes, one wake-up per burst, and two inputs pushing at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "controllers/MidiQueue.h"
#include "support/TraceCapture.h"
#include "support/WaitFor.h"

namespace {

int dummy;

TEST(MidiQueue, HoldsTwoHundredFiftyOneMessagesAndDropsTheNextWithALogLine) {
  TraceCapture trace;
  MidiQueue queue;
  for (int i = 0; i < 251; ++i) ASSERT_TRUE(queue.Push(&dummy, -1, 0x90, 0, i % 128, 1, i)) << i;
  EXPECT_FALSE(queue.Push(&dummy, -1, 0x90, 0, 99, 1, 999));
  EXPECT_TRUE(trace.Saw("error - overload - maxMidiMessages = 250"));
  EXPECT_EQ(queue.Dropped(), 1u);
  std::vector<int> times;
  queue.Drain([&](const MidiQueueMessage& m) { times.push_back(m.time); });
  ASSERT_EQ(times.size(), 251u);
  EXPECT_EQ(times.front(), 0);
  EXPECT_EQ(times.back(), 250) << "the old messages stay, the new one goes";
  EXPECT_TRUE(queue.Push(&dummy, -1, 0x90, 0, 1, 1, 0)) << "room again after the drain";
}

TEST(MidiQueue, ActiveSensingAndClockNeverGetInAndStatusIsSplit) {
  MidiQueue queue;
  const unsigned char sensing[] = {0xFE}, clock[] = {0xF8}, note[] = {0x9A, 60, 0};
  EXPECT_FALSE(queue.PushShortBytes(&dummy, sensing, 1, 0));
  EXPECT_FALSE(queue.PushShortBytes(&dummy, clock, 1, 0));
  EXPECT_FALSE(queue.PushShortBytes(nullptr, note, 3, 0)) << "no controller, no message";
  EXPECT_TRUE(queue.PushShortBytes(&dummy, note, 3, 0));
  EXPECT_EQ(queue.Size(), 1);
  queue.Drain([](const MidiQueueMessage& m) {
    EXPECT_EQ(m.status, 0x90);
    EXPECT_EQ(m.channel, 10);
    EXPECT_EQ(m.data2, 0) << "a note-on with velocity 0 stays as it came";
  });
}

TEST(MidiQueue, OneWakeUpPerBurst) {
  MidiQueue queue;
  std::atomic<int> wakes{0};
  queue.SetWake([](void* count) { ++*static_cast<std::atomic<int>*>(count); }, &wakes);
  for (int i = 0; i < 20; ++i) queue.Push(&dummy, -1, 0xB0, 0, 1, i, 0);
  EXPECT_EQ(wakes.load(), 1);
  queue.Drain([](const MidiQueueMessage&) {});
  queue.Push(&dummy, -1, 0xB0, 0, 1, 1, 0);
  EXPECT_EQ(wakes.load(), 2);
}

TEST(MidiQueue, TwoInputThreadsAndTheGuiThreadLoseAndReorderNothing) {
  MidiQueue queue;
  constexpr int kPerThread = 20000;
  auto produce = [&queue](int channel) {
    for (int i = 0; i < kPerThread;) {
      if (queue.Push(&dummy, -1, 0xB0, channel, 1, 0, i)) ++i;  // full: try again, as a test may
      else std::this_thread::yield();
    }
  };
  int received[2] = {0, 0};
  bool inOrder = true;
  std::atomic<bool> stop{false};
  std::thread a(produce, 0), b(produce, 1);
  JoinGuard guardA{stop, a}, guardB{stop, b};
  TraceCapture quiet;  // the overload lines are expected here
  ASSERT_TRUE(WaitFor([&] {
    queue.Drain([&](const MidiQueueMessage& m) {
      inOrder = inOrder && m.time == received[m.channel];
      ++received[m.channel];
    });
    return received[0] == kPerThread && received[1] == kPerThread;
  }));
  EXPECT_TRUE(inOrder) << "each input's messages arrive in the order it sent them";
}

}  // namespace
