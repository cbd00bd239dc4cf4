#pragma once
// ZQTempoEstimator: the tempo a DJ would count, chosen before the beat walk runs. The onset
// envelope's autocorrelation gives the periodicity of every tempo from 40 to 240 BPM; the
// strongest period's octave family (halves and doubles) is then searched for the beat: the
// slowest level whose half-beats are clearly weaker than its beats (slower levels have beats on
// their half-beats, faster ones are subdivisions), with a prior over DJ tempi where none stands
// out. A confidence of 0..1 says how sharply the music repeats at that tempo: silence, noise,
// speech and random hits stay near 0.
//
// Threads: one estimator per analysis thread. Start sizes everything for the track (the
// envelope, 1.2 MB per 20 minutes); Feed and Estimate allocate nothing.

#include <vector>

#include "analysis/OnsetEnvelope.h"
#include "analysis/TempoRange.h"

struct TempoEstimate {
  double bpm = 0.0;         // 0 when the music has no beat worth a grid
  double confidence = 0.0;  // 0..1
};

class ZQTempoEstimator {
 public:
  static constexpr double kSlowest = 40.0, kFastest = 240.0;
  // Below this the estimate is not trusted to choose the tempo alone.
  static constexpr double kConfident = 0.4;
  // Below this there is no beat at all.
  static constexpr double kBeatless = 0.25;

  ZQTempoEstimator();
  void Start(int seconds);
  void Feed(const float* mono, int count) { envelope_.Feed(mono, count); }
  // The tempo of what was fed, folded into range.
  TempoEstimate Estimate(TempoRange range);
  // After Estimate: the envelope frame of the beat at bpm nearest frame, from the onsets of the
  // 20 s around it, all three bands weighed alike (so a bass line on the off-beats, which only
  // the kick band hears, does not outweigh snares and hats). -1 when nothing attacks there.
  double BeatNear(double frame, double bpm);

 private:
  struct Subdivision {
    double half = 1.0;   // onsets half-way between the beats against those on them
    double third = 0.0;  // onsets a third of the way, the same
  };
  enum { kKick, kMid, kHat };  // band curves

  void BuildOnsetCurve(const float* weights, std::vector<float>& curve);
  double ChooseLevel(double peakBpm);
  void Autocorrelate();
  double AcfAt(double lag) const;        // interpolated between whole lags
  double Periodicity(double bpm) const;  // 0..1 of the zero-lag energy
  double Sharpness(double bpm) const;
  double RefinePeak(double bpm) const;
  Subdivision Subdivide(const std::vector<float>& curve, double bpm);
  // Folds curve[from, to) onto one beat of period frames; returns the bin count (0: too fast).
  int Fold(const std::vector<float>& curve, int from, int to, double period);
  int StrongestBin(int bins) const;  // -1 when the fold is empty
  int BinsFor(double period) const;

  ZQOnsetEnvelope envelope_;
  std::vector<float> onsets_;
  std::vector<float> drums_;  // kick, snare and hat bands alike, for the beat's phase
  std::vector<float> bandCurves_[ZQOnsetEnvelope::kBands];
  double bandMean_[ZQOnsetEnvelope::kBands] = {};  // each band's mean flux: how much attacks at all
  std::vector<double> acf_;
  std::vector<float> beatPeaks_, halfPeaks_, thirdPeaks_;  // one 20 s stretch's beats
  std::vector<double> fold_;
  int frames_ = 0;
};
