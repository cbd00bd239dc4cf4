#include "audio/devices/SystemCapture.h"

#include <chrono>
#include <thread>
#include <rtaudio/RtAudio.h>

#include <algorithm>
#include <memory>

#include "app/base/Realtime.h"
#include "app/base/Trace.h"
#include "audio/AudioSignalSource.h"
#include "audio/InputAudioBlock.h"

namespace {

constexpr unsigned int kPeriodFrames = 512;

struct Capture {
  std::unique_ptr<RtAudio> audio;
  int channels = 0;
  int rate = 0;
};
Capture g_capture;

std::string DeviceName(RtAudio& audio, unsigned int device) {
  return RtAudio::getApiDisplayName(audio.getCurrentApi()) + ": " + audio.getDeviceInfo(device).name;
}

std::vector<RtAudio::Api> CaptureApis() {
  std::vector<RtAudio::Api> apis;
  RtAudio::getCompiledApi(apis);
  apis.erase(std::remove(apis.begin(), apis.end(), RtAudio::RTAUDIO_DUMMY), apis.end());
  return apis;
}

// The API a saved name was listed under ("Jack: system" -> JACK); UNSPECIFIED when none is named.
RtAudio::Api ApiOfName(const std::string& name) {
  for (RtAudio::Api api : CaptureApis()) {
    const std::string prefix = RtAudio::getApiDisplayName(api) + ": ";
    if (name.compare(0, prefix.size(), prefix) == 0) return api;
  }
  return RtAudio::UNSPECIFIED;
}

int Callback(void*, void* input, unsigned int frames, double, RtAudioStreamStatus, void*) noexcept {
  rt::AudioThreadScope audioThread;
  const float* in = static_cast<const float*>(input);
  const float* ports[kCaptureChannels] = {};
  for (int c = 0; c < g_capture.channels; ++c) ports[c] = in + static_cast<size_t>(c) * frames;
  CaptureInputFrames(kCaptureFromSystem, ports, g_capture.channels, static_cast<int>(frames), g_capture.rate);
  return 0;
}

int ChooseRate(const RtAudio::DeviceInfo& info) {
  if (info.sampleRates.empty() ||
      std::find(info.sampleRates.begin(), info.sampleRates.end(), kEngineRate) != info.sampleRates.end())
    return kEngineRate;
  return info.preferredSampleRate > 0 ? static_cast<int>(info.preferredSampleRate) : kEngineRate;
}

}  // namespace

std::vector<std::string> SystemCaptureDevices() {
  std::vector<std::string> names;
  for (RtAudio::Api api : CaptureApis()) {
    try {
      RtAudio audio(api);
      audio.showWarnings(false);  // an API without a server (Pulse) complains on stderr; the list says enough
      for (unsigned int i = 0; i < audio.getDeviceCount(); ++i) {
        RtAudio::DeviceInfo info = audio.getDeviceInfo(i);
        if (info.probed && info.inputChannels > 0) names.push_back(DeviceName(audio, i));
      }
    } catch (const RtAudioError& e) {
      TraceLine("system capture: %s", e.what());
    }
  }
  return names;
}

static bool OpenCaptureOnce(const std::string& name, bool viaJack) {
  CloseSystemCapture();
  try {
    RtAudio::Api api = ApiOfName(name);
    if (api == RtAudio::UNSPECIFIED && viaJack) api = RtAudio::UNIX_JACK;
    auto audio = std::make_unique<RtAudio>(api);
    audio->showWarnings(false);  // failures come back as exceptions, traced below
    int device = name.empty() ? static_cast<int>(audio->getDefaultInputDevice()) : -1;
    for (unsigned int i = 0; device < 0 && i < audio->getDeviceCount(); ++i) {
      if (DeviceName(*audio, i) == name || audio->getDeviceInfo(i).name == name) device = static_cast<int>(i);
    }
    if (device < 0 || static_cast<unsigned int>(device) >= audio->getDeviceCount()) {
      TraceLine("system capture: no input device \"%s\"", name.c_str());
      return false;
    }
    RtAudio::DeviceInfo info = audio->getDeviceInfo(static_cast<unsigned int>(device));
    if (info.inputChannels == 0) {
      TraceLine("system capture: %s has no inputs", info.name.c_str());
      return false;
    }
    RtAudio::StreamParameters parameters;
    parameters.deviceId = static_cast<unsigned int>(device);
    parameters.nChannels = std::min<unsigned int>(info.inputChannels, kCaptureChannels);
    RtAudio::StreamOptions options;
    options.flags = RTAUDIO_NONINTERLEAVED | RTAUDIO_SCHEDULE_REALTIME;
    options.streamName = "Zorvik Lumo input";
    unsigned int period = kPeriodFrames;
    int rate = ChooseRate(info);
    // The callback reads these once the stream starts; set them first.
    g_capture.channels = static_cast<int>(parameters.nChannels);
    g_capture.rate = rate;
    audio->openStream(nullptr, &parameters, RTAUDIO_FLOAT32, static_cast<unsigned int>(rate), &period,
                      &Callback, nullptr, &options);
    g_capture.rate = static_cast<int>(audio->getStreamSampleRate());
    // The queue is not emptied: the mix reads it all the time, and its backlog limit drops
    // whatever the previous source left.
    SetCaptureSource(kCaptureFromSystem);
    audio->startStream();
    TraceLine("system capture: %s, %d channels at %d Hz", info.name.c_str(), g_capture.channels, g_capture.rate);
    g_capture.audio = std::move(audio);
    return true;
  } catch (const RtAudioError& e) {
    TraceLine("system capture: %s", e.what());
    SetCaptureSource(kCaptureFromJack);
    return false;
  }
}

bool OpenSystemCapture(const std::string& name, bool viaJack) {
  // A busy JACK server can refuse RtAudio's clients for a moment (it opens one even to count the
  // devices): a JACK device gets three tries, 150 ms apart.
  const bool jack = viaJack || ApiOfName(name) == RtAudio::UNIX_JACK;
  for (int attempt = 0;; ++attempt) {
    if (OpenCaptureOnce(name, viaJack)) return true;
    if (!jack || attempt == 2) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
  }
}

void CloseSystemCapture() {
  if (!g_capture.audio) return;
  try {
    if (g_capture.audio->isStreamRunning()) g_capture.audio->stopStream();
    if (g_capture.audio->isStreamOpen()) g_capture.audio->closeStream();
  } catch (const RtAudioError& e) {
    TraceLine("system capture: %s", e.what());
  }
  g_capture.audio.reset();
  SetCaptureSource(kCaptureFromJack);
}

bool SystemCaptureOpen() { return g_capture.audio != nullptr; }
