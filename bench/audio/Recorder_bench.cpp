// The recorder's cost on the audio thread (Tap: convert one block to 16 bits and copy it into
// the ring, the writer kept out of the timing) and how fast LAME encodes the mix, in times
// real time on one core. "budget_pct" is Tap's cost over the block's real-time length.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "audio/MixRecorder.h"
#include "audio/Threads.h"
#include "codecs/EncoderLame.h"

namespace {

std::vector<float> Tone(int frames) {
  std::vector<float> block(2 * static_cast<size_t>(frames));
  for (int i = 0; i < frames; ++i) block[2 * i] = block[2 * i + 1] = 0.7f * std::sin(i * 0.0627f);
  return block;
}

std::string TempPath(const char* name) { return "/tmp/lumo-bench-" + std::to_string(getpid()) + name; }

void BM_RecorderTap(benchmark::State& state) {
  const int frames = static_cast<int>(state.range(0));
  SetThreadsManual(true);  // the writer runs only when the loop below asks
  CMixRecorder recorder;
  std::string path = TempPath(".wav");
  if (!recorder.Start(path)) {
    state.SkipWithError("can not record to /tmp");
    return;
  }
  std::vector<float> block = Tone(frames);
  double seconds = 0;
  long long blocks = 0;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(recorder.Tap(block.data(), frames));
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ++blocks;
    state.PauseTiming();
    if (blocks % 16 == 0) recorder.WriterRound();
    state.ResumeTiming();
  }
  recorder.Stop();
  std::remove(path.c_str());
  SetThreadsManual(false);
  state.counters["budget_pct"] = 100.0 * seconds / (static_cast<double>(blocks) * frames / 44100.0);
}
BENCHMARK(BM_RecorderTap)->Arg(256)->Arg(1024)->Arg(4410);

void BM_Mp3Encode(benchmark::State& state) {
  if (!CEncoderLame::Available()) {
    state.SkipWithError("libmp3lame.so.0 is not installed");
    return;
  }
  constexpr int kSeconds = 10;
  std::vector<float> tone = Tone(44100 * kSeconds);
  std::vector<short> pcm(tone.size());
  for (size_t i = 0; i < tone.size(); ++i) pcm[i] = static_cast<short>(std::lrint(tone[i] * 30000.0f));
  std::string path = TempPath(".mp3");
  double seconds = 0;
  for (auto _ : state) {
    CEncoderLame lame(101);
    AudioFormat format{44100, 2, 16, 16, 0, 0};
    auto start = std::chrono::steady_clock::now();
    lame.open(path, &format, 1);
    lame.write(pcm.data(), 44100 * kSeconds);
    lame.close();
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  std::remove(path.c_str());
  state.counters["x_realtime"] = kSeconds * static_cast<double>(state.iterations()) / seconds;
}
BENCHMARK(BM_Mp3Encode)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
