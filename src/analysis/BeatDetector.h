#pragma once
// ZQBeatDetector: tempo and beat grid from a stripe (441 entries per second). An onset curve,
// an autocorrelation over candidate tempi and beat multiples, a fine lag search, then a
// phase-locked walk in both directions from the strongest onset that follows slow drift and
// restarts after a lost stretch. Beat marks are added into the stripe itself (see StripeMarks.h).
//
// Threads: one detector serves one thread at a time. Nothing allocates after construction.

#include <array>

// Where the beats fall, from an ear finer than the stripe's low band (the tempo estimator also
// hears snares and hats, where the low band may hear only a bass line on the off-beats).
class ZQBeatPhase {
 public:
  // The stripe entry of the beat nearest entry; negative when not known there.
  virtual double BeatNear(double entry) = 0;

 protected:
  ~ZQBeatPhase() = default;
};

class ZQBeatDetector {
 public:
  static constexpr double kLagToBpm = 26460.0;  // 441 entries per second * 60
  static constexpr int kScoreRows = 300;
  static constexpr int kScoreColumns = 18;

  ZQBeatDetector();

  // n entries of stripe A; B (at least n entries) is work and ends holding the onset curve.
  // Returns the tempo; 0 for under 10 seconds or a track with no onsets at all (which then
  // gets no marks), -1 when no tempo was found. hint: 0 searches 76..150 BPM, -1 56..100,
  // -2 101..195, any other value b searches b-1..b+1 (held to 57..298).
  // With a phase, every walk starts on the beat it names instead of trying eight phases of a beat
  // from the strongest onset.
  float DetectBpm(int n, float* A, float* B, int seconds, int hint, ZQBeatPhase* phase = nullptr);

  // Marks beats of tempo bpm into A between entries lo and hi, following the onset curve B
  // (n entries each). The deck calls it again to rebuild its grid; out receives a tempo
  // corrected by the final walks when lo is below 10.
  void WalkSegment(const float* B, int n, float bpm, double lo, double hi, float& out, float* A);

  double bpmSum = 0;  // tempi of completed walks (trials included) in the last detection
  int bpmCount = 0;
  std::array<double, 66> kernel{};

 private:
  struct WalkResult {
    double score = 0;
    float tempo = -1;  // reported tempo, -1 when the walk was too short
    int stop = -1;     // where a lost stretch began, -1 when the walk went through
  };
  WalkResult Walk(const float* B, int n, float bpm, double start, int end, float peak, float* A,
                  int direction);
  void WalkSegmentAt(const float* B, int n, float bpm, double lo, double hi, float& out, float* A,
                     int depth);
  // Returns the curve's peak before normalising.
  float OnsetCurve(const float* A, float* B, int n, int seconds) const;
  int CoarseSearch(const float* B, int seconds, int firstBpm, int lastBpm, double& bestTotal);
  float FineLag(const float* B, int n, int seconds, int bpm, int multiple) const;

  std::array<std::array<double, kScoreColumns>, kScoreRows> scores_{};
  ZQBeatPhase* phase_ = nullptr;  // during DetectBpm only
};
