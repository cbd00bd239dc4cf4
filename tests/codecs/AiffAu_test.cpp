// The AIFF and AU writers, read back by the chain and by sox; the readers' refusals are covered
// with the other formats in DecoderFFMpeg_test.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/base/AtomicFile.h"
#include "codecs/ByteOrder.h"
#include "codecs/CodecChain.h"
#include "codecs/DecoderAIF.h"
#include "codecs/DecoderAu.h"
#include "support/TestFiles.h"

namespace {

TEST(BigEndianFiles, ExtendedNumbersConvertBothWays) {
  uint8_t bytes[10];
  DoubleToExtended80(44100, bytes);
  const uint8_t expected[10] = {0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0};  // as every AIFF at 44.1 kHz has it
  EXPECT_EQ(std::memcmp(bytes, expected, 10), 0);
  for (double rate : {8000.0, 11025.0, 48000.0, 96000.0, 192000.0, 44099.5, 1.0, 0.0}) {
    DoubleToExtended80(rate, bytes);
    EXPECT_EQ(Extended80ToDouble(bytes), rate);
  }
}

TEST(BigEndianFiles, WritersProduceFilesOthersRead) {
  TempFolder folder;
  std::vector<int16_t> signal = MakeTestSignal(4000);
  AudioFormat format{44100, 2, 16, 16, 0, 0};
  CDecoderAIF aiff(0);
  ASSERT_TRUE(aiff.open(folder.File("out.aiff"), &format, 1));
  EXPECT_EQ(aiff.write(signal.data(), 1500), 1500);
  EXPECT_EQ(aiff.write(signal.data() + 3000, 2500), 2500);
  aiff.close();
  {
    CCodecChain chain(0);
    AudioFormat read = EngineFormat();
    ASSERT_TRUE(chain.open(folder.File("out.aiff"), &read, 0, 88200));
    EXPECT_STREQ(chain.activeCodecObject()->codecName(), "aiff");
    std::vector<int16_t> samples(signal.size());
    ASSERT_EQ(chain.read16(samples.data(), 4000, 0), 4000);
    EXPECT_TRUE(samples == signal);
  }
  std::string soxi = "soxi -s '" + folder.File("out.aiff") + "' > '" + folder.File("soxi.txt") + "' 2>/dev/null";
  if (std::system(soxi.c_str()) == 0) {
    FILE* text = std::fopen(folder.File("soxi.txt").c_str(), "r");
    long frames = 0;
    ASSERT_EQ(std::fscanf(text, "%ld", &frames), 1);
    std::fclose(text);
    EXPECT_EQ(frames, 4000) << "sox reads the patched header";
  }

  CDecoderAu au(0);
  ASSERT_TRUE(au.open(folder.File("out.au"), &format, 1));
  EXPECT_EQ(au.write(signal.data(), 4000), 4000);
  au.close();
  std::string text;
  ASSERT_TRUE(ReadWholeFile(folder.File("out.au"), text));
  ASSERT_GE(text.size(), 24u + 4 * 4000);
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  EXPECT_EQ(BigEndian32(bytes + 12), 3u) << "16-bit linear";
  EXPECT_EQ(BigEndian32(bytes + 8), 4000u) << "the size field counts frames";
  for (size_t i = 0; i < signal.size(); ++i) {
    ASSERT_EQ(static_cast<int16_t>(BigEndian16(bytes + 24 + 2 * i)), signal[i]) << i;
  }
}

}  // namespace
