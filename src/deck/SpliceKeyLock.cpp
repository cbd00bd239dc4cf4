// The splice key lock, inside the normal renderer. The position moves one frame per output
// frame in the direction of play, so the material keeps its pitch, and every 3528 frames
// (80 ms) it jumps by the frames the rate has gained or lost. Each jump is placed where the
// audio on both sides looks alike (a cross-correlation over 400 frames), and the last 400
// frames before it are a cos²/sin² crossfade into the new place. What a jump gains or loses
// against the exact rate is carried into the next, so the mean rate stays exact.
//
// At speed 1 nothing jumps and the output is the track's samples bit for bit, one frame
// behind the position as in the interpolating renderer.

#include <algorithm>
#include <cmath>

#include "deck/SoundSource.h"

namespace {
constexpr int kSpliceEvery = 3528;
constexpr int kSpliceFade = 400;
constexpr int kCoarseLag = 150;
constexpr int kCoarseStep = 4;
constexpr int kFineLag = 3;
constexpr double kHalfPi = 1.5707963267948966;

inline int SignOf(double v) { return v > 0 ? 1 : (v < 0 ? -1 : 0); }
}  // namespace

void CSoundSource::SpliceAdvance(double& pos, double spd, int length) noexcept {
  int sign = SignOf(spd);
  if (!spliceOn_) {
    spliceOn_ = true;
    spliceCount_ = 0;
    spliceError_ = 0.0;
    SpliceSearch(pos, spd, length);
  }
  pos += sign;
  if (++spliceCount_ >= kSpliceEvery) {
    pos += sign * spliceOffset_;
    spliceCount_ = 0;
    SpliceSearch(pos, spd, length);
  }
}

void CSoundSource::SpliceFetch(double pos, double spd, int length, float& left, float& right) const noexcept {
  long long frame = static_cast<long long>(std::floor(pos)) - 1;
  FetchFrame(frame, length, left, right);
  int c = kSpliceFade + spliceCount_ - kSpliceEvery;
  if (c < 0 || spliceOffset_ == 0) return;
  float bl, br;
  FetchFrame(frame + SignOf(spd) * spliceOffset_, length, bl, br);
  double x = static_cast<double>(c) / kSpliceFade * kHalfPi;
  float a = static_cast<float>(std::cos(x) * std::cos(x));
  float b = static_cast<float>(std::sin(x) * std::sin(x));
  left = left * a + bl * b;
  right = right * a + br * b;
}

// Chooses the next jump, made 3528 frames from now: the nominal jump for the speed, less what
// earlier jumps over- or undershot, moved to where the two sides of the crossfade agree best.
void CSoundSource::SpliceSearch(double pos, double spd, int length) noexcept {
  int sign = SignOf(spd);
  double nominal = (std::fabs(spd) - 1.0) * kSpliceEvery;
  int base = static_cast<int>(std::lround(nominal - spliceError_));
  if (sign == 0 || (base == 0 && nominal == 0.0)) {
    spliceOffset_ = 0;
    return;
  }
  long long fadeStart = static_cast<long long>(std::floor(pos)) - 1 + sign * (kSpliceEvery - kSpliceFade);
  auto score = [&](int lag) { return SpliceCorrelation(fadeStart, fadeStart + sign * (base + lag), sign, length); };
  int best = 0;
  double bestScore = score(0);
  for (int lag = -kCoarseLag; lag <= kCoarseLag; lag += kCoarseStep) {
    double s = score(lag);
    if (s > bestScore) bestScore = s, best = lag;
  }
  int coarse = best;
  for (int lag = coarse - kFineLag; lag <= coarse + kFineLag; ++lag) {
    double s = score(lag);
    if (s > bestScore) bestScore = s, best = lag;
  }
  spliceOffset_ = base + best;
  spliceError_ += spliceOffset_ - nominal;
}

double CSoundSource::SpliceCorrelation(long long from, long long other, int sign, int length) const noexcept {
  if (std::min(from, other) < 0 || std::max(from, other) + sign * kSpliceFade >= length ||
      std::min(from, other) + sign * kSpliceFade < 0) {
    return 0.0;
  }
  double sum = 0.0;
  for (int j = 0; j < kSpliceFade; ++j) {
    float al, ar, bl, br;
    FetchFrame(from + sign * j, length, al, ar);
    FetchFrame(other + sign * j, length, bl, br);
    sum += static_cast<double>(al) * bl + static_cast<double>(ar) * br;
  }
  return sum;
}
