#pragma once
// A small in-place radix-2 complex FFT of a fixed power-of-two size, with its twiddle factors
// worked out once at construction. Forward uses e^(-i...); Inverse scales by 1/size.
//
// Threads: Forward and Inverse are real-time safe; one caller at a time per object.

#include <complex>
#include <vector>

#include "app/base/Realtime.h"

class CFft {
 public:
  explicit CFft(int size);
  int Size() const { return size_; }
  LUMO_RT void Forward(std::complex<float>* data) const noexcept { Transform(data, false); }
  LUMO_RT void Inverse(std::complex<float>* data) const noexcept;

 private:
  LUMO_RT void Transform(std::complex<float>* data, bool inverse) const noexcept;
  int size_;
  std::vector<std::complex<float>> twiddles_;  // e^(-2 pi i k / size), k < size / 2
  std::vector<int> bitReverse_;
};
