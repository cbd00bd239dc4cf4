#include "effects/CutoffFilter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr int kPoles = 6;
constexpr double kRipplePercent = 0.5;
constexpr float kMakeUpGain = 0.1666667f;
constexpr float kButterworthQ = 0.70710677f;
constexpr float kKnobLowestHz = 20.0f;
constexpr float kKnobHighestHz = 20000.0f;
constexpr int kGlideChunk = 32;         // frames per redesign while the knob glides
constexpr float kGlidePerChunk = 1.12f;  // 20 Hz to 20 kHz in about 45 ms

// One pole pair of the Chebyshev prototype at 1 rad/sample, moved to the cut-off by the
// low-pass to low-pass (or low-pass to high-pass) mapping of the z-transform recipe.
void DesignPolePair(int pole, double fraction, bool highPass, float out[5]) {
  const double angle = M_PI / (kPoles * 2.0) + (pole - 1) * M_PI / kPoles;
  double re = -std::cos(angle);
  double im = std::sin(angle);
  const double eps = std::sqrt(std::pow(100.0 / (100.0 - kRipplePercent), 2) - 1.0);
  const double vx = std::asinh(1.0 / eps) / kPoles;
  const double kx = std::cosh(std::acosh(1.0 / eps) / kPoles);
  re *= std::sinh(vx) / kx;
  im *= std::cosh(vx) / kx;

  const double t = 2.0 * std::tan(0.5);
  const double w = 2.0 * M_PI * fraction;
  const double m = re * re + im * im;
  double d = 4.0 - 4.0 * re * t + m * t * t;
  const double x0 = t * t / d, x1 = 2.0 * t * t / d, x2 = t * t / d;
  const double y1 = (8.0 - 2.0 * m * t * t) / d;
  const double y2 = (-4.0 - 4.0 * re * t - m * t * t) / d;

  const double k = highPass ? -std::cos(w / 2.0 + 0.5) / std::cos(w / 2.0 - 0.5)
                            : std::sin(0.5 - w / 2.0) / std::sin(0.5 + w / 2.0);
  d = 1.0 + y1 * k - y2 * k * k;
  double a0 = (x0 - x1 * k + x2 * k * k) / d;
  double a1 = (-2.0 * x0 * k + x1 + x1 * k * k - 2.0 * x2 * k) / d;
  double a2 = (x0 * k * k - x1 * k + x2) / d;
  double b1 = (2.0 * k + y1 + y1 * k * k - 2.0 * y2 * k) / d;
  double b2 = (-k * k - y1 * k + y2) / d;
  if (highPass) a1 = -a1, b1 = -b1;
  out[0] = float(a0), out[1] = float(a1), out[2] = float(a2), out[3] = float(b1), out[4] = float(b2);
}

}  // namespace

void ZQCutoffFilter::SetCutoff(float hz, int lowPass) {
  setting_.store(Setting{hz, lowPass}, std::memory_order_relaxed);
  dirty.store(1, std::memory_order_release);
}

void ZQCutoffFilter::ClearHistory() {
  for (int s = 0; s < kStages; ++s) {
    inputHistory[s][0] = inputHistory[s][1] = 0.0f;
    outputHistory[s][0] = outputHistory[s][1] = 0.0f;
  }
  for (auto& b : biquads) b.ClearState();
}

void ZQCutoffFilter::DesignStages(Setting setting) {
  const double fraction = setting.hz * 2.2675737e-5;
  for (int p = 0; p < kStages; ++p) DesignPolePair(p + 1, fraction, !setting.lowPass, coefficients[p]);
}

float CutoffKnobHz(int knob, int* lowPass) {
  if (lowPass) *lowPass = knob < 0;
  if (knob == 0) return -1.0f;
  double hz = std::pow(1.106, knob < 0 ? knob + 99 : knob + 34);
  return static_cast<float>(std::clamp(hz, double(kKnobLowestHz), double(kKnobHighestHz)));
}

std::string CutoffKnobLabel(int knob) {
  float hz = CutoffKnobHz(knob, nullptr);
  if (hz < 0.0f) return "OFF";
  int whole = static_cast<int>(hz);
  char text[32];
  if (whole < 1000) {
    std::snprintf(text, sizeof text, "%d Hz", whole);
  } else {
    std::snprintf(text, sizeof text, "%d.%d KHz", whole / 1000, whole % 1000 / 100);
  }
  return text;
}

