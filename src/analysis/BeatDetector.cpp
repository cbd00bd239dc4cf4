#include "analysis/BeatDetector.h"

#include <algorithm>
#include <cmath>

#include "analysis/StripeMarks.h"

namespace {

constexpr int kEntriesPerSecond = 441;
constexpr int kMarkShift = 33;  // 75 ms: the delay of the analysis band filters
constexpr int kMinWalkBeats = 21;
constexpr int kTrials = 8;
// A walk that keeps losing the beat restarts on what is left; past this depth the rest of the
// track keeps the grid it has, so a pathological stripe cannot make the walk quadratic.
constexpr int kMaxWalkDepth = 64;

int Round(double v) { return static_cast<int>(std::lround(v)); }

// Adds a mark unless the entry already carries one: the forward and backward walks start at the
// same beat, and two marks on one entry would leave every band.
void AddMark(float* A, int n, int index, float mark) {
  if (index < 0 || index >= n || IsMarked(A[index])) return;
  A[index] += mark;
}

void RemoveMarks(float* A, int n, int from, int to) {
  from = std::max(from, 0);
  to = std::min(to, n);
  for (int i = from; i < to; ++i) A[i] = WithoutMark(A[i]);
}

}  // namespace

ZQBeatDetector::ZQBeatDetector() {
  // Rises and falls exponentially, deliberately unnormalised: only its shape matters.
  for (int k = 0; k <= 32; ++k) kernel[static_cast<size_t>(k)] = std::pow(1.145, k);
  for (int k = 33; k < 66; ++k) kernel[static_cast<size_t>(k)] = std::pow(1.145, 66 - k);
}

float ZQBeatDetector::OnsetCurve(const float* A, float* B, int n, int seconds) const {
  const int M = std::max(seconds * kEntriesPerSecond - kEntriesPerSecond, 0);
  std::fill(B, B + n, 0.0f);
  double previous = 0.0;
  for (int i = 0; i <= M && i < n; ++i) {
    double s = 0.0;
    const int taps = std::min(i, 65);
    for (int k = 0; k <= taps; ++k) s += std::fabs(WithoutMark(A[i - k])) * kernel[static_cast<size_t>(k)];
    // Only rises count: B[i] = s[i+1] - s[i], negatives dropped.
    if (i > 0) B[i - 1] = static_cast<float>(std::max(s - previous, 0.0));
    previous = s;
  }
  float peak = 0.0f;
  for (int i = 0; i < M && i < n; ++i) peak = std::max(peak, B[i]);
  if (peak > 0.5f) {
    const float scale = 1.0f / peak;
    for (int i = 0; i < M && i < n; ++i) B[i] *= scale;
  }
  return peak;
}

int ZQBeatDetector::CoarseSearch(const float* B, int seconds, int firstBpm, int lastBpm, double& bestTotal) {
  for (auto& row : scores_) row.fill(0.0);
  const int seg = seconds < 30 ? 10 : 30;
  const int count = (seconds - 9) / seg;
  const int span = seg * kEntriesPerSecond - 1;
  int best = 0;
  bestTotal = 0.0;
  for (int b = firstBpm; b <= lastBpm; ++b) {
    auto& row = scores_[static_cast<size_t>(b)];
    const int lag = Round(kLagToBpm / b);
    for (int m : {1, 4, 8}) {  // two beats deliberately left out
      for (int j = 0; j < count; ++j) {
        const float* base = B + j * seg * kEntriesPerSecond;
        const float* ahead = base + lag * m;
        double acc = 0.0;
        for (int i = 0; i < span; ++i) acc += double(ahead[i]) * base[i];
        row[static_cast<size_t>(m + 1)] += acc;
        row[0] += m == 1 ? 2.0 * acc : acc;  // the beat itself counts double
      }
    }
    if (row[0] >= bestTotal) bestTotal = row[0], best = b;  // ties to the higher tempo
  }
  return best;
}

float ZQBeatDetector::FineLag(const float* B, int n, int seconds, int bpm, int multiple) const {
  const int length = seconds * kEntriesPerSecond - 3970;
  const int first = Round(kLagToBpm / (bpm + 1));
  const int last = Round(kLagToBpm / (bpm - 1));
  int bestLag = first;
  double bestAcc = -1.0;
  for (int L = first; L < last; ++L) {
    const int reach = std::min(length, n - L * multiple);
    double acc = 0.0;
    for (int i = 0; i < reach; ++i) acc += double(B[i + L * multiple]) * B[i];
    if (acc >= bestAcc) bestAcc = acc, bestLag = L;  // ties to the longer lag
  }
  return static_cast<float>(kLagToBpm / bestLag);
}

