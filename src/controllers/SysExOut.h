#pragma once
// System-exclusive messages out: a controller script uploads a lamp pattern or a display page
// in one sysex. A send may take up to five milliseconds per byte (a MIDI cable carries about
// 3,000 bytes a second, so that is a generous margin); a send that takes longer counts as a
// driver that stopped taking data: the port is reset and the script is told.
//
// RtMidi's send is synchronous (it returns once ALSA or JACK has the bytes), so "done within the
// wait" here means the send call returned within it; there is no separate completion to wait
// for and nothing to cancel. The GUI thread is blocked for the length of the send, as it is on
// every system.
//
// Threads: GUI thread only.

#include <cstddef>
#include <functional>

#include "controllers/ControllerTransport.h"

enum class SysExResult { kSent, kFailed, kTimedOut };

// What a script sees thrown when a send ran out of time.
extern const char kSysExTimeoutText[];

// The longest a sysex of `length` bytes may take, in milliseconds.
constexpr long SysExWaitMs(size_t length) { return static_cast<long>(length) * 5; }

// Sends `bytes` and checks the time it took against SysExWaitMs on `seconds` (a steady clock;
// tests step their own). A refused send logs and gives kFailed.
SysExResult SendLong(MidiOutput& output, const unsigned char* bytes, size_t length,
                     const std::function<double()>& seconds);
