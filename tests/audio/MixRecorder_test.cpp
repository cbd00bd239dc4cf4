// The recorder through the mix path: what reaches the file, MP3 through LAME, a failing disk,
// Stop when idle, and a recording that is killed before it can close its file.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <thread>
#include <vector>

#include "TestSources.h"
#include "support/WaitFor.h"
#include "audio/MasterBus.h"
#include "audio/MixCallback.h"
#include "audio/MixRecorder.h"
#include "audio/Mixer.h"
#include "audio/OfflineOutput.h"
#include "audio/OutputOptions.h"
#include "audio/Threads.h"
#include "codecs/CodecChain.h"
#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"

namespace {

// Sits in the limiter's place, just before the recorder tap, and keeps a copy of the master.
class MasterCopy : public CMasterBusProcessor {
 public:
  void ProcessMasterBus(float* stereo, int frames) noexcept override {
    if (seen.size() + 2 * static_cast<size_t>(frames) <= seen.capacity()) {
      seen.insert(seen.end(), stereo, stereo + 2 * frames);
    }
  }
  std::vector<float> seen;
};

std::vector<short> ReadWav(const std::string& path) {
  CDecoderWAV wav(0);
  AudioFormat format{};
  std::vector<short> samples;
  if (!wav.open(path, &format, 0)) return samples;
  samples.resize(2 * static_cast<size_t>(format.frames));
  samples.resize(2 * static_cast<size_t>(wav.read(samples.data(), format.frames, 0)));
  return samples;
}

// A mixer with one sine source, routed to a recorder, pulled offline with the writer stepped
// in audio time like a render.
class RecorderTest : public ::testing::Test {
 protected:
  explicit RecorderTest(float amplitude = 1.2f) : sine_(amplitude, 100.3), mixer_(kMaxBlockFrames) {
    SetThreadsManual(true);
    mixer_.AddSource(&sine_);
    g_mixRouting.mixer.store(&mixer_);
    g_mixRouting.recorder.store(&recorder_);
    g_mixRouting.stopRecordingRequested.store(0);
  }
  ~RecorderTest() override {
    recorder_.Stop();
    g_mixRouting.mixer.store(nullptr);
    g_mixRouting.recorder.store(nullptr);
    g_mixRouting.limiter.store(nullptr);
    SetThreadsManual(false);
  }
  // Pulls `frames` in blocks of `block`; returns what the device got.
  std::vector<float> Pull(int frames, int block) {
    COfflineOutput offline(block);
    std::vector<float> out(2 * static_cast<size_t>(block)), all;
    for (int done = 0; done < frames; done += block) {
      offline.PullBlock(out.data());
      all.insert(all.end(), out.begin(), out.end());
    }
    return all;
  }

