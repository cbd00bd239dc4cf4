#pragma once
// CPcmFileCodec: the shared half of the big-endian PCM readers and writers (AIFF, AU). It holds
// the file and where its samples start, reads whole frames at a position without running past
// the sample data, and writes the caller's native 16/24/32-bit samples big-endian. Each format
// adds its own header parsing and writing. Used by one thread at a time.

#include <cstdio>
#include <string>
#include <vector>

#include "codecs/BaseCodec.h"

// The size of an open file; the read position is left where it was.
long FileSize(FILE* file);
// Reads up to `frames` whole frames at `position` (-1: where the last read stopped) from sample
// data of `totalFrames` frames at byte `dataStart`, never past its end. Returns the frames read.
int ReadPcmFrames(FILE* file, long dataStart, long totalFrames, int bytesPerFrame, void* destination, int frames,
                  int position);

class CPcmFileCodec : public CBaseCodec {
 public:
  using CBaseCodec::CBaseCodec;
  ~CPcmFileCodec() override = default;  // derived classes close in their own destructor

  int read(void* destination, int frames, int position) override;
  int write(const void* source, int frames) override;
  // Samples reach the chain in file order: big-endian, swapped there.
  int isBigEndian() override { return 1; }
  double durationSeconds() override;

 protected:
  // Opens the file; a refusal afterwards goes through closeFile.
  bool openFile(const std::string& path, const char* mode);
  // Sets up reading `frames` frames of `format` starting at byte `dataStart`.
  void startReading(const AudioFormat& format, long dataStart, long frames);
  bool startWriting(const AudioFormat& format, const unsigned char* header, size_t headerBytes);
  void closeFile();

  FILE* file_ = nullptr;
  int writing_ = 0;
  long dataStart_ = 0;
  AudioFormat format_{};
  long framesWritten_ = 0;

 private:
  std::vector<unsigned char> swapped_;
};
