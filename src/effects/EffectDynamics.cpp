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

// The gain computer may need these on every frame of a loud block, so they are the cheap forms:
// a float exponential for a gain (a relative error of 1e-7 is far below hearing), and a ramp
// factor whose tiny per-frame steps come from a short series.
double DbToGain(float dB) { return dB > kNoGainBelowDb ? std::exp(dB * static_cast<float>(kLn10Over20)) : 0.0; }

// (to / from)^perFrame, for from > 0; perFrame is 1 / the ramp's length in frames.
double RampFactor(double to, double from, double perFrame) {
  const double x = std::log(static_cast<float>(to) / static_cast<float>(from)) * perFrame;
  if (std::fabs(x) < 1e-3) return 1.0 + x * (1.0 + x * (0.5 + x * (1.0 / 6.0)));  // error under 5e-14
  return std::exp(x);
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

float CEffectDynamics::MeasureLevel(const float* block, int frames, int i, float inputGain, bool lookAhead) noexcept {
  if (lookAhead) {
    // The loudest frame of the next twelve (up to the block's end), so a peak is met with the
    // gain it needs however short it is. Frames ahead of i are not scaled yet; i itself is.
    const int last = std::min(frames - 1, i + kLookAheadFrames);
    float peak = std::fabs(block[2 * i] + block[2 * i + 1]);
    for (int j = i + 1; j <= last; ++j) peak = std::max(peak, inputGain * std::fabs(block[2 * j] + block[2 * j + 1]));
    return peak * 0.5f;
  }
  return level_ * 0.5f + std::fabs(block[2 * i] + block[2 * i + 1]) * 0.25f;
}

void CEffectDynamics::UpdateTarget(const Settings& s) noexcept {
  if (s.agcMode) {
    const double aim = s.agcAim;
    if (levelDb_ > s.thresholdDb) {
      belowCounter_ = 0;
      targetGain_ = aim / level_;
    } else if (++belowCounter_ >= kAgcReturnFrames) {
      belowCounter_ = 0;
      targetGain_ = 1.0;
    }
    if (levelDb_ > s.agcTargetDb) targetGain_ = aim / level_;  // never lets a rise through
  } else if (levelDb_ > s.thresholdDb) {
    const float out = (levelDb_ - s.thresholdDb) / s.ratio + s.thresholdDb;
    targetGain_ = DbToGain(out) / level_;
  } else {
    targetGain_ = 1.0;
  }
}

void CEffectDynamics::StepRamp(const Settings& s, float left) noexcept {
  if (targetGain_ != settingGain_) {
    settingGain_ = targetGain_;
    const bool rising = settingGain_ > currentGain_;
    const double ms = rising ? s.releaseMs : s.attackMs;
    if (currentGain_ > 0.0 && std::isfinite(currentGain_) && ms > 0.0) {
      rampFactor_ = RampFactor(settingGain_, currentGain_, rising ? s.releasePerFrame : s.attackPerFrame);
    } else {
      currentGain_ = settingGain_;  // nothing to ramp from
      rampFactor_ = 1.0;
    }
  }
  if (currentGain_ == settingGain_) return;
  currentGain_ *= rampFactor_;
  if (rampFactor_ > 1.0) {
    if (currentGain_ > settingGain_) currentGain_ = settingGain_;
    return;
  }
  const bool crossing = left == 0.0f || (previousLeft_ < 0.0f && left > 0.0f) || (previousLeft_ > 0.0f && left < 0.0f);
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
  for (int i = 0; i < frames; ++i) {
    float& left = block[2 * i];
    float& right = block[2 * i + 1];
    left *= s.inputGain;
    right *= s.inputGain;
    level_ = MeasureLevel(block, frames, i, s.inputGain, s.lookAhead != 0);
    levelDb_ = FastLevelDb(level_);
    UpdateTarget(s);
    StepRamp(s, left);
    previousLeft_ = left;
    const double gain = currentGain_ * makeup;
    left = static_cast<float>(left * gain);
    right = static_cast<float>(right * gain);
  }
}
