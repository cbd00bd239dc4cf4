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

namespace {

// Both channels side by side, so their two recursions overlap in the pipeline; the section
// count is a template argument so the cascade unrolls.
template <int N>
void ProcessSections(const CrossoverSection* sections, double (&history)[2][2 * ZQCrossoverBand::kMaxSections],
                     const float* in, float* out, int sampleCount) noexcept {
  double g[N], a1[N], a2[N], twoS[N];
  double w1[2][N], w2[2][N];
  for (int k = 0; k < N; ++k) {
    g[k] = sections[k].g, a1[k] = sections[k].a1, a2[k] = sections[k].a2, twoS[k] = 2.0 * sections[k].s;
    for (int c = 0; c < 2; ++c) w1[c][k] = history[c][2 * k], w2[c][k] = history[c][2 * k + 1];
  }
  for (int i = 0; i + 1 < sampleCount; i += 2) {
    double v[2] = {in[i], in[i + 1]};
    for (int k = 0; k < N; ++k) {
      for (int c = 0; c < 2; ++c) {
        const double w = g[k] * v[c] - a2[k] * w2[c][k] - a1[k] * w1[c][k];
        v[c] = w + twoS[k] * w1[c][k] + w2[c][k];
        w2[c][k] = w1[c][k] + kDenormalFloor;
        w1[c][k] = w + kDenormalFloor;
      }
    }
    out[i] = static_cast<float>(v[0]);
    out[i + 1] = static_cast<float>(v[1]);
  }
  for (int k = 0; k < N; ++k) {
    for (int c = 0; c < 2; ++c) history[c][2 * k] = w1[c][k], history[c][2 * k + 1] = w2[c][k];
  }
}

}  // namespace

void ZQCrossoverBand::Process(const float* in, float* out, int sampleCount) noexcept {
  const CrossoverSections band = CrossoverBandSections(band_);
  if (band.count == 2) {
    ProcessSections<2>(band.sections, history_, in, out, sampleCount);
  } else if (band.count == 4) {
    ProcessSections<4>(band.sections, history_, in, out, sampleCount);
  }
}
