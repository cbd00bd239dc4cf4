// The big-endian readers and writers, on files built byte by byte, and their output read back
// by sox where it is installed.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "codecs/ByteOrder.h"
#include "codecs/CodecChain.h"
#include "codecs/DecoderAIF.h"
#include "codecs/DecoderAu.h"
#include "support/TestFiles.h"

namespace {

void Append32(std::vector<uint8_t>& out, uint32_t v) {
  uint8_t b[4];
  PutBigEndian32(b, v);
  out.insert(out.end(), b, b + 4);
}
void Append16(std::vector<uint8_t>& out, uint16_t v) {
  uint8_t b[2];
  PutBigEndian16(b, v);
  out.insert(out.end(), b, b + 2);
}
void AppendText(std::vector<uint8_t>& out, const char* text) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(text[i]));
}

struct AiffLayout {
  int channels = 2, bits = 16, rate = 44100, commLength = 18, textChunks = 0;
  const char* formType = "AIFF";
};

std::vector<uint8_t> BuildAiff(const AiffLayout& layout, const std::vector<int16_t>& samples) {
  std::vector<uint8_t> body;
  for (int i = 0; i < layout.textChunks; ++i) {
    AppendText(body, "NAME");
    Append32(body, 5);
    body.insert(body.end(), {'t', 'i', 't', 'l', 'e', 0});  // odd length and its pad byte
  }
  AppendText(body, "COMM");
  Append32(body, static_cast<uint32_t>(layout.commLength));
  Append16(body, static_cast<uint16_t>(layout.channels));
  Append32(body, static_cast<uint32_t>(samples.size() / static_cast<size_t>(layout.channels)));
  Append16(body, static_cast<uint16_t>(layout.bits));
  uint8_t rate[10];
  DoubleToExtended80(layout.rate, rate);
  body.insert(body.end(), rate, rate + 10);
  body.resize(body.size() + static_cast<size_t>(layout.commLength - 18), 0);
  AppendText(body, "SSND");
  Append32(body, static_cast<uint32_t>(8 + 2 * samples.size()));
  Append32(body, 0);
  Append32(body, 0);
  for (int16_t s : samples) Append16(body, static_cast<uint16_t>(s));
  std::vector<uint8_t> file;
  AppendText(file, "FORM");
  Append32(file, static_cast<uint32_t>(4 + body.size()));
  AppendText(file, layout.formType);
  file.insert(file.end(), body.begin(), body.end());
  return file;
}

std::vector<uint8_t> BuildAu(uint32_t offset, uint32_t encoding, uint32_t rate, const std::vector<int16_t>& samples) {
  std::vector<uint8_t> file;
  AppendText(file, ".snd");
  Append32(file, offset);
  Append32(file, static_cast<uint32_t>(2 * samples.size()));
  Append32(file, encoding);
  Append32(file, rate);
  Append32(file, 2);
  file.resize(offset < 24 ? 24 : offset, 0xEE);  // junk between the header and the data
  for (int16_t s : samples) Append16(file, static_cast<uint16_t>(s));
  return file;
}

class BigEndianFiles : public ::testing::Test {
 protected:
  // Opens through a chain, as a deck does; returns the decoder's name or "" when refused.
  std::string OpenAndRead(const std::string& path, std::vector<int16_t>* out, int frames) {
    chain = std::make_unique<CCodecChain>(0);
    AudioFormat format = EngineFormat();
    if (!chain->open(path, &format, 0, 88200)) return "";
    out->assign(2 * static_cast<size_t>(frames), 0);
    EXPECT_EQ(chain->read16(out->data(), frames, 0), frames);
    return chain->activeCodecObject()->codecName();
  }
  TempFolder folder;
  std::unique_ptr<CCodecChain> chain;
  std::vector<int16_t> signal = MakeTestSignal(4000);
};

TEST_F(BigEndianFiles, ExtendedNumbersConvertBothWays) {
  uint8_t bytes[10];
  DoubleToExtended80(44100, bytes);
  const uint8_t expected[10] = {0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0};  // as every AIFF at 44.1 kHz has it
  EXPECT_EQ(std::memcmp(bytes, expected, 10), 0);
  for (double rate : {8000.0, 11025.0, 22050.0, 44100.0, 48000.0, 96000.0, 192000.0, 44099.5, 1.0}) {
    DoubleToExtended80(rate, bytes);
    EXPECT_EQ(Extended80ToDouble(bytes), rate);
  }
  DoubleToExtended80(0.0, bytes);
  EXPECT_EQ(Extended80ToDouble(bytes), 0.0);
}

