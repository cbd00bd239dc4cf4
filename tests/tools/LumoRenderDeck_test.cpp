// `lumo render` with deck options: a loop repeats on the master bus, a brake ends in silence,
// and bad values are refused with exit code 2.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"

namespace {

constexpr int kSecond = 44100;

int RunLumo(const std::string& arguments) {
  int status = std::system((std::string(LUMO_TOOL) + " render " + arguments + " > /dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<float> ReadFloatWav(const std::string& path) {
  CDecoderWAV reader(0);
  AudioFormat format;
  if (!reader.open(path, &format, 0)) return {};
  std::vector<float> samples(2 * static_cast<size_t>(format.frames));
  reader.read(samples.data(), format.frames, 0);
  return samples;
}

class LumoRenderDeck : public ::testing::Test {
 protected:
  LumoRenderDeck() { WriteStereo16(in, MakeTestSignal(6 * kSecond)); }
  ScopedDataRoot root;
  std::string in = root.path() + "in.wav", out = root.path() + "out.wav";
  std::string files = "'" + in + "' -o '" + out + "' --float ";
};

TEST_F(LumoRenderDeck, ALoopRepeatsAndABrakeEndsInSilence) {
  // No tempo is known, so a beat is 22050 frames.
  ASSERT_EQ(RunLumo(files + "--seconds 3 --loop 0.5:1 --block 441"), 0);
  std::vector<float> looped = ReadFloatWav(out);
  ASSERT_GE(looped.size(), 2u * 3 * kSecond);
  for (size_t k = 2 * kSecond; k < 2 * (kSecond + 22050); ++k) {
    ASSERT_EQ(looped[k], looped[k + 2 * 22050]) << "sample " << k;
  }

  ASSERT_EQ(RunLumo(files + "--seconds 4 --brake 1"), 0);
  std::vector<float> braked = ReadFloatWav(out);
  ASSERT_GE(braked.size(), 2u * 4 * kSecond);
  EXPECT_NE(braked[2 * kSecond / 2], 0.0f);
  // Standstill: nothing but the mixer's 1e-25 denormal guard is left.
  for (size_t k = 2 * (kSecond + 62500 + 441); k < 2 * 4 * kSecond; ++k) ASSERT_LT(std::fabs(braked[k]), 1e-20f) << k;
}

TEST_F(LumoRenderDeck, BadDeckOptionsAreRefused) {
  EXPECT_EQ(RunLumo(files + "--keylock fast"), 2);
  EXPECT_EQ(RunLumo(files + "--pitch 20 --range 8"), 2);
  EXPECT_EQ(RunLumo(files + "--hotcue 9:1"), 2);
  EXPECT_EQ(RunLumo(files + "--loop 1:3"), 2);
  EXPECT_EQ(RunLumo(files + "--seconds 1 --pitch -8 --range 8 --keylock splice --key-shift 100 --hotcue 1:2"), 0);
}

}  // namespace
