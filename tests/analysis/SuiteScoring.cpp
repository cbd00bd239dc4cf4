#include "SuiteScoring.h"

#include <cmath>

namespace {

constexpr double kEntriesPerSecond = 441.0;

std::vector<double> MarkTimes(const std::vector<float>& stripe) {
  std::vector<double> marks;
  for (size_t i = 0; i < stripe.size(); ++i) {
    if (stripe[i] > 50.0f) marks.push_back(i / kEntriesPerSecond);
  }
  return marks;
}

double NearestOffset(const std::vector<double>& marks, double t) {
  double best = 1e9;
  for (double m : marks) {
    if (std::fabs(m - t) < std::fabs(best)) best = m - t;
  }
  return best;
}

}  // namespace

bool BpmMatches(double detected, double truth, double tolerance, bool octaveTolerant) {
  if (std::fabs(detected - truth) <= tolerance) return true;
  if (!octaveTolerant) return false;
  return std::fabs(detected - 2 * truth) <= 2 * tolerance || std::fabs(detected - truth / 2) <= tolerance / 2;
}

double BeatMarkHitRate(const std::vector<float>& stripe, const std::vector<double>& beatTimes,
                       double seconds, double toleranceMs) {
  const std::vector<double> marks = MarkTimes(stripe);
  int counted = 0, hit = 0;
  for (double t : beatTimes) {
    if (t < 2.0 || t > seconds - 2.0) continue;
    ++counted;
    if (std::fabs(NearestOffset(marks, t)) * 1000.0 <= toleranceMs) ++hit;
  }
  return counted ? double(hit) / counted : 0.0;
}

double MeanMarkOffsetMs(const std::vector<float>& stripe, const std::vector<double>& beatTimes) {
  const std::vector<double> marks = MarkTimes(stripe);
  double sum = 0.0;
  int count = 0;
  for (double t : beatTimes) {
    const double offset = NearestOffset(marks, t);
    if (std::fabs(offset) < 0.05) sum += offset * 1000.0, ++count;
  }
  return count ? sum / count : 0.0;
}

double MirexKeyScore(const ZQKey& detected, int root, bool minor) {
  if (!detected.known()) return 0.0;
  const int note = detected.nearestNote();
  const bool detectedMinor = detected.minorType();
  const int up = (note - root + 12) % 12;
  if (detectedMinor == minor) {
    if (up == 0) return 1.0;
    if (up == 7 || up == 5) return 0.5;
    return 0.0;
  }
  if (up == 0) return 0.2;                        // parallel
  if (!minor && detectedMinor && up == 9) return 0.3;  // relative minor of a major key
  if (minor && !detectedMinor && up == 3) return 0.3;  // relative major of a minor key
  return 0.0;
}