float ZQBeatDetector::DetectBpm(int n, float* A, float* B, int seconds, int hint, ZQBeatPhase* phase) {
  if (!A || !B || n <= 0) return 0.0f;
  seconds = std::min(seconds, n / kEntriesPerSecond);
  const float onsetPeak = OnsetCurve(A, B, n, seconds);
  if (seconds < 10) return 0.0f;
  // No rise anywhere (silence, a constant): no beat, so no tempo and no marks rather than a
  // grid laid over nothing.
  if (onsetPeak <= 0.0f) return 0.0f;

  int firstBpm = 76, lastBpm = 150;
  if (hint == -1) firstBpm = 56, lastBpm = 100;
  else if (hint == -2) firstBpm = 101, lastBpm = 195;
  else if (hint != 0) {
    // A typed tempo is held above 57, where the fine search's lags (26460/(b-1)) stay finite
    // and eight beats still fit the curve; fast tempi need no bound below 300, the score rows.
    const int b = std::clamp(hint, 57, kScoreRows - 2);
    firstBpm = b - 1, lastBpm = b + 1;
  }
  double bestTotal = 0.0;
  const int best = CoarseSearch(B, seconds, firstBpm, lastBpm, bestTotal);
  if (best < 10) return -1.0f;
  // Segments were compared and nothing repeats at any tempo: a beatless track.
  if (bestTotal <= 0.0 && (seconds - 9) / (seconds < 30 ? 10 : 30) > 0) return 0.0f;
  const auto& row = scores_[static_cast<size_t>(best)];
  int multiple = 0;
  double top = -1.0;
  for (int m = 0; m + 1 < kScoreColumns; ++m) {
    if (row[static_cast<size_t>(m + 1)] > top) top = row[static_cast<size_t>(m + 1)], multiple = m;
  }
  // Too short for a single segment: every score is 0, and the beat itself is searched for.
  if (multiple == 0) multiple = 1;
  float bpm = FineLag(B, n, seconds, best, multiple);

  bpmSum = 0.0;
  bpmCount = 0;
  float walked = bpm;
  phase_ = phase;
  WalkSegment(B, n, bpm, 5.0, n - 5, walked, A);
  phase_ = nullptr;
  if (bpmSum > 10.0 && bpmCount > 0) bpm = static_cast<float>(bpmSum / bpmCount);

  // Marks go 33 entries (75 ms) earlier to undo the delay of the band filters; the earlier entry
  // is overwritten, signal included.
  for (int i = kMarkShift; i < n; ++i) {
    if (A[i] > 50.0f) {
      A[i - kMarkShift] = A[i];
      A[i] = WithoutMark(A[i]);
    }
  }
  return bpm;
}

void ZQBeatDetector::WalkSegment(const float* B, int n, float bpm, double lo, double hi,
                                 float& out, float* A) {
  WalkSegmentAt(B, n, bpm, lo, hi, out, A, 0);
}

