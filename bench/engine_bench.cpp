// Cost of one MixAudioBlock with four playing decks (no key lock), by block size. The counter
// "budget_share" is the block's cost over its real-time length (frames / 44100 s) on one core.

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

#include "app/Engine.h"
#include "app/base/Realtime.h"
#include "audio/MixCallback.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "support/TestFiles.h"

namespace {

class FourDecks {
 public:
  FourDecks() {
    SetThreadsManual(true);
    setenv("ZORVIK_LUMO_HOME", root_.path().c_str(), 1);
    EngineInitFolders(nullptr);
    EngineCreateAudioObjects();
    for (int d = 0; d < kDeckCount; ++d) {
      std::string path = root_.File("deck" + std::to_string(d) + ".wav");
      WriteStereo16(path, MakeTestSignal(60 * 44100, d + 1));
      CSoundSource* deck = g_engine.decks[d];
      deck->load(path, 1, nullptr, 1);
      while (deck->loadPending.load()) deck->loaderPass();
      deck->loopSong = 1;                      // plays for as long as the benchmark runs
      deck->setTargetSpeed(0.97 + 0.02 * d);   // pitched, so the interpolation really works
    }
  }
  ~FourDecks() {
    EngineDeleteAudioObjects();
    SetThreadsManual(false);
  }

 private:
  TempFolder root_;
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