TEST_F(BigEndianFiles, SixteenBitAiffAndAuReadExactlyWithTheirOddities) {
  std::vector<int16_t> read;
  AiffLayout withText;
  withText.textChunks = 3;
  WriteBytes(folder.File("text.aiff"), BuildAiff(withText, signal));
  EXPECT_EQ(OpenAndRead(folder.File("text.aiff"), &read, 4000), "aiff");
  EXPECT_TRUE(read == signal) << "text chunks before COMM are skipped";

  WriteBytes(folder.File("offset.au"), BuildAu(32, 3, 44100, signal));
  EXPECT_EQ(OpenAndRead(folder.File("offset.au"), &read, 4000), "au");
  EXPECT_TRUE(read == signal) << "the data starts where the header says";
}

TEST_F(BigEndianFiles, ReadersRefuseWhatTheyWouldPlayWrongly) {
  CDecoderAIF aiff(0);
  CDecoderAu au(0);
  AudioFormat format;
  auto refusedByAiff = [&](const AiffLayout& layout, const char* name) {
    WriteBytes(folder.File(name), BuildAiff(layout, signal));
    return aiff.open(folder.File(name), &format, 0) == 0;
  };
  AiffLayout rate8000, eightBit, aifc, manyChunks;
  rate8000.rate = 8000;
  eightBit.bits = 8;
  aifc.commLength = 24;
  aifc.formType = "AIFC";
  manyChunks.textChunks = 101;
  EXPECT_TRUE(refusedByAiff(rate8000, "r8000.aiff"));
  EXPECT_TRUE(refusedByAiff(eightBit, "b8.aiff"));
  EXPECT_TRUE(refusedByAiff(aifc, "c.aiff"));
  EXPECT_TRUE(refusedByAiff(manyChunks, "many.aiff")) << "the walk gives up after 100 chunks";
  AiffLayout plain;
  EXPECT_FALSE(refusedByAiff(plain, "plain.aif"));
  aiff.close();

  WriteBytes(folder.File("b8.au"), BuildAu(24, 2, 44100, signal));
  EXPECT_EQ(au.open(folder.File("b8.au"), &format, 0), 0) << "signed 8-bit would play inverted halves";
  WriteBytes(folder.File("r48.au"), BuildAu(24, 3, 48000, signal));
  EXPECT_EQ(au.open(folder.File("r48.au"), &format, 0), 0);

  // What these refuse still plays, through FFmpeg.
  std::vector<int16_t> read;
  EXPECT_EQ(OpenAndRead(folder.File("r8000.aiff"), &read, 2000), "ffmpeg-audio");
}

TEST_F(BigEndianFiles, WritersProduceFilesOthersRead) {
  AudioFormat format{44100, 2, 16, 16, 0, 0};
  CDecoderAIF aiff(0);
  ASSERT_TRUE(aiff.open(folder.File("out.aiff"), &format, 1));
  EXPECT_EQ(aiff.write(signal.data(), 1500), 1500);
  EXPECT_EQ(aiff.write(signal.data() + 3000, 2500), 2500);
  aiff.close();
  std::vector<int16_t> read;
  EXPECT_EQ(OpenAndRead(folder.File("out.aiff"), &read, 4000), "aiff");
  EXPECT_TRUE(read == signal);
  chain.reset();
  if (std::system(("soxi -s '" + folder.File("out.aiff") + "' > '" + folder.File("soxi.txt") + "' 2>/dev/null").c_str()) == 0) {
    FILE* text = std::fopen(folder.File("soxi.txt").c_str(), "r");
    long frames = 0;
    ASSERT_EQ(std::fscanf(text, "%ld", &frames), 1);
    std::fclose(text);
    EXPECT_EQ(frames, 4000) << "sox reads the patched header";
  }

  CDecoderAu au(0);
  ASSERT_TRUE(au.open(folder.File("out.au"), &format, 1));
  EXPECT_EQ(au.write(signal.data(), 4000), 4000);
  EXPECT_EQ(au.durationSeconds(), 4000 / 44100.0);
  au.close();
  FILE* file = std::fopen(folder.File("out.au").c_str(), "rb");
  std::vector<uint8_t> bytes(24 + 4 * 4000);
  ASSERT_EQ(std::fread(bytes.data(), 1, bytes.size(), file), bytes.size());
  std::fclose(file);
  EXPECT_EQ(BigEndian32(bytes.data() + 12), 3u) << "16-bit linear";
  EXPECT_EQ(BigEndian32(bytes.data() + 8), 4000u) << "the size field counts frames";
  for (size_t i = 0; i < signal.size(); ++i) {
    ASSERT_EQ(static_cast<int16_t>(BigEndian16(bytes.data() + 24 + 2 * i)), signal[i]) << i;
  }
}

}  // namespace