void ZQCutoffFilter::DesignKnob(float hz) noexcept {
  glideHz_ = hz;
  biquads[0].Design(hz, 0.0f, kButterworthQ, glideMode_ == 1 ? ZQBiquad::kLowPass : ZQBiquad::kHighPass);
  for (int i = 1; i < 4; ++i) biquads[i].CopyDesignFrom(biquads[0]);
}

// One step of the glide towards the knob: on, off and mode changes pass through the open end.
void ZQCutoffFilter::GlideOneChunk() noexcept {
  auto openEnd = [](int mode) { return mode == 1 ? kKnobHighestHz : kKnobLowestHz; };
  if (glideMode_ == 0) {
    if (targetMode_ == 0) return;
    glideMode_ = targetMode_;
    for (auto& b : biquads) b.ClearState();
    DesignKnob(openEnd(glideMode_));
  }
  const bool leaving = glideMode_ != targetMode_;
  const float waypoint = leaving ? openEnd(glideMode_) : targetHz_;
  if (glideHz_ == waypoint) {
    if (leaving) {
      glideMode_ = 0;  // at the open end: bypass, and start afresh next time
      for (auto& b : biquads) b.ClearState();
    }
    return;
  }
  float next = waypoint > glideHz_ ? std::min(glideHz_ * kGlidePerChunk, waypoint)
                                   : std::max(glideHz_ / kGlidePerChunk, waypoint);
  DesignKnob(next);
}

void ZQCutoffFilter::ProcessStereo(float* block, int frames) noexcept {
  // Cleared before the setting is read, so a change that lands meanwhile waits for the next block.
  if (dirty.exchange(0, std::memory_order_acq_rel)) {
    const Setting setting = setting_.load(std::memory_order_relaxed);
    targetHz_ = setting.hz;
    targetMode_ = setting.hz == -1.0f ? 0 : (setting.lowPass ? 1 : 2);
    if (targetMode_ != 0) targetHz_ = std::clamp(targetHz_, kKnobLowestHz, kKnobHighestHz);
  }
  for (int done = 0; done < frames; done += kGlideChunk) {
    GlideOneChunk();
    if (glideMode_ == 0) continue;
    const int n = std::min(kGlideChunk, frames - done);
    float* chunk = block + 2 * done;
    // Biquads 1 and 2 in series on the left, 3 and 4 on the right.
    ZQBiquad::ProcessStereo(biquads[0], biquads[2], chunk, n);
    ZQBiquad::ProcessStereo(biquads[1], biquads[3], chunk, n);
  }
}

void ZQCutoffFilter::ProcessAnalysis(float* mono, int count) noexcept {
  count = std::min(count, kMaxAnalysisBlock);
  if (count <= 0) return;
  if (dirty.exchange(0, std::memory_order_acq_rel)) {
    DesignStages(setting_.load(std::memory_order_relaxed));
  }
  // A constant block (silence above all) passes untouched and leaves the state as it was, so
  // silent stretches cost nothing and do not ring the filter.
  if (std::all_of(mono, mono + count, [&](float v) { return v == mono[0]; })) return;

  const float* in = mono;
  for (int s = 0; s < kStages; ++s) {
    const float* c = coefficients[s];
    float* out = work[s];
    float xm1 = inputHistory[s][0], xm2 = inputHistory[s][1];
    float ym1 = outputHistory[s][0], ym2 = outputHistory[s][1];
    for (int i = 0; i < count; ++i) {
      const float x = in[i];
      const float y = c[0] * x + c[1] * xm1 + c[2] * xm2 + c[3] * ym1 + c[4] * ym2;
      out[i] = y;
      xm2 = xm1, xm1 = x;
      ym2 = ym1, ym1 = y;
    }
    inputHistory[s][0] = xm1, inputHistory[s][1] = xm2;
    outputHistory[s][0] = ym1, outputHistory[s][1] = ym2;
    in = out;
  }
  for (int i = 0; i < count; ++i) mono[i] = in[i] * kMakeUpGain;
}
