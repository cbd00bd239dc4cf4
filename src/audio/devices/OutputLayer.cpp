#include "audio/devices/OutputLayer.h"

#include <algorithm>
#include <cstdlib>
#include <unistd.h>
#include <atomic>
#include <memory>
#include <vector>

#include "app/base/Trace.h"
#include "audio/AudioSignalSource.h"
#include "audio/FragmentScheduler.h"
#include "audio/MixCallback.h"
#include "audio/MonitorRelay.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputBackend.h"
#include "audio/devices/OutputPlan.h"

OutputSelection g_outputSelection;

namespace {

std::vector<OutputDeviceInfo> g_devices;
int g_systemCount = 0;
bool g_enumerated = false;
int g_reserved = 0;  // OpenAudioOutputs' second argument: kept, read by nobody

std::unique_ptr<COutputBackend> g_primary;
std::unique_ptr<COutputBackend> g_secondary;
std::atomic<uint64_t> g_primaryFrames{0};
OutputStatus g_status;

int FragmentFrames() {
  return std::clamp(g_outputSelection.latencyFrames / kOutputFragments, 1, kMaxBlockFrames);
}

void LogOpenFailure(int output, int device, int fragment) {
  TraceLine("can't open audio device %d, index=%d FramesPerBuffer=%d, Buffers=%d", output, device,
            fragment, kOutputFragments);
}

// Opens one device of the table; null when it cannot be opened.
std::unique_ptr<COutputBackend> OpenDevice(int output, int device, int channels,
                                           OutputCallback callback) {
  const OutputDeviceInfo& info = g_devices[static_cast<size_t>(device)];
  OutputBackendConfig config;
  config.outputIndex = output;
  config.deviceIndex = device;
  config.device = &info;
  config.channels = channels;
  config.fragmentFrames = FragmentFrames();
  config.callback = callback;
  config.framesDelivered = output == 0 ? &g_primaryFrames : nullptr;
  std::unique_ptr<COutputBackend> backend = info.pro ? CreateJackOutput() : CreateSystemOutput();
  if (backend->Open(config)) return backend;
  LogOpenFailure(output, device, config.fragmentFrames);
  return nullptr;
}

void OpenNullOutput(int channels) {
  OutputBackendConfig config;
  config.channels = channels;
  config.fragmentFrames = FragmentFrames();
  config.callback = &MixAudioBlock;
  config.framesDelivered = &g_primaryFrames;
  g_primary = CreateNullOutput();
  if (!g_primary->Open(config)) {
    TraceLine("null output: the mixing thread could not start");
    g_primary.reset();
    return;
  }
  g_status.nullBackend = true;
  g_status.primaryName = "null";
}

// A system device with fewer channels than multichannel mode asks for plays normal stereo.
int FitChannelsToDevice(int device, int channels) {
  const int available = g_devices[static_cast<size_t>(device)].channels;
  if (channels <= available || g_devices[static_cast<size_t>(device)].pro) return channels;
  TraceLine("output device %d has %d channels: multichannel mode off", device, available);
  g_outputOptions.mode.store(0);
  return 2;
}

}  // namespace

int EnumerateOutputDevices() {
  g_devices.clear();
  std::vector<OutputDeviceInfo> system;
  AppendSystemDevices(&system);
  for (OutputDeviceInfo& d : system)
    if (!IsExcludedSystemDevice(d.name)) g_devices.push_back(std::move(d));
  g_systemCount = static_cast<int>(g_devices.size());
  OutputDeviceInfo jack;
  if (ProbeJackServer(&jack)) g_devices.push_back(jack);
  g_enumerated = true;
  return static_cast<int>(g_devices.size());
}

int OutputDeviceCount(bool includePro) {
  return includePro ? static_cast<int>(g_devices.size()) : g_systemCount;
}

const OutputDeviceInfo* OutputDevice(int index) {
  if (index < 0 || index >= static_cast<int>(g_devices.size())) return nullptr;
  return &g_devices[static_cast<size_t>(index)];
}

int DefaultOutputDevice() {
  const std::vector<int> order = OutputFallbackOrder(g_devices, SoundServerRunning());
  return order.empty() ? -1 : order.front();
}

bool SoundServerRunning() {
  if (const char* server = std::getenv("PULSE_SERVER"); server && *server) return true;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (!runtime || !*runtime) return false;
  const std::string folder = runtime;
  return access((folder + "/pulse/native").c_str(), F_OK) == 0;
}

