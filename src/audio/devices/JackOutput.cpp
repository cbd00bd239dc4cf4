// The pro back end: a JACK client. It registers one output port per channel (master L/R and
// monitor L/R by default), connects them to the first physical playback ports, and runs the
// mix inside JACK's process callback. Four capture ports (in_1 to in_4, joined to the first
// physical capture ports) feed the live inputs before each mix. The engine stays at 44100 Hz; when the server runs at
// another rate, COutputFeed resamples. The server is never started from here.

#include <jack/jack.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "app/base/Realtime.h"
#include "app/base/Trace.h"
#include "audio/InputAudioBlock.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputBackend.h"

namespace {

constexpr const char* kClientName = "zorvik-lumo";
constexpr int kDefaultPorts = 4;
constexpr int kMinChunkFrames = 1024;  // the interleave buffer; longer periods go in chunks

// libjack prints to stderr by default; its messages go to the trace instead, except while a
// probe expects the connection to fail. libjack may report from its process thread, so the
// text goes through the real-time queue, copied, never formatted or locked here.
std::atomic<bool> g_probing{false};
void JackError(const char* text) {
  if (g_probing.load(std::memory_order_relaxed)) return;
  TraceTextRT("jack: ", text);
}
void JackInfo(const char*) {}
void RouteJackMessages() {
  jack_set_error_function(&JackError);
  jack_set_info_function(&JackInfo);
}

// In external-mixer layouts of 6 channels and more each pair carries one deck, then the aux
// and monitor pairs, so the ports are named for what they carry.
std::string PortName(int channel, int channels) {
  static const char* const kNames[kDefaultPorts] = {"master_left", "master_right",
                                                    "monitor_left", "monitor_right"};
  static const char* const kExternal[] = {"deck1", "deck2", "deck3", "deck4", "aux", "monitor"};
  const char* side = channel % 2 ? "_right" : "_left";
  if (g_outputOptions.externalMixer.load() && channels >= 6 && channel < 12)
    return std::string(kExternal[channel / 2]) + side;
  if (channel < kDefaultPorts) return kNames[channel];
  return "out_" + std::to_string(channel + 1);
}

class CJackOutput final : public COutputBackend {
 public:
  ~CJackOutput() override { Close(); }

  bool Open(const OutputBackendConfig& config) override;
  void Close() override;
  int DeviceRate() const override { return rate_; }
  int DeviceBlockFrames() const override { return period_.load(std::memory_order_relaxed); }
  bool Failed() const noexcept override {
    return serverGone_.load(std::memory_order_relaxed) || rateChanged_.load(std::memory_order_relaxed);
  }

 private:
  static int Process(jack_nframes_t frames, void* self) noexcept;
  static void Shutdown(void* self);
  // Buffer size: the process callback takes any period in pieces, so only the figure changes.
  static int BufferSize(jack_nframes_t frames, void* self) noexcept;
  // A new rate needs a new resampler, which allocates: the layer reopens the client.
  static int SampleRate(jack_nframes_t rate, void* self) noexcept;
  void ConnectToPlayback();
  bool RegisterCapture();
  void ConnectCapture();

