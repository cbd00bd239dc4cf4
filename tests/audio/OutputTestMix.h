#pragma once
// The output layer's tests stand in for the mixer: this MixAudioBlock writes a sine made at
// 44100 Hz (or silence) into every channel and records how the back ends call it.

#include <atomic>

struct TestMix {
  std::atomic<long long> calls{0};
  std::atomic<long long> frames{0};
  std::atomic<int> lastFrames{0};
  std::atomic<int> lastChannels{0};
  std::atomic<int> callsOffAudioThread{0};
  std::atomic<double> frequency{0.0};  // 0: silence
  long long phaseFrame = 0;             // the audio thread's alone

  void Reset() {
    calls = frames = 0;
    lastFrames = lastChannels = callsOffAudioThread = 0;
    frequency = 0.0;
    phaseFrame = 0;
  }
};
extern TestMix g_testMix;
