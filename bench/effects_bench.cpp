// The built-in effects' cost per block, each fully wet on a music-like signal, the master
// limiter on a bus that keeps it working, and every effect of the eleven deck places wet on four
// deck channels at once. See docs/performance.md for the figures and the commands.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "audio/AudioSignalSource.h"
#include "audio/MasterLimiter.h"
#include "audio/MixerChannel.h"
#include "effects/BuiltInEffects.h"
#include "effects/Effect.h"

namespace {

// Two sines a fifth apart at -3 dB: loud enough that the dynamics re-target the gain on every
// segment.
std::vector<float> Music(int frames) {
  std::vector<float> v(2 * static_cast<size_t>(frames));
  for (int i = 0; i < frames; ++i) {
    v[2 * i] = static_cast<float>(0.45 * std::sin(i * 0.0627) + 0.3 * std::sin(i * 0.094));
    v[2 * i + 1] = static_cast<float>(0.45 * std::sin(i * 0.0631) + 0.3 * std::sin(i * 0.0939));
  }
  return v;
}

struct Tempo : CTempoSource {
  float GetBpm() override { return 126.0f; }
} g_tempo;

void Effect(benchmark::State& state, std::string name) {
  const int frames = static_cast<int>(state.range(0));
  std::unique_ptr<CEffect> effect = CreateBuiltInByName(name);
  effect->tempoSource = &g_tempo;
  effect->SetDryWet(1.0f);
  const std::vector<float> music = Music(frames);
  std::vector<float> block = music;
  for (auto _ : state) {
    // A fresh copy each time (a few hundred ns, counted in the figure) so the effect always
    // works on music, not on its own output.
    std::copy(music.begin(), music.end(), block.begin());
    effect->Process(block.data(), frames, 126.0f);
    benchmark::DoNotOptimize(block.data());
  }
}

void Limiter(benchmark::State& state) {
  const int frames = static_cast<int>(state.range(0));
  CMasterLimiter limiter;
  limiter.SetOn(true);
  std::vector<float> hot = Music(frames);
  for (float& s : hot) s *= 2.5f;  // over the ceiling
  std::vector<float> block = hot;
  for (auto _ : state) {
    std::copy(hot.begin(), hot.end(), block.begin());
    limiter.ProcessMasterBus(block.data(), frames);
    benchmark::DoNotOptimize(block.data());
  }
}

class MusicSource : public CAudioSignalSource {
 public:
  explicit MusicSource(int frames) : music_(Music(frames)) {}
  void GetSamples(float* out, int frames) noexcept override {
    for (int i = 0; i < 2 * frames; ++i) out[i] = music_[static_cast<size_t>(i)];
  }
  float GetBpm() override { return 126.0f; }

 private:
  std::vector<float> music_;
};

// Four deck channels with every place 0..10 fully wet, against the same channels with none.
void FourDecks(benchmark::State& state, bool effectsOn) {
  const int frames = static_cast<int>(state.range(0));
  std::vector<std::unique_ptr<MusicSource>> sources;
  std::vector<std::unique_ptr<CZQMixerChannel>> channels;
  for (int d = 0; d < 4; ++d) {
    sources.push_back(std::make_unique<MusicSource>(frames));
    channels.push_back(std::make_unique<CZQMixerChannel>(sources[d].get(), d + 1, false));
    for (int place = 0; place < kBuiltInEffectPlaces; ++place) channels[d]->SetEffectState(place, effectsOn, 1);
  }
  std::vector<float> block(2 * static_cast<size_t>(frames));
  for (auto _ : state) {
    for (auto& channel : channels) channel->GetSamples(block.data(), frames);
    benchmark::DoNotOptimize(block.data());
  }
  // CPU time per block over the block's duration, in percent of one core.
  state.counters["core_%"] = benchmark::Counter(frames / 44100.0 / 100.0, benchmark::Counter::kIsIterationInvariantRate |
                                                                              benchmark::Counter::kInvert);
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 0; !BuiltInEffectNameAt(i).empty(); ++i) {
    std::string name(BuiltInEffectNameAt(i));
    benchmark::RegisterBenchmark(("Effect/" + name).c_str(), Effect, name)
        ->Arg(360)
        ->Arg(4410)
        ->Unit(benchmark::kMicrosecond);
  }
  benchmark::RegisterBenchmark("MasterLimiter", Limiter)->Arg(360)->Arg(4410)->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("FourDecks/AllEffectsWet", FourDecks, true)->Arg(360)->Arg(4410)->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("FourDecks/EffectsOff", FourDecks, false)->Arg(360)->Arg(4410)->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
