#include "effects/Effect.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr float kDryBelow = 0.025f;
constexpr float kWetAbove = 0.975f;

}  // namespace

CEffect::CEffect() : wetBuffer_(new float[2 * kMaxFrames]()) {}

CEffect::~CEffect() = default;

void CEffect::Process(float* block, int frames, float bpm) noexcept {
  const float wet = dryWet.load(std::memory_order_relaxed);
  if (wet <= kDryBelow) {
    if (IsEnabled()) {
      Stop();
      Reset();
    }
    return;
  }
  if (!IsEnabled()) Start();
  if (wet > kWetAbove) {
    ProcessCore(block, frames, bpm);
    return;
  }
  frames = std::min(frames, kMaxFrames);
  float* copy = wetBuffer_.get();
  const int samples = 2 * frames;
  std::memcpy(copy, block, sizeof(float) * static_cast<size_t>(samples));
  ProcessCore(copy, frames, bpm);
  const float dry = 1.0f - wet;
  for (int i = 0; i < samples; ++i) block[i] = copy[i] * wet + block[i] * dry;
}
