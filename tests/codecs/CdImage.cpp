#include "codecs/CdImage.h"

#include <cstdio>

#include "support/TestFiles.h"

int16_t CdImageSample(long long discFrame, int channel) {
  // A multiplicative hash: neighbouring frames and the two channels all differ, so a read that
  // is off by one frame, one byte or one channel cannot match. Never 0, so silence never passes.
  uint32_t x = static_cast<uint32_t>(discFrame * 2 + channel + 1) * 2654435761u;
  int16_t value = static_cast<int16_t>(x >> 16);
  return value == 0 ? 1 : value;
}

std::vector<int16_t> CdImageFrames(long long first, int count) {
  std::vector<int16_t> samples(2 * static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    samples[2 * i] = CdImageSample(first + i, 0);
    samples[2 * i + 1] = CdImageSample(first + i, 1);
  }
  return samples;
}

std::string WriteCdImage(const std::string& folder, const std::vector<int>& trackSectors,
                         const std::vector<int>& dataTracks) {
  long long sectors = 0;
  std::string cue = "FILE \"disc.bin\" BINARY\n";
  for (size_t t = 0; t < trackSectors.size(); ++t) {
    bool data = false;
    for (int d : dataTracks) data = data || d == static_cast<int>(t) + 1;
    char entry[128];
    std::snprintf(entry, sizeof entry, "  TRACK %02zu %s\n    INDEX 01 %02lld:%02lld:%02lld\n", t + 1,
                  data ? "MODE2/2352" : "AUDIO", sectors / 4500, sectors / 75 % 60, sectors % 75);
    cue += entry;
    sectors += trackSectors[t];
  }
  WriteBytes(folder + "disc.bin", Int16Bytes(CdImageFrames(0, static_cast<int>(sectors * 588))));
  std::string cuePath = folder + "disc.cue";
  WriteBytes(cuePath, std::vector<uint8_t>(cue.begin(), cue.end()));
  return cuePath;
}
