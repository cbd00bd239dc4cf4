#pragma once
// CCodecChain: owns one decoder of each kind, picks the first that takes a file, and turns what
// it delivers into the caller's format (the engine's 44100 Hz 16-bit stereo). Deck, sampler,
// preview and analysis each own a private chain; a chain is used by one thread at a time.
//
// open, readFloat and close take the process-wide codec lock; the fast path of read16 (a file
// already in the target format) takes none. Buffers are sized at open; reads allocate nothing.

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "codecs/AudioFormat.h"
#include "codecs/BaseCodec.h"

// The one lock around the decoders, which are not safe to open concurrently.
std::mutex& CodecLock();

class CCodecChain {
 public:
  static constexpr int kMaxCodecs = 16;

  explicit CCodecChain(int deckId);
  ~CCodecChain();
  CCodecChain(const CCodecChain&) = delete;
  CCodecChain& operator=(const CCodecChain&) = delete;

  // 1 on success; format->frames then holds the length in the caller's rate. maxChunkFrames
  // is the largest read the caller will make (the deck passes 88200).
  int open(const std::string& path, AudioFormat* format, int write, int maxChunkFrames);
  void close();
  // Target frames at a target position; 0 below 256 frames, at a negative position or when
  // nothing is open. The rest of a short read is the caller's silence.
  int read16(short* destination, int frames, int position);
  int readFloat(float* destination, int frames, int position);
  // Real-time safe (the deck calls it from its render): no lock, no allocation.
  void notifySeek(int position, int immediate);
  double durationSeconds();
  CBaseCodec* activeCodecObject();
  bool isOpen() const { return activeCodec.load(std::memory_order_acquire) != -1; }
  const AudioFormat& sourceFormat() const { return source; }

  // The rate conversion of a count: 0 when any operand is not positive, else rounded.
  static int ConvertCount(int count, int toRate, int fromRate);

  AudioFormat source{};
  AudioFormat target{};

 private:
  int readFloatLocked(float* destination, int frames, int position);
  int tryDecoders(const std::string& name, int write);
  CBaseCodec* active() const;

  int maxFrames = 0;
  int chunkFrames_ = 0;
  std::vector<float> floatIn;
  std::vector<float> floatOut;
  // Written by open and close on the loader thread, read by notifySeek on the audio thread.
  std::atomic<int> activeCodec{-1};
  std::vector<std::unique_ptr<CBaseCodec>> codecs;
};

// The decoders of this build, in the order of the trial at open. Adding a decoder is one line
// in CodecRegistry.cpp.
void CreateDecoders(int deckId, std::vector<std::unique_ptr<CBaseCodec>>& codecs);
