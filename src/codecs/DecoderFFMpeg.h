#pragma once
// CDecoderFFMpeg: the catch-all for compressed audio (mp3, aac, ogg, flac), last in the decoder
// list. Decodes forward only through FFmpeg into a byte FIFO and delivers 16-bit interleaved
// samples at the stream's own rate and channel count; rate and channel conversion are the
// chain's work. A stream that starts late (first time stamp above zero) begins with that much
// silence, so its music keeps its place in time.
//
// Threads: open and close hold the decoder's own lock against each other; read runs only on
// the chain's thread.

#include <mutex>
#include <vector>

#include "codecs/BaseCodec.h"

struct AVFormatContext;
struct AVCodecContext;
struct AVPacket;
struct AVFrame;
struct SwrContext;

class CDecoderFFMpeg : public CBaseCodec {
 public:
  explicit CDecoderFFMpeg(int deckId);
  ~CDecoderFFMpeg() override;

  int open(std::string path, AudioFormat* format, int write) override;
  // Always reports frames: past the end the rest of destination keeps what the caller put there.
  int read(void* destination, int frames, int position) override;
  double durationSeconds() override;
  void close() override;
  const char* codecName() override { return "ffmpeg-audio"; }

 private:
  int openLocked(const std::string& path, AudioFormat* format);
  void closeLocked();
  // Decodes packets until the FIFO holds wantBytes or the stream ends.
  void fill(size_t wantBytes);
  void drainFrames();
  size_t take(unsigned char* out, size_t bytes);

  std::mutex lock_;
  int channels_ = 0;
  int frames_ = 0;
  int audioStream_ = -1;
  bool started_ = false;
  bool ended_ = false;
  AVFormatContext* formatContext_ = nullptr;
  AVCodecContext* codecContext_ = nullptr;
  AVPacket* packet_ = nullptr;
  AVFrame* frame_ = nullptr;
  SwrContext* resampler_ = nullptr;
  std::vector<unsigned char> fifo_;
  size_t fifoStart_ = 0;
  std::vector<unsigned char> scratch_;
};
