// Cost of one MixAudioBlock with four playing decks (no key lock), by block size. The counter
// "budget_share" is the block's cost over its real-time length (frames / 44100 s) on one core.

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

#include "BenchDecks.h"
#include "app/base/Realtime.h"
#include "audio/MixCallback.h"

namespace {

class FourDecks : public BenchDecks {
 public:
  FourDecks() {
    // Pitched, so the interpolation really works.
    for (int d = 0; d < kDeckCount; ++d) deck(d).setTargetSpeed(0.97 + 0.02 * d);
  }
};

void BM_MixAudioBlockFourDecks(benchmark::State& state) {
  static FourDecks decks;
  int frames = static_cast<int>(state.range(0));
  std::vector<float> out(2 * static_cast<size_t>(frames));
  rt::AudioThreadScope audio;
  auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    MixAudioBlock(out.data(), frames, 2);
    benchmark::DoNotOptimize(out.data());
  }
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  double perBlock = seconds / static_cast<double>(state.iterations());
  state.counters["budget_pct"] = 100.0 * perBlock / (frames / 44100.0);
  state.SetItemsProcessed(state.iterations() * frames);
}
BENCHMARK(BM_MixAudioBlockFourDecks)->Arg(64)->Arg(256)->Arg(360)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
