// Cost of one deck channel's block: the source, the equaliser (bands away from 0 dB, so the
// crossover's sum is what plays), the cut-off knob and every fixed place that holds an effect.
// "budget_pct" is the block's cost over its real-time length on one core.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <vector>

#include "app/base/Realtime.h"
#include "audio/MixerChannel.h"

namespace {

class Tone : public CAudioSignalSource {
 public:
  void GetSamples(float* out, int frames) noexcept override {
    for (int i = 0; i < frames; ++i) {
      out[2 * i] = out[2 * i + 1] = 0.5f * std::sin(phase_);
      phase_ += 0.0712f;
      if (phase_ > 6.2831853f) phase_ -= 6.2831853f;
    }
  }

 private:
  float phase_ = 0;
};

void BM_FullDeckChannel(benchmark::State& state) {
  Tone tone;
  CZQMixerChannel channel(&tone, 1, false);
  const bool shaped = state.range(1) != 0;
  if (shaped) {
    channel.SetBandLevel(1, 4.0f);
    channel.SetBandKill(2, 1);
    channel.SetBandLevel(3, -6.0f);
    channel.SetCutoffKnob(-30);
    for (int place = 0; place < kEffectPlaces; ++place) {
      if (place != kEqualizerPlace) channel.SetEffectState(place, 1, 1);
    }
  }
  const int frames = static_cast<int>(state.range(0));
  std::vector<float> block(2 * static_cast<size_t>(frames));
  rt::AudioThreadScope audio;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    channel.GetSamples(block.data(), frames);
    benchmark::DoNotOptimize(block.data());
  }
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  state.counters["budget_pct"] = 100.0 * seconds / static_cast<double>(state.iterations()) / (frames / 44100.0);
  state.SetItemsProcessed(state.iterations() * frames);
}
// Args: frames, shaped (EQ away from flat, knob on, every existing place wet).
BENCHMARK(BM_FullDeckChannel)->Args({360, 1})->Args({4410, 1})->Args({360, 0})->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
