// lumo render FILE -o OUT.wav: pulls the real engine through the offline back end, as fast as
// the machine allows, and writes what the master bus carried. --start S begins the playback S
// seconds in, and --seek S jumps there after the first second: both go through the deck's own
// seek, so its jump path can be heard and compared.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

#include "Commands.h"
#include "LumoSession.h"
#include "RecordSamplerOptions.h"
#include "RenderMixOptions.h"
#include "RenderDeckOptions.h"
#include "app/base/NumberText.h"
#include "audio/OfflineOutput.h"
#include "audio/SampleConversions.h"
#include "codecs/CdDrive.h"
#include "codecs/DecoderWAV.h"
#include "deck/SoundSource.h"

namespace {

constexpr int kDefaultBlockFrames = 360;
constexpr long long kSeekAfterFrames = 44100;

// An optional position in seconds: absent is fine, anything but a number from 0 up is not.
bool ParsePosition(const ParsedArgs& args, const char* name, double& seconds) {
  auto text = args.Get(name);
  if (!text) return true;
  double value = 0;
  if (!ParseDouble(*text, value) || !(value >= 0)) {
    std::fprintf(stderr, "lumo: --%s wants a time in seconds, not \"%s\"\n", name, text->c_str());
    return false;
  }
  seconds = value;
  return true;
}

bool WithinTrack(CSoundSource& deck, double seconds) {
  if (seconds < 0 || std::llround(seconds * 44100) < deck.GetLength()) return true;
  std::fprintf(stderr, "lumo: %s is past the end of the track (%s)\n", FormatClock(seconds).c_str(),
               FormatClock(deck.GetLength() / 44100.0).c_str());
  return false;
}

// Asks the deck to jump; with `now` the loader (running in step) makes the jump at once.
bool JumpTo(CSoundSource& deck, double seconds, bool now) {
  if (!deck.seek(static_cast<int>(std::llround(seconds * 44100)))) {
    std::fprintf(stderr, "lumo: the deck refused the jump to %s\n", FormatClock(seconds).c_str());
    return false;
  }
  while (now && deck.seekPending.load()) deck.loaderPass();
  return true;
}

// A CD track ("/dev/sr0/Track01.cda") is no file: it gets the "$" mark that lets a path no file
// system holds through to the decoders.
std::string TrackPathForLoad(const std::string& path) {
  CdTrackPath track;
  return ParseCdTrackPath(path, &track) && path.back() != '$' ? path + "$" : path;
}

}  // namespace

int RunRenderCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {"float"});
  double seconds = 0;
  long long block = kDefaultBlockFrames;
  RenderMixOptions mixOptions;
  auto output = args.Get("o") ? args.Get("o") : args.Get("output");
  double startAt = -1, jump = -1;
  RenderDeckOptions deckOptions;
  RecordSamplerOptions players;
  bool parsed = players.Parse(args);
  if (!parsed || args.positional.size() != 1 || (!output && !players.Recording()) || !ParseSeconds(args.Get("seconds"), seconds) ||
      !ParsePosition(args, "start", startAt) || !ParsePosition(args, "seek", jump) ||
      (args.Has("block") && (!ParseInt(*args.Get("block"), block) || block < 1 || block > 4410)) ||
      !ParseRenderMixOptions(args, mixOptions) || !deckOptions.Parse(args)) {
    std::fprintf(stderr,
                 "usage: lumo render FILE -o OUT.wav [--seconds S] [--block 1..4410] [--float] [--start S] [--seek S]%s %s %s\n",
                 RenderMixUsage(), RenderDeckOptions::Usage(), RecordSamplerOptions::Usage());
    return 2;
  }
  bool asFloat = args.Has("float");

  LumoSession session(true);
  if (!session.LoadAndWait(0, TrackPathForLoad(args.positional[0]), true)) return 1;
  CSoundSource& deck = session.deck(0);
  if (!WithinTrack(deck, startAt) || !WithinTrack(deck, jump)) return 1;
  if (startAt >= 0 && !JumpTo(deck, startAt, true)) return 1;
  if (!ApplyRenderMixOptions(mixOptions)) return 1;
  deckOptions.ApplyAtStart(deck);

  CDecoderWAV writer(100);
  AudioFormat format{44100, 2, asFloat ? 32 : 16, asFloat ? 32 : 16, 0, 0};
  if (output && !writer.open(*output, &format, 1)) {
    std::fprintf(stderr, "lumo: can not write %s\n", output->c_str());
    return 1;
  }
  if (!players.Begin()) return 1;
  COfflineOutput offline(static_cast<int>(block));
  std::vector<float> mix(2 * static_cast<size_t>(block));
  std::vector<short> pcm(2 * static_cast<size_t>(block));
  long long limit = seconds > 0 ? std::llround(seconds * 44100) : deck.GetLength() + 44100LL;
  long long rendered = 0, tail = -1;
  auto start = std::chrono::steady_clock::now();
  while (rendered < limit && tail != 0) {
    if (jump >= 0 && rendered >= kSeekAfterFrames) {
      if (!JumpTo(deck, jump, false)) return 1;
      jump = -1;
    }
    players.Step(rendered / 44100.0);
    offline.PullBlock(mix.data());
    if (!output) {
    } else if (asFloat) {
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
  bool recorded = players.Finish();
  double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EndProgress();
  double audio = rendered / 44100.0;
  std::printf("rendered %s of audio in %.3f s (%.0fx real time) to %s\n", FormatClock(audio).c_str(), wall,
              wall > 0 ? audio / wall : 0.0, output ? output->c_str() : players.RecordPath()->c_str());
  return recorded ? 0 : 1;
}
