#pragma once
// Small pieces the built-in effects share: the tempo rule of the beat-locked effects and the
// guards that keep a bad sample from living on in a delay line. All real-time safe.

#include <cmath>
#include <cstddef>

#include "effects/Effect.h"

namespace fxdsp {

constexpr int kSampleRate = 44100;
constexpr double kSamplesPerBeatAt1Bpm = 2646000.0;  // 60 s * 44100

// The tempo a beat-locked effect runs at: its source's BPM held at 60 or above, or 120 when
// the effect has no source.
inline float LockedTempo(CTempoSource* source) noexcept {
  if (!source) return 120.0f;
  float bpm = source->GetBpm();
  return bpm >= 60.0f ? bpm : 60.0f;  // also catches NaN
}

// Flushes values too small to matter to zero, so a decaying feedback path never runs on
// denormals. Relies on strict IEEE arithmetic (no -ffast-math), which keeps the pair unfolded.
inline float FlushTiny(float x) noexcept { return x + 1e-18f - 1e-18f; }

// Replaces NaN and infinity with silence in a line; finite content is kept.
inline void ScrubNonFinite(float* line, size_t count) noexcept {
  for (size_t i = 0; i < count; ++i) {
    if (!std::isfinite(line[i])) line[i] = 0.0f;
  }
}

inline float FiniteOr0(float x) noexcept { return std::isfinite(x) ? x : 0.0f; }

}  // namespace fxdsp
