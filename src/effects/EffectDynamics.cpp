#include "effects/EffectDynamics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr float kSilentDb = -318.7f;
constexpr float kNoGainBelowDb = -318.8f;  // 10^(dB/20) underflows below this

constexpr double kLn10Over20 = 0.11512925464970229;  // ln(10) / 20

// The gain computer needs these once a segment on a loud block, so they are the cheap forms: a
// float exponential for a gain (a relative error of 1e-7 is far below hearing), and a ramp
// factor whose tiny per-frame steps come from a short series.
double DbToGain(float dB) { return dB > kNoGainBelowDb ? std::exp(dB * static_cast<float>(kLn10Over20)) : 0.0; }

// (to / from)^perFrame, for from > 0; perFrame is 1 / the ramp's length in frames.
double RampFactor(double to, double from, double perFrame) {
  const double x = std::log(static_cast<float>(to) / static_cast<float>(from)) * perFrame;
  if (std::fabs(x) < 1e-3) return 1.0 + x * (1.0 + x * (0.5 + x * (1.0 / 6.0)));  // error under 5e-14
  return std::exp(x);
}

// x^n for n >= 1 by squaring: a segment's worth of a per-frame ramp factor.
double PowInt(double x, int n) {
  double result = 1.0;
  for (; n > 0; n >>= 1, x *= x) {
    if (n & 1) result *= x;
  }
  return result;
}

constexpr int kSegment = CEffectDynamics::kControlFrames;

// The loops below run over whole segments of a constant length so the compiler can turn them
// into vector code (it does for the scaling, the quarters and the gain line; a float maximum
// stays scalar under strict IEEE rules); a block's short last segment takes the same functions
// at its own length.
// AtSegmentLength calls `work(length)` with the length a constant for a whole segment.
template <typename Work>
inline auto AtSegmentLength(int frames, Work&& work) {
  return frames == kSegment ? work(kSegment) : work(frames);
}

// Scales a segment by the input gain and returns its peak of |L + R|.
inline float ScaleAndPeak(float* segment, int frames, float gain) {
  float peak = 0.0f;
  for (int j = 0; j < frames; ++j) {
    segment[2 * j] *= gain;
    segment[2 * j + 1] *= gain;
    peak = std::max(peak, std::fabs(segment[2 * j] + segment[2 * j + 1]));
  }
  return peak;
}

inline void Scale(float* segment, int frames, float gain) {
  for (int j = 0; j < 2 * frames; ++j) segment[j] *= gain;
}

// |L + R| / 4 of each frame, into `quarter`.
inline void QuarterSums(const float* segment, int frames, float* quarter) {
  for (int j = 0; j < frames; ++j) quarter[j] = std::fabs(segment[2 * j] + segment[2 * j + 1]) * 0.25f;
}

// Whether the left channel holds a zero or both signs.
inline bool LeftTouchesZero(const float* segment, int frames) {
  int nonPositive = 0, nonNegative = 0;
  for (int j = 0; j < frames; ++j) {
    nonPositive |= segment[2 * j] <= 0.0f;
    nonNegative |= segment[2 * j] >= 0.0f;
  }
  return (nonPositive & nonNegative) != 0;
}

// Each sample's share of the way from a segment's start gain to its end gain: the frame j of a
// whole segment stands at (j + 1) / kSegment, so the last frame gets the end gain itself.
struct RampWeights {
  float w[2 * kSegment];
  constexpr RampWeights() : w() {
    for (int i = 0; i < 2 * kSegment; ++i) w[i] = static_cast<float>(i / 2 + 1) / kSegment;
  }
};
constexpr RampWeights kRampWeights;

