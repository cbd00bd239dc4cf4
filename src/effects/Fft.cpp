#include "effects/Fft.h"

#include <cmath>
#include <utility>

CFft::CFft(int size) : size_(size), twiddles_(static_cast<size_t>(size / 2)), bitReverse_(static_cast<size_t>(size)) {
  for (int k = 0; k < size / 2; ++k) {
    double angle = -2.0 * M_PI * k / size;
    twiddles_[static_cast<size_t>(k)] = {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle))};
  }
  int bits = 0;
  while ((1 << bits) < size) ++bits;
  for (int i = 0; i < size; ++i) {
    int r = 0;
    for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
    bitReverse_[static_cast<size_t>(i)] = r;
  }
}

void CFft::Transform(std::complex<float>* data, bool inverse) const noexcept {
  for (int i = 0; i < size_; ++i) {
    int j = bitReverse_[static_cast<size_t>(i)];
    if (j > i) std::swap(data[i], data[j]);
  }
  for (int half = 1; half < size_; half *= 2) {
    const int stride = size_ / (2 * half);
    for (int start = 0; start < size_; start += 2 * half) {
      for (int k = 0; k < half; ++k) {
        std::complex<float> w = twiddles_[static_cast<size_t>(k * stride)];
        if (inverse) w = std::conj(w);
        const std::complex<float> odd = data[start + k + half] * w;
        data[start + k + half] = data[start + k] - odd;
        data[start + k] += odd;
      }
    }
  }
}

void CFft::Inverse(std::complex<float>* data) const noexcept {
  Transform(data, true);
  const float scale = 1.0f / static_cast<float>(size_);
  for (int i = 0; i < size_; ++i) data[i] *= scale;
}
