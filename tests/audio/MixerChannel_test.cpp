// A deck channel as the mixer pulls it: effect places, equaliser kills, the cut-off knob and a
// user chain, with the real-time rule checked while the main thread edits the chain.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <thread>
#include <vector>

#include "../effects/TestEffects.h"
#include "TestSources.h"
#include "app/base/Realtime.h"
#include "audio/MixerChannel.h"
#include "effects/EffectChain.h"
#include "support/AllocationCounter.h"

namespace {

// RMS of the left channel over `blocks` blocks after `settle` blocks.
double ChannelRms(CZQMixerChannel& channel, int settle, int blocks, int frames = 441) {
  std::vector<float> block(2 * static_cast<size_t>(frames));
  double sum = 0;
  for (int b = 0; b < settle + blocks; ++b) {
    channel.GetSamples(block.data(), frames);
    if (b < settle) continue;
    for (int i = 0; i < frames; ++i) sum += double(block[2 * i]) * block[2 * i];
  }
  return std::sqrt(sum / (double(blocks) * frames));
}

double Db(double ratio) { return 20 * std::log10(ratio); }

TEST(MixerChannel, KillsAndTheKnobShapeWhatTheDeckPlays) {
  SineSource bass(0.5f, 882.0);  // 50 Hz, where the mid band is 54 dB down
  CZQMixerChannel channel(&bass, 1, false);
  const double open = ChannelRms(channel, 50, 50);
  EXPECT_NEAR(Db(open / (0.5 / std::sqrt(2.0))), 0.0, 0.01) << "a flat equaliser passes the deck";

  channel.SetBandLevel(1, -6.0f);
  channel.SetBandKill(1, 1);
  EXPECT_EQ(channel.GetBandLevel(1), -90.0f);
  EXPECT_LT(Db(ChannelRms(channel, 50, 50) / open), -40.0) << "the low kill takes 50 Hz away";
  channel.SetBandKill(1, 0);
  EXPECT_EQ(channel.GetBandLevel(1), -6.0f) << "releasing the kill brings the stored level back";
  EXPECT_NEAR(Db(ChannelRms(channel, 50, 50) / open), -6.0, 0.6) << "mostly the low band, some mid";

  channel.SetBandLevel(1, 0.0f);
  channel.SetCutoffKnob(40);  // high-pass at 1.106^74 = 1740 Hz: five octaves above 50 Hz
  EXPECT_LT(Db(ChannelRms(channel, 50, 50) / open), -40.0);
  channel.SetCutoffKnob(0);
  EXPECT_NEAR(Db(ChannelRms(channel, 50, 50) / open), 0.0, 0.01) << "off again";
}

TEST(MixerChannel, ChannelsJoinTheEffectRegistryForTheirLifetime) {
  int before = EffectChannelCount();
  {
    CZQMixerChannel deck(nullptr, 1, false), master(nullptr, 6, true);
    ASSERT_EQ(EffectChannelCount(), before + 2);
    EXPECT_EQ(EffectChannel(before + 1), &master);
    EXPECT_EQ(master.Place(kEqualizerPlace), nullptr) << "the master carries no built-ins";
    EXPECT_NE(deck.Place(kEqualizerPlace), nullptr);
  }
  EXPECT_EQ(EffectChannelCount(), before);
}

// Joins the audio thread even when an assertion returns early.
struct AudioThread {
  std::atomic<bool> stop{false};
  std::atomic<long> blocks{0};
  std::thread thread;
  ~AudioThread() {
    stop = true;
    if (thread.joinable()) thread.join();
  }
};

bool WaitFor(const std::function<bool()>& done) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

TEST(MixerChannel, NothingAllocatesOrWaitsOnTheAudioThreadWhileTheChainIsSwapped) {
  SineSource deck(0.5f, 100.0);
  CZQMixerChannel channel(&deck, 1, false);
  for (int place = 0; place < kEffectPlaces; ++place) {
    if (channel.Place(place)) continue;  // the equaliser stays
    channel.SetPlace(place, std::make_unique<DoublingEffect>());
    channel.Place(place)->SetDryWet(place % 2 ? 0.5f : 1.0f);  // both the mix and the direct path
  }
  channel.SetBandLevel(3, 4.0f);
  channel.SetBandKill(2, 1);
  channel.SetCutoffKnob(-30);
  for (int i = 0; i < 3; ++i) channel.Chain().Append(std::make_unique<DoublingEffect>());

  ResetAudioThreadCounts();
  unsigned long waitsBefore = rt::BlockingWaitsOnAudioThread();
  AudioThread audio;
  audio.thread = std::thread([&] {
    std::vector<float> block(2 * 4410);
    rt::AudioThreadScope scope;
    for (int n = 0; !audio.stop.load(); ++n) {
      int frames = n % 3 == 0 ? 4410 : 1 + n % 400;
      channel.GetSamples(block.data(), frames);
      for (int i = 0; i < 2 * frames; ++i) block[i] *= 1e-12f;  // keep the doubling chain finite
      audio.blocks.fetch_add(1);
    }
  });
  for (int swap = 0; swap < 1000; ++swap) {
    std::vector<std::unique_ptr<CEffect>> next;
    for (int i = 0; i < 1 + swap % 4; ++i) next.push_back(std::make_unique<DoublingEffect>());
    channel.Chain().ReplaceAll(std::move(next));
    channel.SetCutoffKnob(swap % 2 ? -30 : 50);
    channel.SetBandKill(1, swap % 3 == 0);
    if (swap % 100 == 0) {
      long seen = audio.blocks.load();
      ASSERT_TRUE(WaitFor([&] { return audio.blocks.load() > seen; })) << "the audio thread stalled";
    }
  }
  audio.stop = true;
  audio.thread.join();
  EXPECT_GT(audio.blocks.load(), 10);
  EXPECT_EQ(AudioThreadAllocations(), 0u);
  EXPECT_EQ(AudioThreadFrees(), 0u);
  EXPECT_EQ(rt::BlockingWaitsOnAudioThread(), waitsBefore);
  EXPECT_EQ(channel.Chain().CollectRetired(), 0) << "every old chain is freed once the audio side lets go";
}

}  // namespace
