#include "codecs/DecoderWAV.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "app/base/Trace.h"
#include "codecs/ByteOrder.h"
#include "codecs/PathRules.h"
#include "codecs/PcmFileCodec.h"

int CDecoderWAV::open(std::string path, AudioFormat* format, int write) {
  if (isOpen || !format) return 0;
  return write ? openForWriting(path, format) : openForReading(path, format);
}

int CDecoderWAV::openForReading(const std::string& path, AudioFormat* format) {
  if (!EndsWith(ToLowerAscii(path), "wav")) return 0;
  file_ = std::fopen(path.c_str(), "rb");
  if (!file_) return 0;

  unsigned char header[36];
  bool plain = std::fread(header, 1, sizeof header, file_) == sizeof header &&
               header[0] == 'R' && header[1] == 'I' && header[2] == 'F' && header[3] == header[2] &&
               std::memcmp(header + 8, "WAVE", 4) == 0 && std::memcmp(header + 12, "fmt ", 4) == 0 &&
               LittleEndian32(header + 16) == 16;
  int tag = plain ? LittleEndian16(header + 20) : 0;
  int channels = LittleEndian16(header + 22);
  int rate = static_cast<int>(LittleEndian32(header + 24));
  int bits = LittleEndian16(header + 34);
  // Only what the chain reads correctly stays here: 8 and 16-bit integer and 32-bit float PCM at
  // 44100 Hz. 24 and 32-bit integer would come out as noise, other rates would go through the
  // chain's per-block conversion; FFmpeg, behind this reader, decodes them properly.
  bool takes = (tag == 1 && (bits == 8 || bits == 16)) || (tag == 3 && bits == 32);
  if (!takes || channels < 1 || channels > 32 || rate != 44100) {
    close();
    return 0;
  }

  // Walk the chunks after "fmt " to "data". The walk ends at the end of the file, and an odd
  // chunk length is followed by its pad byte.
  long size = FileSize(file_);
  long offset = 36;
  long dataBytes = -1;
  while (offset + 8 <= size) {
    unsigned char chunk[8];
    std::fseek(file_, offset, SEEK_SET);
    if (std::fread(chunk, 1, 8, file_) != 8) break;
    uint32_t length = LittleEndian32(chunk + 4);
    offset += 8;
    if (std::memcmp(chunk, "data", 4) == 0) {
      // A length past the end (a truncated file, or a stream that never wrote its length)
      // counts only what the file holds.
      dataBytes = std::min<long>(static_cast<long>(length), size - offset);
      break;
    }
    offset += static_cast<long>(length) + (length & 1);
  }
  if (dataBytes < 0) {
    TraceLine("wav: no data chunk in %s", path.c_str());
    close();
    return 0;
  }

  bytesPerFrame = (bits + 7) / 8 * channels;
  long frames = std::min<long>(dataBytes / bytesPerFrame, 0x7fffffffL);
  format_ = AudioFormat{rate, channels, bits, bits, 0, static_cast<int>(frames)};
  *format = format_;
  sampleRate = rate;
  dataOffset_ = offset;
  framesDone = 0;
  writing_ = 0;
  isOpen = 1;
  std::fseek(file_, dataOffset_, SEEK_SET);
  return 1;
}

int CDecoderWAV::openForWriting(const std::string& path, AudioFormat* format) {
  if (format->channels < 1 || format->bitsPerSample < 1 || format->sampleRate < 1) return 0;
  file_ = std::fopen(path.c_str(), "wb");
  if (!file_) return 0;
  format_ = *format;
  int bytesPerSample = (format_.bitsPerSample + 7) / 8;
  bytesPerFrame = bytesPerSample * format_.channels;

  unsigned char header[44];
  std::memcpy(header, "RIFF", 4);
  PutLittleEndian32(header + 4, 44);
  std::memcpy(header + 8, "WAVEfmt ", 8);
  PutLittleEndian32(header + 16, 16);
  PutLittleEndian16(header + 20, format_.bitsPerSample == 32 ? 3 : 1);
  PutLittleEndian16(header + 22, static_cast<uint16_t>(format_.channels));
  PutLittleEndian32(header + 24, static_cast<uint32_t>(format_.sampleRate));
  PutLittleEndian32(header + 28, static_cast<uint32_t>(bytesPerFrame * format_.sampleRate));
  PutLittleEndian16(header + 32, static_cast<uint16_t>(bytesPerFrame));
  PutLittleEndian16(header + 34, static_cast<uint16_t>(format_.bitsPerSample));
  std::memcpy(header + 36, "data", 4);
  PutLittleEndian32(header + 40, 0);
  if (std::fwrite(header, 1, sizeof header, file_) != sizeof header) {
    std::fclose(file_);
    file_ = nullptr;
    return 0;
  }
  sampleRate = format_.sampleRate;
  dataBytesWritten_ = 0;
  framesDone = 0;
  writing_ = 1;
  isOpen = 1;
  return 1;
}

int CDecoderWAV::read(void* destination, int frames, int position) {
  if (!isOpen || writing_) return 0;
  int got = ReadPcmFrames(file_, dataOffset_, format_.frames, bytesPerFrame, destination, frames, position);
  framesDone += got;
  return got;
}

int CDecoderWAV::write(const void* source, int frames) {
  if (!isOpen || !writing_ || !source || frames <= 0) return 0;
  size_t done = std::fwrite(source, static_cast<size_t>(bytesPerFrame),
                            static_cast<size_t>(frames), file_);
  dataBytesWritten_ += done * static_cast<unsigned long>(bytesPerFrame);
  framesDone += static_cast<int>(done);
  return static_cast<int>(done);
}

double CDecoderWAV::durationSeconds() {
  if (!isOpen || sampleRate <= 0) return 0.0;
  if (writing_) return static_cast<double>(framesDone) / sampleRate;
  return static_cast<double>(format_.frames) / format_.sampleRate;
}

int CDecoderWAV::flushHeader() {
  if (!file_ || !writing_) return 0;
  // The data goes out before the lengths that count it, so a header never claims more than
  // the file holds.
  if (std::fflush(file_) != 0) return 0;
  unsigned char field[4];
  long end = std::ftell(file_);
  PutLittleEndian32(field, static_cast<uint32_t>(dataBytesWritten_ + 36));
  bool ok = std::fseek(file_, 4, SEEK_SET) == 0 && std::fwrite(field, 1, 4, file_) == 4;
  PutLittleEndian32(field, static_cast<uint32_t>(dataBytesWritten_));
  ok = ok && std::fseek(file_, 40, SEEK_SET) == 0 && std::fwrite(field, 1, 4, file_) == 4;
  ok = ok && std::fflush(file_) == 0 && end >= 0 && std::fseek(file_, end, SEEK_SET) == 0;
  return ok ? 1 : 0;
}

void CDecoderWAV::close() {
  if (!file_) {
    isOpen = 0;
    return;
  }
  if (writing_) flushHeader();
  std::fclose(file_);
  file_ = nullptr;
  isOpen = 0;
  writing_ = 0;
}
