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
  LUMO_RT void ClearState() noexcept { x1 = x2 = y1 = y2 = 0.0f; }

  int type = 4;
  float frequency = 1700.0f;
  float gainDb = 6.0f;
  float q = 1.0f;
  float x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  float a0 = 1, a1 = 0, a2 = 0, b0 = 1, b1 = 0, b2 = 0;
  // The same coefficients scaled by 8192 / a0, for sixteen-bit arithmetic.
  int16_t fixedA0 = 0, fixedA1 = 0, fixedA2 = 0, fixedB0 = 0, fixedB1 = 0, fixedB2 = 0;
};
