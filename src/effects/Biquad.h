#pragma once
// ZQBiquad: one second-order section with the Audio EQ Cookbook designs, at 44100 Hz.
// Process divides by a0 at run time rather than normalising the coefficients, so the
// sixteen-bit path can keep its own scaled copies.
//
// Threads: Design and Process on one thread at a time. Process is real-time safe.

#include <cstdint>

#include "app/base/Realtime.h"

class ZQBiquad {
 public:
  enum Type {
    kLowPass = 1,
    kHighPass = 2,
    kBandPassSkirt = 3,
    kBandPassPeak = 4,
    kNotch = 5,
    kAllPass = 6,
    kPeaking = 7,
    kLowShelf = 8,
    kHighShelf = 9,
  };

  // Designs the section; an unknown type keeps the coefficients it had.
  void Design(float frequencyHz, float dB, float quality, int filterType);
  // In place over count samples at samples[offset], samples[offset + stride], ...
  LUMO_RT void Process(float* samples, int count, int offset, int stride) noexcept;
  // A left and a right section over one interleaved stereo block in a single pass, so the two
  // recursions overlap; the same arithmetic as Process on each channel.
  LUMO_RT static void ProcessStereo(ZQBiquad& left, ZQBiquad& right, float* block, int frames) noexcept;
  LUMO_RT void ClearState() noexcept { x1 = x2 = y1 = y2 = 0.0f; }
  // Takes another section's design, keeping this one's signal state.
  LUMO_RT void CopyDesignFrom(const ZQBiquad& other) noexcept {
    type = other.type, frequency = other.frequency, gainDb = other.gainDb, q = other.q;
    a0 = other.a0, a1 = other.a1, a2 = other.a2, b0 = other.b0, b1 = other.b1, b2 = other.b2;
    fixedA0 = other.fixedA0, fixedA1 = other.fixedA1, fixedA2 = other.fixedA2;
    fixedB0 = other.fixedB0, fixedB1 = other.fixedB1, fixedB2 = other.fixedB2;
  }

  int type = 4;
  float frequency = 1700.0f;
  float gainDb = 6.0f;
  float q = 1.0f;
  float x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  float a0 = 1, a1 = 0, a2 = 0, b0 = 1, b1 = 0, b2 = 0;
  // The same coefficients scaled by 8192 / a0, for sixteen-bit arithmetic.
  int16_t fixedA0 = 0, fixedA1 = 0, fixedA2 = 0, fixedB0 = 0, fixedB1 = 0, fixedB2 = 0;
};
