#pragma once
// Small sources with known output for mixer tests.

#include <cmath>
#include <vector>

#include "audio/AudioSignalSource.h"

// Writes a constant frame, and logs the PrepareBlock phases it saw (shared log, so the order
// across sources shows).
class ConstantSource : public CAudioSignalSource {
 public:
  ConstantSource(float left, float right, std::vector<int>* phaseLog = nullptr, int id = 0)
      : left_(left), right_(right), phaseLog_(phaseLog), id_(id) {}
  void GetSamples(float* out, int frames) noexcept override {
    for (int i = 0; i < frames; ++i) {
      out[2 * i] = left_;
      out[2 * i + 1] = right_;
    }
    if (phaseLog_) phaseLog_->push_back(100 + id_);
  }
  void PrepareBlock(int phase) noexcept override {
    if (phaseLog_) phaseLog_->push_back(phase * 10 + id_);
  }
  void Set(float left, float right) {
    left_ = left;
    right_ = right;
  }

 private:
  float left_, right_;
  std::vector<int>* phaseLog_;
  int id_;
};

// A sine of the given amplitude and period in frames on both sides, continuous across blocks.
class SineSource : public CAudioSignalSource {
 public:
  SineSource(float amplitude, double periodFrames) : amplitude_(amplitude), period_(periodFrames) {}
  void GetSamples(float* out, int frames) noexcept override {
    for (int i = 0; i < frames; ++i, ++position_) {
      float v = amplitude_ * static_cast<float>(std::sin(2.0 * M_PI * static_cast<double>(position_) / period_));
      out[2 * i] = out[2 * i + 1] = v;
    }
  }
  void SetAmplitude(float amplitude) { amplitude_ = amplitude; }

 private:
  float amplitude_;
  double period_;
  long long position_ = 0;
};
