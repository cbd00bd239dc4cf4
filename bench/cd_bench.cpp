// Reading a CD track from a BIN/CUE image through CDecoderCda, with and without cdparanoia:
// sequential reads of one deck block (88200 frames, the size the deck asks for) and a seek to
// an unaligned place followed by one block. Arg: 0 plain reads, 2 paranoia on images too.

#include <benchmark/benchmark.h>

#include <vector>

#include "codecs/CdDrive.h"
#include "codecs/CdImage.h"
#include "codecs/DecoderCda.h"
#include "support/TestFiles.h"

namespace {

constexpr int kBlockFrames = 88200;

struct OpenTrack {
  explicit OpenTrack(int paranoiaMode) {
    g_cdParanoiaMode = paranoiaMode;
    decoder.open(CdTrackPathFor(WriteCdImage(folder.path(), {75 * 120}), 1), &format, 0);
  }
  ~OpenTrack() { g_cdParanoiaMode = 1; }
  TempFolder folder;
  CDecoderCda decoder{0};
  AudioFormat format{};
  std::vector<int16_t> block = std::vector<int16_t>(2 * kBlockFrames);
};

void BM_CdSequentialBlock(benchmark::State& state) {
  OpenTrack track(static_cast<int>(state.range(0)));
  int position = 0;
  for (auto _ : state) {
    if (position + kBlockFrames > track.format.frames) position = 0;
    benchmark::DoNotOptimize(track.decoder.read(track.block.data(), kBlockFrames, position));
    position += kBlockFrames;
  }
  state.SetBytesProcessed(state.iterations() * kBlockFrames * 4LL);
}
BENCHMARK(BM_CdSequentialBlock)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond);

void BM_CdSeekAndBlock(benchmark::State& state) {
  OpenTrack track(static_cast<int>(state.range(0)));
  int step = 0;
  for (auto _ : state) {
    // Unaligned places spread over the track, never the one the last read stopped at.
    int position = static_cast<int>((++step * 1234567LL) % (track.format.frames - kBlockFrames));
    benchmark::DoNotOptimize(track.decoder.read(track.block.data(), kBlockFrames, position));
  }
}
BENCHMARK(BM_CdSeekAndBlock)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
