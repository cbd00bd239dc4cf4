// lumo render FILE -o OUT.wav: pulls the real engine through the offline back end, as fast as
// the machine allows, and writes what the master bus carried.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

#include "Commands.h"
#include "LumoSession.h"
#include "RenderDeckOptions.h"
#include "app/base/NumberText.h"
#include "audio/OfflineOutput.h"
#include "audio/SampleConversions.h"
#include "codecs/DecoderWAV.h"
#include "deck/SoundSource.h"

namespace {

constexpr int kDefaultBlockFrames = 360;

}  // namespace

int RunRenderCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {"float"});
  double seconds = 0;
  long long block = kDefaultBlockFrames;
  auto output = args.Get("o") ? args.Get("o") : args.Get("output");
  RenderDeckOptions deckOptions;
  if (args.positional.size() != 1 || !output || !ParseSeconds(args.Get("seconds"), seconds) || !deckOptions.Parse(args) ||
      (args.Has("block") && (!ParseInt(*args.Get("block"), block) || block < 1 || block > 4410))) {
    std::fprintf(stderr, "usage: lumo render FILE -o OUT.wav [--seconds S] [--block 1..4410] [--float] %s\n",
                 RenderDeckOptions::Usage());
    return 2;
  }
  bool asFloat = args.Has("float");

  LumoSession session(true);
  if (!session.LoadAndWait(0, args.positional[0], true)) return 1;
  CSoundSource& deck = session.deck(0);
  deckOptions.ApplyAtStart(deck);

  CDecoderWAV writer(100);
  AudioFormat format{44100, 2, asFloat ? 32 : 16, asFloat ? 32 : 16, 0, 0};
  if (!writer.open(*output, &format, 1)) {
    std::fprintf(stderr, "lumo: can not write %s\n", output->c_str());
    return 1;
  }
  COfflineOutput offline(static_cast<int>(block));
  std::vector<float> mix(2 * static_cast<size_t>(block));
  std::vector<short> pcm(2 * static_cast<size_t>(block));
  long long limit = seconds > 0 ? std::llround(seconds * 44100) : deck.GetLength() + 44100LL;
  long long rendered = 0, tail = -1;
  auto start = std::chrono::steady_clock::now();
  while (rendered < limit && tail != 0) {
    offline.PullBlock(mix.data());
    if (asFloat) {
      writer.write(mix.data(), static_cast<int>(block));
    } else {
      DeviceInt16FromFloat(mix.data(), pcm.data(), static_cast<int>(2 * block));  // the 16-bit output stage
      writer.write(pcm.data(), static_cast<int>(block));
    }
    rendered += block;
    // After the end, one more stop fade's worth so the file ends in silence, not a click.
    if (tail < 0 && DeckReachedEnd(deck)) tail = (441 + block - 1) / block;
    if (tail > 0) --tail;
    deckOptions.Step(deck, rendered);
    if (rendered % (44100 * 10) < block) ShowProgress(rendered / 44100.0, limit / 44100.0, "rendering");
  }
  writer.close();
  double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EndProgress();
  double audio = rendered / 44100.0;
  std::printf("rendered %s of audio in %.3f s (%.0fx real time) to %s\n", FormatClock(audio).c_str(), wall,
              wall > 0 ? audio / wall : 0.0, output->c_str());
  return 0;
}
