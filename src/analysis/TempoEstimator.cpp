#include "analysis/TempoEstimator.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kFps = ZQOnsetEnvelope::kFramesPerSecond;
constexpr int kMaxLag = static_cast<int>(2 * 60 * kFps / ZQTempoEstimator::kSlowest) + 2;
constexpr int kMinFrames = 5 * ZQOnsetEnvelope::kFramesPerSecond;
// Kicks and bass decide the beat; hats and snares only help.
constexpr float kBandWeights[ZQOnsetEnvelope::kBands] = {1.0f, 0.6f, 0.3f};
constexpr int kDetrendRadius = 20;     // frames: the local mean removed, 0.4 s across
constexpr int kGridChunk = 20 * 100;   // frames: a grid is laid over 20 s at a time, so drift does not smear it
constexpr int kMaxBeatsPerChunk = kGridChunk * 240 / 6000 + 2;
constexpr double kStepBpm = 0.5;

// The prior is flat over kPriorLow..kPriorHigh and falls with kPriorSpread octaves outside.
constexpr double kPriorLow = 70.0, kPriorHigh = 180.0, kPriorSpread = 0.5;
double LagOf(double bpm) { return 60.0 * kFps / bpm; }

// How often DJ music sits at a tempo: flat over 70..180, falling by half an octave's spread
// outside, so a level just outside still wins when its grid is clearly better. The levels'
// scores also weigh how strongly the onsets repeat at each (the square root of the periodicity),
// so a grid that fits by chance does not beat a level the music clearly keeps.
double DjPrior(double bpm) {
  const double below = std::log2(kPriorLow / bpm), above = std::log2(bpm / kPriorHigh);
  const double outside = std::max({below, above, 0.0});
  return std::exp(-0.5 * (outside / kPriorSpread) * (outside / kPriorSpread));
}

}  // namespace

ZQTempoEstimator::ZQTempoEstimator()
    : acf_(kMaxLag + 2), beatPeaks_(kMaxBeatsPerChunk), fold_(static_cast<size_t>(LagOf(kSlowest)) + 2) {}

void ZQTempoEstimator::Start(int seconds) {
  envelope_.Start(seconds);
  onsets_.assign(static_cast<size_t>(std::max(seconds, 0)) * ZQOnsetEnvelope::kFramesPerSecond, 0.0f);
  frames_ = 0;
}

// The bands, each scaled to a mean of 1 so a quiet track weighs like a loud one, summed with
// the low band first; then the local mean is taken off and only what stands above it is kept.
void ZQTempoEstimator::BuildOnsetCurve() {
  frames_ = envelope_.frames();
  std::fill(onsets_.begin(), onsets_.begin() + frames_, 0.0f);
  for (int b = 0; b < ZQOnsetEnvelope::kBands; ++b) {
    const float* band = envelope_.band(b);
    double sum = 0.0;
    for (int t = 0; t < frames_; ++t) sum += band[t];
    if (sum <= 0.0) continue;
    const float scale = static_cast<float>(kBandWeights[b] * frames_ / sum);
    for (int t = 0; t < frames_; ++t) onsets_[t] += band[t] * scale;
  }
  // The window runs over the raw values; those already overwritten are kept in a small ring.
  constexpr int kRing = 2 * kDetrendRadius + 2;
  double raw[kRing];
  double window = 0.0;
  int lo = 0, hi = 0;
  for (int t = 0; t < frames_; ++t) {
    for (; hi < std::min(frames_, t + kDetrendRadius + 1); ++hi) window += onsets_[hi];
    for (; lo < t - kDetrendRadius; ++lo) window -= raw[lo % kRing];
    raw[t % kRing] = onsets_[t];
    const float mean = static_cast<float>(window / (hi - lo));
    onsets_[t] = std::max(onsets_[t] - mean, 0.0f);
  }
}

void ZQTempoEstimator::Autocorrelate() {
  for (int lag = 0; lag < static_cast<int>(acf_.size()); ++lag) {
    double sum = 0.0;
    const int count = frames_ - lag;
    for (int t = 0; t < count; ++t) sum += double(onsets_[t]) * onsets_[t + lag];
    acf_[static_cast<size_t>(lag)] = count > 0 ? sum / count : 0.0;
  }
}

double ZQTempoEstimator::Periodicity(double bpm) const {
  auto at = [&](double lag) {
    const int i = static_cast<int>(lag);
    if (i + 1 >= static_cast<int>(acf_.size())) return 0.0;
    const double f = lag - i;
    return acf_[static_cast<size_t>(i)] * (1.0 - f) + acf_[static_cast<size_t>(i + 1)] * f;
  };
  if (acf_[0] <= 0.0) return 0.0;
  const double lag = LagOf(bpm);
  return (at(lag) + 0.5 * at(2.0 * lag)) / (1.5 * acf_[0]);
}

