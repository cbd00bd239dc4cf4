// Cost of key lock with four decks playing at +4 % to +7 %, key-locked, at 128-frame blocks
// (2.9 ms). Counters, as a share of one core over the block's real-time length:
//   audio_pct  - MixAudioBlock alone, what the audio thread pays;
//   total_pct  - that plus the deck workers run in step (the Rubber Band feeders and loaders),
//                so for Rubber Band it is the whole cost of key lock on the machine;
//   per_deck_pct - total_pct / 4.
// All of it runs on the benchmark's thread, so the figures are that thread's CPU time: the
// build machine is shared, and wall time there measures the neighbours.

#include <benchmark/benchmark.h>

#include <time.h>

#include <vector>

#include "BenchDecks.h"
#include "app/base/Realtime.h"
#include "audio/MixCallback.h"

namespace {

constexpr int kBlock = 128;

double ThreadSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + now.tv_nsec * 1e-9;
}

class KeyLockedDecks : public BenchDecks {
 public:
  explicit KeyLockedDecks(bool rubberBand) {
    for (int d = 0; d < kDeckCount; ++d) {
      deck(d).setHq(rubberBand);
      deck(d).setKeyLock(true);
      deck(d).setPitch(400 + 100 * d);
    }
  }
};

void RunFourDecks(benchmark::State& state, bool rubberBand) {
  KeyLockedDecks decks(rubberBand);
  std::vector<float> out(2 * kBlock);
  double blockMs = kBlock * 1000.0 / 44100.0;
  for (int i = 0; i < 400; ++i) {  // slots built, stretchers warm
    StepManualThreads(blockMs);
    rt::AudioThreadScope audio;
    MixAudioBlock(out.data(), kBlock, 2);
  }
  double audioSeconds = 0;
  double start = ThreadSeconds();
  for (auto _ : state) {
    StepManualThreads(blockMs);
    double before = ThreadSeconds();
    {
      rt::AudioThreadScope audio;
      MixAudioBlock(out.data(), kBlock, 2);
    }
    audioSeconds += ThreadSeconds() - before;
    benchmark::DoNotOptimize(out.data());
  }
  double total = ThreadSeconds() - start;
  double budget = static_cast<double>(state.iterations()) * kBlock / 44100.0;
  state.counters["audio_pct"] = 100.0 * audioSeconds / budget;
  state.counters["total_pct"] = 100.0 * total / budget;
  state.counters["per_deck_pct"] = 100.0 * total / budget / kDeckCount;
}

void BM_FourDecksSplice(benchmark::State& state) { RunFourDecks(state, false); }
void BM_FourDecksRubberBand(benchmark::State& state) { RunFourDecks(state, true); }
BENCHMARK(BM_FourDecksSplice)->Unit(benchmark::kMicrosecond)->MinTime(2.0);
BENCHMARK(BM_FourDecksRubberBand)->Unit(benchmark::kMicrosecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
