#include "codecs/CodecChain.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "app/base/Trace.h"
#include "codecs/PathRules.h"

std::mutex& CodecLock() {
  static std::mutex lock;
  return lock;
}

namespace {

constexpr int kMinRead16Frames = 256;

void SwapBytes(unsigned char* data, int samples, int width) {
  for (int i = 0; i < samples; ++i) std::reverse(data + i * width, data + (i + 1) * width);
}

// Widens raw samples to float in place, from the last to the first, so the floats can overlay
// the bytes they came from.
void WidenToFloat(float* buffer, int samples, int storedBits) {
  auto* bytes = reinterpret_cast<unsigned char*>(buffer);
  switch (storedBits) {
    case 8:
      for (int i = samples - 1; i >= 0; --i) buffer[i] = (int(bytes[i]) - 128) * 0.0078125f;
      break;
    case 16:
      for (int i = samples - 1; i >= 0; --i) {
        int16_t v;
        std::memcpy(&v, bytes + 2 * i, 2);
        buffer[i] = v * 3.0518e-5f;
      }
      break;
    case 24:
      // The three bytes are joined without sign extension: 24-bit audio comes out between 0
      // and 1. Files depend on this reading as it stands.
      for (int i = samples - 1; i >= 0; --i) {
        const unsigned char* p = bytes + 3 * i;
        uint32_t v = uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
        buffer[i] = static_cast<float>(v) * 5.9604645e-08f;
      }
      break;
    default:
      break;  // already 32-bit float
  }
}

// Target channel c takes source channel min(c, sourceChannels - 1); surplus channels drop.
void ConvertChannels(float* buffer, int frames, int from, int to) {
  if (from == to) return;
  if (to > from) {
    for (int f = frames - 1; f >= 0; --f) {
      for (int c = to - 1; c >= 0; --c) buffer[f * to + c] = buffer[f * from + std::min(c, from - 1)];
    }
  } else {
    for (int f = 0; f < frames; ++f) {
      for (int c = 0; c < to; ++c) buffer[f * to + c] = buffer[f * from + c];
    }
  }
}

// Linear interpolation from inFrames to outFrames; the last output frame is the last input frame.
void Resample(const float* in, int inFrames, float* out, int outFrames, int channels) {
  if (inFrames <= 0 || outFrames <= 0) return;
  double step = static_cast<double>(inFrames) / outFrames;
  for (int i = 0; i < outFrames - 1; ++i) {
    double x = i * step;
    int j = static_cast<int>(x);
    float t = static_cast<float>(x - j);
    int k = std::min(j + 1, inFrames - 1);
    for (int c = 0; c < channels; ++c) {
      out[i * channels + c] = in[j * channels + c] * (1.0f - t) + in[k * channels + c] * t;
    }
  }
  for (int c = 0; c < channels; ++c) {
    out[(outFrames - 1) * channels + c] = in[(inFrames - 1) * channels + c];
  }
}

}  // namespace

int CCodecChain::ConvertCount(int count, int toRate, int fromRate) {
  if (count <= 0 || toRate <= 0 || fromRate <= 0) return 0;
  return static_cast<int>(std::llround(static_cast<double>(toRate) * count / fromRate));
}

CCodecChain::CCodecChain(int deckId) { CreateDecoders(deckId, codecs); }

CCodecChain::~CCodecChain() {
  close();
  while (!codecs.empty()) codecs.pop_back();  // reverse order of creation
}

int CCodecChain::open(const std::string& path, AudioFormat* format, int write,
                      int maxChunkFrames) {
  if (isOpen() || !format) return 0;
  std::string name = path;
  if (!write && !FileExists(name) && !EndsWith(name, "$")) return 0;

  source = *format;
  target = *format;
  std::lock_guard lock(CodecLock());
  int index = -1;
  std::string lower = ToLowerAscii(name);
  if (EndsWith(lower, ".mpe") || EndsWith(lower, ".m3e")) {
    name = "kv:/" + name;  // MP3 data behind a short header; the prefix tells the reader to skip it
  } else if (!write && EndsWith(lower, "mp3")) {
    // Karaoke: an MP3 with a .cdg beside it opens as CD+G when a decoder takes the graphics (it
    // then finds the MP3 itself); otherwise the MP3 plays as plain audio.
    std::string graphics = name.substr(0, name.size() - 3) + "cdg";
    if (FileExists(graphics)) index = tryDecoders(graphics, write);
  }
  if (index < 0) index = tryDecoders(name, write);
  if (index < 0) {
    TraceLine("no suitable codec found");
    return 0;
  }
  format->frames = ConvertCount(source.frames, target.sampleRate, source.sampleRate);
  chunkFrames_ = std::max(1, ConvertCount(maxChunkFrames, source.sampleRate, target.sampleRate));
  int channels = std::max(std::max(source.channels, target.channels), 1);
  maxFrames = (chunkFrames_ + 1) * channels;
  floatIn.assign(static_cast<size_t>(maxFrames), 0.0f);
  // Twice the input, and never less than the largest output: a low-rate source gives more
  // output frames than it reads.
  size_t outSize = std::max<size_t>(2 * static_cast<size_t>(maxFrames),
                                    static_cast<size_t>(maxChunkFrames + 1) *
                                        static_cast<size_t>(std::max(target.channels, 1)));
  floatOut.assign(outSize, 0.0f);
  activeCodec.store(index, std::memory_order_release);  // the decoder is fully open before this
  return 1;
}

