#include "audio/MonitorRelay.h"

#include <atomic>
#include <cstring>

#include "audio/MixCallback.h"
#include "audio/OutputOptions.h"
#include "audio/RingBuffer.h"

namespace {

constexpr size_t kStereoFrameBytes = 2 * sizeof(float);

// Allocated at start-up, so no audio thread ever meets a first-use guard.
CRingBuffer g_relay(kMonitorRelayBytes, false);
CRingBuffer& Relay() { return g_relay; }

// Release on open so the secondary's thread, started after, sees the drained ring.
std::atomic<bool> g_secondaryOpen{false};

}  // namespace

bool SecondaryOutputOpen() noexcept { return g_secondaryOpen.load(std::memory_order_acquire); }

void RelayMonitorBlock(const float* stereo, int frames) noexcept {
  if (frames <= 0) return;
  Relay().Write(stereo, static_cast<size_t>(frames) * kStereoFrameBytes);
}

void SetSecondaryOutputOpen(bool open) {
  CRingBuffer& ring = Relay();
  if (open) {
    // Drained from the reader's side: the primary may be writing already.
    ring.Read(nullptr, ring.Filled());
  }
  g_secondaryOpen.store(open, std::memory_order_release);
}

int MonitorAudioBlock(float* out, int frames, int channels) noexcept {
  if (frames <= 0) return 0;
  if (channels != 2) {
    std::memset(out, 0, sizeof(float) * static_cast<size_t>(frames) * (channels > 0 ? channels : 0));
    return 0;
  }
  const size_t bytes = static_cast<size_t>(frames) * kStereoFrameBytes;
  CRingBuffer& ring = Relay();
  if (!ring.Read(out, bytes)) {
    std::memset(out, 0, bytes);
    return 0;
  }
  // The second card runs on its own clock: when it has fallen more than a block behind the
  // first, drop a block so the delay between the two stays bounded.
  if (ring.Filled() > bytes) ring.Read(out, bytes);
  if (g_outputOptions.muteOutput.load(std::memory_order_relaxed)) std::memset(out, 0, bytes);
  return frames;
}
