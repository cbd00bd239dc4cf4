#include "effects/CutoffFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>


namespace {

// RMS of the analysis filter's output for a sine, after a second to settle.
double AnalysisRms(float cutoff, int lowPass, double hz) {
  ZQCutoffFilter filter;
  filter.SetCutoff(cutoff, lowPass);
  std::vector<float> block(8820);
  double sum = 0.0;
  int count = 0;
  for (int b = 0; b < 10; ++b) {
    for (int i = 0; i < 8820; ++i) block[i] = static_cast<float>(std::sin(2 * M_PI * hz * (b * 8820 + i) / 44100.0));
    filter.ProcessAnalysis(block.data(), 8820);
    if (b < 5) continue;
    for (float v : block) sum += double(v) * v, ++count;
  }
  return std::sqrt(sum / count);
}

TEST(CutoffFilter, AnalysisBandsPassTheirSideAndStopTheOther) {
  const double pass = AnalysisRms(215.0f, 1, 60.0);
  // Six poles: two octaves above the corner is more than 60 dB down.
  EXPECT_LT(AnalysisRms(215.0f, 1, 1000.0), pass * 1e-3);
  const double highPass = AnalysisRms(132.0f, 0, 1000.0);
  EXPECT_LT(AnalysisRms(132.0f, 0, 30.0), highPass * 1e-3);
  EXPECT_GT(pass, 0.0);
}

TEST(CutoffFilter, ConstantBlockPassesUntouchedAndLeavesNoState) {
  ZQCutoffFilter a, b;
  a.SetCutoff(215.0f, 1);
  b.SetCutoff(215.0f, 1);
  std::vector<float> constant(8820, 0.25f);
  a.ProcessAnalysis(constant.data(), 8820);
  for (float v : constant) ASSERT_EQ(v, 0.25f);
  // Afterwards a filter that saw the constant block behaves as a fresh one.
  std::vector<float> x(8820), y(8820);
  for (int i = 0; i < 8820; ++i) x[i] = y[i] = static_cast<float>(std::sin(i * 0.01));
  a.ProcessAnalysis(x.data(), 8820);
  b.ProcessAnalysis(y.data(), 8820);
  EXPECT_EQ(x, y);
}

TEST(CutoffFilter, StereoKnobFiltersEachChannelAndBypassLeavesTheBlock) {
  ZQCutoffFilter filter;
  filter.SetCutoff(-1.0f, 1);
  std::vector<float> block(2 * 4410);
  for (size_t i = 0; i < block.size(); ++i) block[i] = (i % 4 < 2) ? 1.0f : -1.0f;  // Nyquist/2 on both
  auto original = block;
  filter.ProcessStereo(block.data(), 4410);
  EXPECT_EQ(block, original);
  filter.SetCutoff(500.0f, 1);
  filter.ProcessStereo(block.data(), 4410);
  double left = 0, right = 0;
  for (int f = 2000; f < 4410; ++f) left += std::fabs(block[2 * f]), right += std::fabs(block[2 * f + 1]);
  EXPECT_LT(left / 2410, 1e-3);
  EXPECT_NEAR(left, right, 1e-3);
}

}  // namespace
