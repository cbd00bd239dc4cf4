// `lumo render` end to end: the real engine through the offline back end must deliver the
// deck's samples to the master bus unchanged but for the deck's 3e-5 scale, sample for sample.

#include <gtest/gtest.h>

#include <algorithm>
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
  // --start 2: from the first frame on, what the plain render had two seconds in.
  for (size_t i = 0; i < 2 * second; ++i) ASSERT_EQ(started[i], plain[2 * second + i]) << "frame " << i / 2;
  // --seek 2: one second as usual, then the jump.
  for (size_t i = 0; i < second; ++i) ASSERT_EQ(jumped[i], plain[i]) << "frame " << i / 2;
  for (size_t i = 0; i < 2 * second; ++i) ASSERT_EQ(jumped[second + i], plain[2 * second + i]) << "frame " << i / 2;

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