int CCodecChain::tryDecoders(const std::string& name, int write) {
  for (size_t i = 0; i < codecs.size(); ++i) {
    AudioFormat trial = target;
    if (codecs[i]->open(name, &trial, write)) {
      source = trial;
      return static_cast<int>(i);
    }
  }
  return -1;
}

CBaseCodec* CCodecChain::active() const {
  int index = activeCodec.load(std::memory_order_acquire);
  return index != -1 ? codecs[static_cast<size_t>(index)].get() : nullptr;
}

void CCodecChain::close() {
  std::lock_guard lock(CodecLock());
  // Unpublish first: the audio thread's notifySeek must not reach a decoder being closed.
  int index = activeCodec.exchange(-1, std::memory_order_acq_rel);
  if (index != -1) codecs[static_cast<size_t>(index)]->close();
  std::vector<float>().swap(floatIn);
  std::vector<float>().swap(floatOut);
}

int CCodecChain::read16(short* destination, int frames, int position) {
  CBaseCodec* codec = active();
  if (!destination || frames < kMinRead16Frames || position < 0 || !codec) return 0;
  if (source.sampleRate == target.sampleRate && source.storedBits == 16 &&
      source.channels == target.channels) {
    int got = codec->read(destination, frames, position);
    if (got > 0 && codec->isBigEndian()) {
      SwapBytes(reinterpret_cast<unsigned char*>(destination), got * source.channels, 2);
    }
    return got;
  }
  frames = std::min(frames, static_cast<int>(floatOut.size() / 2));
  int got = readFloat(floatOut.data(), frames, position);
  for (int i = 0; i < frames * 2; ++i) {
    long v = std::lround(floatOut[static_cast<size_t>(i)] * 32767.0f);
    destination[i] = static_cast<short>(std::clamp(v, -32768L, 32767L));
  }
  return got;
}

int CCodecChain::readFloat(float* destination, int frames, int position) {
  std::lock_guard lock(CodecLock());
  return readFloatLocked(destination, frames, position);
}

int CCodecChain::readFloatLocked(float* destination, int frames, int position) {
  CBaseCodec* codec = active();
  if (!destination || frames <= 0 || position < 0 || !codec) return 0;
  int srcFrames = std::min(ConvertCount(frames, source.sampleRate, target.sampleRate), chunkFrames_);
  int srcPos = ConvertCount(position, source.sampleRate, target.sampleRate);
  if (srcFrames <= 0) return 0;

  std::fill(floatIn.begin(), floatIn.end(), 0.0f);
  int got = codec->read(floatIn.data(), srcFrames, srcPos);
  int width = source.storedBits == 8 ? 1 : source.storedBits == 16 ? 2 : source.storedBits == 24 ? 3 : 4;
  if (got > 0 && codec->isBigEndian() && width > 1) {
    SwapBytes(reinterpret_cast<unsigned char*>(floatIn.data()), got * source.channels, width);
  }
  WidenToFloat(floatIn.data(), srcFrames * source.channels, source.storedBits);
  ConvertChannels(floatIn.data(), srcFrames, source.channels, target.channels);

  int outFrames = std::min(frames, static_cast<int>(floatOut.size()) / std::max(target.channels, 1));
  if (source.sampleRate == target.sampleRate) {
    std::copy_n(floatIn.data(), static_cast<size_t>(std::min(outFrames, srcFrames) * target.channels),
                destination);
  } else {
    Resample(floatIn.data(), srcFrames, destination, outFrames, target.channels);
  }
  return ConvertCount(got, target.sampleRate, source.sampleRate);
}

void CCodecChain::notifySeek(int position, int immediate) {
  if (CBaseCodec* codec = active()) codec->notifySeek(position, immediate);
}

double CCodecChain::durationSeconds() {
  CBaseCodec* codec = active();
  return codec ? codec->durationSeconds() : 0.0;
}

CBaseCodec* CCodecChain::activeCodecObject() { return active(); }
