#include "audio/devices/OutputLayer.h"

#include <algorithm>
#include <cstdlib>
#include <unistd.h>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "app/base/Trace.h"
#include "audio/AudioSignalSource.h"
#include "audio/FragmentScheduler.h"
#include "audio/MixCallback.h"
#include "audio/MonitorRelay.h"
#include "audio/OutputOptions.h"
#include "audio/Threads.h"
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

// The watchdog's state. g_layerLock serialises the watchdog against open and close; the
// watchdog thread itself is started and stopped without holding it.
std::recursive_mutex g_layerLock;
std::unique_ptr<CPeriodicThread> g_watchdog;
constexpr int kWatchdogPeriodMs = 250;
constexpr auto kStallLimit = std::chrono::milliseconds(1000);
constexpr auto kStartGrace = std::chrono::milliseconds(3000);  // a device's first block may be slow
int g_openChannelsRequest = 0;  // OpenAudioOutputs' `channels`, for reopening
int g_openedDevice = -1;        // the device playing now; -1: the null back end
uint64_t g_lastFrames = 0;
std::chrono::steady_clock::time_point g_lastProgress;
bool g_fallbackTried = false;
std::string g_notice;

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
// JACK registers the ports the layout needs: the four of the master and monitor pairs, or in
// external-mixer mode one pair per deck (8), unless the settings ask for another layout.
int ProPorts(int planned) {
  if (g_openChannelsRequest != 0) return planned;
  if (g_outputSelection.proPorts > 0) return std::clamp(g_outputSelection.proPorts, 2, 12);
  return g_outputOptions.externalMixer.load() ? 8 : planned;
}

