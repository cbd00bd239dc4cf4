#pragma once
// Decoders take paths, so each fuzz input goes into a file first (in memory-backed /dev/shm
// where it exists). The name ends in the extension the decoder under test looks for.

#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

inline std::string WriteFuzzFile(const uint8_t* data, size_t size, const char* extension) {
  static const std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : "/tmp/";
  std::string path = folder + "lumo-fuzz-" + std::to_string(getpid()) + extension;
  if (FILE* file = std::fopen(path.c_str(), "wb")) {
    std::fwrite(data, 1, size, file);
    std::fclose(file);
  }
  return path;
}

// The body every file reader's target shares: open must refuse or succeed, never hang, and reads
// at the start, onwards and at the last frame must stay inside their buffers.
#include <vector>

#include "codecs/AudioFormat.h"

template <typename Reader>
int FuzzFileReader(const uint8_t* data, size_t size, const char* extension) {
  std::string path = WriteFuzzFile(data, size, extension);
  Reader decoder(0);
  AudioFormat format;
  if (!decoder.open(path, &format, 0)) return 0;
  std::vector<unsigned char> buffer(static_cast<size_t>(decoder.bytesPerFrame) * 1024);
  decoder.read(buffer.data(), 1024, 0);
  decoder.read(buffer.data(), 1024, -1);
  if (format.frames > 0) decoder.read(buffer.data(), 1024, format.frames - 1);
  decoder.durationSeconds();
  return 0;
}
