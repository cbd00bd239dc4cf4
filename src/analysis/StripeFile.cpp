#include "analysis/StripeFile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <vector>

#include "analysis/StripeMarks.h"
#include "app/base/AtomicFile.h"
#include "app/base/Trace.h"
#include "codecs/SongKey.h"
#include "library/SongDatabase.h"

namespace {

std::string& FolderName() {
  static std::string folder;
  return folder;
}

// The format is little-endian on every machine.
void ToLittleEndian(float value, unsigned char* out) {
  uint32_t bits;
  std::memcpy(&bits, &value, 4);
  for (int i = 0; i < 4; ++i) out[i] = static_cast<unsigned char>(bits >> (8 * i));
}
float FromLittleEndian(const unsigned char* in) {
  uint32_t bits = uint32_t(in[0]) | uint32_t(in[1]) << 8 | uint32_t(in[2]) << 16 | uint32_t(in[3]) << 24;
  float value;
  std::memcpy(&value, &bits, 4);
  return value;
}

}  // namespace

int StripeSeconds(long long frames) {
  if (frames <= 0) return 0;
  return static_cast<int>(frames / 44100 + (frames % 44100 ? 1 : 0));
}

int StripeEntries(long long frames) { return StripeSeconds(frames) * kStripeEntriesPerSecond; }

int SongDurationMs(long long frames) {
  return frames <= 0 ? 0 : static_cast<int>((frames * 1000 + 22050) / 44100);
}

void SetStripesFolder(const std::string& folder) { FolderName() = folder; }
const std::string& StripesFolder() { return FolderName(); }

std::string StripePathFor(std::string_view songPath) {
  return StripesFolder() + SongKeyOf(songPath) + ".kn2";
}

bool WriteStripeFile(const std::string& path, const float* entries, int n) {
  if (n < 0 || (n > 0 && !entries)) return false;
  std::string bytes(static_cast<size_t>(n) * 4, '\0');
  auto* out = reinterpret_cast<unsigned char*>(bytes.data());
  for (int i = 0; i < n; ++i) ToLittleEndian(SaneStripeValue(entries[i]), out + 4 * i);
  return WriteFileAtomically(path, bytes);
}

int DecodeStripeBytes(const unsigned char* bytes, size_t size, float* entries, int n) {
  const int count = static_cast<int>(std::min<size_t>(size / 4, static_cast<size_t>(std::max(n, 0))));
  for (int i = 0; i < count; ++i) entries[i] = SaneStripeValue(FromLittleEndian(bytes + 4 * i));
  return count;
}

long ReadStripeFile(const std::string& path, float* entries, int n) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return -1;
  std::vector<unsigned char> bytes(static_cast<size_t>(std::max(n, 0)) * 4);
  const size_t got = std::fread(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
  DecodeStripeBytes(bytes.data(), got, entries, n);
  return static_cast<long>(got);
}

int LoadStripes(std::string_view songPath, float* entries, int n, StripeLoad& out) {
  const std::string name = SongKeyOf(songPath);
  TSongRecord record;
  if (!FindSong(name, record)) {
    TraceLine("ZQSC LoadStripes fname=%s -- NOT found in database", name.c_str());
    return 0;
  }
  if (!record.hasGain) {
    TraceLine("ZQSC LoadStripes -- song GAIN not analyzed");
    return 0;
  }
  if (record.bpm < 1.0f) {
    TraceLine("ZQSC LoadStripes -- song BPM not analyzed");
    return 0;
  }
  const std::string path = StripePathFor(songPath);
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    TraceLine("ZQSC LoadStripes -- stripe file not found");
    return 0;
  }
  const long got = ReadStripeFile(path, entries, n);
  if (got < 0) {
    TraceLine("ZQSC LoadStripes -- stripe file error on opening");
    return 0;
  }
  // Deliberately lenient: n bytes, not n entries, pass.
  if (got < n) {
    TraceLine("ZQSC LoadStripes -- stripe file error on reading");
    return 0;
  }
  out.bpm = record.bpm;
  out.gain = record.gain;
  return 1;
}
