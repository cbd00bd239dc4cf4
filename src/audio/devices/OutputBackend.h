#pragma once
// The one interface every output back end implements (system/RtAudio, pro/JACK, null), and
// COutputFeed, the device-side stage they share: it pulls the engine's 44100 Hz blocks through
// the output callback, in pieces of at most kMaxBlockFrames, and resamples them when the device
// runs at another rate.
//
// Open and Close run on the main thread. Between them the back end calls the callback on its
// own thread, marked with rt::AudioThreadScope; after Close returns it calls nothing.

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "audio/OutputResampler.h"
#include "audio/devices/OutputLayer.h"

using OutputCallback = int (*)(float* out, int frames, int channels) noexcept;

struct OutputBackendConfig {
  int outputIndex = 0;                       // 0 primary, 1 secondary
  int deviceIndex = -1;                      // in the layer's table
  const OutputDeviceInfo* device = nullptr;  // null for the null back end
  int channels = 2;
  int fragmentFrames = 360;                  // engine frames per block: latency / 8
  OutputCallback callback = nullptr;         // MixAudioBlock or MonitorAudioBlock
  std::atomic<uint64_t>* framesDelivered = nullptr;  // engine frames pulled; may be null
};

class COutputBackend {
 public:
  virtual ~COutputBackend() = default;
  // Opens the device and starts pulling; false (and nothing running) when it cannot.
  virtual bool Open(const OutputBackendConfig& config) = 0;
  // Stops pulling; idempotent.
  virtual void Close() = 0;
  virtual int DeviceRate() const = 0;
  virtual int DeviceBlockFrames() const = 0;
  // True once the device can no longer play (its server went away, its rate changed under
  // it): the layer's watchdog then reopens it. Any thread.
  virtual bool Failed() const noexcept { return false; }
};

std::unique_ptr<COutputBackend> CreateSystemOutput();
std::unique_ptr<COutputBackend> CreateJackOutput();
std::unique_ptr<COutputBackend> CreateNullOutput();

// Discovery, main thread. System devices with output channels, every API RtAudio offers except
// its JACK one (the pro back end speaks to JACK itself). Names are "<API>: <device>".
void AppendSystemDevices(std::vector<OutputDeviceInfo>* table);
// True when a JACK server is running (never starts one); fills the table entry.
bool ProbeJackServer(OutputDeviceInfo* info);

class COutputFeed {
 public:
  // Allocates; deviceBlockFrames is the device's usual request, used to size the engine block
  // when resampling.
  bool Open(const OutputBackendConfig& config, int deviceRate, int deviceBlockFrames);
  // Fills `frames` device frames of config.channels interleaved floats.
  LUMO_RT void Render(float* out, int frames) noexcept;
  bool resampling() const { return resampling_; }

 private:
  static int PullEngine(void* self, float* out, int frames, int channels) noexcept;
  LUMO_RT int Pull(float* out, int frames) noexcept;

  OutputBackendConfig config_;
  bool resampling_ = false;
  COutputResampler resampler_;
};
