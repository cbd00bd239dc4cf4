#pragma once
// CDecoderAIF: reads and writes plain AIFF. It reads only what the chain passes through
// untouched: 16-bit big-endian PCM at 44100 Hz. Everything else (8, 24 and 32 bits, other rates,
// AIFF-C) is refused so that FFmpeg, behind it in the list, decodes it properly.

#include "codecs/PcmFileCodec.h"

class CDecoderAIF : public CPcmFileCodec {
 public:
  explicit CDecoderAIF(int deckId) : CPcmFileCodec(deckId) {}
  ~CDecoderAIF() override { close(); }

  int open(std::string path, AudioFormat* format, int write) override;
  void close() override;
  const char* codecName() override { return "aiff"; }

 private:
  int openForReading(const std::string& path, AudioFormat* format);
  int openForWriting(const std::string& path, AudioFormat* format);
};
