#pragma once
// The output layer's tests stand in for the mixer: their MixAudioBlock writes a 44100 Hz sine
// (or silence) into every channel and records how the back ends call it.

#include <atomic>

struct TestMix {
  std::atomic<long long> calls{0};
  std::atomic<int> lastFrames{0}, lastChannels{0}, callsOffAudioThread{0};
  std::atomic<double> frequency{0.0};  // 0: silence
  long long phaseFrame = 0;             // the audio thread's alone

  void Reset() {
    calls = lastFrames = lastChannels = callsOffAudioThread = 0;
    frequency = 0.0;
    phaseFrame = 0;
  }
};
extern TestMix g_testMix;
