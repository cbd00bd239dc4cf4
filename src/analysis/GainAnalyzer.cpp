#include "analysis/GainAnalyzer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "analysis/GainCoefficients.h"

namespace {

constexpr double kPinkReference = 64.82;
constexpr double kUpperFraction = 0.050000000000000044;
// Keeps the recursive sections out of denormal numbers after the music stops; far below one
// step of a sixteen-bit sample, so the figure does not move.
constexpr double kDenormalGuard = 1e-10;

}  // namespace

double ZQGainAnalyzer::ChannelFilter::Step(double x, const double* yule, const double* butter) {
  static_assert(sizeof yuleIn == 2 * kYuleOrder * sizeof(double), "each of the ten is stored twice");
  const double* in = yuleIn + yuleHead;
  const double* out = yuleOut + yuleHead;
  // Four partial sums, not one: the adds of one long chain wait on each other, and the filter
  // runs for every sample of every song.
  static_assert(kYuleOrder % 2 == 0, "the history is summed in pairs");
  double feedEven = kDenormalGuard + x * yule[0], feedOdd = 0.0, backEven = 0.0, backOdd = 0.0;
  for (int k = 0; k < kYuleOrder; k += 2) {
    feedEven += in[k] * yule[2 * k + 2];
    feedOdd += in[k + 1] * yule[2 * k + 4];
    backEven += out[k] * yule[2 * k + 1];
    backOdd += out[k + 1] * yule[2 * k + 3];
  }
  const double y = (feedEven + feedOdd) - (backEven + backOdd);
  yuleHead = (yuleHead + kYuleOrder - 1) % kYuleOrder;
  yuleIn[yuleHead] = yuleIn[yuleHead + kYuleOrder] = x;
  yuleOut[yuleHead] = yuleOut[yuleHead + kYuleOrder] = y;
  double z = y * butter[0] - butterOut[0] * butter[1] + butterIn[0] * butter[2] -
             butterOut[1] * butter[3] + butterIn[1] * butter[4];
  butterIn[1] = butterIn[0], butterIn[0] = y;
  butterOut[1] = butterOut[0], butterOut[0] = z;
  return z;
}

void ZQGainAnalyzer::ClearFilters() {
  channels_[0] = ChannelFilter{};
  channels_[1] = ChannelFilter{};
  leftSum_ = rightSum_ = 0.0;
  windowFill_ = 0;
}

int ZQGainAnalyzer::Init(int rate) {
  const int* end = kGainRateTable + kGainRates;
  const int* found = std::find(kGainRateTable, end, rate);
  if (found == end) return 0;
  rateIndex_ = static_cast<int>(found - kGainRateTable);
  windowSamples_ = static_cast<int>(std::ceil(rate * 0.05));
  ClearFilters();
  histogram_.fill(0);
  return 1;
}

void ZQGainAnalyzer::CloseWindow() {
  const double meanSquare = (leftSum_ + rightSum_) / windowSamples_ * 0.5 + 1e-37;
  int bucket = static_cast<int>(1000.0 * std::log10(meanSquare));
  bucket = std::clamp(bucket, 0, kBuckets - 1);
  histogram_[static_cast<size_t>(bucket)] += 1;
  leftSum_ = rightSum_ = 0.0;
  windowFill_ = 0;
}

int ZQGainAnalyzer::Analyze(const float* left, const float* right, int count, int channels) {
  if (rateIndex_ < 0) return 0;
  if (count == 0) return 1;
  if (channels == 1) right = left;
  else if (channels != 2) return 0;
  const double* yule = kYuleCoefficients[rateIndex_];
  const double* butter = kButterCoefficients[rateIndex_];
  for (int i = 0; i < count; ++i) {
    const double l = channels_[0].Step(left[i], yule, butter);
    leftSum_ += l * l;
    if (channels == 1) {
      // Mono: both sides are the same signal, so the right filter would repeat the left.
      rightSum_ += l * l;
    } else {
      const double r = channels_[1].Step(right[i], yule, butter);
      rightSum_ += r * r;
    }
    if (++windowFill_ >= windowSamples_) CloseWindow();
  }
  return 1;
}

double ZQGainAnalyzer::GetResult() {
  uint64_t total = 0;
  for (uint32_t n : histogram_) total += n;
  double result = kNoGain;
  if (total > 0) {
    auto upper = static_cast<int64_t>(std::ceil(static_cast<double>(total) * kUpperFraction));
    int i = kBuckets - 1;
    for (; i > 0; --i) {
      upper -= histogram_[static_cast<size_t>(i)];
      if (upper < 1) break;
    }
    // The loudest windows all below one sample step: digital silence. Reported as no gain so
    // that auto-gain never turns a silent track up by 65 dB.
    if (i > 0) result = kPinkReference - i * 0.01;
  }
  for (int k = 0; k < kBuckets; ++k) album_[static_cast<size_t>(k)] += histogram_[static_cast<size_t>(k)];
  histogram_.fill(0);
  ClearFilters();
  return result;
}
