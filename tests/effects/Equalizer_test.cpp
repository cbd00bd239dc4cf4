// The channel equaliser and the cut-off knob, measured with sines and compared with responses
// worked out here in double from the filters' design formulas.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "effects/CrossoverBand.h"
#include "effects/CutoffFilter.h"
#include "effects/EqualizerFFT.h"
#include "effects/EqualizerIIR.h"

namespace {

using Complex = std::complex<double>;
constexpr double kRate = 44100.0;

// Gain of a processor for a sine at hz: half a second to settle, then the amplitude over the
// next half second (an even hz fits a whole number of cycles, so the estimate is exact).
template <typename Process>
double MeasuredGain(double hz, Process&& process) {
  constexpr int kBlock = 441, kBlocks = 100;
  std::vector<float> block(2 * kBlock);
  double re = 0, im = 0;
  int n = 0;
  for (int b = 0; b < kBlocks; ++b) {
    for (int i = 0; i < kBlock; ++i) {
      float v = 0.25f * static_cast<float>(std::sin(2 * M_PI * hz * (b * kBlock + i) / kRate));
      block[2 * i] = block[2 * i + 1] = v;
    }
    process(block.data(), kBlock);
    if (b < kBlocks / 2) continue;
    for (int i = 0; i < kBlock; ++i, ++n) {
      double phase = 2 * M_PI * hz * (b * kBlock + i) / kRate;
      re += block[2 * i] * std::cos(phase);
      im += block[2 * i] * std::sin(phase);
    }
  }
  return 2.0 * std::hypot(re, im) / n / 0.25;
}

double Db(double gain) { return 20.0 * std::log10(gain); }

// One crossover band, evaluated from its sections in double on the unit circle.
Complex BandResponse(int band, double hz) {
  const Complex z1 = std::polar(1.0, -2 * M_PI * hz / kRate), z2 = z1 * z1;
  CrossoverSections sections = CrossoverBandSections(band);
  Complex h = 1.0;
  for (int k = 0; k < sections.count; ++k) {
    const CrossoverSection& s = sections.sections[k];
    h *= s.g * (1.0 + 2.0 * s.s * z1 + z2) / (1.0 + s.a1 * z1 + s.a2 * z2);
  }
  return h;
}

// The Audio EQ Cookbook's low-pass or high-pass at q, in double.
Complex CookbookResponse(bool lowPass, double hz, double at, double q) {
  const double w = 2 * M_PI * hz / kRate, c = std::cos(w), alpha = std::sin(w) / (2 * q);
  const double b0 = lowPass ? (1 - c) / 2 : (1 + c) / 2, b1 = lowPass ? 1 - c : -(1 + c);
  const Complex z1 = std::polar(1.0, -2 * M_PI * at / kRate), z2 = z1 * z1;
  return (b0 + b1 * z1 + b0 * z2) / ((1 + alpha) - 2 * c * z1 + (1 - alpha) * z2);
}

const double kProbes[] = {50, 200, 340, 1000, 3000, 8000, 14000};

TEST(Crossover, TheBandsMeetAtTheirMinusThreeDbEdges) {
  // The promise the section values must keep, checked apart from them: each neighbouring pair
  // of bands is 3 dB down where they meet, 340 Hz and 8 kHz, and each band passes its middle.
  EXPECT_NEAR(Db(std::abs(BandResponse(0, 340))), -3.0, 0.05);
  EXPECT_NEAR(Db(std::abs(BandResponse(1, 340))), -3.0, 0.05);
  EXPECT_NEAR(Db(std::abs(BandResponse(1, 8000))), -3.0, 0.05);
  EXPECT_NEAR(Db(std::abs(BandResponse(2, 8000))), -3.0, 0.05);
  EXPECT_NEAR(Db(std::abs(BandResponse(0, 30))), 0.0, 0.05);
  EXPECT_NEAR(Db(std::abs(BandResponse(1, 1650))), 0.0, 0.2);
  EXPECT_NEAR(Db(std::abs(BandResponse(2, 20000))), 0.0, 0.05);
}

TEST(Equalizer, FlatSettingsPassAudioWithinAHundredthOfADb) {
  for (double hz : kProbes) {
    CEffectEqualizerIIR eq;
    eq.SetParam(2, -6);
    std::vector<float> warm(2 * 441, 0.1f);
    eq.ProcessCore(warm.data(), 441, 0);
    eq.SetParam(2, 0);  // back to flat: the fade to the untouched input has to finish
    double gain = MeasuredGain(hz, [&](float* b, int f) { eq.ProcessCore(b, f, 0); });
    EXPECT_NEAR(Db(gain), 0.0, 0.01) << hz << " Hz";
  }
}

TEST(Equalizer, KillsAndBoostsFollowTheCrossoverResponse) {
  // Kill one band at a time (-40 becomes the -100 dB kill), and one boost and cut, measured
  // against the sum of the bands' responses times their gains.
  struct Case {
    int low, mid, high;
  };
  for (Case c : {Case{-40, 0, 0}, Case{0, -40, 0}, Case{0, 0, -40}, Case{6, -12, 3}, Case{-34, 0, 0}}) {
    double gains[3];
    int settings[3] = {c.low, c.mid, c.high};
    for (int b = 0; b < 3; ++b) gains[b] = settings[b] < -34 ? 1e-5 : std::pow(10.0, settings[b] / 20.0);
    for (double hz : kProbes) {
      CEffectEqualizerIIR eq;
      for (int b = 0; b < 3; ++b) eq.SetParam(b + 1, settings[b]);
      Complex expected = 0.0;
      for (int b = 0; b < 3; ++b) expected += gains[b] * BandResponse(b, hz);
      double measured = MeasuredGain(hz, [&](float* blk, int f) { eq.ProcessCore(blk, f, 0); });
      // Far down a killed band's skirt the float signal path has its own noise floor.
      if (Db(std::abs(expected)) < -60) {
        EXPECT_LT(Db(measured), -55) << hz << " Hz, " << c.low << "/" << c.mid << "/" << c.high;
      } else {
        EXPECT_NEAR(Db(measured), Db(std::abs(expected)), 0.05)
            << hz << " Hz, " << c.low << "/" << c.mid << "/" << c.high;
      }
    }
  }
}

TEST(CutoffKnob, FollowsTwoCookbookSectionsInSeries) {
  for (int knob : {-70, -40, -10, 10, 30, 60}) {
    int lowPass = 0;
    float hz = CutoffKnobHz(knob, &lowPass);
    double designed = std::pow(1.106, knob < 0 ? knob + 99 : knob + 34);
    ASSERT_NEAR(hz, std::clamp(designed, 20.0, 20000.0), 0.01 * hz) << "kept within 20 Hz..20 kHz";
    ASSERT_EQ(lowPass, knob < 0);
    for (double ratio : {0.25, 0.5, 1.0, 2.0, 4.0}) {
      double at = std::round(hz * ratio / 2) * 2;
      if (at < 20 || at > 20000) continue;
      ZQCutoffFilter filter;
      filter.SetCutoff(hz, lowPass);
      double measured = MeasuredGain(at, [&](float* b, int f) { filter.ProcessStereo(b, f); });
      double expected = std::norm(CookbookResponse(lowPass, hz, at, 0.70710677));  // |H|^2: two in series
      if (Db(expected) < -60) {
        EXPECT_LT(Db(measured), -58) << "knob " << knob << " at " << at << " Hz";
      } else {
        EXPECT_NEAR(Db(measured), Db(expected), 0.05) << "knob " << knob << " at " << at << " Hz";
      }
    }
  }
  EXPECT_EQ(CutoffKnobLabel(0), "OFF");
  EXPECT_EQ(CutoffKnobLabel(-40), "381 Hz");
  EXPECT_EQ(CutoffKnobLabel(-10), "7.8 KHz");
}

// Each Cookbook type measured where its shape is known without its formula: a wrong sign or a
// swapped coefficient moves at least one of these points.
TEST(Biquad, EveryTypeHasItsShape) {
  struct Point {
    int type;
    double hz, expectDb, tolerance;
  };
  constexpr double kBelow = -1;  // as tolerance: the level is at most expectDb
  // Designed at 2 kHz, +6 dB, q 0.70710677 (2 kHz is 23.2 bins of 86.13 Hz: nothing special).
  const Point points[] = {
      {ZQBiquad::kLowPass, 2000, -3.01, 0.05},   {ZQBiquad::kLowPass, 40, 0, 0.01},
      {ZQBiquad::kHighPass, 2000, -3.01, 0.05},  {ZQBiquad::kHighPass, 20000, 0, 0.05},
      {ZQBiquad::kBandPassSkirt, 2000, -3.01, 0.05}, {ZQBiquad::kBandPassPeak, 2000, 0, 0.05},
      {ZQBiquad::kBandPassPeak, 40, -25, kBelow}, {ZQBiquad::kNotch, 2000, -60, kBelow},
      {ZQBiquad::kNotch, 200, 0, 0.1},           {ZQBiquad::kAllPass, 600, 0, 0.01},
      {ZQBiquad::kAllPass, 9000, 0, 0.01},       {ZQBiquad::kPeaking, 2000, 6, 0.05},
      {ZQBiquad::kPeaking, 40, 0, 0.05},         {ZQBiquad::kLowShelf, 40, 6, 0.05},
      {ZQBiquad::kLowShelf, 20000, 0, 0.1},      {ZQBiquad::kLowShelf, 2000, 3, 0.1},
      {ZQBiquad::kHighShelf, 20000, 6, 0.1},     {ZQBiquad::kHighShelf, 40, 0, 0.05},
      {ZQBiquad::kHighShelf, 2000, 3, 0.1},
  };
  for (const Point& p : points) {
    ZQBiquad biquad;
    biquad.Design(2000.0f, 6.0f, 0.70710677f, p.type);
    biquad.Design(300.0f, -6.0f, 2.0f, 42);  // an unknown type changes nothing
    double gain = MeasuredGain(p.hz, [&](float* b, int f) { biquad.Process(b, f, 0, 2); });
    if (p.tolerance == kBelow) {
      EXPECT_LT(Db(gain), p.expectDb) << "type " << p.type << " at " << p.hz << " Hz";
    } else {
      EXPECT_NEAR(Db(gain), p.expectDb, p.tolerance) << "type " << p.type << " at " << p.hz << " Hz";
    }
  }
}

TEST(EqualizerFFT, FlatIsADelayedCopyWhateverTheBlockSize) {
  // One work block plus half a transform behind, sample for sample.
  constexpr int kLatency = CEffectEqualizerFFT::kTransform + CEffectEqualizerFFT::kHop;
  for (int blockFrames : {1, 37, 360, 4410}) {
    CEffectEqualizerFFT eq;
    std::vector<float> in(2 * 12000), out(2 * 12000);
    for (size_t i = 0; i < in.size(); ++i) in[i] = 0.3f * std::sin(0.0123f * i) + 0.1f * std::sin(0.77f * i);
    out = in;
    for (int f = 0; f < 12000; f += blockFrames) eq.ProcessCore(&out[2 * f], std::min(blockFrames, 12000 - f), 0);
    for (int f = 0; f < kLatency; ++f) ASSERT_NEAR(out[2 * f], 0.0f, 1e-6) << "block " << blockFrames << " frame " << f;
    for (int f = kLatency; f < 12000; ++f) {
      ASSERT_NEAR(out[2 * f + 1], in[2 * (f - kLatency) + 1], 1e-5) << "block " << blockFrames << " frame " << f;
    }
  }
}

TEST(EqualizerFFT, BandsTakeTheirBins) {
  struct Case {
    double hz;
    int band, dB;
    double expectDb, tolerance;
  };
  for (Case c : {Case{50, 1, -12, -12, 0.3}, Case{1000, 2, 6, 6, 0.3}, Case{12000, 3, -6, -6, 0.3},
                 Case{1000, 2, -400, -80, 40} /* killed: at least 40 dB down */, Case{1000, 1, -400, 0, 0.3}}) {
    CEffectEqualizerFFT eq;
    eq.SetParam(c.band, c.dB);
    double gain = MeasuredGain(c.hz, [&](float* b, int f) { eq.ProcessCore(b, f, 0); });
    EXPECT_NEAR(Db(gain), c.expectDb, c.tolerance) << c.hz << " Hz, band " << c.band << " at " << c.dB << " dB";
  }
}

// The largest change between neighbouring samples of the left channel.
struct JumpWatch {
  float last = 0, largest = 0;
  void Watch(const float* b, int frames) {
    for (int i = 0; i < frames; ++i) largest = std::max(largest, std::fabs(b[2 * i] - last)), last = b[2 * i];
  }
};

// A 1 kHz sine of amplitude 0.25 moves by at most 0.25 * 2 pi 1000 / 44100 = 0.036 a sample;
// a gain up to 2 (+6 dB) doubles that. A coefficient or gain snapped in one sample would move
// it by up to the whole amplitude swing.
TEST(Sweeps, FastEqAndFilterMovesDoNotClick) {
  constexpr int kBlock = 64;
  const double step = 0.25 * 2 * M_PI * 1000 / kRate;
  CEffectEqualizerIIR eq;
  ZQCutoffFilter filter;
  filter.SetCutoff(-1.0f, 1);
  JumpWatch eqWatch, filterWatch;
  std::vector<float> a(2 * kBlock), b(2 * kBlock);
  for (int blk = 0; blk < 400; ++blk) {
    for (int i = 0; i < kBlock; ++i) {
      float v = 0.25f * static_cast<float>(std::sin(2 * M_PI * 1000 * (blk * kBlock + i) / kRate));
      a[2 * i] = a[2 * i + 1] = b[2 * i] = b[2 * i + 1] = v;
    }
    eq.SetParam(2, blk % 8 < 4 ? 6 : -40);  // mid band: full boost, then kill, every 4 blocks
    int knob = (blk / 3) % 99 - 99 + (blk % 50 < 25 ? 0 : 99);  // low-pass sweeps, then high-pass
    int lowPass = 0;
    filter.SetCutoff(CutoffKnobHz(knob, &lowPass), lowPass);
    eq.ProcessCore(a.data(), kBlock, 0);
    filter.ProcessStereo(b.data(), kBlock);
    eqWatch.Watch(a.data(), kBlock);
    filterWatch.Watch(b.data(), kBlock);
  }
  EXPECT_LT(eqWatch.largest, 2.0 * step * 1.25);
  EXPECT_LT(filterWatch.largest, step * 1.25);
}

}  // namespace
