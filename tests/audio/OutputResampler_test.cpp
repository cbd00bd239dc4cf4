#include "audio/OutputResampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

constexpr double kTwoPi = 6.283185307179586;

// The engine side: a sine at 44100 Hz, continuous across blocks; records the block sizes asked.
struct SineSource {
  double frequency = 1000.0, amplitude = 0.8;
  long long frame = 0;
  int expectedBlock = 0;
  int wrongBlocks = 0;

  static int Pull(void* context, float* out, int frames, int channels) noexcept {
    auto* self = static_cast<SineSource*>(context);
    if (frames != self->expectedBlock) ++self->wrongBlocks;
    for (int i = 0; i < frames; ++i, ++self->frame) {
      const float v = static_cast<float>(
          self->amplitude * std::sin(kTwoPi * self->frequency * self->frame / 44100.0));
      for (int c = 0; c < channels; ++c) out[i * channels + c] = c == 1 ? -v : v;
    }
    return frames;
  }
};

// Renders `total` output frames in callbacks of the given sizes, in turn.
std::vector<float> Render(COutputResampler& r, SineSource& source, long long total,
                          const std::vector<int>& callbackSizes, int channels) {
  std::vector<float> out(static_cast<size_t>(total) * channels + 1, 0.0f);
  out.back() = 12345.0f;  // guard past the end
  long long done = 0;
  for (size_t i = 0; done < total; ++i) {
    const int n = static_cast<int>(std::min<long long>(callbackSizes[i % callbackSizes.size()],
                                                       total - done));
    r.Render(&out[static_cast<size_t>(done) * channels], n, &SineSource::Pull, &source);
    done += n;
  }
  EXPECT_EQ(out.back(), 12345.0f);
  out.pop_back();
  return out;
}

}  // namespace

// 44100 -> 48000 with odd callback sizes over ten seconds: every output frame must be the
// input sine at time k/48000. A dropped, doubled or misaligned frame at a callback boundary
// shows as an error near the sine's step between frames (0.1 at this level); the filter
// (86 dB Kaiser, 512 interpolated phases) keeps a clean stream below kMaxError.
TEST(OutputResampler, SineKeepsItsPitchAndPhaseAcrossOddCallbacks) {
  constexpr double kMaxError = 1e-3;  // -58 dB re full scale
  constexpr int kBlock = 235;         // the engine block a 256-frame 48 kHz period asks for
  COutputResampler r;
  ASSERT_TRUE(r.Open(44100, 48000, 2, kBlock));
  SineSource source;
  source.expectedBlock = kBlock;
  const long long total = 480000;
  std::vector<float> out = Render(r, source, total, {1, 7, 97, 333, 1021, 256}, 2);

  double worst = 0;
  long long crossings = 0;
  for (long long k = r.taps(); k < total; ++k) {
    const double ideal = source.amplitude * std::sin(kTwoPi * 1000.0 * k / 48000.0);
    worst = std::max(worst, std::fabs(out[k * 2] - ideal));
    worst = std::max(worst, std::fabs(out[k * 2 + 1] + ideal));
    if ((out[(k - 1) * 2] < 0) != (out[k * 2] < 0)) ++crossings;
  }
  EXPECT_LT(worst, kMaxError);
  // 1 kHz at the device rate: two crossings per cycle, within one crossing of the count.
  const double seconds = (total - r.taps()) / 48000.0;
  EXPECT_NEAR(static_cast<double>(crossings), 2000.0 * seconds, 1.0);
  // Length: the input consumed is exactly 44100/48000 of the output, up to what the filter and
  // the last block read ahead.
  const double expectedInput = total * 44100.0 / 48000.0;
  EXPECT_GE(r.inputFramesPulled(), expectedInput);
  EXPECT_LE(r.inputFramesPulled(), expectedInput + r.taps() + kBlock);
  EXPECT_EQ(source.wrongBlocks, 0);
}

TEST(OutputResampler, DownsamplingRejectsWhatTheDeviceCannotCarry) {
  // 44100 -> 22050: 1 kHz passes unchanged, 15 kHz (above the new 11025 Hz Nyquist) must not
  // fold back as an audible 7050 Hz alias.
  for (double frequency : {1000.0, 15000.0}) {
    COutputResampler r;
    ASSERT_TRUE(r.Open(44100, 22050, 1, 441));
    SineSource source;
    source.frequency = frequency;
    source.expectedBlock = 441;
    const long long total = 22050;
    std::vector<float> out = Render(r, source, total, {129, 1, 64}, 1);
    double power = 0;
    for (long long k = r.taps(); k < total; ++k) power += out[k] * out[k];
    const double rms = std::sqrt(power / (total - r.taps()));
    if (frequency < 11025)
      EXPECT_NEAR(rms, source.amplitude / std::sqrt(2.0), 1e-3);
    else
      EXPECT_LT(rms, source.amplitude * 1e-3) << "alias at -60 dB or more";  // stop band
  }
}
