#include "codecs/DecoderAIF.h"

#include <cmath>
#include <cstring>

#include "codecs/ByteOrder.h"
#include "codecs/PathRules.h"

namespace {

constexpr int kMaxChunks = 100;
constexpr int kHeaderBytes = 54;

}  // namespace

int CDecoderAIF::open(std::string path, AudioFormat* format, int write) {
  if (isOpen || !format) return 0;
  return write ? openForWriting(path, format) : openForReading(path, format);
}

int CDecoderAIF::openForReading(const std::string& path, AudioFormat* format) {
  std::string lower = ToLowerAscii(path);
  if (!EndsWith(lower, ".aif") && !EndsWith(lower, ".aiff")) return 0;
  if (!openFile(path, "rb")) return 0;
  const long size = FileSize(file_);
  unsigned char header[12];
  if (std::fread(header, 1, 12, file_) != 12 || std::memcmp(header, "FORM", 4) != 0 ||
      std::memcmp(header + 8, "AIF", 3) != 0 || header[11] != header[10]) {
    closeFile();
    return 0;
  }
  // Walk the chunks to "SSND", reading "COMM" on the way. Chunks are padded to even lengths.
  int channels = 0, bits = 0;
  double rate = 0.0;
  long offset = 12, dataStart = -1, dataBytes = 0;
  for (int chunk = 0; chunk < kMaxChunks && dataStart < 0 && offset + 8 <= size; ++chunk) {
    unsigned char head[8];
    std::fseek(file_, offset, SEEK_SET);
    if (std::fread(head, 1, 8, file_) != 8) break;
    const long length = static_cast<long>(BigEndian32(head + 4));
    offset += 8;
    if (std::memcmp(head, "COMM", 4) == 0) {
      unsigned char comm[18];
      if (length != 18 || std::fread(comm, 1, 18, file_) != 18) break;  // AIFF-C's longer COMM
      channels = BigEndian16(comm);
      bits = BigEndian16(comm + 6);
      rate = Extended80ToDouble(comm + 8);
    } else if (std::memcmp(head, "SSND", 4) == 0) {
      unsigned char ssnd[8];
      if (length < 8 || std::fread(ssnd, 1, 8, file_) != 8) break;
      dataStart = offset + 8 + static_cast<long>(BigEndian32(ssnd));
      dataBytes = std::min(length - 8, size - dataStart);
      break;
    }
    offset += length + (length & 1);
  }
  const int roundedRate = static_cast<int>(std::lround(rate));
  if (dataStart < 0 || dataStart > size || channels < 1 || channels > 32 || bits != 16 || roundedRate != 44100) {
    closeFile();
    return 0;
  }
  AudioFormat read{roundedRate, channels, bits, bits, 0, 0};
  startReading(read, dataStart, dataBytes / (2L * channels));
  *format = format_;
  return 1;
}

int CDecoderAIF::openForWriting(const std::string& path, AudioFormat* format) {
  if (format->channels < 1 || format->bitsPerSample < 1 || format->sampleRate < 1) return 0;
  if (!openFile(path, "wb")) return 0;
  unsigned char header[kHeaderBytes] = {};
  std::memcpy(header, "FORM", 4);
  std::memcpy(header + 8, "AIFFCOMM", 8);
  PutBigEndian32(header + 16, 18);
  PutBigEndian16(header + 20, static_cast<uint16_t>(format->channels));
  PutBigEndian16(header + 26, static_cast<uint16_t>(format->bitsPerSample));
  DoubleToExtended80(format->sampleRate, header + 28);
  std::memcpy(header + 38, "SSND", 4);
  return startWriting(*format, header, sizeof header) ? 1 : 0;
}

void CDecoderAIF::close() {
  if (file_ && writing_) {
    const uint32_t data = static_cast<uint32_t>(framesWritten_ * bytesPerFrame);
    unsigned char field[4];
    PutBigEndian32(field, data + 8 + 38);
    std::fseek(file_, 4, SEEK_SET);
    std::fwrite(field, 1, 4, file_);
    PutBigEndian32(field, static_cast<uint32_t>(framesWritten_));
    std::fseek(file_, 22, SEEK_SET);
    std::fwrite(field, 1, 4, file_);
    PutBigEndian32(field, data + 8);
    std::fseek(file_, 42, SEEK_SET);
    std::fwrite(field, 1, 4, file_);
  }
  closeFile();
}