  TempFolder folder_;
  SineSource sine_;
  CZQMixer mixer_;
  CMixRecorder recorder_;
};

TEST_F(RecorderTest, FileHoldsTheMasterTimes30000RoundedAndClampedWithNothingLost) {
  MasterCopy copy;
  copy.seen.reserve(2 * 200000);
  g_mixRouting.limiter.store(&copy);
  std::string path = folder_.File("mix.wav");
  ASSERT_EQ(recorder_.Start(path), 1);
  // Odd block sizes, the largest block, and a single frame: no tail may go missing at Stop.
  for (int block : {357, 4410, 1, 1000}) Pull(block == 1 ? 5 : 40000, block);
  ASSERT_EQ(recorder_.Stop(), 1);
  EXPECT_EQ(recorder_.DroppedBlocks(), 0u);

  std::vector<short> file = ReadWav(path);
  ASSERT_EQ(file.size(), copy.seen.size()) << "every frame of the master reaches the file";
  int clamped = 0;
  for (size_t i = 0; i < file.size(); ++i) {
    double expected = std::clamp(std::nearbyint(static_cast<double>(copy.seen[i]) * 30000.0), -32768.0, 32767.0);
    clamped += std::fabs(expected) >= 32767.0;
    ASSERT_EQ(file[i], static_cast<short>(expected)) << "sample " << i;
  }
  EXPECT_GT(clamped, 1000) << "the 1.2 sine must reach the clamp, or the test proves less";
}

TEST_F(RecorderTest, MutedOutputStillRecordsTheMix) {
  std::string path = folder_.File("muted.wav");
  g_outputOptions.muteOutput = 1;
  ASSERT_EQ(recorder_.Start(path), 1);
  std::vector<float> heard = Pull(4410, 441);
  g_outputOptions.muteOutput = 0;
  ASSERT_EQ(recorder_.Stop(), 1);
  for (float v : heard) ASSERT_EQ(v, 0.0f) << "the device hears nothing";
  std::vector<short> file = ReadWav(path);
  ASSERT_EQ(file.size(), 2u * 4410);
  EXPECT_EQ(*std::max_element(file.begin(), file.end()), 32767) << "the recording has the mix";
}

TEST_F(RecorderTest, StopWhileIdleDoesNothing) {
  EXPECT_FALSE(recorder_.IsRecording());
  EXPECT_EQ(recorder_.Stop(), 1);
  EXPECT_EQ(recorder_.Tap(std::vector<float>(64).data(), 32), 1) << "idle tap reports success";
  Pull(4410, 441);
  EXPECT_EQ(g_mixRouting.stopRecordingRequested.load(), 0);
  EXPECT_EQ(recorder_.Duration(), 0.0);
}

TEST_F(RecorderTest, SecondStartAndUnwritablePathAreRefused) {
  EXPECT_EQ(recorder_.Start(folder_.File("missing/folder/x.wav")), 0);
  EXPECT_FALSE(recorder_.IsRecording());
  ASSERT_EQ(recorder_.Start(folder_.File("a.wav")), 1);
  EXPECT_EQ(recorder_.Start(folder_.File("b.wav")), 0);
  EXPECT_TRUE(recorder_.IsRecording());
}

TEST_F(RecorderTest, FullDiskRaisesTheFlagWhileTheAudioGoesOn) {
  ASSERT_EQ(recorder_.Start("/dev/full"), 1);
  std::vector<float> heard = Pull(44100, 441);
  EXPECT_TRUE(recorder_.Failed());
  EXPECT_EQ(g_mixRouting.stopRecordingRequested.load(), 1) << "the tick is told to stop";
  float peak = 0;
  for (size_t i = heard.size() - 882; i < heard.size(); ++i) peak = std::max(peak, std::fabs(heard[i]));
  EXPECT_GT(peak, 0.5f) << "the device still plays the mix";
  EXPECT_EQ(recorder_.Stop(), 0) << "Stop reports the incomplete file";
  EXPECT_FALSE(recorder_.Failed()) << "the next recording starts clean";
}

class Mp3RecorderTest : public RecorderTest {
 protected:
  Mp3RecorderTest() : RecorderTest(0.5f) {}
};

TEST_F(Mp3RecorderTest, Mp3DecodedBackMatchesTheWavRecording) {
  if (!CMixRecorder::HasEncoder()) GTEST_SKIP() << "libmp3lame.so.0 is not installed";
  std::string mp3 = folder_.File("mix.mp3"), wav = folder_.File("mix.wav");
  // The same signal twice: the sine restarts with a fresh source.
  for (const std::string& path : {wav, mp3}) {
    sine_ = SineSource(0.5f, 100.3);
    ASSERT_EQ(recorder_.Start(path), 1) << path;
    EXPECT_EQ(recorder_.IsMp3(), path == mp3);
    Pull(3 * 44100, 1024);
    ASSERT_EQ(recorder_.Stop(), 1);
  }
  std::vector<short> reference = ReadWav(wav);
  CCodecChain chain(0);
  AudioFormat format = EngineFormat();
  ASSERT_EQ(chain.open(mp3, &format, 0, 44100), 1);
  std::vector<short> decoded(2 * 44100 * 4);
  int got = 0;
  for (int n; (n = chain.read16(decoded.data() + 2 * got, 44100, got)) > 0;) got += n;
  ASSERT_GT(got, 2 * 44100);
  // The LAME tag tells the decoder about the encoder's delay, so the two line up without a
  // search; allow a small lag in case a decoder trims differently.
  double best = 0;
  for (int lag = -64; lag <= 64; ++lag) {
    double xy = 0, xx = 0, yy = 0;
    for (int i = 4410; i < 2 * 44100; ++i) {
      double x = reference[2 * static_cast<size_t>(i)], y = decoded[2 * static_cast<size_t>(i + lag)];
      xy += x * y, xx += x * x, yy += y * y;
    }
    best = std::max(best, xy / std::sqrt(xx * yy));
  }
  EXPECT_GT(best, 0.9);
}

// A child process records in real time and is killed with SIGKILL mid-recording; the file it
// leaves must still be a WAV that sox reads, holding at least what the header last counted.
TEST(RecorderKill, KilledRecordingLeavesAPlayableWav) {
  if (std::system("sox --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "sox is not installed";
  TempFolder folder;
  std::string path = folder.File("killed.wav");
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    CMixRecorder recorder;
    if (!recorder.Start(path)) _exit(3);
    std::vector<float> block(2 * 441);
    for (long long frame = 0;; frame += 441) {
      for (int i = 0; i < 441; ++i) block[2 * i] = block[2 * i + 1] = 0.3f * std::sin((frame + i) * 0.05);
      recorder.Tap(block.data(), 441);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  // Wait for the header to count at least half a second, then kill.
  auto countedBytes = [&] {
    std::ifstream in(path, std::ios::binary);
    unsigned char header[44] = {};
    in.read(reinterpret_cast<char*>(header), 44);
    return in.gcount() == 44 ? header[40] | header[41] << 8 | header[42] << 16 | header[43] << 24 : 0;
  };
  bool counted = WaitFor([&] { return countedBytes() >= 88200; });
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(counted) << "the header was never brought up to date";
  ASSERT_TRUE(WIFSIGNALED(status));
  std::string command = "sox -q \"" + path + "\" -n stat 2>&1 | grep -q 'Length (seconds)'";
  EXPECT_EQ(std::system(command.c_str()), 0) << "sox can not read the killed recording";
  EXPECT_GE(ReadWav(path).size(), static_cast<size_t>(countedBytes()) / 2);
}

}  // namespace
