#include "audio/SampleConversions.h"

#include <cmath>
#include <cstring>

namespace {

constexpr float kInt16In = 3.0517578e-5f;
constexpr float kInt32In = 4.656613e-10f;  // 24-bit samples enter shifted into the top bits
constexpr float kInt8In = 0.0078125f;
constexpr double kInt32Out = 2147483392.0;  // 0x7fffff00: +1.0 stays below INT32_MAX

float Clip1(float x) { return x > 1.0f ? 1.0f : (x < -1.0f ? -1.0f : x); }

// Round to nearest in the default rounding mode; the clip comes first so lrintf never sees a
// value outside 16 bits.
int16_t RoundClip16(float scaled) {
  if (scaled >= 32767.0f) return 32767;
  if (scaled <= -32768.0f) return -32768;
  return static_cast<int16_t>(std::lrintf(scaled));
}

int32_t Int32FromFloat(float x) { return static_cast<int32_t>(Clip1(x) * kInt32Out); }

int32_t Int24Value(const uint8_t* p, bool bigEndian) {
  uint32_t hi = bigEndian ? p[0] : p[2], mid = p[1], lo = bigEndian ? p[2] : p[0];
  return static_cast<int32_t>((hi << 24) | (mid << 16) | (lo << 8));
}

void StoreInt24(uint8_t* p, float x, bool bigEndian) {
  uint32_t v = static_cast<uint32_t>(Int32FromFloat(x)) >> 8;
  p[bigEndian ? 0 : 2] = static_cast<uint8_t>(v >> 16);
  p[1] = static_cast<uint8_t>(v >> 8);
  p[bigEndian ? 2 : 0] = static_cast<uint8_t>(v);
}

float ReadSample(int type, const uint8_t* device, int i) {
  switch (type) {
    case kSampleInt24MSB: return static_cast<float>(Int24Value(device + 3 * i, true)) * kInt32In;
    case kSampleInt24LSB: return static_cast<float>(Int24Value(device + 3 * i, false)) * kInt32In;
    case kSampleInt16LSB: {
      int16_t v;
      std::memcpy(&v, device + 2 * i, 2);
      return v * kInt16In;
    }
    case kSampleInt32LSB: {
      int32_t v;
      std::memcpy(&v, device + 4 * i, 4);
      return static_cast<float>(v) * kInt32In;
    }
    case kSampleFloat32LSB: {
      float v;
      std::memcpy(&v, device + 4 * i, 4);
      return v;
    }
    case kSampleFloat64LSB: {
      double v;
      std::memcpy(&v, device + 8 * i, 8);
      return static_cast<float>(v);
    }
    default: return static_cast<int8_t>(device[i]) * kInt8In;  // kSampleInt8LSB
  }
}

void WriteSample(int type, uint8_t* device, int i, float x) {
  switch (type) {
    case kSampleInt24MSB: StoreInt24(device + 3 * i, x, true); break;
    case kSampleInt24LSB: StoreInt24(device + 3 * i, x, false); break;
    case kSampleInt16LSB: {
      int16_t v = RoundClip16(x * 32767.0f);
      std::memcpy(device + 2 * i, &v, 2);
      break;
    }
    case kSampleInt32LSB: {
      int32_t v = Int32FromFloat(x);
      std::memcpy(device + 4 * i, &v, 4);
      break;
    }
    case kSampleFloat32LSB: {
      float v = Clip1(x);
      std::memcpy(device + 4 * i, &v, 4);
      break;
    }
    case kSampleFloat64LSB: {
      double v = Clip1(x);
      std::memcpy(device + 8 * i, &v, 8);
      break;
    }
    default: {  // kSampleInt8LSB: the high byte of the 16-bit value (arithmetic shift)
      int16_t v = RoundClip16(x * 32767.0f);
      device[i] = static_cast<uint8_t>(static_cast<int8_t>(v >> 8));
      break;
    }
  }
}

bool Handled(int type) {
  switch (type) {
    case kSampleInt24MSB: case kSampleInt16LSB: case kSampleInt24LSB: case kSampleInt32LSB:
    case kSampleFloat32LSB: case kSampleFloat64LSB: case kSampleInt8LSB: return true;
    default: return false;
  }
}

}  // namespace

const char* SampleTypeName(int type) {
  switch (type) {
    case kSampleInt24MSB: return "Int24MSB - BIG ENDIAN (Mac)";
    case kSampleInt16LSB: return "Int16LSB - SMALL ENDIAN (PC)";
    case kSampleInt24LSB: return "Int24LSB - SMALL ENDIAN (PC)";
    case kSampleInt32LSB: return "Int32LSB - SMALL ENDIAN (PC)";
    case kSampleFloat32LSB: return "Float32LSB - SMALL ENDIAN (PC)";
    case kSampleFloat64LSB: return "Float64LSB - SMALL ENDIAN (PC)";
    case kSampleInt8LSB: return "Int8LSB - SMALL ENDIAN (PC) - (not ASIO)";
    default: return "";
  }
}

bool ChannelToFloat(int type, const void* device, float* interleaved, int frames, int channel,
                    int channels) noexcept {
  if (!Handled(type)) return false;
  const auto* bytes = static_cast<const uint8_t*>(device);
  for (int i = 0; i < frames; ++i) interleaved[i * channels + channel] = ReadSample(type, bytes, i);
  return true;
}

bool ChannelFromFloat(int type, const float* interleaved, int channel, int channels,
                      void* device, int frames) noexcept {
  if (!Handled(type)) return false;
  auto* bytes = static_cast<uint8_t*>(device);
  for (int i = 0; i < frames; ++i) WriteSample(type, bytes, i, interleaved[i * channels + channel]);
  return true;
}

void DeviceInt16FromFloat(const float* in, int16_t* out, int count) noexcept {
  for (int i = 0; i < count; ++i) out[i] = RoundClip16(in[i] * 32000.0f);
}
