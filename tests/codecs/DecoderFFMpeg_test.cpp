#include "codecs/DecoderFFMpeg.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "codecs/CodecChain.h"
#include "SyntheticTrack.h"

namespace {

class DecoderFFMpegTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder = std::filesystem::temp_directory_path() / ("lumo-ffmpeg-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
  }
  void TearDown() override { std::filesystem::remove_all(folder); }
  // A 5-second tone encoded by the lame and sox command-line tools.
  std::string Encoded(const std::string& extension) {
    std::vector<short> stereo(44100 * 5 * 2);
    for (size_t i = 0; i < stereo.size() / 2; ++i) {
      stereo[2 * i] = stereo[2 * i + 1] = static_cast<short>(8000 * std::sin(2 * M_PI * 440.0 * i / 44100.0));
    }
    const std::string wav = (folder / "tone.wav").string();
    const std::string out = (folder / ("tone." + extension)).string();
    WriteWav(wav, stereo);
    const std::string command = extension == "mp3" ? "lame --quiet -b 192 \"" + wav + "\" \"" + out + "\""
                                                    : "sox \"" + wav + "\" \"" + out + "\"";
    if (std::system(command.c_str()) != 0) return "";
    return out;
  }
  std::filesystem::path folder;
};

TEST_F(DecoderFFMpegTest, CompressedFilesDecodeToTheirLengthAndLevel) {
  for (const char* extension : {"mp3", "flac"}) {
    const std::string path = Encoded(extension);
    if (path.empty()) GTEST_SKIP() << "lame or sox is not installed";
    CCodecChain chain(1);
    AudioFormat format = EngineFormat();
    ASSERT_EQ(chain.open(path, &format, 0, 44100), 1) << extension;
    EXPECT_STREQ(chain.activeCodecObject()->codecName(), "ffmpeg-audio");
    // MP3 frames and the encoder's padding add a few tens of milliseconds at most.
    EXPECT_NEAR(format.frames, 5 * 44100, 0.06 * 44100) << extension;
    std::vector<short> block(44100 * 2);
    double sum = 0;
    for (int second = 0; second < 5; ++second) {
      chain.read16(block.data(), 44100, second * 44100);
      if (second == 2) {
        for (short s : block) sum += double(s) * s;
      }
    }
    EXPECT_NEAR(std::sqrt(sum / block.size()), 8000 / std::sqrt(2.0), 300.0) << extension;
    // A read past the end still reports the full count; the caller's buffer keeps its data.
    std::vector<short> past(4410 * 2, 77);
    EXPECT_EQ(chain.activeCodecObject()->read(past.data(), 4410, -1), 4410);
    chain.close();
  }
}

TEST_F(DecoderFFMpegTest, RefusesOtherExtensionsAndGarbage) {
  CDecoderFFMpeg decoder(1);
  AudioFormat format = EngineFormat();
  EXPECT_EQ(decoder.open((folder / "x.wma").string(), &format, 0), 0);
  const std::string junk = (folder / "junk.mp3").string();
  FILE* file = std::fopen(junk.c_str(), "wb");
  std::fputs("this is not audio at all", file);
  std::fclose(file);
  EXPECT_EQ(decoder.open(junk, &format, 0), 0);
  EXPECT_EQ(decoder.durationSeconds(), 0.0);
  EXPECT_EQ(decoder.open(junk, &format, 1), 0) << "the decoder never writes";
}

}  // namespace
