#pragma once
// CAudioSignalSource: everything that sounds is pulled one block at a time by the device's
// thread. A block is `frames` interleaved stereo float frames, at most kMaxBlockFrames, at the
// engine's fixed 44100 Hz. Sources keep to nominal +-1.0; only the output stage clips.
//
// GetSamples and PrepareBlock run on the audio thread: they must write every frame (silence
// included), allocate nothing and never wait.

#include "app/base/Realtime.h"

constexpr int kEngineRate = 44100;
constexpr int kMaxBlockFrames = 4410;  // 100 ms; every fixed bus is sized for it

class CAudioSignalSource {
 public:
  virtual ~CAudioSignalSource() = default;
  LUMO_RT virtual void GetSamples(float* out, int frames) noexcept = 0;
  // 16-bit interleaved, at most 4410 frames; only the deck implements it.
  LUMO_RT virtual void ReadInt16(short* out, int frames) noexcept { (void)out, (void)frames; }
  virtual float GetBpm() { return 0.0f; }
  virtual int GetPosition() { return 0; }
  virtual int GetLength() { return -1; }
  // Called with phase 0, 1 and 2 before each block; every source finishes a phase before any
  // source starts the next.
  LUMO_RT virtual void PrepareBlock(int phase) noexcept { (void)phase; }
};
