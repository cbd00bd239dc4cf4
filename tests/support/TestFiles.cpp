#include "support/TestFiles.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

TempFolder::TempFolder() {
  std::string pattern = std::filesystem::temp_directory_path().string() + "/lumo-test-XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern + "/";
}

TempFolder::~TempFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

ScopedDataRoot::ScopedDataRoot() {
  const char* previous = std::getenv("ZORVIK_LUMO_HOME");
  hadPrevious_ = previous != nullptr;
  if (previous) previous_ = previous;
  setenv("ZORVIK_LUMO_HOME", folder_.path().c_str(), 1);
}

ScopedDataRoot::~ScopedDataRoot() {
  if (hadPrevious_) {
    setenv("ZORVIK_LUMO_HOME", previous_.c_str(), 1);
  } else {
    unsetenv("ZORVIK_LUMO_HOME");
  }
}

namespace {
void Put32(std::vector<uint8_t>& out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void Put16(std::vector<uint8_t>& out, uint16_t v) {
  out.push_back(static_cast<uint8_t>(v));
  out.push_back(static_cast<uint8_t>(v >> 8));
}
void PutTag(std::vector<uint8_t>& out, const char* tag) { out.insert(out.end(), tag, tag + 4); }
}  // namespace

std::vector<uint8_t> BuildWav(const WavLayout& layout, const std::vector<uint8_t>& data) {
  std::vector<uint8_t> out;
  PutTag(out, "RIFF");
  Put32(out, 0);  // patched below
  PutTag(out, "WAVE");
  PutTag(out, "fmt ");
  Put32(out, static_cast<uint32_t>(layout.fmtLength));
  int blockAlign = (layout.bits + 7) / 8 * layout.channels;
  Put16(out, static_cast<uint16_t>(layout.formatTag));
  Put16(out, static_cast<uint16_t>(layout.channels));
  Put32(out, static_cast<uint32_t>(layout.rate));
  Put32(out, static_cast<uint32_t>(layout.rate * blockAlign));
  Put16(out, static_cast<uint16_t>(blockAlign));
  Put16(out, static_cast<uint16_t>(layout.bits));
  for (int i = 16; i < layout.fmtLength; ++i) out.push_back(0);
  for (const auto& [tag, body] : layout.chunksBeforeData) {
    PutTag(out, tag.c_str());
    Put32(out, static_cast<uint32_t>(body.size()));
    out.insert(out.end(), body.begin(), body.end());
    if (body.size() & 1) out.push_back(0);  // pad byte
  }
  if (layout.withData) {
    PutTag(out, "data");
    Put32(out, static_cast<uint32_t>(layout.declaredDataLength >= 0 ? layout.declaredDataLength
                                                                   : static_cast<int64_t>(data.size())));
    out.insert(out.end(), data.begin(), data.end());
  }
  uint32_t riff = static_cast<uint32_t>(out.size() - 8);
  for (int i = 0; i < 4; ++i) out[4 + i] = static_cast<uint8_t>(riff >> (8 * i));
  return out;
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) throw std::runtime_error("can not write " + path);
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
}

std::vector<uint8_t> Int16Bytes(const std::vector<int16_t>& samples) {
  std::vector<uint8_t> out;
  out.reserve(samples.size() * 2);
  for (int16_t s : samples) Put16(out, static_cast<uint16_t>(s));
  return out;
}

void WriteStereo16(const std::string& path, const std::vector<int16_t>& samples) {
  WriteBytes(path, BuildWav(WavLayout{}, Int16Bytes(samples)));
}

std::vector<int16_t> MakeTestSignal(int frames, int seed) {
  std::vector<int16_t> out(2 * static_cast<size_t>(frames));
  for (int i = 0; i < frames; ++i) {
    double t = i / 44100.0;
    double left = 0.5 * std::sin(2 * M_PI * (220.0 * seed) * t) + 0.3 * std::sin(2 * M_PI * 1234.5 * t);
    double right = 0.5 * std::sin(2 * M_PI * (331.0 * seed) * t) - 0.3 * std::sin(2 * M_PI * 987.0 * t);
    int l = static_cast<int>(std::lround(left * 20000)), r = static_cast<int>(std::lround(right * 20000));
    out[2 * i] = static_cast<int16_t>(l == 0 ? 1 : l);
    out[2 * i + 1] = static_cast<int16_t>(r == 0 ? -1 : r);
  }
  return out;
}
