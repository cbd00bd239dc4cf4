#pragma once
// The output layer's tests stand in for the mixer: their MixAudioBlock writes a 44100 Hz sine
// (or silence) into every channel and records how the back ends call it.

#include <atomic>

struct TestMix {
  std::atomic<long long> calls{0};
  std::atomic<int> lastFrames{0}, lastChannels{0}, callsOffAudioThread{0};
  std::atomic<double> frequency{0.0};  // 0: silence
  std::atomic<int> stallOnceMs{0};     // the next call stalls this long (a stopped process)
  std::atomic<long long> framesMixed{0};
  std::atomic<long long> stallEndFrame{-1};   // framesMixed when the stall ended
  std::atomic<long long> stallEndNs{0};       // steady clock when it ended
  long long phaseFrame = 0;             // the audio thread's alone

  void Reset() {
    calls = lastFrames = lastChannels = callsOffAudioThread = 0;
    frequency = 0.0;
    stallOnceMs = 0;
    framesMixed = 0;
    stallEndFrame = -1;
    stallEndNs = 0;
    phaseFrame = 0;
  }
};
extern TestMix g_testMix;