// Applies a gain moving in a straight line from `from` (the gain of the frame before the
// segment) to `to` (its last frame).
inline void ApplyGain(float* segment, int frames, float from, float to) {
  if (from == to) {
    if (from != 1.0f) AtSegmentLength(frames, [&](int n) { Scale(segment, n, from); });
    return;
  }
  const float delta = to - from;
  if (frames == kSegment) {
    for (int i = 0; i < 2 * kSegment; ++i) segment[i] *= from + delta * kRampWeights.w[i];
    return;
  }
  for (int j = 0; j < frames; ++j) {
    const float g = from + delta * static_cast<float>(j + 1) / static_cast<float>(frames);
    segment[2 * j] *= g;
    segment[2 * j + 1] *= g;
  }
}

}  // namespace

CEffectDynamics::CEffectDynamics() {
  // Level control's values; ratio and make-up keep these until a preset sets them.
  ratio_.store(1.0f);
  makeup_.store(1.0f);
  SelectPreset(0);
  Reset();
}

float CEffectDynamics::FastLevelDb(float level) noexcept {
  if (!(level > 0.0f)) return kSilentDb;
  uint32_t bits = 0;
  std::memcpy(&bits, &level, sizeof bits);
  const int exponent = static_cast<int>((bits >> 23) & 0xff) - 128;
  const uint32_t mantissaBits = (bits & 0x007fffffu) | 0x3f800000u;  // the same mantissa in [1, 2)
  float m = 0;
  std::memcpy(&m, &mantissaBits, sizeof m);
  const float log2 = static_cast<float>(exponent) + (2.0f - m / 3.0f) * m - 2.0f / 3.0f;
  return log2 * 0.3018868f * 20.0f;
}

void CEffectDynamics::SelectPreset(int preset) {
  struct Preset {
    int agcMode, lookAhead;
    float inputGainDb, thresholdDb, ratio, attackMs, releaseMs, makeup, agcTargetDb, holdTarget;
  };
  constexpr float kKeep = std::numeric_limits<float>::quiet_NaN();  // "not set by this preset"
  static const Preset kPresets[3] = {
      {1, 0, 6.0f, -42.0f, kKeep, 5000.0f, 35000.0f, kKeep, -12.0f, 15.0f},
      {0, 0, 0.0f, -9.0f, 9.0f, 1.0f, 300.0f, 2.5118864f, kKeep, kKeep},  // make-up 10^0.4
      // The limiter adds no make-up: its ceiling is the threshold itself.
      {0, 1, 0.0f, -1.5f, 500.0f, 0.3f, 100.0f, 1.0f, kKeep, kKeep},
  };
  const Preset& p = kPresets[preset];
  preset_.store(preset);
  agcMode_.store(p.agcMode);
  lookAhead_.store(p.lookAhead);
  inputGainDb_.store(p.inputGainDb);
  inputGain_.store(static_cast<float>(DbToGain(p.inputGainDb)));
  thresholdDb_.store(p.thresholdDb);
  if (!std::isnan(p.ratio)) ratio_.store(p.ratio);
  attackMs_.store(p.attackMs);
  releaseMs_.store(p.releaseMs);
  if (!std::isnan(p.agcTargetDb)) agcTargetDb_.store(p.agcTargetDb);
  if (!std::isnan(p.holdTarget)) holdTarget_.store(p.holdTarget);
  if (!std::isnan(p.makeup)) makeup_.store(p.makeup);
}

void CEffectDynamics::RecalculateMakeup() {
  // What a full-scale level comes out at after compression, made up again. A threshold that
  // leaves nothing to make up gives an infinite make-up: the settings' own consequence.
  const float threshold = thresholdDb_.load(), ratio = ratio_.load();
  const float x = -threshold / ratio + threshold;
  makeup_.store(x > kNoGainBelowDb ? static_cast<float>(1.0 / std::pow(10.0, x / 20.0))
                                   : std::numeric_limits<float>::infinity());
}

