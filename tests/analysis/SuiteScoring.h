#pragma once
// How well the analysis did on a synthetic track whose truth is known.

#include <vector>

#include "analysis/KeyNotation.h"

// Within tolerance of the truth, or (octaveTolerant) of its double or half.
bool BpmMatches(double detected, double truth, double tolerance, bool octaveTolerant);
// Fraction of the true beats (those more than two seconds from either end) that have a beat
// mark within toleranceMs in the stripe.
double BeatMarkHitRate(const std::vector<float>& stripe, const std::vector<double>& beatTimes,
                       double seconds, double toleranceMs);
// Mean offset in ms from each true beat to its nearest mark (within 50 ms), for calibration.
double MeanMarkOffsetMs(const std::vector<float>& stripe, const std::vector<double>& beatTimes);
// MIREX key score: 1 same, 0.5 a fifth, 0.3 relative, 0.2 parallel, 0 otherwise.
double MirexKeyScore(const ZQKey& detected, int root, bool minor);
