// Every built-in effect reached from `lumo render --fx`, as a user would switch it on: each one
// audibly changes a loud tone and keeps every sample finite; a name that is none fails. The
// master limiter, switched from the command line, holds the tone at its ceiling.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"

namespace {

int RunCommand(const std::string& command) { return std::system(command.c_str()); }

std::vector<float> Render(const std::string& in, const std::string& out, const std::string& options) {
  std::vector<float> samples;
  if (RunCommand(std::string(LUMO_TOOL) + " render '" + in + "' -o '" + out + "' --float --seconds 2 " + options +
                 " > /dev/null 2>&1") != 0) {
    return samples;
  }
  CDecoderWAV reader(0);
  AudioFormat format;
  if (!reader.open(out, &format, 0)) return samples;
  samples.resize(2 * static_cast<size_t>(format.frames));
  samples.resize(2 * static_cast<size_t>(reader.read(samples.data(), format.frames, 0)));
  return samples;
}

TEST(LumoRenderFx, EveryBuiltInChangesWhatIsRendered) {
  ScopedDataRoot root;
  std::string in = root.path() + "in.wav", out = root.path() + "out.wav";
  std::vector<int16_t> tone(2 * 2 * 44100);
  for (size_t f = 0; f < tone.size() / 2; ++f) {
    // -0.9 dB at the master: over the limiter's ceiling. A rest from 1.0 s lets the tails show.
    double t = static_cast<double>(f) / 44100.0;
    tone[2 * f] = tone[2 * f + 1] = t < 1.0 ? static_cast<int16_t>(30000 * std::sin(2 * M_PI * 440 * t)) : 0;
  }
  WriteStereo16(in, tone);
  const std::vector<float> dry = Render(in, out, "");
  ASSERT_FALSE(dry.empty());

  for (const char* name : {"fxBeatwaw", "fxPan", "fxFlanger2", "fxFlanger3", "fxFlanger", "fxFlanger5", "fxFlanger6",
                           "fxDelay", "fxReverb", "fxEcho", "fxPhaser", "fxLevelControl", "fxCompressor", "fxLimiter"}) {
    std::vector<float> wet = Render(in, out, std::string("--fx ") + name + ":1:200:700");
    ASSERT_EQ(wet.size(), dry.size()) << name;
    double change = 0;
    for (size_t i = 0; i < wet.size(); ++i) {
      ASSERT_TRUE(std::isfinite(wet[i])) << name << " sample " << i;
      change = std::max(change, std::fabs(double(wet[i]) - dry[i]));
    }
    EXPECT_GT(change, 0.01) << name << " left the tone as it was";
  }

  // The master limiter at its step of the mix: the 0.9 peak is held at its -1.5 dB ceiling
  // (plus the quarter dB its fast level measure may read low), not merely turned down.
  auto peak = [](const std::vector<float>& samples) {
    float p = 0;
    for (float v : samples) p = std::max(p, std::fabs(v));
    return p;
  };
  EXPECT_NEAR(peak(dry), 0.9f, 0.001f);
  const float limited = peak(Render(in, out, "--limiter on"));
  EXPECT_LE(limited, std::pow(10.0f, -1.25f / 20));
  EXPECT_GT(limited, std::pow(10.0f, -2.5f / 20));
  EXPECT_EQ(peak(Render(in, out, "--limiter off")), peak(dry));
  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + in + "' -o '" + out + "' --limiter maybe > /dev/null 2>&1") >> 8, 2);
  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + in + "' -o '" + out + "' --fx fxNothing > /dev/null 2>&1") >> 8, 1);
}

}  // namespace