int OutputDeviceIndexByName(const std::string& name) {
  // The table lists the system part before the pro part, so one scan searches them in order.
  for (size_t i = 0; i < g_devices.size(); ++i)
    if (g_devices[i].name == name) return static_cast<int>(i);
  return -1;
}

namespace {

// Opens the plan's primary; the channel count it opened with goes to `openChannels`.
bool OpenPlannedPrimary(const OutputPlan& plan, int* openChannels) {
  *openChannels = plan.channels;
  if (!plan.pro) *openChannels = FitChannelsToDevice(plan.primary, plan.channels);
  g_primary = OpenDevice(0, plan.primary, *openChannels, &MixAudioBlock);
  if (g_primary) g_status.primaryName = g_devices[static_cast<size_t>(plan.primary)].name;
  return g_primary != nullptr;
}

// The chosen device did not open: the others in the desktop's order, without a second card.
// Returns the plan that opened, or one with primary -1.
OutputPlan OpenFallback(int channels, int failed, int* openChannels) {
  std::string tried = g_devices[static_cast<size_t>(failed)].name;
  for (int index : OutputFallbackOrder(g_devices, SoundServerRunning())) {
    if (index == failed) continue;
    const OutputPlan plan = PlanAudioOutputs(channels, index, -1, g_outputOptions.mode.load(),
                                             g_systemCount, static_cast<int>(g_devices.size()));
    if (OpenPlannedPrimary(plan, openChannels)) {
      g_status.fallback = "output: " + tried + " did not open; playing on " + g_status.primaryName;
      TraceLine("%s", g_status.fallback.c_str());
      return plan;
    }
    tried += ", " + g_devices[static_cast<size_t>(index)].name;
  }
  g_status.fallback = "output: no device opened (tried " + tried + "); playing silently";
  TraceLine("%s", g_status.fallback.c_str());
  OutputPlan none;
  none.mode = g_outputOptions.mode.load();
  return none;
}

}  // namespace

void OpenAudioOutputs(int channels, int reserved) {
  CloseAudioOutputs(0);
  if (!g_enumerated) EnumerateOutputDevices();
  g_reserved = reserved;
  g_primaryFrames.store(0);
  g_status = OutputStatus{};

  OutputSelection& sel = g_outputSelection;
  OutputPlan plan =
      PlanAudioOutputs(channels, sel.primary, sel.secondary, g_outputOptions.mode.load(),
                       g_systemCount, static_cast<int>(g_devices.size()));
  int openChannels = plan.channels;
  if (plan.primary >= 0 && !OpenPlannedPrimary(plan, &openChannels)) {
    plan = OpenFallback(channels, plan.primary, &openChannels);
    if (plan.primary < 0) openChannels = 2;
  } else if (plan.primary < 0 && sel.primary >= 0) {
    LogOpenFailure(0, sel.primary, FragmentFrames());  // a saved device that has gone
  }
  if (sel.primary >= 0) {
    g_outputOptions.mode.store(plan.mode);
    if (plan.primary >= 0) sel.secondary = plan.secondary;
  }
  if (!g_primary) OpenNullOutput(openChannels);
  g_status.primaryOpen = g_primary != nullptr && !g_status.nullBackend;
  g_status.channels = openChannels;
  if (g_primary) {
    g_status.deviceRate = g_primary->DeviceRate();
    g_status.blockFrames = g_primary->DeviceBlockFrames();
  }

  if (plan.secondary >= 0) {
    SetSecondaryOutputOpen(true);  // before the card starts, so its first read finds the ring
    g_secondary = OpenDevice(1, plan.secondary, 2, &MonitorAudioBlock);
    if (!g_secondary) SetSecondaryOutputOpen(false);
  }
  g_status.secondaryOpen = g_secondary != nullptr;
}

void CloseAudioOutputs(int freeDeviceTable) {
  if (g_secondary) {
    SetSecondaryOutputOpen(false);
    g_secondary->Close();
    g_secondary.reset();
  }
  if (g_primary) {
    g_primary->Close();
    g_primary.reset();
  }
  g_status = OutputStatus{};
  if (freeDeviceTable) {
    g_devices.clear();
    g_systemCount = 0;
    g_enumerated = false;
  }
}

OutputStatus CurrentOutputStatus() { return g_status; }

uint64_t PrimaryFramesDelivered() { return g_primaryFrames.load(std::memory_order_relaxed); }
