#include "analysis/TempoEstimator.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kFps = ZQOnsetEnvelope::kFramesPerSecond;
constexpr int kMaxLag = static_cast<int>(2 * 60 * kFps / ZQTempoEstimator::kSlowest) + 2;
constexpr int kMinFrames = 5 * ZQOnsetEnvelope::kFramesPerSecond;
// Kicks and bass decide the beat; hats and snares only help.
constexpr float kBandWeights[ZQOnsetEnvelope::kBands] = {1.0f, 0.6f, 0.3f};

// The beat's phase: the bass line's own onsets (often on the off-beats) are in the kick band, so
// snares and hats weigh as much as kicks there.
constexpr float kDrumWeights[ZQOnsetEnvelope::kBands] = {1.0f, 1.0f, 1.0f};

constexpr int kDetrendRadius = 20;     // frames: the local mean removed, 0.4 s across
constexpr int kGridChunk = 20 * 100;   // frames: a grid is laid over 20 s at a time, so drift does not smear it
constexpr int kMaxBeatsPerChunk = kGridChunk * 3 / 2 * 240 / 6000 + 2;  // the last stretch may be 1.5 chunks
constexpr double kStepBpm = 0.5;
// A band whose mean flux is below this has no onsets to speak of, only the shimmer of steady
// tones: it is not scaled up to weigh like a band with drums in it.
constexpr double kFluxFloor = 0.02;
// A band whose mean flux is below this has nothing in it at all (a sine, a pad without highs):
// its curve is not asked which level is the beat.
constexpr double kBandSilent = 0.001;
// Music with a beat has attacks: drums put a band mean of 0.07 or more in the kick band alone,
// while a pad of steady partials stays near 0.01 over all three bands together.
constexpr double kFaintestAttacks = 0.03;
// The level choice. No DJ counts a beat slower than kLowestBeat. Kicks this strong on a level's
// half-beats or thirds repeat faster than the level; hats this strong on the half-beats divide
// it; hats this weak there have settled on the level as their beat. Hats settle on a beat only
// up to kHighestHatBeat: faster, they are eighths over a slower beat.
constexpr double kLowestBeat = 55.0;
constexpr double kRepeats = 0.8, kRepeatsOnThirds = 0.45;  // two onsets a beat must both land: a lower bar
constexpr double kSubdivided = 0.55, kSettled = 0.3;
constexpr double kHighestHatBeat = 210.0;
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
      thirdPeaks_(kMaxBeatsPerChunk),
      fold_(static_cast<size_t>(LagOf(kSlowest)) + 2) {}

