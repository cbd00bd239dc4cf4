// Key lock heard through the deck: a 440 Hz sine at +8 % keeps its pitch while the track runs
// 8 % faster; without key lock it rises to 475.2 Hz. Frequencies are measured with a windowed
// DFT evaluated directly at each candidate frequency (no FFT library to trust).

#include <cmath>

#include "DeckFixture.h"
#include "deck/StretchFeeder.h"

namespace {

constexpr int kSecond = 44100;
constexpr double kPi = 3.14159265358979323846;

std::vector<int16_t> Sine(double hz, int frames, double amplitude) {
  std::vector<int16_t> out(2 * static_cast<size_t>(frames));
  for (int i = 0; i < frames; ++i) {
    auto v = static_cast<int16_t>(std::lround(amplitude * std::sin(2 * kPi * hz * i / kSecond)));
    out[2 * static_cast<size_t>(i)] = out[2 * static_cast<size_t>(i) + 1] = v;
  }
  return out;
}

double Magnitude(const std::vector<float>& stereo, double hz) {
  size_t n = stereo.size() / 2;
  double re = 0, im = 0;
  for (size_t i = 0; i < n; ++i) {
    double window = 0.5 - 0.5 * std::cos(2 * kPi * i / (n - 1));  // Hann: a clean, narrow peak
    double phase = 2 * kPi * hz * i / kSecond;
    re += stereo[2 * i] * window * std::cos(phase);
    im += stereo[2 * i] * window * std::sin(phase);
  }
  return std::hypot(re, im);
}

// The strongest frequency between 300 and 600 Hz: 1 Hz steps, then 0.05 Hz around the best.
double PeakFrequency(const std::vector<float>& stereo) {
  double best = 300, bestMagnitude = 0;
  for (double hz = 300; hz <= 600; hz += 1.0) {
    double m = Magnitude(stereo, hz);
    if (m > bestMagnitude) bestMagnitude = m, best = hz;
  }
  double coarse = best;
  for (double hz = coarse - 1; hz <= coarse + 1; hz += 0.05) {
    double m = Magnitude(stereo, hz);
    if (m > bestMagnitude) bestMagnitude = m, best = hz;
  }
  return best;
}

float LargestStep(const std::vector<float>& stereo) {
  float largest = 0;
  for (size_t i = 2; i < stereo.size(); i += 2) largest = std::max(largest, std::fabs(stereo[i] - stereo[i - 2]));
  return largest;
}

class KeyLockTest : public DeckTest {
 protected:
  void SetUp() override {
    LoadTrack(Sine(440.0, 30 * kSecond, kAmplitude), true);
    Render(100, 100);
  }
  // Renders as the offline back end does, running the deck's workers (loader, stretch feeder)
  // between blocks.
  std::vector<float> RenderStepped(int frames, int block) {
    std::vector<float> out(2 * static_cast<size_t>(frames));
    for (int done = 0; done < frames; done += block) {
      int n = std::min(block, frames - done);
      StepManualThreads(n * 1000.0 / kSecond);
      rt::AudioThreadScope audio;
      deck->GetSamples(out.data() + 2 * done, n);
    }
    return out;
  }
  static constexpr double kAmplitude = 10000.0;
  // The steepest a 440 Hz sine gets, per sample, in output units.
  const float sineSlope = static_cast<float>(kAmplitude * kOutputScale * 2 * kPi * 440.0 / kSecond);
};

TEST_F(KeyLockTest, SpliceKeepsThePitchWhileThePositionRunsFasterAndPlainPitchRises) {
  deck->setKeyLock(true);
  deck->setPitch(800);
  Render(kSecond, 441);  // the speed ramp settles
  double start = deck->Position();
  std::vector<float> out = Render(2 * kSecond, 441);
  // 0.5 %: the design's tolerance; the splice's own error is a few hundredths of a hertz.
  EXPECT_NEAR(PeakFrequency(out), 440.0, 2.2);
  // Each jump carries the last one's error, so the position is off by at most the jump not yet
  // made (0.08 of 3528 frames) plus one search window (150): 7056 frames of gain, to within 432.
  EXPECT_NEAR(deck->Position() - start, 2 * kSecond * 1.08, 0.08 * 3528 + 150);
  // Jumps land in phase: no step larger than the sine's own steepest, with margin for the fade.
  EXPECT_LT(LargestStep(out), 1.5f * sineSlope);

  // Without key lock the pitch follows the speed.
  deck->setKeyLock(false);
  Render(kSecond / 2, 441);
  out = Render(2 * kSecond, 441);
  EXPECT_NEAR(PeakFrequency(out), 475.2, 2.4);
}

TEST_F(KeyLockTest, RubberBandKeepsThePitchWhileThePositionRunsFaster) {
  deck->setHq(true);
  deck->setKeyLock(true);
  deck->setPitch(800);
  RenderStepped(kSecond, 441);  // the first slot is built while the deck plays on
  double start = deck->Position();
  std::vector<float> out = RenderStepped(2 * kSecond, 441);
  EXPECT_NEAR(PeakFrequency(out), 440.0, 2.2);
  // The stretcher's slot plays at exactly its speed.
  EXPECT_NEAR(deck->Position() - start, 2 * kSecond * 1.08, 1e-6);
  EXPECT_LT(LargestStep(out), 1.5f * sineSlope);

  deck->setKeyShift(100);  // a semitone up, at the same tempo
  RenderStepped(kSecond / 2, 441);
  out = RenderStepped(2 * kSecond, 441);
  EXPECT_NEAR(PeakFrequency(out), 440.0 * std::pow(2.0, 1.0 / 12), 2.4);
}

TEST_F(KeyLockTest, ARatioChangeIsOneRebuildAndOneQuietSwap) {
  deck->setHq(true);
  deck->setKeyLock(true);
  deck->setPitch(400);
  RenderStepped(kSecond, 441);
  CStretchFeeder& feeder = deck->stretchFeeder();
  int rebuilds = feeder.rebuilds(), swaps = feeder.swaps();
  deck->setPitch(800);
  std::vector<float> out = RenderStepped(kSecond, 441);
  EXPECT_EQ(feeder.rebuilds() - rebuilds, 1);
  EXPECT_EQ(feeder.swaps() - swaps, 1);
  EXPECT_DOUBLE_EQ(deck->speed.load(), 1.08);
  EXPECT_LT(LargestStep(out), 1.5f * sineSlope) << "the 88-frame crossfade hides the swap";

  // Braking leaves the stretcher for the record's own speed, and crossfades over.
  deck->setBrake(1);
  out = RenderStepped(kSecond / 4, 441);
  EXPECT_LT(LargestStep(out), 1.5f * sineSlope);
  EXPECT_LT(deck->speed.load(), 1.0);
}

TEST_F(DeckTest, KeyShiftMovesTheKeyWithinItsModeAndBendsReturnToThePitch) {
  deck->setKeyShift(200);
  EXPECT_EQ(deck->resultingKey(11), 1) << "major G + 2 semitones wraps to A";
  EXPECT_EQ(deck->resultingKey(24), 14) << "and a minor key stays minor";
  deck->setKeyShift(-149);
  EXPECT_EQ(deck->resultingKey(13), 24) << "-1.49 semitones rounds to -1";
  EXPECT_EQ(deck->resultingKey(0), 0);
  EXPECT_EQ(deck->resultingKey(25), 0);
  EXPECT_NEAR(deck->wantedScale.load(), std::pow(2.0, -149 / 1200.0), 1e-12);

  deck->setPitch(300);
  deck->bendStart(1);
  int last = deck->getPitch();
  for (int tick = 0; tick < 30; ++tick) {
    deck->BendTick();
    ASSERT_GT(deck->getPitch(), last) << "a held bend keeps growing, tick " << tick;
    last = deck->getPitch();
  }
  EXPECT_DOUBLE_EQ(deck->targetSpeed.load(), 1.0 + last * 0.0001);
  deck->bendStop(1);
  EXPECT_EQ(deck->getPitch(), 300);
  EXPECT_DOUBLE_EQ(deck->targetSpeed.load(), 1.03);
}

}  // namespace
