#include "audio/OutputResampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kKaiserBeta = 8.6;   // about 86 dB stop band
constexpr double kRolloff = 0.91;     // cut-off as a share of the lower Nyquist frequency
constexpr int kMaxChannels = 16;

double BesselI0(double x) {
  double sum = 1.0, term = 1.0;
  for (int k = 1; k < 50 && term > 1e-12 * sum; ++k) {
    term *= (x / (2.0 * k)) * (x / (2.0 * k));
    sum += term;
  }
  return sum;
}

}  // namespace

bool COutputResampler::Open(int inRate, int outRate, int channels, int inputBlockFrames) {
  if (inRate <= 0 || outRate <= 0 || channels <= 0 || channels > kMaxChannels ||
      inputBlockFrames <= 0)
    return false;
  inRate_ = inRate;
  outRate_ = outRate;
  channels_ = channels;
  block_ = inputBlockFrames;
  const long long g = std::gcd(inRate, outRate);
  step_ = inRate / g;
  denominator_ = outRate / g;

  // Going down, the filter must cut below the output's Nyquist frequency, so it widens.
  const double ratio = std::min(1.0, static_cast<double>(outRate) / inRate);
  taps_ = static_cast<int>(std::ceil(kBaseTaps / ratio));
  taps_ += taps_ & 1;
  capacity_ = taps_ + block_;
  table_ = std::make_unique<float[]>(static_cast<size_t>(kPhases + 1) * taps_);
  coefs_ = std::make_unique<float[]>(taps_);
  buffer_ = std::make_unique<float[]>(static_cast<size_t>(capacity_) * channels_);
  BuildTable(0.5 * ratio * kRolloff);
  Reset();
  return true;
}

void COutputResampler::BuildTable(double cutoff) {
  const double half = taps_ / 2;
  const double i0Beta = BesselI0(kKaiserBeta);
  for (int p = 0; p <= kPhases; ++p) {
    float* row = &table_[static_cast<size_t>(p) * taps_];
    const double frac = static_cast<double>(p) / kPhases;
    double sum = 0;
    for (int j = 0; j < taps_; ++j) {
      const double t = frac + half - 1 - j;  // distance from the output instant, input frames
      const double u = t / half;
      const double window = std::fabs(u) >= 1.0 ? 0.0
                                                 : BesselI0(kKaiserBeta * std::sqrt(1 - u * u)) / i0Beta;
      const double x = 2.0 * cutoff * t;
      const double sinc = x == 0.0 ? 1.0 : std::sin(kPi * x) / (kPi * x);
      row[j] = static_cast<float>(2.0 * cutoff * sinc * window);
      sum += row[j];
    }
    // Unity gain at DC in every phase, so a constant stays exactly constant.
    for (int j = 0; j < taps_; ++j) row[j] = static_cast<float>(row[j] / sum);
  }
}

void COutputResampler::Reset() {
  if (!buffer_) return;
  std::memset(buffer_.get(), 0, sizeof(float) * static_cast<size_t>(capacity_) * channels_);
  // Silence fills the filter's past, so output frame 0 is input frame 0.
  filled_ = taps_ / 2 - 1;
  readPos_ = 0;
  frac_ = 0;
  pulled_ = 0;
}

void COutputResampler::PullBlock(ResamplerPull pull, void* context) noexcept {
  if (filled_ + block_ > capacity_) {
    if (readPos_ >= filled_) {
      readPos_ -= filled_;
      filled_ = 0;
    } else {
      std::memmove(buffer_.get(), &buffer_[static_cast<size_t>(readPos_) * channels_],
                   sizeof(float) * static_cast<size_t>(filled_ - readPos_) * channels_);
      filled_ -= readPos_;
      readPos_ = 0;
    }
  }
  float* dst = &buffer_[static_cast<size_t>(filled_) * channels_];
  int got = pull(context, dst, block_, channels_);
  if (got < 0) got = 0;
  if (got < block_)
    std::memset(dst + static_cast<size_t>(got) * channels_, 0,
                sizeof(float) * static_cast<size_t>(block_ - got) * channels_);
  filled_ += block_;
  pulled_ += block_;
}

void COutputResampler::RenderFrame(float* out) noexcept {
  const double position = static_cast<double>(frac_) * kPhases / denominator_;
  const int phase = static_cast<int>(position);
  const float weight = static_cast<float>(position - phase);
  const float* a = &table_[static_cast<size_t>(phase) * taps_];
  const float* b = a + taps_;
  for (int j = 0; j < taps_; ++j) coefs_[j] = a[j] + weight * (b[j] - a[j]);

  float acc[kMaxChannels] = {};
  const float* in = &buffer_[static_cast<size_t>(readPos_) * channels_];
  for (int j = 0; j < taps_; ++j, in += channels_)
    for (int c = 0; c < channels_; ++c) acc[c] += coefs_[j] * in[c];
  for (int c = 0; c < channels_; ++c) out[c] = acc[c];

  frac_ += step_;
  readPos_ += static_cast<int>(frac_ / denominator_);
  frac_ %= denominator_;
}

void COutputResampler::Render(float* out, int outFrames, ResamplerPull pull,
                              void* context) noexcept {
  for (int k = 0; k < outFrames; ++k) {
    while (readPos_ + taps_ > filled_) PullBlock(pull, context);
    RenderFrame(out + static_cast<size_t>(k) * channels_);
  }
}