void ZQTempoEstimator::Start(int seconds) {
  envelope_.Start(seconds);
  const size_t frames = static_cast<size_t>(std::max(seconds, 0)) * ZQOnsetEnvelope::kFramesPerSecond;
  onsets_.assign(frames, 0.0f);
  for (auto& curve : bandCurves_) curve.assign(frames, 0.0f);
  drums_.assign(frames, 0.0f);
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
    if (weights[b] > 0.0f) bandMean_[b] = sum / std::max(frames_, 1);
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

// The peak to a fraction of a frame: a whole-frame lag is 1.7 % at 100 BPM, enough for a grid
// to drift off the beats within a bar or two, so the lag's multiples (as many as the
// autocorrelation holds) are summed too, each of which sees the error that many times over.
double ZQTempoEstimator::RefinePeak(double bpm) const {
  auto spread = [&](double b) {
    const double lag = LagOf(b);
    double sum = 0.0;
    for (double at = lag; at + 1.0 < static_cast<double>(acf_.size()); at += lag) sum += AcfAt(at);
    return sum;
  };
  double best = bpm, bestValue = -1.0;
  for (double b = bpm * 0.96; b <= bpm * 1.04; b += 0.02) {
    const double v = spread(b);
    if (v > bestValue) bestValue = v, best = b;
  }
  return best;
}

// Onsets half-way and a third of the way between the beats of a grid at bpm, against onsets on
// them. Each 20 s is folded onto one beat (so slow drift does not smear it) to find the beat's
// phase; then the typical beat, half-beat and third are the medians of the strongest onset near
// each, so the accent of a chord at the top of every bar does not make its beat look like the
// only one. A half near 1: the half-beats are as busy as the beats, so the level is too slow;
// near 0: the level's beats stand alone.
ZQTempoEstimator::Subdivision ZQTempoEstimator::Subdivide(const std::vector<float>& curve, double bpm) {
  Subdivision result;
  const double period = LagOf(bpm);
  const int bins = BinsFor(period);
  if (bins < 4) return Subdivision{0.0, 0.0};
  double on = 0.0, half = 0.0, third = 0.0;
  auto peakNear = [&](double t, int from, int to) {
    const int c = static_cast<int>(std::lround(t));
    float peak = 0.0f;
    for (int i = std::max(c - 2, from); i <= std::min(c + 2, to - 1); ++i) peak = std::max(peak, curve[i]);
    return peak;
  };
  auto median = [](std::vector<float>& values, int count) {
    std::nth_element(values.begin(), values.begin() + count / 2, values.begin() + count);
    return values[static_cast<size_t>(count / 2)];
  };
  // The last stretch joins the one before when it is under half a chunk; a short track is one.
  for (int from = 0; from < frames_; from += kGridChunk) {
    const int to = frames_ - (from + kGridChunk) < kGridChunk / 2 ? frames_ : from + kGridChunk;
    Fold(curve, from, to, period);
    const int phase = std::max(StrongestBin(bins), 0);
    int beats = 0;
    for (double t = from + phase * period / bins; t + period < to && beats < kMaxBeatsPerChunk; t += period) {
      const size_t k = static_cast<size_t>(beats++);
      beatPeaks_[k] = peakNear(t, from, to);
      halfPeaks_[k] = peakNear(t + period / 2, from, to);
      // Both thirds must sound: one alone is a shuffle's swung off-beat, not a triplet pulse.
      thirdPeaks_[k] = std::min(peakNear(t + period / 3, from, to), peakNear(t + 2 * period / 3, from, to));
    }
    if (beats == 0) continue;
    const double weight = to - from;
    on += weight * median(beatPeaks_, beats);
    half += weight * median(halfPeaks_, beats);
    third += weight * median(thirdPeaks_, beats);
    if (to == frames_) break;
  }
  // No beat found at all: no evidence for this level.
  if (on <= 0.0) return result;
  result.half = half / on;
  result.third = third / on;
  return result;
}

int ZQTempoEstimator::BinsFor(double period) const {
  return std::min(static_cast<int>(std::lround(period)), static_cast<int>(fold_.size()));
}

int ZQTempoEstimator::Fold(const std::vector<float>& curve, int from, int to, double period) {
  const int bins = BinsFor(period);
  if (bins < 4) return 0;
  std::fill(fold_.begin(), fold_.begin() + bins, 0.0);
  // Where each frame falls in the beat, stepped rather than divided out frame by frame.
  const double binsPerFrame = bins / period;
  double position = 0.0;
  for (int t = from; t < to; ++t) {
    fold_[static_cast<size_t>(std::min(static_cast<int>(position), bins - 1))] += curve[t];
    position += binsPerFrame;
    if (position >= bins) position -= bins;
  }
  return bins;
}

// The bin where the beat falls, smoothed over its neighbours so one stray onset does not decide.
int ZQTempoEstimator::StrongestBin(int bins) const {
  auto smoothed = [&](int b) {
    return fold_[static_cast<size_t>((b + bins - 1) % bins)] + fold_[static_cast<size_t>(b % bins)] +
           fold_[static_cast<size_t>((b + 1) % bins)];
  };
  int phase = 0;
  for (int b = 1; b < bins; ++b) {
    if (smoothed(b) > smoothed(phase)) phase = b;
  }
  return smoothed(phase) > 0.0 ? phase : -1;
}

// The fold is tried at the tempo and a little either side, and the sharpest wins: across a tempo
// change the 20 s may not run at the track's main tempo, and a fold at the wrong one smears.
double ZQTempoEstimator::BeatNear(double frame, double bpm) {
  if (!(bpm > 0.0) || frames_ <= 0) return -1.0;
  const int from = std::clamp(static_cast<int>(frame) - kGridChunk / 2, 0, std::max(frames_ - kGridChunk, 0));
  const int to = std::min(from + kGridChunk, frames_);
  double bestSharpness = 0.0, first = -1.0, period = LagOf(bpm);
  for (double scale : {1.0, 0.98, 1.02, 0.96, 1.04}) {
    const double p = LagOf(bpm * scale);
    const int bins = Fold(drums_, from, to, p);
    const int phase = bins > 0 ? StrongestBin(bins) : -1;
    if (phase < 0) continue;
    double total = 0.0;
    for (int b = 0; b < bins; ++b) total += fold_[static_cast<size_t>(b)];
    const double peak = fold_[static_cast<size_t>((phase + bins - 1) % bins)] + fold_[static_cast<size_t>(phase)] +
                        fold_[static_cast<size_t>((phase + 1) % bins)];
    const double sharpness = peak / total;
    if (sharpness > bestSharpness) bestSharpness = sharpness, first = from + phase * p / bins, period = p;
  }
  if (first < 0.0) return -1.0;
  return first + std::round((frame - first) / period) * period;
}

// The beat a DJ counts among the levels related to the strongest period, from the slowest up:
//  - kicks as strong on a level's thirds as on its beats mean the level is a third of the beat;
//  - where the hats sit on every beat and also on every half-beat one level slower, the hats
//    mark the beat (half-time drums: the kick and snare move at half the hats' pace);
//  - a level is too slow when the kicks repeat on its half-beats, or when the hats divide its
//    beats in two and no further (dense sixteenth hats are texture, not the beat).
// Where nothing decides, the DJ prior chooses.
double ZQTempoEstimator::ChooseLevel(double peakBpm) {
  double level = peakBpm;
  while (level / 2.0 >= kLowestBeat) level /= 2.0;
  while (level < kLowestBeat) level *= 2.0;
  const bool hats = bandMean_[kHat] >= kBandSilent;
  auto hatHalf = [&](double bpm) { return hats ? Subdivide(bandCurves_[kHat], bpm).half : 0.0; };
  double fallback = 0.0, fallbackPrior = -1.0;
  bool tripled = false;
  for (; level <= kFastest; level *= 2.0) {
    // Exact multiples of the refined peak: a weak level refined on its own may land a fraction of
    // a percent off, enough on a short track for its grid to drift off the beats.
    const double bpm = level;
    if (DjPrior(bpm) > fallbackPrior) fallbackPrior = DjPrior(bpm), fallback = bpm;
    const Subdivision kick = Subdivide(bandCurves_[kKick], bpm);
    if (!tripled && kick.third >= kRepeatsOnThirds && 3.0 * bpm <= kFastest) {
      tripled = true;
      level = 1.5 * bpm;  // doubled by the loop: the next level tried is three times this one
      fallback = 0.0, fallbackPrior = -1.0;
      continue;
    }
    const double hat = hatHalf(bpm);
    if (hats && bpm <= kHighestHatBeat && hat < kSettled && hatHalf(bpm / 2.0) >= kSubdivided) return bpm;
    const bool hatsDivideOnce = hat >= kSubdivided && hatHalf(2.0 * bpm) < kSubdivided;
    if (kick.half < kRepeats && !hatsDivideOnce) return bpm;
  }
  return fallback;
}

TempoEstimate ZQTempoEstimator::Estimate(TempoRange range) {
  TempoEstimate result;
  frames_ = envelope_.frames();
  BuildOnsetCurve(kBandWeights, onsets_);
  for (int b = 0; b < ZQOnsetEnvelope::kBands; ++b) {
    float alone[ZQOnsetEnvelope::kBands] = {};
    alone[b] = 1.0f;
    BuildOnsetCurve(alone, bandCurves_[b]);
  }
  BuildOnsetCurve(kDrumWeights, drums_);

  if (frames_ < kMinFrames) return result;
  Autocorrelate();
  double strongest = 0.0, peakBpm = 0.0;
  for (double bpm = kSlowest; bpm <= kFastest; bpm += kStepBpm) {
    const double v = Periodicity(bpm);
    if (v > strongest) strongest = v, peakBpm = bpm;
  }
  if (peakBpm <= 0.0) return result;
  peakBpm = RefinePeak(peakBpm);

  result.bpm = ChooseLevel(peakBpm);
  // How clearly the music keeps a beat at any level of it: half-time drums repeat sharply at
  // the groove's half tempo while their beat rests on hats alone.
  const double sharpest = std::max({Sharpness(result.bpm), Sharpness(result.bpm / 2.0), Sharpness(result.bpm * 2.0)});
  result.confidence = std::clamp((sharpest - kSharpnessFloor) / kSharpnessSpan, 0.0, 1.0);
  // Steady tones repeat sharply too (two partials in one band beat at an exact rate), but they
  // never attack: without attacks anywhere there is no beat, however regular the shimmer.
  if (bandMean_[0] + bandMean_[1] + bandMean_[2] < kFaintestAttacks) result.confidence = 0.0;
  result.bpm = FoldIntoTempoRange(result.bpm, range);
  return result;
}