double ZQTempoEstimator::RefinePeak(double bpm) const {
  double best = bpm, bestValue = Periodicity(bpm);
  for (double b = bpm * 0.96; b <= bpm * 1.04; b += 0.1) {
    const double v = Periodicity(b);
    if (v > bestValue) bestValue = v, best = b;
  }
  return best;
}

// A grid at bpm is laid over each 20 s of onsets at its best phase. Recall: the share of the
// onset energy within a frame of its beats. Precision: how many of its beats carry an onset as
// strong as the grid's typical strong beat. A level too slow misses onsets; one too fast has
// empty beats.
double ZQTempoEstimator::GridFit(double bpm) {
  const double period = LagOf(bpm);
  const int bins = std::min(static_cast<int>(std::lround(period)), static_cast<int>(fold_.size()));
  double fitSum = 0.0, weightSum = 0.0;
  for (int from = 0; from + kGridChunk / 2 <= frames_; from += kGridChunk) {
    const int to = std::min(frames_, from + kGridChunk);
    std::fill(fold_.begin(), fold_.begin() + bins, 0.0);
    double total = 0.0;
    for (int t = from; t < to; ++t) {
      const int bin = static_cast<int>(std::fmod(t - from, period) / period * bins) % bins;
      fold_[static_cast<size_t>(bin)] += onsets_[t];
      total += onsets_[t];
    }
    if (total <= 0.0) continue;
    int phase = 0;
    double onGrid = -1.0;
    for (int b = 0; b < bins; ++b) {
      const double s = fold_[static_cast<size_t>((b + bins - 1) % bins)] + fold_[static_cast<size_t>(b)] +
                       fold_[static_cast<size_t>((b + 1) % bins)];
      if (s > onGrid) onGrid = s, phase = b;
    }
    int beats = 0;
    for (double t = from + phase * period / bins; t < to && beats < kMaxBeatsPerChunk; t += period) {
      const int c = static_cast<int>(std::lround(t));
      float peak = 0.0f;
      for (int i = std::max(c - 2, from); i <= std::min(c + 2, to - 1); ++i) peak = std::max(peak, onsets_[i]);
      beatPeaks_[static_cast<size_t>(beats++)] = peak;
    }
    if (beats == 0) continue;
    // The strong beats' level: the 80th percentile of what the grid finds.
    std::vector<float>::iterator mark = beatPeaks_.begin() + static_cast<int>(beats * 0.8);
    std::nth_element(beatPeaks_.begin(), mark, beatPeaks_.begin() + beats);
    const float strong = *mark;
    double precision = 0.0;
    for (int k = 0; k < beats; ++k) precision += strong > 0.0f ? std::min(1.0f, beatPeaks_[k] / strong) : 0.0f;
    precision /= beats;
    fitSum += (onGrid / total) * precision * total;
    weightSum += total;
  }
  return weightSum > 0.0 ? fitSum / weightSum : 0.0;
}

TempoEstimate ZQTempoEstimator::Estimate(TempoRange range) {
  TempoEstimate result;
  BuildOnsetCurve();
  if (frames_ < kMinFrames) return result;
  Autocorrelate();
  double strongest = 0.0, peakBpm = 0.0;
  for (double bpm = kSlowest; bpm <= kFastest; bpm += kStepBpm) {
    const double v = Periodicity(bpm);
    if (v > strongest) strongest = v, peakBpm = bpm;
  }
  if (peakBpm <= 0.0) return result;
  peakBpm = RefinePeak(peakBpm);

  double bestScore = -1.0, bestFit = 0.0;
  for (double ratio : {1.0 / 3.0, 0.5, 2.0 / 3.0, 1.0, 1.5, 2.0, 3.0}) {
    const double candidate = peakBpm * ratio;
    if (candidate < kSlowest || candidate > kFastest) continue;
    const double bpm = ratio == 1.0 ? candidate : RefinePeak(candidate);
    const double fit = GridFit(bpm);
    const double score = fit * std::sqrt(std::max(Periodicity(bpm), 0.0)) * DjPrior(bpm);
    if (score > bestScore) bestScore = score, bestFit = fit, result.bpm = bpm;
  }
  result.confidence = std::clamp((Periodicity(result.bpm) - 0.05) / 0.25, 0.0, 1.0) * std::clamp(bestFit / 0.5, 0.0, 1.0);
  result.bpm = FoldIntoTempoRange(result.bpm, range);
  return result;
}
