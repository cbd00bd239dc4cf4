// The WAV reader and writer against files built byte by byte: the variants the reader must
// take, the ones it must leave to other decoders, and broken ones that must not hang it.

#include <gtest/gtest.h>

#include <cstring>

#include "app/base/AtomicFile.h"
#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"

namespace {

class WavDecoderTest : public ::testing::Test {
 protected:
  int Open(const std::vector<uint8_t>& bytes, AudioFormat& format, const char* name = "t.wav") {
    path_ = folder_.File(name);
    WriteBytes(path_, bytes);
    return decoder_.open(path_, &format, 0);
  }
  TempFolder folder_;
  CDecoderWAV decoder_{0};
  std::string path_;
};

TEST_F(WavDecoderTest, ReportsFormatAndReadsSequentiallyAndBySeekAlike) {
  std::vector<int16_t> samples = MakeTestSignal(5000);
  AudioFormat format;
  ASSERT_TRUE(Open(BuildWav(WavLayout{}, Int16Bytes(samples)), format));
  EXPECT_EQ(format.sampleRate, 44100);
  EXPECT_EQ(format.channels, 2);
  EXPECT_EQ(format.bitsPerSample, 16);
  EXPECT_EQ(format.storedBits, 16);
  EXPECT_EQ(format.frames, 5000);

  std::vector<int16_t> sequential(10000), seeked(10000);
  ASSERT_EQ(decoder_.read(sequential.data(), 3000, 0), 3000);
  ASSERT_EQ(decoder_.read(sequential.data() + 6000, 2000, -1), 2000);
  ASSERT_EQ(decoder_.read(seeked.data() + 6000, 2000, 3000), 2000);
  ASSERT_EQ(decoder_.read(seeked.data(), 3000, 0), 3000);
  EXPECT_EQ(sequential, samples);
  EXPECT_EQ(seeked, samples);
  // Past the end a read delivers only what is there.
  EXPECT_EQ(decoder_.read(seeked.data(), 100, 4950), 50);
}

TEST_F(WavDecoderTest, SkipsOddChunksWithTheirPadByte) {
  WavLayout layout;
  layout.chunksBeforeData = {{"LIST", {1, 2, 3}}, {"junk", {9, 9, 9, 9, 9}}};
  std::vector<int16_t> samples = MakeTestSignal(100);
  AudioFormat format;
  ASSERT_TRUE(Open(BuildWav(layout, Int16Bytes(samples)), format));
  std::vector<int16_t> read(200);
  ASSERT_EQ(decoder_.read(read.data(), 100, 0), 100);
  EXPECT_EQ(read, samples);
}

TEST_F(WavDecoderTest, RefusesWhatOtherDecodersOwnAndBrokenFiles) {
  AudioFormat format;
  WavLayout extended;
  extended.fmtLength = 18;
  EXPECT_FALSE(Open(BuildWav(extended, {0, 0, 0, 0}), format)) << "fmt of 18 bytes";
  WavLayout noData;
  noData.withData = false;
  noData.chunksBeforeData = {{"LIST", {1}}};
  EXPECT_FALSE(Open(BuildWav(noData, {}), format)) << "no data chunk must end the walk";
  WavLayout adpcm;
  adpcm.formatTag = 2;
  EXPECT_FALSE(Open(BuildWav(adpcm, {0, 0, 0, 0}), format));
  WavLayout wide;
  wide.bits = 64;
  wide.formatTag = 3;
  EXPECT_FALSE(Open(BuildWav(wide, std::vector<uint8_t>(64)), format)) << "64-bit would overrun the chain";
  EXPECT_FALSE(Open({'R', 'I', 'F', 'F', 0, 0}, format)) << "truncated header";
  EXPECT_FALSE(Open(BuildWav(WavLayout{}, {0, 0, 0, 0}), format, "t.mp3")) << "not a .wav name";
  EXPECT_FALSE(decoder_.isOpen);
}

TEST_F(WavDecoderTest, ClampsADataLengthPastTheEndOfTheFile) {
  WavLayout layout;
  layout.declaredDataLength = 0x7ffffff0;  // a recorder that died before writing the length
  AudioFormat format;
  ASSERT_TRUE(Open(BuildWav(layout, Int16Bytes(MakeTestSignal(10))), format));
  EXPECT_EQ(format.frames, 10);
}

TEST_F(WavDecoderTest, WriterRoundTripsAndPatchesTheLengths) {
  std::string path = folder_.File("out.wav");
  CDecoderWAV writer(0);
  AudioFormat format{44100, 2, 16, 16, 0, 0};
  ASSERT_TRUE(writer.open(path, &format, 1));
  std::vector<int16_t> samples = MakeTestSignal(777);
  EXPECT_EQ(writer.write(samples.data(), 777), 777);
  EXPECT_EQ(writer.read(samples.data(), 1, 0), 0) << "reading a file open for writing";
  writer.close();

  AudioFormat readBack;
  ASSERT_TRUE(decoder_.open(path, &readBack, 0));
  EXPECT_EQ(readBack.frames, 777);
  std::vector<int16_t> read(samples.size());
  decoder_.read(read.data(), 777, 0);
  EXPECT_EQ(read, samples);

  std::string header;
  ASSERT_TRUE(ReadWholeFile(path, header));
  ASSERT_GE(header.size(), 44u);
  uint32_t riff, data;
  std::memcpy(&riff, header.data() + 4, 4);
  std::memcpy(&data, header.data() + 40, 4);
  EXPECT_EQ(data, 777u * 4);
  EXPECT_EQ(riff, data + 36);
}

TEST_F(WavDecoderTest, WritesFloatFilesWithTheFloatTag) {
  std::string path = folder_.File("float.wav");
  CDecoderWAV writer(0);
  AudioFormat format{44100, 2, 32, 32, 0, 0};
  ASSERT_TRUE(writer.open(path, &format, 1));
  float frames[4] = {0.5f, -0.25f, 1.0f, -1.0f};
  writer.write(frames, 2);
  writer.close();
  AudioFormat readBack;
  ASSERT_TRUE(decoder_.open(path, &readBack, 0));
  EXPECT_EQ(readBack.bitsPerSample, 32);
  float read[4];
  ASSERT_EQ(decoder_.read(read, 2, 0), 2);
  EXPECT_EQ(0, std::memcmp(read, frames, sizeof frames));
}

}  // namespace
