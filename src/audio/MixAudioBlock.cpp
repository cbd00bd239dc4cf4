// The primary output's callback: one block of the whole mix.

#include <algorithm>
#include <cstring>

#include "audio/AudioSignalSource.h"
#include "audio/ChannelMap.h"
#include "audio/InputAudioBlock.h"
#include "audio/MasterBus.h"
#include "audio/MixCallback.h"
#include "audio/Mixer.h"
#include "audio/MonitorRelay.h"
#include "audio/OutputOptions.h"

OutputOptions g_outputOptions;
MixRouting g_mixRouting;

namespace {

// The fixed buses, each one block of stereo float.
float g_busA[2 * kMaxBlockFrames];  // receives the master unless revmmo swaps the roles
float g_busB[2 * kMaxBlockFrames];
float g_deckBus[4][2 * kMaxBlockFrames];
float g_auxBus[2 * kMaxBlockFrames];

void ClearOut(float* out, int frames, int channels) {
  std::memset(out, 0, sizeof(float) * static_cast<size_t>(frames) * static_cast<size_t>(channels));
}

void MixExternal(CZQMixer& mixer, float* out, int frames, int channels, int mode) {
  float* decks[4] = {g_deckBus[0], g_deckBus[1], g_deckBus[2], g_deckBus[3]};
  mixer.SetSmoothGain(g_outputOptions.smoothGainInExternal.load(std::memory_order_relaxed));
  mixer.MixSourcesExternal(decks, g_auxBus, g_busB, frames);
  if (SecondaryOutputOpen()) RelayMonitorBlock(g_busB, frames);
  SpreadExternal(out, frames, channels, mode, decks, g_auxBus, g_busB);
}

void MixNormal(CZQMixer& mixer, float* out, int frames, int channels, int mode) {
  bool reverse = g_outputOptions.reverseMasterMonitor.load(std::memory_order_relaxed);
  float* master = reverse ? g_busB : g_busA;
  float* monitor = reverse ? g_busA : g_busB;
  mixer.MixSources(master, monitor, frames);

  // The limiter and the recorder follow the master role, so revmmo swaps the outputs but
  // never what is recorded.
  if (auto* limiter = g_mixRouting.limiter.load(std::memory_order_acquire)) {
    limiter->ProcessMasterBus(master, frames);
  }
  if (auto* recorder = g_mixRouting.recorder.load(std::memory_order_acquire)) {
    if (!recorder->FeedMasterBus(master, frames)) {
      g_mixRouting.stopRecordingRequested.store(1, std::memory_order_relaxed);
    }
  }
  // Monitor follows master copies the first fixed bus onto the second whatever the roles, so
  // with revmmo on the monitor overwrites the master. That asymmetry is kept on purpose.
  if (g_outputOptions.monitorFollowsMaster.load(std::memory_order_relaxed)) {
    std::memcpy(g_busB, g_busA, sizeof(float) * 2 * static_cast<size_t>(frames));
  }
  if (SecondaryOutputOpen()) RelayMonitorBlock(g_busB, frames);
  SpreadNormal(out, frames, channels, mode, g_busA, g_busB);
}

}  // namespace

int MixAudioBlock(float* out, int frames, int channels) noexcept {
  if (!out || frames <= 0 || channels <= 0 || frames > kMaxBlockFrames) return 0;
  ClearOut(out, frames, channels);
  int mode = g_outputOptions.mode.load(std::memory_order_relaxed);
  if (mode == 2 && channels < 2) return 0;
  CZQMixer* mixer = g_mixRouting.mixer.load(std::memory_order_acquire);
  if (!mixer) return 0;
  frames = std::min(frames, mixer->Capacity());
  // Live input first, so the microphone and line inputs hold this block's sound.
  PullCapturedInput(frames);

  if (g_outputOptions.externalMixer.load(std::memory_order_relaxed)) {
    MixExternal(*mixer, out, frames, channels, mode);
  } else {
    MixNormal(*mixer, out, frames, channels, mode);
  }
  // naudio: the whole mix has run (meters, recorder), only the device hears nothing.
  if (g_outputOptions.muteOutput.load(std::memory_order_relaxed)) ClearOut(out, frames, channels);
  return frames;
}
