#pragma once
// Spreading the buses over the device frame. `out` is interleaved with `channels` values per
// frame and has been cleared; extra channels stay silent.

#include "app/base/Realtime.h"

// Normal mixing. Mode 0: master on the pair. Mode 1 (split mono): left is the master in mono,
// right the monitor in mono. Mode 2 (4 channels or more): master on 0-1, monitor on 2-3.
LUMO_RT void SpreadNormal(float* out, int frames, int channels, int mode, const float* master,
                          const float* monitor) noexcept;

// External mixer: one bus per deck and the aux bus, laid out by the device's channel count.
// The two-channel layout takes decks 2 and 3 by their left channel only, counted twice, and
// the six-channel layout has no place for deck 3: both are kept as they are on purpose.
LUMO_RT void SpreadExternal(float* out, int frames, int channels, int mode,
                            const float* const* decks, const float* aux,
                            const float* monitor) noexcept;
