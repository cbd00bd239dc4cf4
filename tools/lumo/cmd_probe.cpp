// lumo probe [--json] FILE...: what the codec chain makes of each file, as a deck would open it:
// the decoder that takes it, the file's own rate and channels, the length in the engine's
// frames and where the music starts.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Commands.h"
#include "LumoSession.h"
#include "app/base/NumberText.h"
#include "app/base/Trace.h"
#include "codecs/CodecChain.h"
#include "codecs/DecoderFFMpeg.h"

namespace {

constexpr int kFirstSoundLevel = 328;  // -40 dBFS: quieter than this is the silence before the music

struct Probe {
  std::string decoder;
  int rate = 0, channels = 0, frames = 0, firstSound = -1;
};

bool ProbeFile(const std::string& path, Probe& probe) {
  CCodecChain chain(1);
  AudioFormat format = EngineFormat();
  if (!chain.open(path, &format, 0, 88200)) return false;
  CBaseCodec* codec = chain.activeCodecObject();
  probe.decoder = codec->codecName();
  probe.rate = chain.sourceFormat().sampleRate;
  probe.channels = chain.sourceFormat().channels;
  if (auto* ffmpeg = dynamic_cast<CDecoderFFMpeg*>(codec)) {
    probe.rate = ffmpeg->streamRate();
    probe.channels = ffmpeg->streamChannels();
  }
  probe.frames = format.frames;
  // Read on in the deck's one-second blocks until something sounds.
  std::vector<short> block(2 * 44100);
  for (int at = 0; at < format.frames && probe.firstSound < 0; at += 44100) {
    int got = chain.read16(block.data(), std::min(44100, format.frames - at), at);
    if (got <= 0) break;
    for (int i = 0; i < got && probe.firstSound < 0; ++i) {
      if (std::abs(block[2 * static_cast<size_t>(i)]) >= kFirstSoundLevel ||
          std::abs(block[2 * static_cast<size_t>(i) + 1]) >= kFirstSoundLevel) {
        probe.firstSound = at + i;
      }
    }
  }
  return true;
}

std::string Line(const std::string& path, const Probe& p, bool json) {
  const double seconds = p.frames / 44100.0, first = p.firstSound / 44100.0;
  if (json) {
    return "{\"path\":" + JsonString(path) + ",\"decoder\":" + JsonString(p.decoder) +
           ",\"rate\":" + std::to_string(p.rate) + ",\"channels\":" + std::to_string(p.channels) +
           ",\"frames\":" + std::to_string(p.frames) + ",\"seconds\":" + FormatFixed(seconds, 3) +
           ",\"firstSound\":" + (p.firstSound < 0 ? std::string("null") : FormatFixed(first, 3)) + "}";
  }
  return path + ": " + p.decoder + ", " + std::to_string(p.rate) + " Hz, " + std::to_string(p.channels) +
         (p.channels == 1 ? " channel, " : " channels, ") + FormatClock(seconds) + " (" + std::to_string(p.frames) +
         " frames), first sound " + (p.firstSound < 0 ? std::string("none") : FormatFixed(first, 3) + " s");
}

}  // namespace

int RunProbeCommand(int argc, char** argv) {
  bool json = false;
  std::vector<std::string> files;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "--json") {
      json = true;
    } else if (arg.rfind("--", 0) == 0 || arg.empty()) {
      std::fprintf(stderr, "lumo probe: unknown option \"%s\"\nusage: lumo probe [--json] FILE...\n", arg.c_str());
      return 2;
    } else {
      files.push_back(arg);
    }
  }
  if (files.empty()) {
    std::fprintf(stderr, "usage: lumo probe [--json] FILE...\n");
    return 2;
  }
  SetTraceQuiet(true);  // the decoders' own lines would break up the listing
  int failed = 0;
  for (const std::string& path : files) {
    Probe probe;
    if (!ProbeFile(path, probe)) {
      std::fprintf(stderr, "lumo probe: can not open %s: no decoder takes it\n", path.c_str());
      ++failed;
      continue;
    }
    std::printf("%s\n", Line(path, probe, json).c_str());
  }
  return failed ? 1 : 0;
}
