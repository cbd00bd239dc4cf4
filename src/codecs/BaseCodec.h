#pragma once
// CBaseCodec: one decoder (or encoder) of the family. A CCodecChain owns one of each and is the
// only way the engine reaches them. Decoders are used by one thread at a time; open, the
// chain's float path and close run under the process-wide codec lock.

#include <string>

#include "codecs/AudioFormat.h"

class CBaseCodec {
 public:
  explicit CBaseCodec(int deckId) : deckId(deckId) {}
  virtual ~CBaseCodec() = default;  // derived classes close in their own destructor
  CBaseCodec(const CBaseCodec&) = delete;
  CBaseCodec& operator=(const CBaseCodec&) = delete;

  // Nonzero when this decoder took the file. Must refuse quickly and without side effects on a
  // file that is not its own. Reading fills *format; writing takes it from the caller.
  virtual int open(std::string path, AudioFormat* format, int write) = 0;
  // Frames delivered into destination, starting at position (frames), or where the last read
  // stopped when position is -1. 0 when not open or open for writing.
  virtual int read(void* destination, int frames, int position) = 0;
  // Frames written; 0 when not open or open for reading.
  virtual int write(const void* source, int frames) { (void)source, (void)frames; return 0; }
  // Nonzero when read delivers big-endian samples.
  virtual int isBigEndian() { return 0; }
  virtual double durationSeconds() = 0;
  // Idempotent.
  virtual void close() = 0;
  virtual const char* codecName() { return "unknown-codec"; }
  // Only the video decoder follows the deck's seeks.
  virtual void notifySeek(int position, int immediate) { (void)position, (void)immediate; }

  int deckId;
  int isOpen = 0;
  int bytesPerFrame = 1;
  int framesDone = 0;
  int sampleRate = 0;
};
