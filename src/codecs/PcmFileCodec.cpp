#include "codecs/PcmFileCodec.h"

#include <algorithm>
#include <climits>

long FileSize(FILE* file) {
  long here = std::ftell(file);
  std::fseek(file, 0, SEEK_END);
  long size = std::ftell(file);
  std::fseek(file, here, SEEK_SET);
  return size;
}

int ReadPcmFrames(FILE* file, long dataStart, long totalFrames, int bytesPerFrame, void* destination, int frames,
                  int position) {
  if (!file || !destination || frames <= 0 || position < -1 || bytesPerFrame <= 0) return 0;
  if (position != -1) std::fseek(file, dataStart + static_cast<long>(position) * bytesPerFrame, SEEK_SET);
  // Never past the sample data into whatever chunk follows it.
  long here = std::ftell(file);
  long end = dataStart + totalFrames * bytesPerFrame;
  long available = std::max(0L, (end - here) / bytesPerFrame);
  int wanted = static_cast<int>(std::min<long>(frames, available));
  return static_cast<int>(std::fread(destination, static_cast<size_t>(bytesPerFrame), static_cast<size_t>(wanted), file));
}

bool CPcmFileCodec::openFile(const std::string& path, const char* mode) {
  file_ = std::fopen(path.c_str(), mode);
  return file_ != nullptr;
}

void CPcmFileCodec::startReading(const AudioFormat& format, long dataStart, long frames) {
  format_ = format;
  format_.frames = static_cast<int>(std::clamp<long>(frames, 0, INT_MAX));
  bytesPerFrame = (format.storedBits + 7) / 8 * format.channels;
  sampleRate = format.sampleRate;
  dataStart_ = dataStart;
  framesDone = 0;
  writing_ = 0;
  isOpen = 1;
  std::fseek(file_, dataStart_, SEEK_SET);
}

bool CPcmFileCodec::startWriting(const AudioFormat& format, const unsigned char* header, size_t headerBytes) {
  format_ = format;
  bytesPerFrame = (format.bitsPerSample + 7) / 8 * format.channels;
  if (std::fwrite(header, 1, headerBytes, file_) != headerBytes) {
    closeFile();
    return false;
  }
  dataStart_ = static_cast<long>(headerBytes);
  sampleRate = format.sampleRate;
  framesWritten_ = 0;
  framesDone = 0;
  writing_ = 1;
  isOpen = 1;
  return true;
}

int CPcmFileCodec::read(void* destination, int frames, int position) {
  if (!isOpen || writing_) return 0;
  int got = ReadPcmFrames(file_, dataStart_, format_.frames, bytesPerFrame, destination, frames, position);
  framesDone += got;
  return got;
}

int CPcmFileCodec::write(const void* source, int frames) {
  if (!isOpen || !writing_ || !source || frames <= 0) return 0;
  const int width = (format_.bitsPerSample + 7) / 8;
  const size_t bytes = static_cast<size_t>(frames) * static_cast<size_t>(bytesPerFrame);
  const auto* in = static_cast<const unsigned char*>(source);
  swapped_.assign(in, in + bytes);
  if (width > 1) {
    for (size_t i = 0; i + width <= bytes; i += static_cast<size_t>(width)) {
      std::reverse(swapped_.begin() + static_cast<long>(i), swapped_.begin() + static_cast<long>(i) + width);
    }
  }
  size_t done = std::fwrite(swapped_.data(), static_cast<size_t>(bytesPerFrame), static_cast<size_t>(frames), file_);
  framesWritten_ += static_cast<long>(done);
  framesDone += static_cast<int>(done);
  return static_cast<int>(done);
}

double CPcmFileCodec::durationSeconds() {
  if (!isOpen || sampleRate <= 0) return 0.0;
  if (writing_) return static_cast<double>(framesWritten_) / sampleRate;
  return static_cast<double>(format_.frames) / sampleRate;
}

void CPcmFileCodec::closeFile() {
  if (file_) std::fclose(file_);
  file_ = nullptr;
  bytesPerFrame = 1;
  isOpen = 0;
  writing_ = 0;
}
