#pragma once
// The relay from the primary output to the secondary one. The primary's mix writes the monitor
// bus into a lock-free ring of 141120 bytes (one writer: the primary's audio thread); the
// secondary device's callback, MonitorAudioBlock (declared in MixCallback.h), reads it (one
// reader: the secondary's audio thread). The two cards are not clocked together, so the reader
// drops a whole block whenever the ring holds more than one block beyond the one it reads.
//
// The output layer opens and closes the relay on the main thread while neither audio thread
// touches it (the secondary is stopped first, the primary after).

#include <cstddef>

#include "app/base/Realtime.h"

constexpr size_t kMonitorRelayBytes = 141120;  // 17640 stereo float frames, 0.4 s

// True while a secondary output is open; MixAudioBlock relays the monitor bus only then.
LUMO_RT bool SecondaryOutputOpen() noexcept;

// Writes `frames` interleaved stereo float frames of the monitor bus into the ring. A full ring
// loses the block, silently. Called by MixAudioBlock on the primary's audio thread.
LUMO_RT void RelayMonitorBlock(const float* stereo, int frames) noexcept;

// Main thread: empties the ring and raises (or lowers) the flag SecondaryOutputOpen reads.
void SetSecondaryOutputOpen(bool open);
