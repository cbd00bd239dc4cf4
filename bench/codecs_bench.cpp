// Decode speed per format and the cost of one seek, through the codec chain as a deck uses it:
// one-second reads in order, and 4410-frame reads at random positions. The test files (30 s of
// stereo at 44.1 kHz) are made at start by sox, lame and ffmpeg in a temporary folder.
//
//   build/bench/codecs_bench --benchmark_min_time=2

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "codecs/CodecChain.h"

namespace {

struct Media {
  std::string folder;
  Media() {
    folder = (std::filesystem::temp_directory_path() / ("lumo-codecs-bench-" + std::to_string(::getpid()))).string() + "/";
    std::filesystem::create_directories(folder);
    Run("sox -n -r 44100 -c 2 -b 16 '" + folder + "wav.wav' synth 30 sine 200-3000 sine 330 pinknoise vol 0.3 "
        "remix 1,3 2,3");
    const std::string in = "'" + folder + "wav.wav'";
    Run("sox " + in + " '" + folder + "flac.flac'");
    Run("lame --quiet -b 192 " + in + " '" + folder + "mp3.mp3'");
    Run("ffmpeg -v error -y -i " + in + " -c:a libvorbis -q:a 5 '" + folder + "ogg.ogg'");
    Run("ffmpeg -v error -y -i " + in + " -c:a libopus -b:a 128k '" + folder + "opus.opus'");
    Run("ffmpeg -v error -y -i " + in + " -c:a aac -b:a 192k '" + folder + "m4a.m4a'");
  }
  ~Media() { std::filesystem::remove_all(folder); }
  static void Run(const std::string& command) {
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) std::fprintf(stderr, "failed: %s\n", command.c_str());
  }
};

Media& Files() {
  static Media media;
  return media;
}

const char* kNames[] = {"wav.wav", "flac.flac", "mp3.mp3", "ogg.ogg", "opus.opus", "m4a.m4a"};

void Decode(benchmark::State& state) {
  const std::string path = Files().folder + kNames[state.range(0)];
  state.SetLabel(kNames[state.range(0)]);
  std::vector<short> block(2 * 44100);
  long long frames = 0;
  for (auto _ : state) {
    CCodecChain chain(1);
    AudioFormat format = EngineFormat();
    if (!chain.open(path, &format, 0, 88200)) {
      state.SkipWithError("can not open");
      return;
    }
    for (int at = 0; at < format.frames; at += 44100) frames += chain.read16(block.data(), 44100, at);
  }
  // Seconds of audio per second of work: the "times real time" figure.
  state.counters["x_realtime"] = benchmark::Counter(static_cast<double>(frames) / 44100, benchmark::Counter::kIsRate);
}

void Seek(benchmark::State& state) {
  const std::string path = Files().folder + kNames[state.range(0)];
  state.SetLabel(kNames[state.range(0)]);
  CCodecChain chain(1);
  AudioFormat format = EngineFormat();
  if (!chain.open(path, &format, 0, 88200)) {
    state.SkipWithError("can not open");
    return;
  }
  std::vector<short> block(2 * 4410);
  std::mt19937 random(5);
  for (auto _ : state) {
    int at = static_cast<int>(random() % static_cast<unsigned>(format.frames - 4410));
    benchmark::DoNotOptimize(chain.read16(block.data(), 4410, at));
  }
}

}  // namespace

BENCHMARK(Decode)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);
BENCHMARK(Seek)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
