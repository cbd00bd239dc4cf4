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
constexpr int kMaxBeatsPerChunk = kGridChunk * 3 / 2 * 240 / 6000 + 2;  // the last stretch may be 1.5 chunks
constexpr double kStepBpm = 0.5;
// A band whose mean flux is below this has no onsets to speak of, only the shimmer of steady
// tones: it is not scaled up to weigh like a band with drums in it.
constexpr double kFluxFloor = 0.02;
// Half-beats weaker than this share of the beats mark the level a DJ counts.
constexpr double kOffBeatLimit = 0.6, kOffBeatLimitFast = 0.95;
// Sharpness to confidence: below the floor nothing repeats, a span above it is certain.
constexpr double kSharpnessFloor = 0.1, kSharpnessSpan = 0.3;

constexpr double kPriorLow = 70.0, kPriorHigh = 180.0, kPriorSpread = 0.5;

double LagOf(double bpm) { return 60.0 * kFps / bpm; }

// How often DJ music sits at a tempo: flat over 70..180, falling by half an octave's spread
// outside. It chooses the level when no level's half-beats are clearly weaker than its beats.
double DjPrior(double bpm) {
  const double below = std::log2(kPriorLow / bpm), above = std::log2(bpm / kPriorHigh);
  const double outside = std::max({below, above, 0.0});
  return std::exp(-0.5 * (outside / kPriorSpread) * (outside / kPriorSpread));
}

}  // namespace

ZQTempoEstimator::ZQTempoEstimator()
    : acf_(kMaxLag + 2),
      beatPeaks_(kMaxBeatsPerChunk),
      halfPeaks_(kMaxBeatsPerChunk),
      fold_(static_cast<size_t>(LagOf(kSlowest)) + 2) {}

void ZQTempoEstimator::Start(int seconds) {
  envelope_.Start(seconds);
  onsets_.assign(static_cast<size_t>(std::max(seconds, 0)) * ZQOnsetEnvelope::kFramesPerSecond, 0.0f);
  frames_ = 0;
}

