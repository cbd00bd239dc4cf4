#include "MixOutput.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "audio/SampleConversions.h"
#include "codecs/DecoderWAV.h"

namespace {
bool HasExtension(const std::string& path, const char* extension) {
  const size_t n = std::strlen(extension);
  if (path.size() < n) return false;
  return std::equal(path.end() - static_cast<long>(n), path.end(), extension,
                    [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}
}  // namespace

MixOutput::MixOutput() = default;
MixOutput::~MixOutput() { Close(); }

bool MixOutput::Open(const std::string& path, std::string* error) {
  if (HasExtension(path, ".mp3")) {
    *error = "MP3 output needs the recorder, which this build does not have yet; write a .wav";
    return false;
  }
  if (!HasExtension(path, ".wav")) {
    *error = path + ": the mix is written as .wav or .mp3";
    return false;
  }
  wav_ = std::make_unique<CDecoderWAV>(100);
  AudioFormat format{44100, 2, 16, 16, 0, 0};
  errno = 0;
  if (!wav_->open(path, &format, 1)) {
    *error = "can not write " + path + (errno ? std::string(": ") + std::strerror(errno) : std::string());
    wav_.reset();
    return false;
  }
  return true;
}

// The one place the master reaches the file, so the recorder can take this over.
bool MixOutput::Write(const float* master, int frames) {
  if (!wav_) return false;
  static thread_local std::vector<short> pcm;
  pcm.resize(2 * static_cast<size_t>(frames));
  DeviceInt16FromFloat(master, pcm.data(), 2 * frames);  // the 16-bit output stage
  return wav_->write(pcm.data(), frames) == frames;
}

bool MixOutput::Close() {
  if (!wav_) return true;
  wav_->close();
  wav_.reset();
  return true;
}
