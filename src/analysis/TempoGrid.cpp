#include "analysis/TempoGrid.h"

#include <cmath>

#include "analysis/StripeMarks.h"

namespace {

constexpr int kShortTrackSeconds = 20;  // shorter tracks need a confident estimate for a grid
constexpr int kMinStretchMarks = 16;
// A gap between marks keeps step when it is a whole number of beats within this share of one.
constexpr double kStepTolerance = 0.15;
constexpr int kMaxGapBeats = 8;
// The typed-tempo path takes hints from 57 up; slower estimates go to the range search.
constexpr double kSlowestHint = 57.0;

// The estimator's envelope runs at 100 frames a second, the stripe at 441 entries. An attack
// peaks in the envelope about a frame and a half after it starts (the rise is steepest as it
// reaches the middle of the window), and in the walk's onset curve 33 entries after it (the
// smoothing kernel's delay, which the marks are shifted back by).
constexpr double kEntriesPerFrame = 4.41;
constexpr double kEnvelopeDelayFrames = 1.5;
constexpr double kOnsetCurveDelay = 33.0;

class EstimatedPhase final : public ZQBeatPhase {
 public:
  EstimatedPhase(ZQTempoEstimator& estimator, double bpm) : estimator_(estimator), bpm_(bpm) {}
  double BeatNear(double entry) override {
    const double frame = (entry - kOnsetCurveDelay) / kEntriesPerFrame - kEnvelopeDelayFrames;
    const double beat = estimator_.BeatNear(frame, bpm_);
    return beat < 0.0 ? -1.0 : (beat + kEnvelopeDelayFrames) * kEntriesPerFrame + kOnsetCurveDelay;
  }

 private:
  ZQTempoEstimator& estimator_;
  double bpm_;
};

struct LineFit {
  double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
  void Add(double x, double y) { n += 1, sx += x, sy += y, sxx += x * x, sxy += x * y; }
  double Slope() const {
    const double d = n * sxx - sx * sx;
    return d > 0.0 ? (n * sxy - sx * sy) / d : 0.0;
  }
};

}  // namespace

double TempoFromMarks(const float* A, int n, double bpm) {
  if (!A || !(bpm > 0.0)) return 0.0;
  const double period = ZQBeatDetector::kLagToBpm / bpm;
  LineFit best, current;
  int previous = -1;
  double beat = 0.0;
  for (int i = 0; i < n; ++i) {
    if (!IsMarked(A[i])) continue;
    if (previous >= 0) {
      const double gap = (i - previous) / period;
      const double whole = std::round(gap);
      if (whole < 1.0 || whole > kMaxGapBeats || std::fabs(gap - whole) > kStepTolerance) {
        if (current.n > best.n) best = current;
        current = LineFit();
        beat = 0.0;
      } else {
        beat += whole;
      }
    }
    current.Add(beat, i);
    previous = i;
  }
  if (current.n > best.n) best = current;
  if (best.n < kMinStretchMarks) return 0.0;
  const double slope = best.Slope();
  return slope > 0.0 ? ZQBeatDetector::kLagToBpm / slope : 0.0;
}

TempoResult DetectTempoAndGrid(ZQBeatDetector& detector, ZQTempoEstimator& estimator, float* A, float* B,
                               int n, int seconds, TempoRange range, bool followEstimatedBeat) {
  TempoResult result;
  const TempoEstimate estimate = estimator.Estimate(range);
  result.confidence = static_cast<float>(estimate.confidence);
  float bpm = 0.0f;
  if (estimate.confidence >= ZQTempoEstimator::kConfident && estimate.bpm >= kSlowestHint) {
    // The walk keeps to the estimator's beat: on half-time drums the low band hears mostly the
    // bass line between the beats.
    EstimatedPhase phase(estimator, estimate.bpm);
    bpm = detector.DetectBpm(n, A, B, seconds, static_cast<int>(std::lround(estimate.bpm)),
                             followEstimatedBeat ? &phase : nullptr);
  } else if (estimate.confidence >= ZQTempoEstimator::kBeatless && seconds >= kShortTrackSeconds) {
    bpm = detector.DetectBpm(n, A, B, seconds, 0);
  } else {
    return result;
  }
  if (!(bpm > 0.0f)) return TempoResult{0.0f, result.confidence};
  const double measured = TempoFromMarks(A, n, bpm);
  // The walk's own average stands when the marks are too few or disagree with it.
  if (measured > 0.0 && std::fabs(measured / bpm - 1.0) < 0.02) bpm = static_cast<float>(measured);
  result.bpm = bpm;
  return result;
}