void CEffectDynamics::SetParam(int id, int value) {
  // Presets hold fractional values (-1.5 dB) that GetParam reports rounded: a value equal to
  // what GetParam says (a chain file restoring it) keeps the exact one and its make-up.
  if (id != 0 && value == GetParam(id)) return;
  const float v = static_cast<float>(value);
  const bool compressor = agcMode_.load() == 0;
  switch (id) {
    case 0:
      if (value >= 0 && value <= 2) SelectPreset(value);
      break;
    case 1: attackMs_.store(v); break;
    case 2: releaseMs_.store(v); break;
    case 3:
      inputGainDb_.store(v);
      inputGain_.store(static_cast<float>(DbToGain(v)));
      break;
    case 4:
      thresholdDb_.store(v);
      if (compressor) RecalculateMakeup();
      break;
    case 5:
      if (value <= 0) break;  // a ratio of zero or less has no meaning: ignored
      ratio_.store(v);
      if (compressor) RecalculateMakeup();
      break;
    case 6: agcTargetDb_.store(v); break;
    case 7: holdTarget_.store(v); break;
    default: break;
  }
}

int CEffectDynamics::GetParam(int id) {
  auto whole = [](const std::atomic<float>& f) { return static_cast<int>(std::lround(f.load())); };
  switch (id) {
    case 0: return preset_.load();
    case 1: return whole(attackMs_);
    case 2: return whole(releaseMs_);
    case 3: return whole(inputGainDb_);
    case 4: return whole(thresholdDb_);
    case 5: return whole(ratio_);
    case 6: return whole(agcTargetDb_);
    case 7: return whole(holdTarget_);
    default: return 0;
  }
}

void CEffectDynamics::Reset() noexcept {
  targetGain_ = settingGain_ = currentGain_ = rampFactor_ = 1.0;
  level_ = 0.0f;
  previousLeft_ = 0.0f;
  belowCounter_ = 0;
}

CEffectDynamics::Settings CEffectDynamics::LoadSettings() const noexcept {
  constexpr auto r = std::memory_order_relaxed;
  return Settings{inputGain_.load(r), thresholdDb_.load(r), ratio_.load(r),     attackMs_.load(r),
                  releaseMs_.load(r), makeup_.load(r),      agcTargetDb_.load(r), agcMode_.load(r),
                  lookAhead_.load(r)};
}

float CEffectDynamics::SmoothedLevel(const float* segment, int frames, bool loudest) noexcept {
  // The level follows each frame (half the last level plus a quarter of |L + R|). Level
  // control's ramps last seconds and integrate whatever the level does inside a segment, so it
  // takes the mean; the compressor's fast attack answers the peaks, so it takes the loudest
  // value, and a short burst inside the segment still moves the gain. The quarters are taken in
  // one vector pass; only the recursion itself runs frame by frame.
  float quarter[kSegment];
  AtSegmentLength(frames, [&](int n) { QuarterSums(segment, n, quarter); });
  float level = level_, peak = 0.0f, sum = 0.0f;
  for (int j = 0; j < frames; ++j) {
    level = level * 0.5f + quarter[j];
    peak = std::max(peak, level);
    sum += level;
  }
  level_ = level;
  return loudest ? peak : sum / static_cast<float>(frames);
}

bool CEffectDynamics::CrossesZero(const float* segment, int frames) const noexcept {
  // A zero, or both signs, inside the segment means the left channel crossed zero somewhere in
  // it; the step from the last segment's final frame is checked on its own.
  const float first = segment[0];
  const bool inside = AtSegmentLength(frames, [&](int n) { return LeftTouchesZero(segment, n); });
  return inside || (previousLeft_ < 0.0f && first > 0.0f) || (previousLeft_ > 0.0f && first < 0.0f);
}

