// The chain's conversion to 44100 Hz 16-bit stereo, against files whose right answer is known.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

#include "app/base/Realtime.h"
#include "codecs/CodecChain.h"
#include "support/AllocationCounter.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"
#include "support/WaitFor.h"

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
  // A read that jumps back gives exactly the frames the sequential read gave.
  EXPECT_EQ(chain_.read16(again.data(), 44100, 44100), 44100);
  EXPECT_TRUE(std::equal(again.begin(), again.end(), first.begin() + 2 * 44100));
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

// The deck tells the chain about jumps from its render, on the audio thread, while its loader
// opens and closes files. Under ThreadSanitizer this is the test of that hand-off.
TEST_F(CodecChainTest, NotifySeekFromTheAudioThreadWhileTheLoaderOpensAndCloses) {
  std::string path = Write(WavLayout{}, Int16Bytes(MakeTestSignal(500)));
  std::atomic<bool> stop{false};
  std::atomic<long> calls{0};
  ResetAudioThreadCounts();
  std::thread audio([&] {
    rt::AudioThreadScope scope;
    while (!stop.load()) chain_.notifySeek(static_cast<int>(calls.fetch_add(1) % 1000), 1);
  });
  JoinGuard audioGuard{stop, audio};
  for (int i = 0; i < 200; ++i) {
    ASSERT_TRUE(Open(path));
    chain_.close();
  }
  ASSERT_TRUE(WaitFor([&] { return calls.load() >= 1000; }));
  stop = true;
  audio.join();
  EXPECT_EQ(AudioThreadAllocations(), 0u);
  EXPECT_EQ(rt::BlockingWaitsOnAudioThread(), 0u);
}

}  // namespace
