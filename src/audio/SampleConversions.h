#pragma once
// Sample conversions between the engine's float and the formats devices speak.
//
// The typed conversions carry the numbers of the pro sample-type table (16 is little-endian
// Int16 and so on) and its constants, asymmetries included: Int16 enters by 3.0517578e-5 but
// leaves by 32767; 24- and 32-bit samples leave by 2147483392 (0x7fffff00) so full scale never
// wraps; Int8 leaves as the high byte of the 16-bit value. A device buffer holds one channel
// (non-interleaved); the float side is interleaved with `channels` values per frame.
//
// DeviceInt16FromFloat is the system output's conversion: times 32000, round to nearest,
// clip. It leaves headroom above the deck's 3e-5 input scale.
//
// All functions are real-time safe: no allocation, no locks.

#include <cstdint>

#include "app/base/Realtime.h"

enum SampleType : int {
  kSampleInt24MSB = 1,
  kSampleInt16LSB = 16,
  kSampleInt24LSB = 17,
  kSampleInt32LSB = 18,
  kSampleFloat32LSB = 19,
  kSampleFloat64LSB = 20,
  kSampleInt8LSB = 148,
};

// The label shown in driver information; "" for types without one.
const char* SampleTypeName(int type);

// Device channel -> interleaved float. False, and nothing written, for an unhandled type.
LUMO_RT bool ChannelToFloat(int type, const void* device, float* interleaved, int frames,
                            int channel, int channels) noexcept;
// Interleaved float -> device channel. False, and the device buffer untouched, for an unhandled
// type.
LUMO_RT bool ChannelFromFloat(int type, const float* interleaved, int channel, int channels,
                              void* device, int frames) noexcept;

// count samples, any layout: times 32000, round to nearest (ties to even), clip to 16 bits.
LUMO_RT void DeviceInt16FromFloat(const float* in, int16_t* out, int count) noexcept;
