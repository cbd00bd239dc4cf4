#pragma once
// CEncoderLame: writes MP3 through LAME, which is loaded at run time (dlopen of
// "libmp3lame.so.0") so the program starts and records WAV on a system without it. Input is
// 44100 Hz 16-bit interleaved; samples collect in a buffer of one second and are encoded a
// second at a time. Close flushes the encoder and writes the LAME tag frame back over the
// placeholder at the start of the file, so players see the true length.
//
// One thread at a time (the recorder's writer thread). Failures are traced with "lame: ..."
// lines and make open or write return 0.

#include <cstdio>
#include <memory>
#include <vector>

#include "codecs/BaseCodec.h"

struct LameLibrary;

class CEncoderLame : public CBaseCodec {
 public:
  explicit CEncoderLame(int deckId);
  ~CEncoderLame() override;

  // True when the library loaded and every entry point bound; traces "lame: can not load
  // library" once otherwise.
  static bool Available();

  int open(std::string path, AudioFormat* format, int write) override;
  int read(void*, int, int) override { return 0; }
  int write(const void* source, int frames) override;
  double durationSeconds() override;
  void close() override;
  const char* codecName() override { return "lame"; }

  int bitRate = 128;       // kbps
  int channelOption = 1;   // 0 stereo, 1 joint stereo, 3 mono

 private:
  bool EncodePending();
  bool WriteOut(const unsigned char* bytes, int count);
  void WriteTagFrame();

  const LameLibrary* lib_ = nullptr;
  void* flags_ = nullptr;  // lame_global_flags*
  FILE* file_ = nullptr;
  AudioFormat format_{};
  std::vector<short> pending_;  // up to one second of input frames
  int pendingFrames_ = 0;
  std::vector<unsigned char> mp3_;
  long long framesWritten_ = 0;
};
