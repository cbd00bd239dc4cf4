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
