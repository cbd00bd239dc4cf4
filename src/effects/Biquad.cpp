#include "effects/Biquad.h"

#include <algorithm>
#include <cmath>

namespace {

int16_t ToFixed(float value, float a0) {
  double scaled = std::lround(static_cast<double>(value) * 8192.0 / a0);
  return static_cast<int16_t>(std::clamp(scaled, -32768.0, 32767.0));
}

}  // namespace

void ZQBiquad::Design(float frequencyHz, float dB, float quality, int filterType) {
  frequency = frequencyHz;
  gainDb = dB;
  q = quality;
  const double A = std::pow(10.0, dB / 40.0);
  const double w = 2.0 * M_PI * frequencyHz * 2.2675737e-5;
  const double sn = std::sin(w), cs = std::cos(w);
  const double alpha = sn / (2.0 * quality);
  const double shelf = 2.0 * std::sqrt(A) * alpha;
  double nb0, nb1, nb2, na0, na1, na2;
  switch (filterType) {
    case kLowPass:
      nb0 = (1 - cs) / 2, nb1 = 1 - cs, nb2 = (1 - cs) / 2;
      na0 = 1 + alpha, na1 = -2 * cs, na2 = 1 - alpha;
      break;
    case kHighPass:
      nb0 = (1 + cs) / 2, nb1 = -(1 + cs), nb2 = (1 + cs) / 2;
      na0 = 1 + alpha, na1 = -2 * cs, na2 = 1 - alpha;
      break;
    case kBandPassSkirt:
      nb0 = sn / 2, nb1 = 0, nb2 = -sn / 2;
      na0 = 1 + alpha, na1 = -2 * cs, na2 = 1 - alpha;
      break;
    case kBandPassPeak:
      nb0 = alpha, nb1 = 0, nb2 = -alpha;
      na0 = 1 + alpha, na1 = -2 * cs, na2 = 1 - alpha;
      break;
    case kNotch:
      nb0 = 1, nb1 = -2 * cs, nb2 = 1;
      na0 = 1 + alpha, na1 = -2 * cs, na2 = 1 - alpha;
      break;
    case kAllPass:
      nb0 = 1 - alpha, nb1 = -2 * cs, nb2 = 1 + alpha;
      na0 = 1 + alpha, na1 = -2 * cs, na2 = 1 - alpha;
      break;
    case kPeaking:
      nb0 = 1 + alpha * A, nb1 = -2 * cs, nb2 = 1 - alpha * A;
      na0 = 1 + alpha / A, na1 = -2 * cs, na2 = 1 - alpha / A;
      break;
    case kLowShelf:
      nb0 = A * ((A + 1) - (A - 1) * cs + shelf);
      nb1 = 2 * A * ((A - 1) - (A + 1) * cs);
      nb2 = A * ((A + 1) - (A - 1) * cs - shelf);
      na0 = (A + 1) + (A - 1) * cs + shelf;
      na1 = -2 * ((A - 1) + (A + 1) * cs);
      na2 = (A + 1) + (A - 1) * cs - shelf;
      break;
    case kHighShelf:
      nb0 = A * ((A + 1) + (A - 1) * cs + shelf);
      nb1 = -2 * A * ((A - 1) + (A + 1) * cs);
      nb2 = A * ((A + 1) + (A - 1) * cs - shelf);
      na0 = (A + 1) - (A - 1) * cs + shelf;
      na1 = 2 * ((A - 1) - (A + 1) * cs);
      na2 = (A + 1) - (A - 1) * cs - shelf;
      break;
    default:
      return;
  }
  type = filterType;
  b0 = float(nb0), b1 = float(nb1), b2 = float(nb2);
  a0 = float(na0), a1 = float(na1), a2 = float(na2);
  fixedA0 = ToFixed(a0, a0), fixedA1 = ToFixed(a1, a0), fixedA2 = ToFixed(a2, a0);
  fixedB0 = ToFixed(b0, a0), fixedB1 = ToFixed(b1, a0), fixedB2 = ToFixed(b2, a0);
}

void ZQBiquad::Process(float* samples, int count, int offset, int stride) noexcept {
  float* p = samples + offset;
  for (int i = 0; i < count; ++i, p += stride) {
    const float x = *p;
    const float y = (b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2) / a0;
    x2 = x1, x1 = x;
    y2 = y1, y1 = y;
    *p = y;
  }
}

void ZQBiquad::ProcessStereo(ZQBiquad& l, ZQBiquad& r, float* block, int frames) noexcept {
  float lx1 = l.x1, lx2 = l.x2, ly1 = l.y1, ly2 = l.y2;
  float rx1 = r.x1, rx2 = r.x2, ry1 = r.y1, ry2 = r.y2;
  for (int i = 0; i < frames; ++i) {
    const float xl = block[2 * i], xr = block[2 * i + 1];
    const float yl = (l.b0 * xl + l.b1 * lx1 + l.b2 * lx2 - l.a1 * ly1 - l.a2 * ly2) / l.a0;
    const float yr = (r.b0 * xr + r.b1 * rx1 + r.b2 * rx2 - r.a1 * ry1 - r.a2 * ry2) / r.a0;
    lx2 = lx1, lx1 = xl, ly2 = ly1, ly1 = yl;
    rx2 = rx1, rx1 = xr, ry2 = ry1, ry1 = yr;
    block[2 * i] = yl;
    block[2 * i + 1] = yr;
  }
  l.x1 = lx1, l.x2 = lx2, l.y1 = ly1, l.y2 = ly2;
  r.x1 = rx1, r.x2 = rx2, r.y1 = ry1, r.y2 = ry2;
}
