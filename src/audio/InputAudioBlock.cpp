#include "audio/InputAudioBlock.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

#include "audio/AudioSignalSource.h"
#include "audio/LiveInputSource.h"
#include "audio/RingBuffer.h"

namespace {

constexpr size_t kFrameBytes = sizeof(float) * kCaptureChannels;
constexpr int kQueueFrames = 4 * kMaxBlockFrames;
// Beyond this backlog the oldest input is skipped, so a capture that runs a little faster than
// the mix never builds up latency.
constexpr int kMaxBacklogFrames = 2 * kMaxBlockFrames;

struct LiveInputs {
  std::atomic<CLiveInputSource*> microphone{nullptr};
  std::atomic<CLiveInputSource*> decks[4] = {};
};
LiveInputs g_inputs;

// Device side to mix side, one writer and one reader, both audio threads (often the same one).
CRingBuffer g_captureQueue(kQueueFrames * kFrameBytes, false);
std::atomic<unsigned long> g_overruns{0};
std::atomic<int> g_captureSource{kCaptureFromJack};

// Capture thread's own state: the conversion to 44100 Hz by linear interpolation between the
// previous device frame and the current one.
struct CaptureState {
  float previous[kCaptureChannels] = {};
  double phase = 0.0;  // position of the next output frame after `previous`, in device frames
  float chunk[512 * kCaptureChannels];
};
CaptureState g_capture;
// Only one caller converts at a time. While the source changes hands the JACK process thread and
// a system capture's thread can both be past the source check for a moment, and a reset comes
// from the main thread: an audio thread that finds the flag taken drops its block, the main
// thread waits for it.
std::atomic<bool> g_captureBusy{false};

// Mix side's block.
float g_block[kMaxBlockFrames * kCaptureChannels];

void Queue(const float* frames, int count) noexcept {
  if (count > 0 && !g_captureQueue.Write(frames, static_cast<size_t>(count) * kFrameBytes)) {
    g_overruns.fetch_add(static_cast<unsigned long>(count), std::memory_order_relaxed);
  }
}

}  // namespace

void SetLiveInputs(CLiveInputSource* microphone, CLiveInputSource* const deckInputs[4]) {
  for (int d = 0; d < 4; ++d) g_inputs.decks[d].store(deckInputs ? deckInputs[d] : nullptr);
  g_inputs.microphone.store(microphone, std::memory_order_release);
}

void InputAudioBlock(const float* in, int frames, int channels) noexcept {
  CLiveInputSource* mic = g_inputs.microphone.load(std::memory_order_acquire);
  CLiveInputSource* decks[4];
  for (int d = 0; d < 4; ++d) decks[d] = g_inputs.decks[d].load(std::memory_order_relaxed);
  if (!mic || !decks[0] || !decks[1] || !decks[2] || !decks[3] || !in || frames <= 0) return;
  if (channels == 2) {
    decks[0]->SetInput(in, frames, channels, 0);
    mic->SetInput(in, frames, channels, 0);
  } else if (channels >= 4) {
    mic->SetInput(in, frames, channels, 0);
    decks[0]->SetInput(in, frames, channels, 0);
    decks[1]->SetInput(in, frames, channels, 2);
  }
}

void SetCaptureSource(CaptureSource source) { g_captureSource.store(source, std::memory_order_release); }

void CaptureInputFrames(CaptureSource from, const float* const* ports, int portCount, int frames,
                        int deviceRate) noexcept {
  if (from != g_captureSource.load(std::memory_order_acquire)) return;
  if (!ports || frames <= 0 || deviceRate <= 0) return;
  if (g_captureBusy.exchange(true, std::memory_order_acquire)) return;
  portCount = std::clamp(portCount, 0, kCaptureChannels);
  const double step = static_cast<double>(deviceRate) / kEngineRate;  // device frames per output frame
  CaptureState& s = g_capture;
  int out = 0;
  for (int i = 0; i < frames; ++i) {
    float current[kCaptureChannels] = {};
    for (int c = 0; c < portCount; ++c) current[c] = ports[c] ? ports[c][i] : 0.0f;
    // Output frames between the previous device frame (0) and this one (1).
    for (; s.phase <= 1.0; s.phase += step) {
      float t = static_cast<float>(s.phase);
      for (int c = 0; c < kCaptureChannels; ++c) {
        s.chunk[out * kCaptureChannels + c] = s.previous[c] + (current[c] - s.previous[c]) * t;
      }
      if (++out == 512) Queue(s.chunk, out), out = 0;
    }
    s.phase -= 1.0;
    std::copy(current, current + kCaptureChannels, s.previous);
  }
  Queue(s.chunk, out);
  g_captureBusy.store(false, std::memory_order_release);
}

void PullCapturedInput(int frames) noexcept {
  frames = std::clamp(frames, 0, kMaxBlockFrames);
  size_t want = static_cast<size_t>(frames) * kFrameBytes;
  size_t backlog = g_captureQueue.Filled();
  size_t limit = static_cast<size_t>(kMaxBacklogFrames) * kFrameBytes;
  if (backlog > limit + want) g_captureQueue.Read(nullptr, backlog - limit - want);
  size_t have = std::min(want, g_captureQueue.Filled() / kFrameBytes * kFrameBytes);
  if (have > 0) g_captureQueue.Read(g_block, have);
  std::memset(reinterpret_cast<char*>(g_block) + have, 0, want - have);
  InputAudioBlock(g_block, frames, kCaptureChannels);
}

void ResetCapturedInput(CaptureSource from) {
  if (from != g_captureSource.load(std::memory_order_acquire)) return;
  while (g_captureBusy.exchange(true, std::memory_order_acquire)) std::this_thread::yield();
  g_captureQueue.Reset();
  g_capture = CaptureState{};
  g_captureBusy.store(false, std::memory_order_release);
  g_overruns.store(0, std::memory_order_relaxed);
}

unsigned long CapturedInputOverruns() { return g_overruns.load(std::memory_order_relaxed); }
