#pragma once
// What hangs on the master bus after the mix: the limiter (processes the bus in place) and the
// recorder tap (takes a copy). Both are optional: a null pointer skips them.

#include <atomic>

#include "app/base/Realtime.h"

class CZQMixer;

class CMasterBusProcessor {
 public:
  virtual ~CMasterBusProcessor() = default;
  LUMO_RT virtual void ProcessMasterBus(float* stereo, int frames) noexcept = 0;
};

class CMasterBusRecorder {
 public:
  virtual ~CMasterBusRecorder() = default;
  // Takes one block of the master. Returns false when its disk is failing.
  LUMO_RT virtual bool FeedMasterBus(const float* stereo, int frames) noexcept = 0;
};

// What MixAudioBlock mixes and where the master goes. Set on the main thread while the objects
// exist; the device thread loads each pointer once per block.
struct MixRouting {
  std::atomic<CZQMixer*> mixer{nullptr};
  std::atomic<CMasterBusProcessor*> limiter{nullptr};
  std::atomic<CMasterBusRecorder*> recorder{nullptr};
  // Raised by the device thread when the recorder's disk fails; the tick stops recording.
  std::atomic<int> stopRecordingRequested{0};
};
extern MixRouting g_mixRouting;
