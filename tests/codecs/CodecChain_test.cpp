// The chain's conversion to 44100 Hz 16-bit stereo, against files whose right answer is known.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "app/base/Trace.h"
#include "codecs/CodecChain.h"
#include "support/TestFiles.h"

namespace {

class CodecChainTest : public ::testing::Test {
 protected:
  std::string Write(const WavLayout& layout, const std::vector<uint8_t>& data, const char* name = "t.wav") {
    std::string path = folder_.File(name);
    WriteBytes(path, BuildWav(layout, data));
    return path;
  }
  int Open(const std::string& path) {
    format_ = EngineFormat();
    return chain_.open(path, &format_, 0, 88200);
  }
  TempFolder folder_;
  CCodecChain chain_{0};
  AudioFormat format_{};
};

struct TraceCapture {
  TraceCapture() { SetTraceHook([](const char* line, void* self) { static_cast<TraceCapture*>(self)->lines.push_back(line); }, this); }
  ~TraceCapture() { SetTraceHook(nullptr, nullptr); }
  bool Saw(const std::string& text) const {
    for (const auto& line : lines) {
      if (line == text) return true;
    }
    return false;
  }
  std::vector<std::string> lines;
};

TEST_F(CodecChainTest, SixteenBitStereoAt44100IsBitExact) {
  std::vector<int16_t> samples = MakeTestSignal(44100);
  ASSERT_TRUE(Open(Write(WavLayout{}, Int16Bytes(samples))));
  EXPECT_EQ(format_.frames, 44100);
  std::vector<int16_t> read(samples.size());
  ASSERT_EQ(chain_.read16(read.data(), 44100, 0), 44100);
  EXPECT_EQ(read, samples);
}

TEST_F(CodecChainTest, EightBitMono22050BecomesStereoAt44100) {
  WavLayout layout;
  layout.channels = 1;
  layout.rate = 22050;
  layout.bits = 8;
  std::vector<uint8_t> data(22050, 128);  // silence in unsigned 8-bit
  for (size_t i = 0; i < data.size(); i += 100) data[i] = 200;
  ASSERT_TRUE(Open(Write(layout, data)));
  EXPECT_EQ(format_.frames, 44100);
  EXPECT_EQ(chain_.sourceFormat().sampleRate, 22050);
  std::vector<int16_t> read(2 * 44100, 99);
  ASSERT_EQ(chain_.read16(read.data(), 44100, 0), 44100);
  for (int i = 0; i < 44100; ++i) ASSERT_EQ(read[2 * i], read[2 * i + 1]) << "frame " << i;
  EXPECT_EQ(read[2 * 2], 0) << "128 is the 8-bit zero";
  // Input frame 100 (value 200) lands on output frame 200 at twice the rate.
  EXPECT_EQ(read[2 * 200], std::lround((200 - 128) * 0.0078125f * 32767.0f));
}

TEST_F(CodecChainTest, TwentyFourBitReadsWithoutSignExtension) {
  WavLayout layout;
  layout.bits = 24;
  layout.channels = 1;
  // -0.5 full scale: 0xC00000 as 24-bit two's complement, little endian.
  std::vector<uint8_t> data;
  for (int i = 0; i < 300; ++i) data.insert(data.end(), {0x00, 0x00, 0xC0});
  ASSERT_TRUE(Open(Write(layout, data)));
  std::vector<int16_t> read(600);
  ASSERT_EQ(chain_.read16(read.data(), 300, 0), 300);
  // The unsigned join reads the negative half-wave as 0.75 of full scale.
  EXPECT_EQ(read[0], std::lround(0xC00000 * 5.9604645e-08f * 32767.0f));
  EXPECT_GT(read[0], 24000);
}

TEST_F(CodecChainTest, FloatFilesRoundIntoSixteenBits) {
  WavLayout layout;
  layout.bits = 32;
  layout.formatTag = 3;
  std::vector<float> values(2 * 400);
  for (size_t i = 0; i < values.size(); ++i) values[i] = (i % 2 ? -0.5f : 0.25f);
  values[0] = 3.0f;  // out of range clips
  std::vector<uint8_t> data(values.size() * 4);
  std::memcpy(data.data(), values.data(), data.size());
  ASSERT_TRUE(Open(Write(layout, data)));
  std::vector<int16_t> read(800);
  ASSERT_EQ(chain_.read16(read.data(), 400, 0), 400);
  EXPECT_EQ(read[0], 32767);
  EXPECT_EQ(read[1], std::lround(-0.5f * 32767.0f));
  EXPECT_EQ(read[2], std::lround(0.25f * 32767.0f));
}

TEST_F(CodecChainTest, Read16RefusesShortAndNegativeRequests) {
  ASSERT_TRUE(Open(Write(WavLayout{}, Int16Bytes(MakeTestSignal(1000)))));
  std::vector<int16_t> read(2000);
  EXPECT_EQ(chain_.read16(read.data(), 255, 0), 0);
  EXPECT_EQ(chain_.read16(read.data(), 256, 0), 256);
  EXPECT_EQ(chain_.read16(read.data(), 300, -1), 0);
  EXPECT_EQ(chain_.read16(nullptr, 300, 0), 0);
}

TEST_F(CodecChainTest, LowRateFilesConvertWithoutOverrunningTheBuffers) {
  WavLayout layout;
  layout.channels = 1;
  layout.rate = 8000;
  std::vector<int16_t> mono(8000 * 3);
  for (size_t i = 0; i < mono.size(); ++i) mono[i] = static_cast<int16_t>(1000 * std::sin(i * 0.05));
  ASSERT_TRUE(Open(Write(layout, Int16Bytes(mono))));
  EXPECT_EQ(format_.frames, 44100 * 3);
  std::vector<int16_t> first(2 * 88200), again(2 * 44100);
  EXPECT_EQ(chain_.read16(first.data(), 88200, 0), 88200);
  // A second read at a later position agrees with the same frames of a fresh sequential read.
  EXPECT_EQ(chain_.read16(again.data(), 44100, 44100), 44100);
  EXPECT_NEAR(again[2 * 1000], first[2 * (44100 + 1000)], 40);
}

TEST_F(CodecChainTest, OpenRules) {
  TraceCapture trace;
  EXPECT_FALSE(Open(folder_.File("missing.wav"))) << "a file that does not exist";
  EXPECT_FALSE(trace.Saw("no suitable codec found")) << "a missing file is refused before the trial";
  EXPECT_FALSE(Open("---$")) << "the pseudo-file that empties a deck";
  EXPECT_TRUE(trace.Saw("no suitable codec found"));
  EXPECT_FALSE(chain_.isOpen());

  std::string path = Write(WavLayout{}, Int16Bytes(MakeTestSignal(500)));
  ASSERT_TRUE(Open(path));
  AudioFormat second = EngineFormat();
  EXPECT_FALSE(chain_.open(path, &second, 0, 88200)) << "an open chain refuses another file";
  std::vector<int16_t> read(1000);
  EXPECT_EQ(chain_.read16(read.data(), 500, 0), 500) << "and keeps the first one working";
  chain_.close();
  EXPECT_EQ(chain_.read16(read.data(), 500, 0), 0);
}

}  // namespace
