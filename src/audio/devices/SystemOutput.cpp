// The system back end: one RtAudio output stream (ALSA or PulseAudio/PipeWire) of latency/8
// frames per buffer and 8 buffers, so the mix runs in the same fragment-sized blocks as the
// fragment ring did. The stream carries 16-bit samples converted as the ring's fill did: times
// 32000, rounded, clipped. A device that refuses 44100 Hz runs at its preferred rate and
// COutputFeed resamples.

#include <chrono>
#include <thread>
#include <alsa/asoundlib.h>
#include <rtaudio/RtAudio.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <string>

#include "app/base/Realtime.h"
#include "app/base/Trace.h"
#include "audio/AudioSignalSource.h"
#include "audio/FragmentScheduler.h"
#include "audio/SampleConversions.h"
#include "audio/devices/OutputBackend.h"

namespace {

// Once a stream is open RtAudio reports through this, from its own thread: only a constant
// line may leave it. Errors while opening are exceptions and are traced with their text.
// RtAudio's error callback carries no stream, so errors are counted for all system streams;
// each compares the count with the one it opened at.
std::atomic<int> g_streamErrors{0};

void StreamError(RtAudioError::Type type, const std::string&) {
  if (type != RtAudioError::WARNING && type != RtAudioError::DEBUG_WARNING) {
    g_streamErrors.fetch_add(1, std::memory_order_relaxed);
    TraceLineRT("system output: the stream stopped on an error");
  }
}

std::string TableName(RtAudio::Api api, const std::string& deviceName) {
  return RtAudio::getApiDisplayName(api) + ": " + deviceName;
}

// Device numbers move when cards come and go: finds the table's device by its name again.
int FindDevice(RtAudio& audio, RtAudio::Api api, const OutputDeviceInfo& device) {
  const unsigned int count = audio.getDeviceCount();
  if (device.apiDevice >= 0 && static_cast<unsigned int>(device.apiDevice) < count &&
      TableName(api, audio.getDeviceInfo(static_cast<unsigned int>(device.apiDevice)).name) ==
          device.name)
    return device.apiDevice;
  for (unsigned int i = 0; i < count; ++i)
    if (TableName(api, audio.getDeviceInfo(i).name) == device.name) return static_cast<int>(i);
  return -1;
}

int ChooseRate(const RtAudio::DeviceInfo& info) {
  if (info.sampleRates.empty() ||
      std::find(info.sampleRates.begin(), info.sampleRates.end(), kEngineRate) !=
          info.sampleRates.end())
    return kEngineRate;
  if (info.preferredSampleRate > 0) return static_cast<int>(info.preferredSampleRate);
  return static_cast<int>(info.sampleRates.back());
}

class CSystemOutput final : public COutputBackend {
 public:
  ~CSystemOutput() override { Close(); }

  bool Open(const OutputBackendConfig& config) override;
  void Close() override;
  int DeviceRate() const override { return rate_; }
  int DeviceBlockFrames() const override { return block_; }
  bool Failed() const noexcept override {
    return g_streamErrors.load(std::memory_order_relaxed) != errorsAtOpen_;
  }

 private:
  static int Callback(void* output, void* input, unsigned int frames, double streamTime,
                      RtAudioStreamStatus status, void* self) noexcept;
  bool OpenStream(const OutputBackendConfig& config, int deviceId, int rate);
  bool OpenOnce(const OutputBackendConfig& config);

