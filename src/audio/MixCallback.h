#pragma once
// The two callbacks the output back ends call. They are the only way from a device into the
// engine: a buffer, a frame count and a channel count cross, nothing else.

#include "app/base/Realtime.h"

// Fills `out` (interleaved, `channels` values per frame, at most 4410 frames) with the mix.
// Returns the frames written, or 0 for the caller to play silence.
LUMO_RT int MixAudioBlock(float* out, int frames, int channels) noexcept;

// The secondary output's callback: the monitor bus as the primary's mix left it in the relay
// ring. Always stereo.
LUMO_RT int MonitorAudioBlock(float* out, int frames, int channels) noexcept;