bool OpenPlannedPrimary(const OutputPlan& plan, int* openChannels) {
  *openChannels = plan.pro ? ProPorts(plan.channels) : FitChannelsToDevice(plan.primary, plan.channels);
  g_primary = OpenDevice(0, plan.primary, *openChannels, &MixAudioBlock);
  if (!g_primary) return false;
  g_status.primaryName = g_devices[static_cast<size_t>(plan.primary)].name;
  g_openedDevice = plan.primary;
  return true;
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

namespace {
void CloseLocked(int freeDeviceTable);
void StopWatchdog();
void StartWatchdog();
}  // namespace

void OpenAudioOutputs(int channels, int reserved) {
  StopWatchdog();
  std::lock_guard lock(g_layerLock);
  CloseLocked(0);
  if (!g_enumerated) EnumerateOutputDevices();
  g_reserved = reserved;
  g_openChannelsRequest = channels;
  g_openedDevice = -1;
  g_primaryFrames.store(0);
  g_status = OutputStatus{};

  OutputSelection& sel = g_outputSelection;
  OutputPlan plan =
      PlanAudioOutputs(channels, sel.primary, sel.secondary, g_outputOptions.mode.load(),
                       g_systemCount, static_cast<int>(g_devices.size()));
  int openChannels = plan.channels;
  bool waitForServer = false;
  if (plan.primary >= 0 && !OpenPlannedPrimary(plan, &openChannels)) {
    // A JACK server started after the program is picked up when it comes: asking for it is
    // quiet, so the watchdog may keep asking while the null back end runs.
    waitForServer = plan.pro;
    plan = OpenFallback(channels, plan.primary, &openChannels);
    if (plan.primary < 0) openChannels = 2;
    waitForServer = waitForServer && plan.primary < 0;
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
  if (waitForServer) {
    g_status.recovering = true;
    g_fallbackTried = true;
  }
  if (g_openedDevice >= 0 || waitForServer) StartWatchdog();
}

void CloseAudioOutputs(int freeDeviceTable) {
  StopWatchdog();
  std::lock_guard lock(g_layerLock);
  CloseLocked(freeDeviceTable);
}

namespace {

void CloseLocked(int freeDeviceTable) {
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

void Notify(const std::string& text) {
  TraceLine("%s", text.c_str());
  g_notice = text;  // the newest replaces one not yet shown: the user needs the state, not the history
}

// Opens the device that stopped again, else (once per loss) the fallback order. The null
// back end is closed first, so two threads never mix at once; it returns when nothing opens.
bool Reopen() {
  const int wanted = g_outputSelection.primary;
  OutputPlan plan = PlanAudioOutputs(g_openChannelsRequest, wanted, -1, g_outputOptions.mode.load(),
                                     g_systemCount, static_cast<int>(g_devices.size()));
  // A JACK server that is not back yet is asked quietly, not with a full open and its errors
  // four times a second; the null back end runs on undisturbed meanwhile.
  OutputDeviceInfo probe;
  const bool reachable = plan.primary >= 0 && (!plan.pro || ProbeJackServer(&probe));
  if (!reachable && (g_fallbackTried || plan.primary < 0)) return false;
  g_primary->Close();
  g_primary.reset();
  g_status.nullBackend = false;
  int channels = plan.channels;
  bool opened = reachable && OpenPlannedPrimary(plan, &channels);
  if (!opened && !g_fallbackTried && plan.primary >= 0) {
    g_fallbackTried = true;
    opened = OpenFallback(g_openChannelsRequest, plan.primary, &channels).primary >= 0;
  }
  if (!opened) {
    OpenNullOutput(g_status.channels);
    return false;
  }
  g_status.nullBackend = false;
  g_status.primaryOpen = true;
  g_status.recovering = false;
  g_status.recoveries++;
  g_status.channels = channels;
  g_status.deviceRate = g_primary->DeviceRate();
  Notify("output: " + g_status.primaryName + " plays again");
  return true;
}

// A device has stopped when it says so, or when it has not asked for a block for a second.
bool PrimaryStopped() {
  const auto now = std::chrono::steady_clock::now();
  const uint64_t frames = g_primaryFrames.load(std::memory_order_relaxed);
  if (frames != g_lastFrames) {
    g_lastFrames = frames;
    g_lastProgress = now;
  }
  const auto limit = frames == 0 ? kStartGrace : kStallLimit;
  return g_primary->Failed() || now - g_lastProgress > limit;
}

void Watch(void*) {
  std::lock_guard lock(g_layerLock);
  if (!g_primary) return;
  if (g_status.recovering) {
    Reopen();
    g_lastProgress = std::chrono::steady_clock::now();
    return;
  }
  if (!PrimaryStopped()) return;
  const std::string name = g_status.primaryName;
  if (g_secondary) {
    SetSecondaryOutputOpen(false);
    g_secondary->Close();
    g_secondary.reset();
    g_status.secondaryOpen = false;
  }
  g_primary->Close();
  g_primary.reset();
  g_status.primaryOpen = false;
  g_status.recovering = true;
  g_fallbackTried = false;
  OpenNullOutput(g_status.channels);
  Notify("output: " + name + " stopped; the mix runs silently until it is back");
  Reopen();
  g_lastProgress = std::chrono::steady_clock::now();
}

void StartWatchdog() {
  g_lastFrames = g_primaryFrames.load();
  g_lastProgress = std::chrono::steady_clock::now();
  g_watchdog = std::make_unique<CPeriodicThread>(&Watch, nullptr, 3, kWatchdogPeriodMs, "output watch");
}

void StopWatchdog() { g_watchdog.reset(); }

}  // namespace

OutputStatus CurrentOutputStatus() {
  std::lock_guard lock(g_layerLock);
  OutputStatus status = g_status;
  if (g_primary) status.blockFrames = g_primary->DeviceBlockFrames();  // JACK may change it
  return status;
}

void PostOutputNotice(const std::string& text) {
  std::lock_guard lock(g_layerLock);
  g_notice = text;
}

std::string TakeOutputNotice() {
  std::lock_guard lock(g_layerLock);
  return std::exchange(g_notice, std::string());
}

uint64_t PrimaryFramesDelivered() { return g_primaryFrames.load(std::memory_order_relaxed); }