  std::unique_ptr<RtAudio> audio_;
  std::unique_ptr<float[]> scratch_;
  int scratchFrames_ = 0;
  int channels_ = 2;
  int rate_ = 0;
  int block_ = 0;
  int errorsAtOpen_ = 0;
  COutputFeed feed_;
};

bool CSystemOutput::OpenStream(const OutputBackendConfig& config, int deviceId, int rate) {
  // One buffer is a fragment of engine time, whatever the device's rate.
  unsigned int frames = static_cast<unsigned int>(
      std::max(1L, std::lround(static_cast<double>(config.fragmentFrames) * rate / kEngineRate)));
  RtAudio::StreamParameters parameters;
  parameters.deviceId = static_cast<unsigned int>(deviceId);
  parameters.nChannels = static_cast<unsigned int>(channels_);
  RtAudio::StreamOptions options;
  options.numberOfBuffers = kOutputFragments;
  options.flags = RTAUDIO_SCHEDULE_REALTIME;
  options.streamName = "Zorvik Lumo";
  try {
    audio_->openStream(&parameters, nullptr, RTAUDIO_SINT16, static_cast<unsigned int>(rate),
                       &frames, &CSystemOutput::Callback, this, &options, &StreamError);
    if (!audio_->isStreamOpen()) return false;
  } catch (const RtAudioError& e) {
    TraceLine("system output: %s", e.what());
    return false;
  }
  rate_ = rate;
  block_ = static_cast<int>(frames);
  return true;
}

bool CSystemOutput::Open(const OutputBackendConfig& config) {
  // A busy JACK server can refuse RtAudio's client for a moment: a JACK device gets three tries,
  // 150 ms apart. Other devices answer at once either way.
  const bool jack = config.device && config.device->api == RtAudio::UNIX_JACK;
  for (int attempt = 0;; ++attempt) {
    if (OpenOnce(config)) return true;
    if (!jack || attempt == 2) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
  }
}

bool CSystemOutput::OpenOnce(const OutputBackendConfig& config) {
  Close();
  if (!config.device) return false;
  channels_ = config.channels;
  errorsAtOpen_ = g_streamErrors.load();
  try {
    const auto api = static_cast<RtAudio::Api>(config.device->api);
    audio_ = std::make_unique<RtAudio>(api);
    audio_->showWarnings(false);
    const int id = FindDevice(*audio_, api, *config.device);
    if (id < 0) {
      TraceLine("system output: %s is gone", config.device->name.c_str());
      audio_.reset();
      return false;
    }
    const RtAudio::DeviceInfo info = audio_->getDeviceInfo(static_cast<unsigned int>(id));
    const int rate = ChooseRate(info);
    // A device that lists 44100 Hz may still refuse it; its own rate is the second try.
    if (!OpenStream(config, id, rate) &&
        !(rate == kEngineRate && info.preferredSampleRate > 0 &&
          static_cast<int>(info.preferredSampleRate) != kEngineRate &&
          OpenStream(config, id, static_cast<int>(info.preferredSampleRate)))) {
      audio_.reset();
      return false;
    }
    scratchFrames_ = block_;
    scratch_ = std::make_unique<float[]>(static_cast<size_t>(scratchFrames_) * channels_);
    if (!feed_.Open(config, rate_, block_)) {
      Close();
      return false;
    }
    if (channels_ > 2)
      TraceLine("system output - opening in multichannel - %d channels", channels_);
    audio_->startStream();
  } catch (const RtAudioError& e) {
    TraceLine("system output: %s", e.what());
    Close();
    return false;
  }
  return true;
}

void CSystemOutput::Close() {
  if (!audio_) return;
  try {
    if (audio_->isStreamRunning()) audio_->stopStream();
    if (audio_->isStreamOpen()) audio_->closeStream();
  } catch (const RtAudioError& e) {
    TraceLine("system output: %s", e.what());
  }
  audio_.reset();
}

int CSystemOutput::Callback(void* output, void*, unsigned int frames, double,
                            RtAudioStreamStatus, void* self) noexcept {
  rt::AudioThreadScope audioThread;
  auto* out = static_cast<CSystemOutput*>(self);
  auto* device = static_cast<int16_t*>(output);
  const int channels = out->channels_;
  const int total = static_cast<int>(frames);
  for (int done = 0; done < total;) {
    const int n = std::min(total - done, out->scratchFrames_);
    out->feed_.Render(out->scratch_.get(), n);
    DeviceInt16FromFloat(out->scratch_.get(), device + static_cast<size_t>(done) * channels,
                         n * channels);
    done += n;
  }
  return 0;
}

}  // namespace

std::unique_ptr<COutputBackend> CreateSystemOutput() { return std::make_unique<CSystemOutput>(); }

// ALSA prints every failed probe (a machine without a sound card gives dozens of lines) to
// stderr; the device table says what exists, so the library's own chatter is dropped.
static void QuietAlsaError(const char*, int, const char*, int, const char*, ...) {}

void AppendSystemDevices(std::vector<OutputDeviceInfo>* table) {
  snd_lib_error_set_handler(&QuietAlsaError);
  std::vector<RtAudio::Api> apis;
  RtAudio::getCompiledApi(apis);
  for (RtAudio::Api api : apis) {
    if (api == RtAudio::UNIX_JACK || api == RtAudio::RTAUDIO_DUMMY) continue;
    try {
      RtAudio audio(api);
      audio.showWarnings(false);
      const unsigned int count = audio.getDeviceCount();
      for (unsigned int i = 0; i < count; ++i) {
        const RtAudio::DeviceInfo info = audio.getDeviceInfo(i);
        if (!info.probed || info.outputChannels == 0) continue;
        OutputDeviceInfo device;
        device.name = TableName(api, info.name);
        device.channels = static_cast<int>(info.outputChannels);
        device.api = static_cast<int>(api);
        device.apiDevice = static_cast<int>(i);
        device.soundServer = api == RtAudio::LINUX_PULSE;
        table->push_back(device);
      }
    } catch (const RtAudioError& e) {
      TraceLine("system output: %s", e.what());
    }
  }
}
