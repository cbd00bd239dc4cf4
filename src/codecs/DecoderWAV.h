#pragma once
// CDecoderWAV: reads and writes RIFF WAVE files with a plain 16-byte "fmt " chunk. It reads 8 and
// 16-bit integer and 32-bit float PCM at 44100 Hz; anything else (24 and 32-bit integer, other
// rates, the extensible format, a longer "fmt ") is refused and left to FFmpeg behind it.

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
  // Writing: flushes what was written and puts the current lengths in the header, so the file
  // is complete up to here even if the program never gets to close it. 0 on a write error.
  int flushHeader();

 private:
  int openForReading(const std::string& path, AudioFormat* format);
  int openForWriting(const std::string& path, AudioFormat* format);

  FILE* file_ = nullptr;
  int writing_ = 0;
  AudioFormat format_{};
  long dataOffset_ = 0;
  unsigned long dataBytesWritten_ = 0;
};
