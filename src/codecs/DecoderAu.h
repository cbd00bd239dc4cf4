#pragma once
// CDecoderAu: reads and writes Sun/NeXT .au files. It reads only what the chain converts
// correctly: 16-bit linear PCM and 32-bit float, big-endian, at 44100 Hz. Other encodings (8-bit
// signed, 24 and 32-bit integer, mu-law) and other rates are refused and left to FFmpeg.

#include "codecs/PcmFileCodec.h"

class CDecoderAu : public CPcmFileCodec {
 public:
  explicit CDecoderAu(int deckId) : CPcmFileCodec(deckId) {}
  ~CDecoderAu() override { close(); }

  int open(std::string path, AudioFormat* format, int write) override;
  void close() override;
  const char* codecName() override { return "au"; }

 private:
  int openForReading(const std::string& path, AudioFormat* format);
  int openForWriting(const std::string& path, AudioFormat* format);
};
