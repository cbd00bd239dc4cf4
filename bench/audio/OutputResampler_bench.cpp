// Cost of the output resampler per device period: 44100 Hz engine blocks to a 48000 Hz device,
// as a JACK server at 256 frames asks for them, for the stereo and the four-port layouts.

#include <benchmark/benchmark.h>

#include <vector>

#include "audio/OutputResampler.h"

namespace {

int SilentPull(void*, float* out, int frames, int channels) noexcept {
  for (int i = 0; i < frames * channels; ++i) out[i] = 0.25f;
  return frames;
}

void BM_ResamplePeriod(benchmark::State& state) {
  const int channels = static_cast<int>(state.range(0));
  const int period = static_cast<int>(state.range(1));
  COutputResampler resampler;
  resampler.Open(44100, 48000, channels, (period * 44100 + 47999) / 48000);
  std::vector<float> out(static_cast<size_t>(period) * channels);
  for (auto _ : state) {
    resampler.Render(out.data(), period, &SilentPull, nullptr);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * period);
}
BENCHMARK(BM_ResamplePeriod)->Args({2, 256})->Args({4, 256})->Args({2, 1024});

}  // namespace

BENCHMARK_MAIN();
