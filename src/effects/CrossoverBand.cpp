#include "effects/CrossoverBand.h"

namespace {

// Designed at 44100 Hz: a fourth-order low-pass at 340 Hz, a band-pass from 340 Hz to 8 kHz and
// a fourth-order high-pass at 8 kHz, each as a cascade of biquads with unnormalised numerators.
constexpr CrossoverSection kLow[] = {
    {+1, 1.61606803597387e-6, 0.90813023596589, -1.902381209719362},
    {+1, 1.0, 0.8756413532699335, -1.871143706630871},
};
constexpr CrossoverSection kMid[] = {
    {-1, 0.06624911184645224, 0.2432914511959453, -0.009262113814037748},
    {-1, 1.0, 0.9626416678272747, -1.961681660190477},
    {+1, 1.0, 0.02829410901906353, -0.1456873794746027},
    {+1, 1.0, 0.9339131720449145, -1.932673631143553},
};
constexpr CrossoverSection kHigh[] = {
    {-1, 0.293256802062472, 0.4007327809326599, -1.014854146667207},
    {-1, 1.0, 0.1662120709779701, -0.776218060344873},
};

// Keeps the recursion clear of denormal numbers, which are slow on every x86.
constexpr double kDenormalFloor = 1e-30;

}  // namespace

CrossoverSections CrossoverBandSections(int band) {
  switch (band) {
    case 0: return {kLow, 2};
    case 1: return {kMid, 4};
    case 2: return {kHigh, 2};
    default: return {nullptr, 0};
  }
}

void ZQCrossoverBand::SetBand(int band) {
  band_ = band;
  ClearHistory();
}

void ZQCrossoverBand::ClearHistory() noexcept {
  for (auto& channel : history_) {
    for (double& v : channel) v = 0.0;
  }
}

void ZQCrossoverBand::Process(const float* in, float* out, int sampleCount) noexcept {
  const CrossoverSections band = CrossoverBandSections(band_);
  for (int channel = 0; channel < 2; ++channel) {
    double* h = history_[channel];
    for (int i = channel; i < sampleCount; i += 2) {
      double v = in[i];
      for (int k = 0; k < band.count; ++k) {
        const CrossoverSection& sec = band.sections[k];
        double& w1 = h[2 * k];
        double& w2 = h[2 * k + 1];
        const double w = sec.g * v - sec.a2 * w2 - sec.a1 * w1;
        v = w + sec.s * 2.0 * w1 + w2;
        w2 = w1 + kDenormalFloor;
        w1 = w + kDenormalFloor;
      }
      out[i] = static_cast<float>(v);
    }
  }
}
