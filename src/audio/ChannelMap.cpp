#include "audio/ChannelMap.h"

namespace {

// Copies (or averages two) stereo buses onto the pair at `first`.
void PutPair(float* out, int frames, int channels, int first, const float* a,
             const float* b = nullptr) {
  for (int i = 0; i < frames; ++i) {
    float left = a[2 * i];
    float right = a[2 * i + 1];
    if (b) {
      left = (left + b[2 * i]) * 0.5f;
      right = (right + b[2 * i + 1]) * 0.5f;
    }
    out[i * channels + first] = left;
    out[i * channels + first + 1] = right;
  }
}

}  // namespace

void SpreadNormal(float* out, int frames, int channels, int mode, const float* master,
                  const float* monitor) noexcept {
  if (mode == 2 && channels >= 4) {
    PutPair(out, frames, channels, 0, master);
    PutPair(out, frames, channels, 2, monitor);
  } else if (mode == 1 && channels >= 2) {
    for (int i = 0; i < frames; ++i) {
      out[i * channels] = (master[2 * i] + master[2 * i + 1]) * 0.5f;
      out[i * channels + 1] = (monitor[2 * i] + monitor[2 * i + 1]) * 0.5f;
    }
  } else if (channels >= 2) {
    PutPair(out, frames, channels, 0, master);
  }
}

void SpreadExternal(float* out, int frames, int channels, int mode, const float* const* d,
                    const float* aux, const float* monitor) noexcept {
  if (mode != 2) {
    if (channels < 2) return;
    for (int i = 0; i < frames; ++i) {
      out[i * channels] = (d[0][2 * i] + d[0][2 * i + 1] + 2.0f * d[2][2 * i]) * 0.25f;
      out[i * channels + 1] = (d[1][2 * i] + d[1][2 * i + 1] + 2.0f * d[3][2 * i]) * 0.25f;
    }
    return;
  }
  if (channels < 4) return;
  if (channels < 6) {
    PutPair(out, frames, channels, 0, d[0], d[2]);
    PutPair(out, frames, channels, 2, d[1], d[3]);
    return;
  }
  int decks = channels < 8 ? 3 : 4;
  for (int k = 0; k < decks; ++k) PutPair(out, frames, channels, 2 * k, d[k]);
  if (channels >= 10) PutPair(out, frames, channels, 8, aux);
  if (channels >= 12) PutPair(out, frames, channels, 10, monitor);
}
