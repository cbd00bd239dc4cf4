// Track analysis speed: the whole pass over a five-minute track (WAV and MP3), and its parts.
//   build/bench/analysis_bench
// "x_realtime" is seconds of audio analysed per second of wall time on one core.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "SyntheticTrack.h"
#include "analysis/BeatDetector.h"
#include "analysis/GainAnalyzer.h"
#include "analysis/KeyDetector.h"
#include "analysis/StripeFile.h"
#include "analysis/TempoEstimator.h"
#include "analysis/TrackAnalyzer.h"
#include "library/SongDatabase.h"

namespace {

constexpr double kTrackSeconds = 300.0;

struct Fixture {
  std::string folder = (std::filesystem::temp_directory_path() / ("lumo-bench-" + std::to_string(::getpid()))).string();
  std::string wav = folder + "/five minutes.wav";
  std::string mp3 = folder + "/five minutes.mp3";
  SyntheticTrack track;

  Fixture() {
    std::filesystem::create_directories(folder + "/Stripes");
    SetStripesFolder(folder + "/Stripes/");
    LoadSongDatabase(folder + "/db.knx");
    SyntheticRecipe recipe;
    recipe.bpm = 126.0;
    recipe.seconds = kTrackSeconds;
    track = MakeSyntheticTrack(recipe);
    WriteWav(wav, track.stereo);
    std::system(("lame --quiet -b 192 \"" + wav + "\" \"" + mp3 + "\"").c_str());
  }
  ~Fixture() { std::filesystem::remove_all(folder); }
};

Fixture& Files() {
  static Fixture fixture;
  return fixture;
}

void AnalyseFile(benchmark::State& state, const std::string& path) {
  CTrackAnalyzer analyzer;
  for (auto _ : state) {
    TrackAnalysis result;
    benchmark::DoNotOptimize(analyzer.Analyze(path, result));
  }
  state.counters["x_realtime"] = benchmark::Counter(kTrackSeconds * state.iterations(), benchmark::Counter::kIsRate);
}

void BM_AnalyseWav5Min(benchmark::State& state) { AnalyseFile(state, Files().wav); }
void BM_AnalyseMp35Min(benchmark::State& state) { AnalyseFile(state, Files().mp3); }

void BM_BeatDetection5Min(benchmark::State& state) {
  CTrackAnalyzer analyzer;
  TrackAnalysis result;
  analyzer.Analyze(Files().wav, result);
  std::vector<float> stripe = analyzer.stripe();
  for (float& v : stripe) v = v > 50.0f ? v - 55.0f : v;
  ZQBeatDetector detector;
  for (auto _ : state) {
    std::vector<float> a = stripe, b(stripe.size());
    benchmark::DoNotOptimize(detector.DetectBpm(static_cast<int>(a.size()) - 1, a.data(), b.data(), 300, 0));
  }
  state.counters["x_realtime"] = benchmark::Counter(kTrackSeconds * state.iterations(), benchmark::Counter::kIsRate);
}

void BM_Gain5Min(benchmark::State& state) {
  std::vector<float> mono(Files().track.stereo.size() / 2);
  for (size_t i = 0; i < mono.size(); ++i) mono[i] = Files().track.stereo[2 * i];
  ZQGainAnalyzer gain;
  for (auto _ : state) {
    gain.Init(44100);
    gain.Analyze(mono.data(), nullptr, static_cast<int>(mono.size()), 1);
    benchmark::DoNotOptimize(gain.GetResult());
  }
  state.counters["x_realtime"] = benchmark::Counter(kTrackSeconds * state.iterations(), benchmark::Counter::kIsRate);
}

void BM_TempoEstimate5Min(benchmark::State& state) {
  std::vector<float> mono(Files().track.stereo.size() / 2);
  for (size_t i = 0; i < mono.size(); ++i) mono[i] = Files().track.stereo[2 * i] * 3e-05f;
  ZQTempoEstimator tempo;
  for (auto _ : state) {
    tempo.Start(static_cast<int>(kTrackSeconds));
    for (size_t at = 0; at < mono.size(); at += 44100) {
      tempo.Feed(mono.data() + at, static_cast<int>(std::min<size_t>(44100, mono.size() - at)));
    }
    benchmark::DoNotOptimize(tempo.Estimate(TempoRange::kAuto));
  }
  state.counters["x_realtime"] = benchmark::Counter(kTrackSeconds * state.iterations(), benchmark::Counter::kIsRate);
}

void BM_Key5Min(benchmark::State& state) {
  std::vector<float> mono(Files().track.stereo.size() / 2);
  for (size_t i = 0; i < mono.size(); ++i) mono[i] = Files().track.stereo[2 * i] * 3e-05f;
  ZQKeyDetector key;
  for (auto _ : state) {
    key.Start(44100, kTrackSeconds);
    key.FeedFloats(mono.data(), static_cast<int>(mono.size()), 1);
    benchmark::DoNotOptimize(key.FinishDetection());
  }
  state.counters["x_realtime"] = benchmark::Counter(kTrackSeconds * state.iterations(), benchmark::Counter::kIsRate);
}

BENCHMARK(BM_AnalyseWav5Min)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_AnalyseMp35Min)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_BeatDetection5Min)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gain5Min)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TempoEstimate5Min)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Key5Min)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
