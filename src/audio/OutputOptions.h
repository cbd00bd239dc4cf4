#pragma once
// Output settings the audio thread reads on every block. The settings store and the options
// dialog write them on the main thread; the mix reads them relaxed.

#include <atomic>

struct OutputOptions {
  std::atomic<int> mode{0};          // audmod: 0 normal, 1 split mono, 2 multichannel
  std::atomic<int> externalMixer{0}; // extmix
  std::atomic<int> reverseMasterMonitor{0};  // revmmo
  std::atomic<int> muteOutput{0};    // naudio: the mix runs, the outputs are silent
  std::atomic<int> monitorFollowsMaster{0};  // raised by the tick, cleared by the cue buttons
  std::atomic<int> smoothGainInExternal{1};  // the mixer's smoothed gain; off with dsblcf
};

extern OutputOptions g_outputOptions;
