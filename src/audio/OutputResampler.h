#pragma once
// COutputResampler: turns the engine's 44100 Hz blocks into a device running at another rate.
//
// A streaming windowed-sinc (Kaiser) resampler with a polyphase table of 512 phases, linearly
// interpolated between phases. The read position advances by exact integer steps of
// inRate/outRate, so any number of callbacks of any size yields exactly the expected number of
// input frames, without drift. Output frame k is the input signal at input time k * in/out
// (the filter's delay is taken up by reading ahead), so a sine in gives the same sine out.
//
// The resampler pulls its input through a callback, one block of a fixed size at a time, so the
// engine keeps mixing blocks of one length while the device asks for whatever it likes.
//
// Open and Reset run on the main thread and allocate; Render is real-time safe.

#include <memory>

#include "app/base/Realtime.h"

// Fills `frames` interleaved frames into `out`; returns the frames written, 0 for silence.
using ResamplerPull = int (*)(void* context, float* out, int frames, int channels) noexcept;

class COutputResampler {
 public:
  // Taps per output frame at unit ratio; the filter widens by inRate/outRate when going down.
  static constexpr int kBaseTaps = 64;
  static constexpr int kPhases = 512;

  // False for rates or sizes it cannot serve (rates <= 0, more than 16 channels).
  bool Open(int inRate, int outRate, int channels, int inputBlockFrames);
  void Reset();  // back to the start: silence behind, nothing read

  LUMO_RT void Render(float* out, int outFrames, ResamplerPull pull, void* context) noexcept;

  int inRate() const { return inRate_; }
  int outRate() const { return outRate_; }
  int taps() const { return taps_; }
  // Input frames pulled since Open or Reset.
  long long inputFramesPulled() const { return pulled_; }

 private:
  LUMO_RT void PullBlock(ResamplerPull pull, void* context) noexcept;
  LUMO_RT void RenderFrame(float* out) noexcept;
  void BuildTable(double cutoff);

  int inRate_ = 0, outRate_ = 0, channels_ = 0, block_ = 0;
  long long step_ = 0, denominator_ = 1;  // input advance per output frame = step_/denominator_
  int taps_ = 0;
  std::unique_ptr<float[]> table_;    // (kPhases + 1) rows of taps_ coefficients
  std::unique_ptr<float[]> coefs_;    // the interpolated row for the current frame
  std::unique_ptr<float[]> buffer_;   // (taps_ + block_) interleaved input frames
  int capacity_ = 0;                  // frames in buffer_
  int filled_ = 0;                    // frames of buffer_ holding input
  int readPos_ = 0;                   // first frame under the filter
  long long frac_ = 0;                // read position between frames, in 1/denominator_
  long long pulled_ = 0;
};
