#include <algorithm>
#include <cstring>

#include "audio/AudioSignalSource.h"
#include "audio/devices/OutputBackend.h"

bool COutputFeed::Open(const OutputBackendConfig& config, int deviceRate, int deviceBlockFrames) {
  config_ = config;
  resampling_ = deviceRate != kEngineRate;
  if (!resampling_) return true;
  // The engine block that covers one device block, so the mix keeps a steady length.
  const long long engineBlock =
      (static_cast<long long>(deviceBlockFrames) * kEngineRate + deviceRate - 1) / deviceRate;
  return resampler_.Open(kEngineRate, deviceRate, config.channels,
                         static_cast<int>(std::clamp<long long>(engineBlock, 1, kMaxBlockFrames)));
}

int COutputFeed::Pull(float* out, int frames) noexcept {
  const int channels = config_.channels;
  for (int done = 0; done < frames;) {
    const int n = std::min(frames - done, kMaxBlockFrames);
    float* piece = out + static_cast<size_t>(done) * channels;
    if (config_.callback(piece, n, channels) == 0)
      std::memset(piece, 0, sizeof(float) * static_cast<size_t>(n) * channels);
    done += n;
  }
  if (config_.framesDelivered)
    config_.framesDelivered->fetch_add(static_cast<uint64_t>(frames), std::memory_order_relaxed);
  return frames;
}

int COutputFeed::PullEngine(void* self, float* out, int frames, int /*channels*/) noexcept {
  return static_cast<COutputFeed*>(self)->Pull(out, frames);
}

void COutputFeed::Render(float* out, int frames) noexcept {
  if (resampling_)
    resampler_.Render(out, frames, &COutputFeed::PullEngine, this);
  else
    Pull(out, frames);
}