  jack_client_t* client_ = nullptr;
  std::vector<jack_port_t*> ports_;
  std::vector<float*> portBuffers_;
  std::vector<jack_port_t*> capturePorts_;
  const float* captureBuffers_[kCaptureChannels] = {};
  std::unique_ptr<float[]> interleaved_;
  int chunkFrames_ = 0;
  int channels_ = 0;
  int rate_ = 0;
  std::atomic<int> period_{0};
  COutputFeed feed_;
  std::atomic<bool> serverGone_{false};
  std::atomic<bool> rateChanged_{false};
};

namespace {

// A busy server (one that has just let another client go, or a loaded machine) can refuse a
// connection for a moment: three tries, 150 ms apart, before it counts as not there.
jack_client_t* OpenClient(const char* name, jack_status_t* status) {
  jack_client_t* client = nullptr;
  for (int attempt = 0; attempt < 3 && !client; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(std::chrono::milliseconds(150));
    client = jack_client_open(name, JackNoStartServer, status);
  }
  return client;
}

}  // namespace

bool CJackOutput::Open(const OutputBackendConfig& config) {
  Close();
  RouteJackMessages();
  jack_status_t status{};
  client_ = OpenClient(kClientName, &status);
  if (!client_) {
    TraceLine("jack: no server to connect to (status 0x%x)", static_cast<unsigned>(status));
    return false;
  }
  channels_ = std::max(config.channels, 1);
  rate_ = static_cast<int>(jack_get_sample_rate(client_));
  const int period = static_cast<int>(jack_get_buffer_size(client_));
  period_ = period;
  rateChanged_ = false;
  for (int c = 0; c < channels_; ++c) {
    const std::string name = PortName(c, channels_);
    jack_port_t* port = jack_port_register(client_, name.c_str(), JACK_DEFAULT_AUDIO_TYPE,
                                           JackPortIsOutput | JackPortIsTerminal, 0);
    if (!port) {
      TraceLine("jack: cannot register port %s", name.c_str());
      Close();
      return false;
    }
    ports_.push_back(port);
  }
  if (!RegisterCapture()) {
    Close();
    return false;
  }
  portBuffers_.assign(static_cast<size_t>(channels_), nullptr);
  chunkFrames_ = std::max(period, kMinChunkFrames);
  interleaved_ = std::make_unique<float[]>(static_cast<size_t>(chunkFrames_) * channels_);
  OutputBackendConfig feedConfig = config;
  feedConfig.channels = channels_;
  if (!feed_.Open(feedConfig, rate_, period) ||
      jack_set_process_callback(client_, &CJackOutput::Process, this) != 0 ||
      jack_set_buffer_size_callback(client_, &CJackOutput::BufferSize, this) != 0 ||
      jack_set_sample_rate_callback(client_, &CJackOutput::SampleRate, this) != 0) {
    Close();
    return false;
  }
  jack_on_shutdown(client_, &CJackOutput::Shutdown, this);
  if (jack_activate(client_) != 0) {
    TraceLine("jack: cannot activate the client");
    Close();
    return false;
  }
  TraceLine("jack: %d ports at %d Hz, %d frames per period%s", channels_, rate_, period,
            feed_.resampling() ? ", resampled from 44100 Hz" : "");
  ConnectToPlayback();
  ConnectCapture();
  return true;
}

bool CJackOutput::RegisterCapture() {
  for (int c = 0; c < kCaptureChannels; ++c) {
    const std::string name = "in_" + std::to_string(c + 1);
    jack_port_t* port = jack_port_register(client_, name.c_str(), JACK_DEFAULT_AUDIO_TYPE,
                                           JackPortIsInput | JackPortIsTerminal, 0);
    if (!port) {
      TraceLine("jack: cannot register port %s", name.c_str());
      return false;
    }
    capturePorts_.push_back(port);
  }
  ResetCapturedInput(kCaptureFromJack);
  return true;
}

void CJackOutput::ConnectCapture() {
  const char** capture = jack_get_ports(client_, nullptr, JACK_DEFAULT_AUDIO_TYPE,
                                        JackPortIsPhysical | JackPortIsOutput);
  if (!capture) return;
  for (int c = 0; c < kCaptureChannels && capture[c]; ++c)
    if (jack_connect(client_, capture[c], jack_port_name(capturePorts_[static_cast<size_t>(c)])) != 0)
      TraceLine("jack: cannot connect %s", capture[c]);
  jack_free(capture);
}

void CJackOutput::ConnectToPlayback() {
  const char** playback = jack_get_ports(client_, nullptr, JACK_DEFAULT_AUDIO_TYPE,
                                         JackPortIsPhysical | JackPortIsInput);
  if (!playback) return;
  for (int c = 0; c < channels_ && playback[c]; ++c)
    if (jack_connect(client_, jack_port_name(ports_[static_cast<size_t>(c)]), playback[c]) != 0)
      TraceLine("jack: cannot connect %s", playback[c]);
  jack_free(playback);
}

void CJackOutput::Close() {
  if (!client_) return;
  // Deactivation waits for a running process callback to finish; after it none starts.
  if (!serverGone_.load()) jack_deactivate(client_);
  jack_client_close(client_);
  client_ = nullptr;
  ports_.clear();
  capturePorts_.clear();
  serverGone_.store(false);
}

int CJackOutput::Process(jack_nframes_t frames, void* self) noexcept {
  rt::AudioThreadScope audioThread;
  auto* out = static_cast<CJackOutput*>(self);
  const int channels = out->channels_;
  for (int c = 0; c < channels; ++c)
    out->portBuffers_[static_cast<size_t>(c)] =
        static_cast<float*>(jack_port_get_buffer(out->ports_[static_cast<size_t>(c)], frames));
  const int total = static_cast<int>(frames);
  for (int c = 0; c < kCaptureChannels; ++c)
    out->captureBuffers_[c] =
        static_cast<const float*>(jack_port_get_buffer(out->capturePorts_[static_cast<size_t>(c)], frames));
  CaptureInputFrames(kCaptureFromJack, out->captureBuffers_, kCaptureChannels, total, out->rate_);
  for (int done = 0; done < total;) {
    const int n = std::min(total - done, out->chunkFrames_);
    const float* mix = out->interleaved_.get();
    out->feed_.Render(out->interleaved_.get(), n);
    for (int c = 0; c < channels; ++c) {
      float* port = out->portBuffers_[static_cast<size_t>(c)] + done;
      for (int i = 0; i < n; ++i) port[i] = mix[i * channels + c];
    }
    done += n;
  }
  return 0;
}

int CJackOutput::BufferSize(jack_nframes_t frames, void* self) noexcept {
  auto* out = static_cast<CJackOutput*>(self);
  if (out->period_.exchange(static_cast<int>(frames)) != static_cast<int>(frames))
    TraceLineRT("jack: the server changed its buffer size");
  return 0;
}

int CJackOutput::SampleRate(jack_nframes_t rate, void* self) noexcept {
  auto* out = static_cast<CJackOutput*>(self);
  if (static_cast<int>(rate) != out->rate_ && out->rate_ != 0) {
    out->rateChanged_.store(true);
    TraceLineRT("jack: the server changed its sample rate; the output reopens");
  }
  return 0;
}

void CJackOutput::Shutdown(void* self) {
  // Called when the server goes away; the client may only be closed from now on.
  static_cast<CJackOutput*>(self)->serverGone_.store(true);
  TraceLineRT("jack: the server shut down; the output is silent until it is reopened");
}

}  // namespace

std::unique_ptr<COutputBackend> CreateJackOutput() { return std::make_unique<CJackOutput>(); }

bool ProbeJackServer(OutputDeviceInfo* info) {
  RouteJackMessages();
  g_probing.store(true);
  jack_status_t status{};
  jack_client_t* client = OpenClient("zorvik-lumo-probe", &status);
  g_probing.store(false);
  if (!client) return false;
  int playback = 0;
  if (const char** ports = jack_get_ports(client, nullptr, JACK_DEFAULT_AUDIO_TYPE,
                                          JackPortIsPhysical | JackPortIsInput)) {
    while (ports[playback]) ++playback;
    jack_free(ports);
  }
  jack_client_close(client);
  info->name = "JACK";
  info->channels = std::max(kDefaultPorts, playback);
  info->pro = true;
  return true;
}
