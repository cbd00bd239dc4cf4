#include "audio/SampleConversions.h"

#include <gtest/gtest.h>

namespace {

// One float out to a device type and back in, on channel 1 of 2 so the stride is exercised and
// channel 0 must stay untouched.
template <typename Device>
Device Out(int type, float x) {
  const float frame[2] = {99.0f, x};
  Device d{};
  EXPECT_TRUE(ChannelFromFloat(type, frame, 1, 2, &d, 1));
  return d;
}
template <typename Device>
float In(int type, Device d) {
  float frame[2] = {99.0f, 99.0f};
  EXPECT_TRUE(ChannelToFloat(type, &d, frame, 1, 1, 2));
  EXPECT_EQ(frame[0], 99.0f);
  return frame[1];
}
constexpr float kHalf = 0.5f;
struct Bytes3 {
  uint8_t b[3];
};

}  // namespace

TEST(SampleConversions, IntegerTypesKeepTheirAsymmetricScales) {
  EXPECT_FLOAT_EQ(In<int16_t>(kSampleInt16LSB, -32768), -1.0f);  // in by 3.0517578e-5
  EXPECT_EQ(Out<int16_t>(kSampleInt16LSB, 1.0f), 32767);          // out by 32767
  EXPECT_EQ(Out<int16_t>(kSampleInt16LSB, -2.0f), -32768);        // clipped, not wrapped
  EXPECT_EQ(Out<int16_t>(kSampleInt16LSB, 0.6f / 32767.0f), 1);   // rounded, not truncated
  EXPECT_EQ(Out<int32_t>(kSampleInt32LSB, 1.0f), 2147483392);
  EXPECT_EQ(Out<int32_t>(kSampleInt32LSB, -3.0f), -2147483392);
  EXPECT_FLOAT_EQ(In<int32_t>(kSampleInt32LSB, 1 << 30), (1 << 30) * 4.656613e-10f);
  EXPECT_FLOAT_EQ(In<int8_t>(kSampleInt8LSB, 64), 0.5f);
  EXPECT_EQ(Out<int8_t>(kSampleInt8LSB, -1.0f), -128);  // -32767 = 0x8001: high byte 0x80
  EXPECT_EQ(Out<int8_t>(kSampleInt8LSB, -0.2f), -26);   // -6553 = 0xe667: the shift floors
}

TEST(SampleConversions, Int24BuildsTheTopBitsInBothByteOrders) {
  const float expected = static_cast<float>(0x12345600) * 4.656613e-10f;
  EXPECT_FLOAT_EQ(In(kSampleInt24LSB, Bytes3{{0x56, 0x34, 0x12}}), expected);
  EXPECT_FLOAT_EQ(In(kSampleInt24MSB, Bytes3{{0x12, 0x34, 0x56}}), expected);
  EXPECT_LT(In(kSampleInt24LSB, Bytes3{{0x00, 0x00, 0x80}}), -0.99999f);
  const Bytes3 full = Out<Bytes3>(kSampleInt24LSB, 1.5f);  // 2147483392 >> 8 = 0x7fffff
  EXPECT_EQ(full.b[0] | full.b[1] << 8 | full.b[2] << 16, 0x7fffff);
  const Bytes3 fullBigEndian = Out<Bytes3>(kSampleInt24MSB, 1.0f);
  EXPECT_EQ(fullBigEndian.b[0] << 16 | fullBigEndian.b[1] << 8 | fullBigEndian.b[2], 0x7fffff);
  EXPECT_NEAR(In(kSampleInt24LSB, Out<Bytes3>(kSampleInt24LSB, -0.5f)), -0.5f, 1e-6f);
}

TEST(SampleConversions, FloatsClipOnTheWayOutOnlyAndUnknownTypesAreSkipped) {
  EXPECT_EQ(Out<float>(kSampleFloat32LSB, 1.25f), 1.0f);
  EXPECT_EQ(In<float>(kSampleFloat32LSB, 1.25f), 1.25f);
  EXPECT_EQ(Out<double>(kSampleFloat64LSB, -7.0f), -1.0);
  EXPECT_EQ(In<double>(kSampleFloat64LSB, 0.1), 0.1f);
  int32_t untouched = 7;  // any other type is left alone
  EXPECT_FALSE(ChannelFromFloat(21, &kHalf, 0, 1, &untouched, 1));
  EXPECT_EQ(untouched, 7);
}

TEST(SampleConversions, DeviceInt16ScalesBy32000RoundsAndClips) {
  const float in[] = {1.0f, -1.5f, 1.6f / 32000, -0.7f / 32000, 0.4f / 32000, 3e-5f * 32767};
  const int16_t expected[] = {32000, -32768, 2, -1, 0, 31456};
  int16_t out[std::size(in) + 1];
  out[std::size(in)] = 0x5a5a;  // guard
  DeviceInt16FromFloat(in, out, static_cast<int>(std::size(in)));
  for (size_t i = 0; i < std::size(in); ++i) EXPECT_EQ(out[i], expected[i]) << "sample " << i;
  EXPECT_EQ(out[std::size(in)], 0x5a5a);
}