void CEffectDynamics::UpdateTarget(const Settings& s, float level, int frames) noexcept {
  levelDb_ = FastLevelDb(level);
  if (s.agcMode) {
    const double aim = s.agcAim;
    if (levelDb_ > s.thresholdDb) {
      belowCounter_ = 0;
      targetGain_ = aim / level;
    } else if ((belowCounter_ += frames) >= kAgcReturnFrames) {
      belowCounter_ = 0;
      targetGain_ = 1.0;
    }
    if (levelDb_ > s.agcTargetDb) targetGain_ = aim / level;  // never lets a rise through
  } else if (levelDb_ > s.thresholdDb) {
    const float out = (levelDb_ - s.thresholdDb) / s.ratio + s.thresholdDb;
    targetGain_ = DbToGain(out) / level;
  } else {
    targetGain_ = 1.0;
  }
}

void CEffectDynamics::StepRamp(const Settings& s, int frames, bool crossing) noexcept {
  if (targetGain_ != settingGain_) {
    settingGain_ = targetGain_;
    const bool rising = settingGain_ > currentGain_;
    const double ms = rising ? s.releaseMs : s.attackMs;
    // A ramp no longer than the segment would pass the target within it and be held there:
    // the limiter's 0.3 ms attack lands on its target without a logarithm.
    if (currentGain_ > 0.0 && std::isfinite(currentGain_) && ms * 44.1 > frames) {
      rampFactor_ = RampFactor(settingGain_, currentGain_, rising ? s.releasePerFrame : s.attackPerFrame);
    } else {
      currentGain_ = settingGain_;  // nothing to ramp from, or no time to ramp in
      rampFactor_ = 1.0;
    }
  }
  if (currentGain_ == settingGain_) return;
  currentGain_ *= frames == 1 ? rampFactor_ : PowInt(rampFactor_, frames);
  if (rampFactor_ > 1.0) {
    if (currentGain_ > settingGain_) currentGain_ = settingGain_;
    return;
  }
  if (s.attackMs < 5.0f && crossing) currentGain_ = settingGain_;
  if (currentGain_ < settingGain_) currentGain_ = settingGain_;
}

void CEffectDynamics::ProcessCore(float* block, int frames, float bpm) noexcept {
  (void)bpm;
  if (!IsEnabled() || frames < 1) return;
  Settings s = LoadSettings();
  s.agcAim = DbToGain(s.agcTargetDb);
  s.attackPerFrame = 1.0 / (s.attackMs * 44.1);
  s.releasePerFrame = 1.0 / (s.releaseMs * 44.1);
  const double makeup = s.agcMode ? 1.0 : s.makeup;
  const bool snaps = s.attackMs < 5.0f;
  // With look-ahead the next segment is scaled and measured one step early.
  auto scaleAndPeak = [&](float* segment, int n) {
    return AtSegmentLength(n, [&](int length) { return ScaleAndPeak(segment, length, s.inputGain); });
  };
  float peakAhead = s.lookAhead ? scaleAndPeak(block, std::min(kSegment, frames)) : 0.0f;
  for (int at = 0; at < frames; at += kSegment) {
    const int n = std::min(kSegment, frames - at);
    float* segment = block + 2 * at;
    float level = 0.0f;
    if (s.lookAhead) {
      const float peakHere = peakAhead;
      const int next = at + kSegment;
      peakAhead = next < frames ? scaleAndPeak(block + 2 * next, std::min(kSegment, frames - next)) : 0.0f;
      level = level_ = std::max(peakHere, peakAhead) * 0.5f;
    } else {
      if (s.inputGain != 1.0f) AtSegmentLength(n, [&](int length) { Scale(segment, length, s.inputGain); });
      level = SmoothedLevel(segment, n, s.agcMode == 0);
    }
    const bool crossing = snaps && CrossesZero(segment, n);
    previousLeft_ = segment[2 * (n - 1)];
    UpdateTarget(s, level, n);
    const double startGain = currentGain_ * makeup;
    StepRamp(s, n, crossing);
    ApplyGain(segment, n, static_cast<float>(startGain), static_cast<float>(currentGain_ * makeup));
  }
  if (!(level_ >= 1e-20f)) level_ = 0.0f;  // no denormals, nor a NaN, left in the smoothed level
}
