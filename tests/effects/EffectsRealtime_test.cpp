// Four decks with every built-in wet and the master limiter on, mixed block by block on an
// audio thread while the main thread turns knobs, fades effects and flips the limiter: nothing
// allocates or waits on the audio thread, and the master stays finite.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "../audio/TestSources.h"
#include "app/base/Realtime.h"
#include "audio/MasterBus.h"
#include "audio/MasterLimiter.h"
#include "audio/MixCallback.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"
#include "effects/BuiltInEffects.h"
#include "effects/ChainFile.h"
#include "support/AllocationCounter.h"
#include "support/WaitFor.h"

namespace {

class BeatSource : public SineSource {
 public:
  BeatSource(float amplitude, double period, float bpm) : SineSource(amplitude, period), bpm_(bpm) {}
  float GetBpm() override { return bpm_.load(std::memory_order_relaxed); }
  std::atomic<float> bpm_;
};

TEST(EffectsRealtime, EveryEffectWetOnFourDecksAndTheLimiterNeitherAllocateNorWait) {
  std::vector<std::unique_ptr<BeatSource>> decks;
  std::vector<std::unique_ptr<CZQMixerChannel>> channels;
  CZQMixer mixer(4410);
  for (int d = 0; d < 4; ++d) {
    decks.push_back(std::make_unique<BeatSource>(0.9f, 50.0 + 37 * d, 90.0f + 20 * d));
    channels.push_back(std::make_unique<CZQMixerChannel>(decks[d].get(), d + 1, false));
    for (int place = 0; place < kBuiltInEffectPlaces; ++place) channels[d]->SetEffectState(place, 1, 1);
    for (const char* name : {"fxLevelControl", "fxCompressor", "fxLimiter"}) {
      ASSERT_EQ(AddChainEffect(channels[d]->Chain(), channels[d].get(), CEffect::kBuiltInType, -1, name, "", -1, 1, 0.5f,
                               0, 0, 0, nullptr),
                1);
    }
    mixer.AddSource(channels[d].get());
    mixer.SetChannelVolumeGain(d, 1.0f);
  }
  CMasterLimiter limiter;
  limiter.SetOn(true);
  g_mixRouting.mixer.store(&mixer);
  g_mixRouting.limiter.store(&limiter);
  struct Unroute {
    ~Unroute() {
      g_mixRouting.mixer.store(nullptr);
      g_mixRouting.limiter.store(nullptr);
    }
  } unroute;

  ResetAudioThreadCounts();
  const unsigned long waitsBefore = rt::BlockingWaitsOnAudioThread();
  std::atomic<bool> stop{false};
  std::atomic<long> blocks{0};
  std::atomic<bool> bad{false};
  std::thread audio([&] {
    std::vector<float> out(2 * 4410);
    rt::AudioThreadScope scope;
    for (int n = 0; !stop.load(); ++n) {
      const int frames = n % 3 == 0 ? 4410 : 1 + (n * 97) % 700;
      MixAudioBlock(out.data(), frames, 2);
      for (int i = 0; i < 2 * frames; ++i) {
        if (!std::isfinite(out[i])) bad = true;
      }
      blocks.fetch_add(1);
    }
  });
  JoinGuard guard{stop, audio};
  for (int turn = 0; turn < 400; ++turn) {
    CZQMixerChannel& channel = *channels[turn % 4];
    CEffect* effect = channel.Place(turn % kBuiltInEffectPlaces);
    effect->SetParam(turn % 3, (turn * 137) % 1001);
    effect->SetDryWet(turn % 5 == 0 ? 0.0f : turn % 5 == 1 ? 0.5f : 1.0f);  // fades restart effects
    decks[turn % 4]->bpm_.store(80.0f + turn % 60);
    if (turn % 50 == 0) limiter.SetOn(turn % 100 == 0);
    if (turn % 40 == 0) {
      const long seen = blocks.load();
      ASSERT_TRUE(WaitFor([&] { return blocks.load() > seen; })) << "the audio thread stalled";
    }
  }
  limiter.SetOn(true);
  const long seen = blocks.load();
  ASSERT_TRUE(WaitFor([&] { return blocks.load() > seen + 50; }));
  stop = true;
  audio.join();
  EXPECT_FALSE(bad.load()) << "a non-finite sample reached the output";
  EXPECT_EQ(AudioThreadAllocations(), 0u);
  EXPECT_EQ(AudioThreadFrees(), 0u);
  EXPECT_EQ(rt::BlockingWaitsOnAudioThread(), waitsBefore);
}

}  // namespace