void ZQBeatDetector::WalkSegmentAt(const float* B, int n, float bpm, double lo, double hi,
                                   float& out, float* A, int depth) {
  if (bpm <= 0.0f || depth > kMaxWalkDepth) return;
  const double P = kLagToBpm / bpm;
  const double step = P / kTrials;
  float peak = 0.0f;
  double peakPos = lo;
  const int from = std::max(static_cast<int>(lo), 0), to = std::min(static_cast<int>(hi), n);
  for (int i = from; i < to; ++i) {
    if (B[i] < 50.0f && B[i] > peak) peak = B[i], peakPos = i;
  }
  if (peak <= 0.0f) return;  // no onset at all: nothing to walk on
  // The trials start from the strongest onset, or on the beat nearest it when that is known.
  double origin = peakPos;
  int trials = kTrials;
  if (phase_) {
    double beat = phase_->BeatNear(peakPos);
    if (beat >= 0.0) {
      while (beat < lo) beat += P;
      while (beat > hi) beat -= P;
      if (beat >= lo) origin = beat, trials = 1;
    }
  }

  auto bestTrial = [&](bool forward, int end, int& bestK) {
    double bestScore = -1.0;
    float tempo = bpm;
    for (int k = 0; k < trials; ++k) {
      WalkResult r = forward ? Walk(B, n, bpm, origin + k * step, end, peak, nullptr, 1)
                             : Walk(B, n, bpm, origin + k * step, end, peak, nullptr, -1);
      if (r.score > bestScore) bestScore = r.score, bestK = k, tempo = r.tempo;
    }
    return tempo < 10.0f ? bpm : tempo;
  };

  int bestK = 0;
  float tempo = bestTrial(true, static_cast<int>(hi), bestK);
  const double forwardStart = origin + bestK * step;
  WalkResult forward = Walk(B, n, tempo, forwardStart, static_cast<int>(hi), peak, A, 1);
  if (lo < 10.0 && forward.tempo > 10.0f) bpm = out = forward.tempo;

  tempo = bestTrial(false, static_cast<int>(lo), bestK);
  const double backwardStart = origin + bestK * step;
  WalkResult backward = Walk(B, n, tempo, backwardStart, static_cast<int>(lo), peak, A, -1);
  if (lo < 10.0 && backward.tempo > 10.0f) bpm = out = backward.tempo;

  if (forward.stop != -1 && hi - forward.stop > 2 * P && std::fabs(forwardStart - forward.stop) > 2 * P) {
    WalkSegmentAt(B, n, bpm, forward.stop, hi, out, A, depth + 1);
  }
  if (backward.stop != -1 && backward.stop - lo > 2 * P &&
      std::fabs(backwardStart - backward.stop) > 2 * P) {
    WalkSegmentAt(B, n, bpm, lo, backward.stop, out, A, depth + 1);
  }
}

// One walk from start towards end (direction +1 forward, -1 backward). With A null the walk is
// a trial: it scores and reports, and marks nothing.
ZQBeatDetector::WalkResult ZQBeatDetector::Walk(const float* B, int n, float bpm, double start,
                                                int end, float peak, float* A, int direction) {
  WalkResult result;
  double P = kLagToBpm / bpm;
  const int w = Round(P * 0.055555556);  // an 18th of a beat each side
  const double low = std::min<double>(start, end), high = std::max<double>(start, end);
  auto beforeEnd = [&](double pos) { return direction * (end - pos) > w + 1; };
  if (!beforeEnd(start)) return result;
  double pos = start;
  int misses = 0, hits = 0, beats = 0;
  float kind = kBeatMark;
  while (beforeEnd(pos)) {
    bool found = false;
    double anchor = pos;
    float best = 0.0f;
    const int centre = Round(pos);
    for (int i = std::max(centre - w, 0); i < std::min(centre + w, n); ++i) {
      const float a = std::fabs(B[i]);
      if (a > best && a > peak * 0.3f) best = a, anchor = i, found = true;
    }
    if (found) {
      if (misses >= 4 && hits >= 4) {
        if (A) {  // the beat came back after a lost stretch: stop, and the caller restarts there
          const int back = std::clamp(Round(pos - direction * misses * P), 0, n - 1);
          RemoveMarks(A, n, std::min(back, Round(pos)), std::max(back, Round(pos)));
          A[back] = WithoutMark(A[back]) + kAnchorMark;
          result.stop = back + direction;
          return result;
        }
        kind = kReservedMark;
      }
      misses = 0;
      if (beats > 10) P = (direction * (pos - start) + 1) / beats;  // follows slow drift
    }
    found ? ++hits : ++misses;
    const int at = Round(anchor);
    if (anchor > low + 3 && at >= 2 && at < n) {
      result.score += std::fabs(B[at - 2]) + std::fabs(B[at - 1]);
      if (anchor < high - 3 && at + 2 < n) {
        result.score += std::fabs(B[at]) + std::fabs(B[at + 1]) + std::fabs(B[at + 2]);
        if (A) AddMark(A, n, at, kind);
      }
    }
    kind = kBeatMark;
    ++beats;
    pos = anchor + direction * P;
  }
  if (beats >= kMinWalkBeats) {
    result.tempo = static_cast<float>(kLagToBpm / P);
    ++bpmCount;
    bpmSum += result.tempo;
  }
  return result;
}
