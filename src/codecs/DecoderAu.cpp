#include "codecs/DecoderAu.h"

#include <algorithm>
#include <cstring>

#include "codecs/ByteOrder.h"
#include "codecs/PathRules.h"

namespace {

constexpr int kHeaderBytes = 24;
constexpr uint32_t kEncodingLinear16 = 3;
constexpr uint32_t kEncodingFloat32 = 6;
constexpr uint32_t kUnknownSize = 0xffffffffu;

uint32_t EncodingForBits(int bits) {
  switch (bits) {
    case 8: return 2;
    case 16: return 3;
    case 24: return 4;
    case 32: return 5;
    default: return 0;
  }
}

}  // namespace

int CDecoderAu::open(std::string path, AudioFormat* format, int write) {
  if (isOpen || !format) return 0;
  return write ? openForWriting(path, format) : openForReading(path, format);
}

int CDecoderAu::openForReading(const std::string& path, AudioFormat* format) {
  if (!EndsWith(ToLowerAscii(path), ".au")) return 0;
  if (!openFile(path, "rb")) return 0;
  const long size = FileSize(file_);
  unsigned char header[kHeaderBytes];
  if (std::fread(header, 1, sizeof header, file_) != sizeof header || std::memcmp(header, ".snd", 4) != 0) {
    closeFile();
    return 0;
  }
  const uint32_t offset = BigEndian32(header + 4);
  const uint32_t declared = BigEndian32(header + 8);
  const uint32_t encoding = BigEndian32(header + 12);
  const uint32_t rate = BigEndian32(header + 16);
  const uint32_t channels = BigEndian32(header + 20);
  const long dataStart = offset == 0 || offset == 24 ? 24 : static_cast<long>(offset);
  if ((encoding != kEncodingLinear16 && encoding != kEncodingFloat32) || rate != 44100 || channels < 1 ||
      channels > 32 || dataStart > size) {
    closeFile();
    return 0;
  }
  const int bits = encoding == kEncodingLinear16 ? 16 : 32;
  // A stream written without knowing its length says so; the file then ends the data.
  long bytes = size - dataStart;
  if (declared != kUnknownSize) bytes = std::min(bytes, static_cast<long>(declared));
  AudioFormat read{static_cast<int>(rate), static_cast<int>(channels), bits, bits, 0, 0};
  startReading(read, dataStart, bytes / (bits / 8 * static_cast<long>(channels)));
  *format = format_;
  return 1;
}

int CDecoderAu::openForWriting(const std::string& path, AudioFormat* format) {
  if (format->channels < 1 || format->bitsPerSample < 1 || format->sampleRate < 1) return 0;
  if (!openFile(path, "wb")) return 0;
  unsigned char header[kHeaderBytes] = {};
  std::memcpy(header, ".snd", 4);
  PutBigEndian32(header + 4, kHeaderBytes);
  PutBigEndian32(header + 12, EncodingForBits(format->bitsPerSample));
  PutBigEndian32(header + 16, static_cast<uint32_t>(format->sampleRate));
  PutBigEndian32(header + 20, static_cast<uint32_t>(format->channels));
  return startWriting(*format, header, sizeof header) ? 1 : 0;
}

void CDecoderAu::close() {
  if (file_ && writing_) {
    // The size field holds the frame count, not the byte count: files the program has always
    // written look like this, and it keeps writing them the same way.
    unsigned char field[4];
    PutBigEndian32(field, static_cast<uint32_t>(framesWritten_));
    std::fseek(file_, 8, SEEK_SET);
    std::fwrite(field, 1, 4, file_);
  }
  closeFile();
}
