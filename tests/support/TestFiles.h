#pragma once
// Test helpers: a temporary folder that cleans up after itself, and WAV files written from
// sample arrays, including deliberately odd ones.

#include <cstdint>
#include <string>
#include <vector>

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  const std::string& path() const { return path_; }  // ends in '/'
  std::string File(const std::string& name) const { return path_ + name; }

 private:
  std::string path_;
};

// Points ZORVIK_LUMO_HOME at a temporary folder for the test's lifetime.
class ScopedDataRoot {
 public:
  ScopedDataRoot();
  ~ScopedDataRoot();
  const std::string& path() const { return folder_.path(); }

 private:
  TempFolder folder_;
  std::string previous_;
  bool hadPrevious_;
};

// Raw RIFF/WAVE pieces, so tests can build valid and broken files byte by byte.
struct WavLayout {
  int formatTag = 1;
  int channels = 2;
  int rate = 44100;
  int bits = 16;
  int fmtLength = 16;
  std::vector<std::pair<std::string, std::vector<uint8_t>>> chunksBeforeData;
  bool withData = true;
  int64_t declaredDataLength = -1;  // -1: the real length
};
std::vector<uint8_t> BuildWav(const WavLayout& layout, const std::vector<uint8_t>& data);
void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes);

// 16-bit interleaved samples as little-endian bytes.
std::vector<uint8_t> Int16Bytes(const std::vector<int16_t>& samples);
// A 16-bit 44.1 kHz stereo WAV of the given interleaved samples.
void WriteStereo16(const std::string& path, const std::vector<int16_t>& samples);
// Deterministic non-zero test audio: a sum of two sines plus a small ramp, never 0, so
// bit-exact comparisons cannot pass on silence.
std::vector<int16_t> MakeTestSignal(int frames, int seed = 1);
