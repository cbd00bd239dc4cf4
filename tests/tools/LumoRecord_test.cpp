// `lumo render --record` and `--sampler` end to end: the recording is the master bus times
// 30000, a sampler fires at its time in the mix, and bad values or a failing disk are refused
// with the exit codes a script can rely on.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"

namespace {

int RunLumo(const std::string& arguments) {
  int status = std::system((std::string(LUMO_TOOL) + " " + arguments + " > /dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

template <typename T>
std::vector<T> ReadAll(const std::string& path) {
  CDecoderWAV reader(0);
  AudioFormat format;
  std::vector<T> samples;
  if (!reader.open(path, &format, 0)) return samples;
  samples.resize(2 * static_cast<size_t>(format.frames));
  samples.resize(2 * static_cast<size_t>(reader.read(samples.data(), format.frames, 0)));
  return samples;
}

TEST(LumoRecord, RecordingIsTheMasterTimes30000AndASamplerFiresOnTime) {
  ScopedDataRoot root;
  std::string track = root.path() + "track.wav", hit = root.path() + "hit.wav";
  std::string out = root.path() + "out.wav", rec = root.path() + "rec.wav";
  // A quiet tone on the deck, loud enough near the top to test the clamp once the hit adds in.
  std::vector<int16_t> tone(2 * 2 * 44100);
  for (size_t i = 0; i < tone.size(); ++i) tone[i] = static_cast<int16_t>(20000 * std::sin(i * 0.003));
  WriteStereo16(track, tone);
  std::vector<int16_t> click(2 * 100, 30000);
  WriteStereo16(hit, click);
  ASSERT_EQ(RunLumo("render '" + track + "' -o '" + out + "' --float --block 441 --record '" + rec +
                "' --sampler '1:" + hit + ":1.0'"),
            0);

  std::vector<float> master = ReadAll<float>(out);
  std::vector<short> recorded = ReadAll<short>(rec);
  ASSERT_EQ(recorded.size(), master.size()) << "the recording holds every block, tail included";
  int clamped = 0;
  for (size_t i = 0; i < master.size(); ++i) {
    // Round to nearest, ties to even, as the output stage rounds.
    double expected = std::clamp(std::nearbyint(master[i] * 30000.0), -32768.0, 32767.0);
    clamped += expected == 32767.0;
    ASSERT_EQ(recorded[i], expected) << "sample " << i;
  }
  EXPECT_GT(clamped, 0) << "tone plus hit must reach the clamp";
  // The hit lands at 1.0 s: the master jumps there by the hit's 30000/32768.
  size_t at = 2 * 44100;
  EXPECT_NEAR(master[at] - tone[at] * 3e-5f, 30000.0f / 32768.0f, 1e-3f);
  EXPECT_NEAR(master[at - 2], tone[at - 2] * 3e-5f, 1e-6f) << "nothing before its time";
}

TEST(LumoRecord, BadValuesMissingSamplesAndAFailingDiskAreRefused) {
  ScopedDataRoot root;
  std::string track = root.path() + "track.wav";
  WriteStereo16(track, MakeTestSignal(44100));
  EXPECT_EQ(RunLumo("render '" + track + "' --sampler 9:x.wav --record r.wav"), 2);
  EXPECT_EQ(RunLumo("render '" + track + "' --sampler 1: --record r.wav"), 2);
  EXPECT_EQ(RunLumo("render '" + track + "' --sampler '1:" + track + ":-2' --record r.wav"), 2);
  EXPECT_EQ(RunLumo("render '" + track + "'"), 2) << "neither -o nor --record";
  EXPECT_EQ(RunLumo("render '" + track + "' --record '" + root.path() + "r.wav' --sampler 2:/nonexistent.wav"), 1);
  EXPECT_EQ(RunLumo("render '" + track + "' --record /dev/full"), 1);
  EXPECT_EQ(RunLumo("render '" + track + "' --record '" + root.path() + "no/such/folder/r.wav'"), 1);
}

}  // namespace
