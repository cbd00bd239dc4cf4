#include "analysis/OnsetEnvelope.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kHop = 441;
constexpr int kWindow = 1024;       // samples at 44100 Hz
constexpr int kFold = 4;             // samples averaged into one: onsets need no more than 11025 Hz
constexpr int kSize = kWindow / kFold;  // transform points
constexpr int kBins = kSize / 2;
constexpr double kBinHz = 44100.0 / kFold / kSize;
constexpr double kBandEdgesHz[ZQOnsetEnvelope::kBands + 1] = {30.0, 200.0, 2500.0, 5500.0};
// log(1 + C|X|): compresses the dynamics so a quiet hat rising counts beside a loud bass.
constexpr float kCompression = 1000.0f;

}  // namespace

ZQOnsetEnvelope::ZQOnsetEnvelope()
    : history_(kWindow + 44100),
      hann_(kSize),
      re_(kSize),
      im_(kSize),
      cos_(kSize / 2),
      sin_(kSize / 2),
      bitReverse_(kSize),
      logMagnitude_(kBins),
      previous_(kBins, 0.0f),
      bands_(kBands) {
  for (int i = 0; i < kSize; ++i) hann_[i] = static_cast<float>(0.5 - 0.5 * std::cos(2.0 * M_PI * i / kSize));
  for (int i = 0; i < kSize / 2; ++i) {
    cos_[i] = static_cast<float>(std::cos(2.0 * M_PI * i / kSize));
    sin_[i] = static_cast<float>(-std::sin(2.0 * M_PI * i / kSize));
  }
  int bits = 0;
  while ((1 << bits) < kSize) ++bits;
  for (int i = 0; i < kSize; ++i) {
    int r = 0;
    for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
    bitReverse_[i] = r;
  }
}

void ZQOnsetEnvelope::Start(int seconds) {
  capacity_ = std::max(seconds, 0) * kFramesPerSecond;
  for (auto& band : bands_) band.assign(static_cast<size_t>(capacity_), 0.0f);
  std::fill(previous_.begin(), previous_.end(), 0.0f);
  historyFill_ = 0;
  frames_ = 0;
}

void ZQOnsetEnvelope::Feed(const float* mono, int count) {
  while (count > 0 && frames_ < capacity_) {
    const int take = std::min(count, static_cast<int>(history_.size()) - historyFill_);
    std::copy_n(mono, take, history_.begin() + historyFill_);
    historyFill_ += take, mono += take, count -= take;
    int used = 0;
    while (historyFill_ - used >= kWindow && frames_ < capacity_) {
      RunFrame(history_.data() + used);
      used += kHop;
    }
    std::copy(history_.begin() + used, history_.begin() + historyFill_, history_.begin());
    historyFill_ -= used;
  }
}

void ZQOnsetEnvelope::RunFrame(const float* window) {
  // Groups of four averaged: a quarter-rate signal is plenty for onsets and quarters the transform.
  for (int i = 0; i < kSize; ++i) {
    const float* group = window + kFold * i;
    re_[bitReverse_[i]] = 0.25f * (group[0] + group[1] + group[2] + group[3]) * hann_[i];
    im_[bitReverse_[i]] = 0.0f;
  }
  // Real and imaginary parts in separate arrays: the butterflies stay in registers.
  float* re = re_.data();
  float* im = im_.data();
  for (int length = 2; length <= kSize; length *= 2) {
    const int half = length / 2, stride = kSize / length;
    for (int start = 0; start < kSize; start += length) {
      for (int k = 0; k < half; ++k) {
        const int a = start + k, b = a + half;
        const float wr = cos_[k * stride], wi = sin_[k * stride];
        const float oddRe = re[b] * wr - im[b] * wi, oddIm = re[b] * wi + im[b] * wr;
        re[b] = re[a] - oddRe, im[b] = im[a] - oddIm;
        re[a] += oddRe, im[a] += oddIm;
      }
    }
  }
  for (int k = 0; k < kBins; ++k) {
    logMagnitude_[k] = std::log1p(kCompression / kSize * std::sqrt(re[k] * re[k] + im[k] * im[k]));
  }
  for (int b = 0; b < kBands; ++b) {
    const int first = std::max(1, static_cast<int>(kBandEdgesHz[b] / kBinHz));
    const int last = std::min(kBins, static_cast<int>(kBandEdgesHz[b + 1] / kBinHz));
    float flux = 0.0f;
    // Against the loudest of the previous frame's neighbouring bins: a steady tone whose energy
    // wobbles between two bins (vibrato, two close partials) is not a new sound.
    for (int k = first; k < last; ++k) {
      const float before = std::max({previous_[k - 1], previous_[k], previous_[std::min(k + 1, kBins - 1)]});
      flux += std::max(logMagnitude_[k] - before, 0.0f);
    }
    bands_[static_cast<size_t>(b)][static_cast<size_t>(frames_)] = flux / static_cast<float>(last - first);
  }
  std::swap(logMagnitude_, previous_);
  ++frames_;
}
