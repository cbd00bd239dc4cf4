// `lumo render` end to end: the real engine through the offline back end must deliver the
// deck's samples to the master bus unchanged but for the deck's 3e-5 scale, sample for sample.

#include <gtest/gtest.h>

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

}  // namespace
