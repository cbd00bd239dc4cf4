// `lumo render` end to end: the real engine through the offline back end must deliver the
// deck's samples to the master bus unchanged but for the deck's 3e-5 scale, sample for sample.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"

namespace {

int RunCommand(const std::string& command) { return std::system(command.c_str()); }

TEST(LumoRender, TheMasterBusCarriesTheTrackBitExact) {
  ScopedDataRoot root;
  std::string in = root.path() + "in.wav", out = root.path() + "out.wav";
  std::vector<int16_t> samples = MakeTestSignal(3 * 44100);
  WriteStereo16(in, samples);
  ASSERT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + in + "' -o '" + out + "' --float --block 441 > /dev/null 2>&1"), 0);

  CDecoderWAV reader(0);
  AudioFormat format;
  ASSERT_TRUE(reader.open(out, &format, 0));
  EXPECT_EQ(format.bitsPerSample, 32);
  ASSERT_GE(format.frames, 3 * 44100) << "the whole track and its stop fade";
  std::vector<float> rendered(2 * static_cast<size_t>(format.frames));
  ASSERT_EQ(reader.read(rendered.data(), format.frames, 0), format.frames);
  for (size_t i = 0; i < samples.size() - 2; ++i) {
    ASSERT_EQ(rendered[i], samples[i] * 3e-05f) << "sample " << i;
  }
}

// Amplitude of one frequency in the left channel over the last second of a render.
double ToneLevel(const std::vector<float>& stereo, double hz) {
  double re = 0, im = 0;
  size_t frames = stereo.size() / 2, first = frames - 44100;
  for (size_t i = first; i < frames; ++i) {
    double phase = 2 * M_PI * hz * static_cast<double>(i) / 44100.0;
    re += stereo[2 * i] * std::cos(phase), im += stereo[2 * i] * std::sin(phase);
  }
  return 2 * std::hypot(re, im) / 44100.0;
}

TEST(LumoRender, MixerOptionsShapeWhatIsRendered) {
  ScopedDataRoot root;
  std::string in = root.path() + "in.wav", out = root.path() + "out.wav";
  std::vector<int16_t> samples(2 * 3 * 44100);
  for (size_t f = 0; f < samples.size() / 2; ++f) {
    double t = static_cast<double>(f) / 44100.0;
    samples[2 * f] = samples[2 * f + 1] =
        static_cast<int16_t>(8000 * (std::sin(2 * M_PI * 50 * t) + std::sin(2 * M_PI * 3000 * t)));
  }
  WriteStereo16(in, samples);
  auto render = [&](const std::string& options) {
    std::vector<float> rendered;
    if (RunCommand(std::string(LUMO_TOOL) + " render '" + in + "' -o '" + out + "' --float --seconds 2 " + options +
                   " > /dev/null 2>&1") != 0) {
      return rendered;
    }
    CDecoderWAV reader(0);
    AudioFormat format;
    if (!reader.open(out, &format, 0)) return rendered;
    rendered.resize(2 * static_cast<size_t>(format.frames));
    reader.read(rendered.data(), format.frames, 0);
    return rendered;
  };
  const double tone = 8000 * 3e-05;
  std::vector<float> killed = render("--kill low");
  ASSERT_FALSE(killed.empty());
  EXPECT_LT(ToneLevel(killed, 50), tone * 0.01) << "the bass is gone";
  EXPECT_NEAR(ToneLevel(killed, 3000), tone, tone * 0.03) << "the 3 kHz tone stays";
  std::vector<float> filtered = render("--filter -40 --volume 64");  // low-pass at 381 Hz
  ASSERT_FALSE(filtered.empty());
  double fader = std::pow(10.0, -(std::pow(91.0, 63.0 / 127) - 1) / 20);
  EXPECT_NEAR(ToneLevel(filtered, 50), tone * fader, tone * fader * 0.03);
  EXPECT_LT(ToneLevel(filtered, 3000), tone * fader * 0.02);

  for (const char* bad : {"--kill bass", "--eq 1,2", "--filter 100", "--crossfader x"}) {
    EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + in + "' -o '" + out + "' " + bad + " > /dev/null 2>&1"),
              2 << 8)
        << bad;
  }
  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + in + "' -o '" + out + "' --chain '" + root.path() +
                       "none.knf' > /dev/null 2>&1") >> 8,
            1)
      << "a chain file that can not be loaded fails the command";
}

TEST(LumoRender, RefusesWhatItCannotReadWithAMessage) {
  ScopedDataRoot root;
  std::string junk = root.path() + "junk.wav";
  WriteBytes(junk, {'n', 'o', 't', ' ', 'a', 'u', 'd', 'i', 'o'});
  EXPECT_NE(RunCommand(std::string(LUMO_TOOL) + " render '" + junk + "' -o '" + root.path() + "x.wav' > /dev/null 2>&1"), 0);
  EXPECT_NE(RunCommand(std::string(LUMO_TOOL) + " render > /dev/null 2>&1"), 0) << "usage error";
}

