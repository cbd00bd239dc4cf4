#pragma once
// The tempo and beat grid of a whole track: the estimator chooses the tempo, the beat walk
// places the marks with that tempo as its hint (as a DJ's typed tempo would be), and the tempo
// is then measured back from the marks. With no confident estimate the walk's own range search
// runs; with no beat at all, or a short track without a confident estimate, the track gets no
// tempo and no marks rather than a grid laid over nothing.
//
// Threads: as the detector and estimator passed in (one analysis thread).

#include "analysis/BeatDetector.h"
#include "analysis/TempoEstimator.h"

struct TempoResult {
  float bpm = 0.0f;  // 0: no tempo, no marks
  float confidence = 0.0f;
};

// A (n entries, the stripe) receives the marks; B (n entries) is work. The estimator must have
// been fed the whole track. With followEstimatedBeat false the walk finds its own phase, as with
// a typed tempo (kept for measuring what the estimator's phase brings).
TempoResult DetectTempoAndGrid(ZQBeatDetector& detector, ZQTempoEstimator& estimator, float* A, float* B,
                               int n, int seconds, TempoRange range, bool followEstimatedBeat = true);

// The tempo measured from the marks in A: a least-squares line of mark positions against beat
// numbers over the longest steady stretch. bpm is the tempo the marks were walked at; 0 when
// fewer than 16 marks keep step.
double TempoFromMarks(const float* A, int n, double bpm);
