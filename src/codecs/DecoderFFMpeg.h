#pragma once
// CDecoderFFMpeg: the catch-all for compressed audio and for the WAV/AIFF/AU variants the
// built-in readers refuse; last in the decoder list. It hands the chain 44100 Hz 16-bit stereo
// already, converted by libswresample continuously across reads, so the chain's per-block
// conversion never touches these files.
//
// Positions are sample-exact: a read at a position other than where the last one stopped seeks
// to the key frame before it (with enough lead-in for the decoder and the resampler to settle)
// and drops what precedes it, so a seek delivers the same samples as a decode from the start.
// Encoder delay and padding (LAME/Xing, edit lists, Opus pre-skip) are trimmed: frame 0 is the
// first frame of the music, and the length is what is really there, measured at open.
//
// Threads: open and close hold the decoder's own lock against each other; read runs only on
// the chain's thread. Nothing here is real-time safe.

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "codecs/BaseCodec.h"

struct AVFormatContext;
struct AVCodecContext;
struct AVIOContext;
struct AVPacket;
struct AVFrame;
struct SwrContext;

class CDecoderFFMpeg : public CBaseCodec {
 public:
  static constexpr int kOutputRate = 44100;
  static constexpr int kOutputChannels = 2;

  explicit CDecoderFFMpeg(int deckId);
  ~CDecoderFFMpeg() override;

  int open(std::string path, AudioFormat* format, int write) override;
  // Opens bytes held in memory (no extension test). They must stay valid until close.
  int openMemory(const unsigned char* data, size_t size, AudioFormat* format);
  // Frames really delivered: fewer than asked at the end of the stream, and 0 past it.
  int read(void* destination, int frames, int position) override;
  double durationSeconds() override;
  void close() override;
  const char* codecName() override { return "ffmpeg-audio"; }

  // Whether open would look at a file of this name at all.
  static bool TakesExtension(const std::string& path);
  // The stream as stored, before the conversion to 44100 Hz stereo (0 when closed).
  int streamRate() const { return isOpen && codecContext_ ? streamRate_ : 0; }
  int streamChannels() const { return isOpen ? channels_ : 0; }
  // Damaged packets skipped since open (logged once per file).
  int damagedPackets() const { return damaged_; }

  struct MemoryInput {
    const unsigned char* data = nullptr;
    size_t size = 0;
    size_t position = 0;
  };

 private:
  int openLocked(const char* url, AudioFormat* format);
  bool openCodec();
  bool setUpResampler();
  bool findTrackStart();
  void measureLength();
  void closeLocked();

  // --- decoding (DecoderFFMpegRead.cpp) ---
  // Restarts the decode so that the next output frame is `outFrame`.
  bool seekTo(int64_t outFrame);
  bool seekDemuxer(int64_t inSample);
  void resetPipeline();
  // Decodes one packet's worth into the pipeline; false at the end of the stream.
  bool decodeMore();
  void receiveFrames();
  void pushFrame(const AVFrame* frame);
  void pushSilence(int64_t samples);
  void pushResampled(const uint8_t* const* planes, int samples);
  void appendOutput(const int16_t* stereo, int frames);
  void flushResampler();
  int64_t frameIndex(const AVFrame* frame) const;
  int takeOutput(int16_t* destination, int frames);
  void noteDamage();

  static constexpr int64_t kUnplaced = INT64_MIN;  // a frame without a time stamp

  std::mutex lock_;
  std::string name_;
  int channels_ = 0;        // the stream's own channel count
  int streamRate_ = 0;      // and its own rate
  int frames_ = 0;          // output length, 44100 Hz frames
  int64_t inputLength_ = 0; // the same in the stream's own samples
  int audioStream_ = -1;
  int64_t startPts_ = 0;    // the first decoded sample's time stamp: frame 0 of the track
  int64_t inStep_ = 1;      // input samples per resampler grid step
  int64_t outStep_ = 1;     // output frames per grid step
  int64_t preroll_ = 0;     // input samples decoded and dropped before a seek target
  int inputFormat_ = -1;    // the decoder's sample format, as the resampler expects it
  bool coarseTimeStamps_ = false;  // the stream's time base is coarser than one sample

  // Pipeline state. inPos_: track index of the next input sample (once placed_);
  // dropInputBefore_: input samples before this index are discarded; outPos_: output index of
  // the next frame the resampler emits; wantFrom_: output before this index is discarded;
  // fifoPos_: output index of the first frame held in fifo_.
  int64_t inPos_ = -1;
  int64_t dropInputBefore_ = 0;
  int64_t outPos_ = 0;
  int64_t wantFrom_ = 0;
  int64_t fifoPos_ = 0;
  bool ended_ = false;
  bool placed_ = false;      // the first frame after a seek has given inPos_
  bool positioned_ = false;
  bool seekedToStart_ = false;
  bool landedLate_ = false;  // the demuxer's seek came out after the lead-in point
  int damaged_ = 0;

  AVFormatContext* formatContext_ = nullptr;
  AVCodecContext* codecContext_ = nullptr;
  AVIOContext* memoryIo_ = nullptr;
  MemoryInput memory_;
  AVPacket* packet_ = nullptr;
  AVFrame* frame_ = nullptr;
  SwrContext* resampler_ = nullptr;
  std::vector<int16_t> fifo_;  // interleaved stereo output waiting to be read
  size_t fifoHead_ = 0;        // samples already taken from the front of fifo_
  std::vector<int16_t> scratch_;
};
