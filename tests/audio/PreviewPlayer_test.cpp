// The headphone preview: its reader thread and ring deliver the whole file in order, events
// reach the callback only on the thread that asks for the position, and the silent players
// keep time on a stopwatch.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "app/base/Realtime.h"
#include "audio/PreviewPlayer.h"
#include "audio/Threads.h"
#include "support/TestFiles.h"
#include "support/WaitFor.h"

namespace {

struct Events {
  std::atomic<int> bits{0};
  std::atomic<int> calls{0};
  std::atomic<int> onAudioThread{0};
  static void Note(int events, int index, void* self) {
    auto* e = static_cast<Events*>(self);
    EXPECT_EQ(index, 7);
    e->bits.fetch_or(events);
    e->calls.fetch_add(1);
    if (rt::OnAudioThread()) e->onAudioThread.fetch_add(1);
  }
};

TEST(PreviewPlayer, StreamsTheWholeFileAndReportsTheEndOnTheTick) {
  TempFolder folder;
  const int kFrames = 3 * 44100 + 123;
  WriteStereo16(folder.File("track.wav"), MakeTestSignal(kFrames));
  CZQPreviewPlayer preview(7, false);
  Events events;
  preview.SetEventCallback(&Events::Note, &events);
  preview.SetLeadTime(44100);
  ASSERT_EQ(preview.OpenFileName(folder.File("track.wav")), 1);
  EXPECT_EQ(preview.GetLength(), kFrames);
  ASSERT_EQ(preview.Play(1), 1);

  // The audio thread pulls blocks at its own pace; under-runs give silent blocks. The content
  // is checked frame by frame in the stepped test below; here, that none of it is lost.
  long long heardFrames = 0;
  std::atomic<bool> stop{false};
  std::thread audio([&] {
    rt::AudioThreadScope scope;
    std::vector<float> block(2 * 512);
    while (!stop && preview.IsRunning()) {
      preview.GetSamples(block.data(), 512);
      bool silent = true;
      for (float v : block) silent = silent && v == 0.0f;
      if (!silent) heardFrames += 512;
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  });
  JoinGuard guard{stop, audio};
  bool ended = WaitFor([&] {
    preview.GetPosition();  // the tick's poll delivers the events
    return events.bits.load() & CZQPreviewPlayer::kEventEnd;
  });
  stop = true;
  audio.join();
  ASSERT_TRUE(ended);
  EXPECT_EQ(events.bits.load(), CZQPreviewPlayer::kEventEnd | CZQPreviewPlayer::kEventNearEnd);
  EXPECT_EQ(events.onAudioThread.load(), 0) << "events never run on the audio thread";
  EXPECT_GE(heardFrames, kFrames);
  EXPECT_EQ(preview.GetPosition(), kFrames);
}

// Reader and audio stepped in turn on the test thread: content exact to the frame.
TEST(PreviewPlayer, StartsAtItsCueAndEachRepeatReturnsThere) {
  SetThreadsManual(true);
  CZQPreviewPlayer preview(7, false);
  SetThreadsManual(false);
  TempFolder folder;
  const int kFrames = 3 * 44100 + 123, kCue = 88200, kRound = kFrames - kCue;
  std::vector<int16_t> signal = MakeTestSignal(kFrames);
  WriteStereo16(folder.File("track.wav"), signal);
  Events events;
  preview.SetEventCallback(&Events::Note, &events);
  preview.SetCue(2.0);
  preview.SetRepeat(2);
  ASSERT_EQ(preview.OpenFileName(folder.File("track.wav")), 1);
  EXPECT_EQ(preview.GetPosition(), kCue);
  preview.Play(1);
  std::vector<float> heard;
  std::vector<float> block(2 * 1000);
  for (int i = 0; i < 200 && preview.IsRunning(); ++i) {
    preview.ReaderRound();
    rt::AudioThreadScope audio;
    preview.GetSamples(block.data(), 1000);
    heard.insert(heard.end(), block.begin(), block.end());
  }
  ASSERT_FALSE(preview.IsRunning());
  ASSERT_GE(heard.size(), 4u * kRound);
  for (size_t i = 0; i < heard.size(); ++i) {
    const size_t frame = i / 2;
    const float expected = frame < 2u * kRound ? signal[2 * (kCue + frame % kRound) + i % 2] * 3.0517578e-5f : 0.0f;
    // The decoder's float conversion may differ from 1/32768 in the fifth digit.
    ASSERT_NEAR(heard[i], expected, 1e-4f * std::fabs(expected) + 1e-6f) << "frame " << frame;
  }
  EXPECT_EQ(preview.GetPosition(), kFrames);
  EXPECT_EQ(events.bits.load(), CZQPreviewPlayer::kEventEnd) << "once, after the last round";
  // Opening it again rewinds to the cue.
  ASSERT_EQ(preview.OpenFileName(folder.File("track.wav")), 1);
  EXPECT_EQ(preview.GetPosition(), kCue);
}

TEST(PreviewPlayer, RefusesMissingFilesAndStaysSilent) {
  CZQPreviewPlayer preview(7, false);
  EXPECT_EQ(preview.OpenFileName("/nonexistent/x.wav"), 0);
  EXPECT_EQ(preview.Play(1), 0);
  std::vector<float> block(64, 1.0f);
  preview.GetSamples(block.data(), 32);
  for (float v : block) EXPECT_EQ(v, 0.0f);
}

double g_nowMs = 0;

TEST(SilentPreviewPlayer, KeepsTimeOnItsStopwatchAcrossRounds) {
  TempFolder folder;
  WriteStereo16(folder.File("one-second.wav"), MakeTestSignal(44100));
  CZQPreviewPlayer silent(7, true);
  Events events;
  silent.SetEventCallback(&Events::Note, &events);
  silent.SetStopwatch([] { return g_nowMs; });
  ASSERT_EQ(silent.OpenFileName(folder.File("one-second.wav")), 1);
  silent.SetRepeat(2);
  silent.SetLeadTime(10 * 44100);  // longer than the file: bit 2 at once
  g_nowMs = 1000;
  silent.Play(1);
  EXPECT_EQ(silent.GetPosition(), 0);
  EXPECT_EQ(events.bits.load(), CZQPreviewPlayer::kEventNearEnd);
  g_nowMs = 1500;
  EXPECT_EQ(silent.GetPosition(), 22050);
  g_nowMs = 2250;
  EXPECT_EQ(silent.GetPosition(), 11025) << "second round";
  EXPECT_FALSE(events.bits.load() & CZQPreviewPlayer::kEventEnd);
  g_nowMs = 3000;
  silent.GetPosition();
  EXPECT_TRUE(events.bits.load() & CZQPreviewPlayer::kEventEnd);
  EXPECT_FALSE(silent.IsRunning());
  // With a cue a round is the stretch from the cue to the end.
  silent.SetCue(0.5);
  ASSERT_EQ(silent.OpenFileName(folder.File("one-second.wav")), 1);
  g_nowMs = 10000;
  silent.Play(1);
  EXPECT_EQ(silent.GetPosition(), 22050);
  g_nowMs = 10250;
  EXPECT_EQ(silent.GetPosition(), 22050 + 11025);
  g_nowMs = 10750;
  EXPECT_EQ(silent.GetPosition(), 22050 + 11025) << "the second round, from the cue";
  // A set duration replaces the file's length.
  silent.SetDuration(5.0);
  EXPECT_EQ(silent.GetLength(), 5 * 44100);
}

}  // namespace