std::vector<float> ReadFloatWav(const std::string& path) {
  CDecoderWAV reader(0);
  AudioFormat format;
  if (!reader.open(path, &format, 0)) return {};
  std::vector<float> samples(2 * static_cast<size_t>(format.frames));
  samples.resize(2 * static_cast<size_t>(reader.read(samples.data(), format.frames, 0)));
  return samples;
}

TEST(LumoRender, StartAndSeekPlayWhatThePlainRenderPlaysThere) {
  // An MP3, so the jumps go through the compressed decoder's seek and the deck's loader.
  ScopedDataRoot root;
  std::string wav = root.path() + "in.wav", mp3 = root.path() + "in.mp3";
  WriteStereo16(wav, MakeTestSignal(5 * 44100));
  if (RunCommand("lame --quiet -b 192 '" + wav + "' '" + mp3 + "' > /dev/null 2>&1") != 0) GTEST_SKIP() << "no lame";
  auto render = [&](const std::string& name, const std::string& options) {
    std::string out = root.path() + name;
    EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + mp3 + "' -o '" + out + "' --float --block 441 " +
                         options + " > /dev/null 2>&1"),
              0)
        << options;
    return ReadFloatWav(out);
  };
  std::vector<float> plain = render("plain.wav", ""), started = render("start.wav", "--start 2"),
                     jumped = render("seek.wav", "--seek 2");
  const size_t second = 2 * 44100;
  ASSERT_GE(plain.size(), 4 * second);
  ASSERT_GE(started.size(), 2 * second);
  ASSERT_GE(jumped.size(), 3 * second);
  // The same samples, but for what the channel's filters leave of their denormal guard on a
  // sample that is exactly 0 (about 1e-25, and it depends on the filters' history): far below
  // anything audible and a million times below one 16-bit step, so any wrong sample still fails.
  constexpr float kGuardResidue = 1e-12f;
  // --start 2: from the first frame on, what the plain render had two seconds in.
  for (size_t i = 0; i < 2 * second; ++i) ASSERT_NEAR(started[i], plain[2 * second + i], kGuardResidue) << "frame " << i / 2;
  // --seek 2: one second as usual, then the jump.
  for (size_t i = 0; i < second; ++i) ASSERT_NEAR(jumped[i], plain[i], kGuardResidue) << "frame " << i / 2;
  for (size_t i = 0; i < 2 * second; ++i)
    ASSERT_NEAR(jumped[second + i], plain[2 * second + i], kGuardResidue) << "frame " << i / 2;

  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + mp3 + "' -o '" + root.path() + "x.wav' --start 99 > /dev/null 2>&1"),
            1 << 8)
      << "past the end";
  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " render '" + mp3 + "' -o '" + root.path() + "x.wav' --seek soon > /dev/null 2>&1"),
            2 << 8)
      << "not a time";
}

TEST(LumoProbe, ReportsDecoderFormatLengthAndFirstSound) {
  ScopedDataRoot root;
  std::string wav = root.path() + "in.wav", flac = root.path() + "in.flac";
  std::vector<int16_t> samples = MakeTestSignal(3 * 44100);
  std::fill(samples.begin(), samples.begin() + 2 * 22050, 0);  // half a second of silence first
  WriteStereo16(wav, samples);
  if (RunCommand("sox '" + wav + "' -r 48000 '" + flac + "' > /dev/null 2>&1") != 0) GTEST_SKIP() << "no sox";
  std::string listing = root.path() + "probe.txt";
  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " probe --json '" + wav + "' '" + flac + "' > '" + listing + "' 2>/dev/null"), 0);
  FILE* file = std::fopen(listing.c_str(), "r");
  ASSERT_NE(file, nullptr);
  char line[2][1024] = {};
  ASSERT_TRUE(std::fgets(line[0], sizeof line[0], file) && std::fgets(line[1], sizeof line[1], file));
  std::fclose(file);
  EXPECT_EQ(std::string(line[0]), "{\"path\":\"" + wav +
                                       "\",\"decoder\":\"wav\",\"rate\":44100,\"channels\":2,\"frames\":132300,"
                                       "\"seconds\":3.000,\"firstSound\":0.500}\n");
  EXPECT_EQ(std::string(line[1]), "{\"path\":\"" + flac +
                                       "\",\"decoder\":\"ffmpeg-audio\",\"rate\":48000,\"channels\":2,\"frames\":132300,"
                                       "\"seconds\":3.000,\"firstSound\":0.500}\n");
  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " probe '" + root.path() + "missing.mp3' > /dev/null 2>&1"), 1 << 8);
  EXPECT_EQ(RunCommand(std::string(LUMO_TOOL) + " probe --fast '" + wav + "' > /dev/null 2>&1"), 2 << 8);
}

}  // namespace