// The bands, each scaled to a mean of 1 so a quiet track weighs like a loud one, summed with the
// given weights; then the local mean is taken off and only what stands above it is kept.
void ZQTempoEstimator::BuildOnsetCurve(const float* weights, std::vector<float>& curve) {
  std::fill(curve.begin(), curve.begin() + frames_, 0.0f);
  for (int b = 0; b < ZQOnsetEnvelope::kBands; ++b) {
    const float* band = envelope_.band(b);
    double sum = 0.0;
    for (int t = 0; t < frames_; ++t) sum += band[t];
    if (sum <= 0.0) continue;
    const float scale = static_cast<float>(weights[b] / std::max(sum / frames_, kFluxFloor));
    for (int t = 0; t < frames_; ++t) curve[t] += band[t] * scale;
  }
  // The window runs over the raw values; those already overwritten are kept in a small ring.
  constexpr int kRing = 2 * kDetrendRadius + 2;
  double raw[kRing];
  double window = 0.0;
  int lo = 0, hi = 0;
  for (int t = 0; t < frames_; ++t) {
    for (; hi < std::min(frames_, t + kDetrendRadius + 1); ++hi) window += curve[hi];
    for (; lo < t - kDetrendRadius; ++lo) window -= raw[lo % kRing];
    raw[t % kRing] = curve[t];
    const float mean = static_cast<float>(window / (hi - lo));
    curve[t] = std::max(curve[t] - mean, 0.0f);
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

double ZQTempoEstimator::AcfAt(double lag) const {
  const int i = static_cast<int>(lag);
  if (i < 0 || i + 1 >= static_cast<int>(acf_.size())) return 0.0;
  const double f = lag - i;
  return acf_[static_cast<size_t>(i)] * (1.0 - f) + acf_[static_cast<size_t>(i + 1)] * f;
}

double ZQTempoEstimator::Periodicity(double bpm) const {
  if (acf_[0] <= 0.0) return 0.0;
  const double lag = LagOf(bpm);
  return (AcfAt(lag) + 0.5 * AcfAt(2.0 * lag)) / (1.5 * acf_[0]);
}

// A beat repeats sharply: its autocorrelation peak stands above the lags a tenth of a beat
// either side. Noise and swelling pads correlate broadly and have no such peak.
double ZQTempoEstimator::Sharpness(double bpm) const {
  if (acf_[0] <= 0.0) return 0.0;
  const double lag = LagOf(bpm);
  const double sides = std::max(AcfAt(lag * 0.9), AcfAt(lag * 1.1));
  return (AcfAt(lag) - sides) / acf_[0];
}

double ZQTempoEstimator::RefinePeak(double bpm) const {
  double best = bpm, bestValue = Periodicity(bpm);
  for (double b = bpm * 0.96; b <= bpm * 1.04; b += 0.1) {
    const double v = Periodicity(b);
    if (v > bestValue) bestValue = v, best = b;
  }
  return best;
}

// Onsets half-way between the beats of a grid at bpm against onsets on them. Each 20 s is
// folded onto one beat (so slow drift does not smear it) to find the beat's phase; then the
// typical beat and the typical half-beat are the medians of the strongest onset near each, so
// the accent of a chord at the top of every bar does not make its beat look like the only one.
// Near 1: the half-beats are as strong as the beats, so the level is too slow; near 0: the
// level's beats stand alone.
double ZQTempoEstimator::OffBeatRatio(double bpm) {
  const double period = LagOf(bpm);
  const int bins = std::min(static_cast<int>(std::lround(period)), static_cast<int>(fold_.size()));
  if (bins < 4) return 0.0;
  double on = 0.0, off = 0.0;
  auto peakNear = [&](double t, int from, int to) {
    const int c = static_cast<int>(std::lround(t));
    float peak = 0.0f;
    for (int i = std::max(c - 2, from); i <= std::min(c + 2, to - 1); ++i) peak = std::max(peak, onsets_[i]);
    return peak;
  };
  auto median = [](std::vector<float>& values, int count) {
    std::nth_element(values.begin(), values.begin() + count / 2, values.begin() + count);
    return values[static_cast<size_t>(count / 2)];
  };
  // The last stretch joins the one before when it is under half a chunk; a short track is one.
  for (int from = 0; from < frames_; from += kGridChunk) {
    const int to = frames_ - (from + kGridChunk) < kGridChunk / 2 ? frames_ : from + kGridChunk;
    std::fill(fold_.begin(), fold_.begin() + bins, 0.0);
    for (int t = from; t < to; ++t) {
      fold_[static_cast<size_t>(static_cast<int>(std::fmod(t - from, period) / period * bins) % bins)] += onsets_[t];
    }
    auto smoothed = [&](int b) {
      return fold_[static_cast<size_t>((b + bins - 1) % bins)] + fold_[static_cast<size_t>(b % bins)] +
             fold_[static_cast<size_t>((b + 1) % bins)];
    };
    int phase = 0;
    for (int b = 1; b < bins; ++b) {
      if (smoothed(b) > smoothed(phase)) phase = b;
    }
    int beats = 0;
    for (double t = from + phase * period / bins; t + period / 2 < to && beats < kMaxBeatsPerChunk; t += period) {
      beatPeaks_[static_cast<size_t>(beats)] = peakNear(t, from, to);
      halfPeaks_[static_cast<size_t>(beats)] = peakNear(t + period / 2, from, to);
      ++beats;
    }
    if (beats == 0) continue;
    const double weight = to - from;
    on += weight * median(beatPeaks_, beats);
    off += weight * median(halfPeaks_, beats);
    if (to == frames_) break;
  }
  // No beat found at all: no evidence for this level.
  return on > 0.0 ? off / on : 1.0;
}

TempoEstimate ZQTempoEstimator::Estimate(TempoRange range) {
  TempoEstimate result;
  frames_ = envelope_.frames();
  BuildOnsetCurve(kBandWeights, onsets_);

  if (frames_ < kMinFrames) return result;
  Autocorrelate();
  double strongest = 0.0, peakBpm = 0.0;
  for (double bpm = kSlowest; bpm <= kFastest; bpm += kStepBpm) {
    const double v = Periodicity(bpm);
    if (v > strongest) strongest = v, peakBpm = bpm;
  }
  if (peakBpm <= 0.0) return result;
  peakBpm = RefinePeak(peakBpm);

  // The beat is the slowest level of the peak's octave family whose half-beats are clearly
  // weaker than its beats: slower levels have beats on their half-beats, faster ones are
  // subdivisions. Where no level stands out, the DJ prior chooses.
  double level = peakBpm;
  while (level / 2.0 >= kSlowest) level /= 2.0;
  result.bpm = 0.0;
  double fallback = 0.0, fallbackPrior = -1.0;
  for (; level <= kFastest; level *= 2.0) {
    const double bpm = RefinePeak(level);
    if (DjPrior(bpm) > fallbackPrior) fallbackPrior = DjPrior(bpm), fallback = bpm;
    // Doubling past the top of DJ tempi takes half-beats nearly as strong as the beats.
    const double limit = 2.0 * bpm > kPriorHigh ? kOffBeatLimitFast : kOffBeatLimit;
    if (result.bpm == 0.0 && OffBeatRatio(bpm) < limit) result.bpm = bpm;
  }
  if (result.bpm == 0.0) result.bpm = fallback;
  result.confidence = std::clamp((Sharpness(result.bpm) - kSharpnessFloor) / kSharpnessSpan, 0.0, 1.0);
  result.bpm = FoldIntoTempoRange(result.bpm, range);
  return result;
}
