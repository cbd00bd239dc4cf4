#pragma once
// CDecoderWAV: reads and writes RIFF WAVE files with a plain 16-byte "fmt " chunk, integer PCM
// (8, 16, 24, 32 bit) or 32-bit float. Anything else (extensible format, longer "fmt ") is
// refused and left to the decoders behind it in the chain.

#include <cstdio>

#include "codecs/BaseCodec.h"

class CDecoderWAV : public CBaseCodec {
 public:
  explicit CDecoderWAV(int deckId) : CBaseCodec(deckId) {}
  ~CDecoderWAV() override { close(); }

  int open(std::string path, AudioFormat* format, int write) override;
  int read(void* destination, int frames, int position) override;
  int write(const void* source, int frames) override;
  double durationSeconds() override;
  void close() override;
  const char* codecName() override { return "wav"; }

 private:
  int openForReading(const std::string& path, AudioFormat* format);
  int openForWriting(const std::string& path, AudioFormat* format);

  FILE* file_ = nullptr;
  int writing_ = 0;
  AudioFormat format_{};
  long dataOffset_ = 0;
  unsigned long dataBytesWritten_ = 0;
};
