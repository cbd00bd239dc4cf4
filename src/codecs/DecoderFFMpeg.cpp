#include "codecs/DecoderFFMpeg.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/time.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>

#include "app/base/Trace.h"
#include "codecs/PathRules.h"

namespace {

constexpr size_t kFifoBytes = 529200;        // three seconds of 44100 Hz stereo
constexpr long long kMaxLeadInBytes = 441000;  // a late start is padded by at most this much
std::atomic<int> instances{0};

bool TakesExtension(const std::string& path) {
  const std::string lower = ToLowerAscii(path);
  // ".wav" too: this decoder is last in the chain, so it only sees the WAV files the WAV
  // reader left to it (the extensible format that 24-bit and multichannel files use).
  for (const char* ext : {".mp3", ".m3e", ".aac", ".ogg", ".flac", ".wav"}) {
    if (EndsWith(lower, ext)) return true;
  }
  return false;
}

}  // namespace

CDecoderFFMpeg::CDecoderFFMpeg(int deckId) : CBaseCodec(deckId) {
  // FFmpeg's own warnings about damaged frames go nowhere; a refused file is logged by the chain.
  if (instances.fetch_add(1) == 0) av_log_set_level(AV_LOG_FATAL);
}

CDecoderFFMpeg::~CDecoderFFMpeg() {
  close();
  instances.fetch_sub(1);
}

int CDecoderFFMpeg::open(std::string path, AudioFormat* format, int write) {
  if (isOpen || !format || write) return 0;
  // The chain marks MP3 data behind a short header with this prefix; FFmpeg finds the first
  // frame by itself.
  if (path.rfind("kv:/", 0) == 0) path.erase(0, 4);
  if (!TakesExtension(path)) return 0;
  std::lock_guard guard(lock_);
  if (isOpen) return 0;
  if (openLocked(path, format)) return 1;
  closeLocked();
  return 0;
}

int CDecoderFFMpeg::openLocked(const std::string& path, AudioFormat* format) {
  if (avformat_open_input(&formatContext_, path.c_str(), nullptr, nullptr) < 0) return 0;
  formatContext_->flags |= AVFMT_FLAG_GENPTS;
  if (avformat_find_stream_info(formatContext_, nullptr) < 0) return 0;
  for (unsigned i = 0; i < formatContext_->nb_streams; ++i) {
    if (formatContext_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
      audioStream_ = static_cast<int>(i);
      break;
    }
  }
  if (audioStream_ < 0) return 0;
  AVStream* stream = formatContext_->streams[audioStream_];
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (!codec) return 0;
  codecContext_ = avcodec_alloc_context3(codec);
  if (!codecContext_ || avcodec_parameters_to_context(codecContext_, stream->codecpar) < 0 ||
      avcodec_open2(codecContext_, codec, nullptr) < 0) {
    return 0;
  }
  sampleRate = codecContext_->sample_rate;
  channels_ = codecContext_->ch_layout.nb_channels;
  if (sampleRate <= 0 || channels_ <= 0 || channels_ > 32) return 0;

  // The length is counted at the stream's own rate, so the chain's rate conversion gives the
  // true length in the engine's rate.
  double seconds = 0.0;
  if (formatContext_->duration != AV_NOPTS_VALUE) seconds = formatContext_->duration * 1e-6;
  else if (stream->duration != AV_NOPTS_VALUE) seconds = stream->duration * av_q2d(stream->time_base);
  frames_ = static_cast<int>(std::lround(std::min(seconds, 86400.0) * sampleRate));

  if (swr_alloc_set_opts2(&resampler_, &codecContext_->ch_layout, AV_SAMPLE_FMT_S16, sampleRate,
                          &codecContext_->ch_layout, codecContext_->sample_fmt, sampleRate, 0,
                          nullptr) < 0 ||
      swr_init(resampler_) < 0) {
    return 0;
  }
  packet_ = av_packet_alloc();
  frame_ = av_frame_alloc();
  if (!packet_ || !frame_) return 0;

  *format = AudioFormat{sampleRate, channels_, 16, 16, 0, frames_};
  bytesPerFrame = channels_ * 2;
  fifo_.clear();
  fifo_.reserve(kFifoBytes);
  fifoStart_ = 0;
  started_ = ended_ = false;
  framesDone = 0;
  TraceLine("START audio=%d, av_gettime() = %f s", audioStream_, av_gettime() * 1e-6);
  isOpen = 1;
  return 1;
}

void CDecoderFFMpeg::drainFrames() {
  while (avcodec_receive_frame(codecContext_, frame_) == 0) {
    const int outSamples = swr_get_out_samples(resampler_, frame_->nb_samples);
    scratch_.resize(static_cast<size_t>(std::max(outSamples, 0)) * static_cast<size_t>(bytesPerFrame));
    uint8_t* out = scratch_.data();
    const int got = swr_convert(resampler_, &out, outSamples, const_cast<const uint8_t**>(frame_->extended_data),
                                frame_->nb_samples);
    if (got > 0) fifo_.insert(fifo_.end(), scratch_.begin(), scratch_.begin() + got * bytesPerFrame);
    av_frame_unref(frame_);
  }
}

void CDecoderFFMpeg::fill(size_t wantBytes) {
  while (fifo_.size() - fifoStart_ < wantBytes && !ended_) {
    if (av_read_frame(formatContext_, packet_) < 0) {
      avcodec_send_packet(codecContext_, nullptr);  // flush what the decoder still holds
      drainFrames();
      ended_ = true;
      break;
    }
    if (packet_->stream_index == audioStream_) {
      // A damaged packet is skipped; the decoder goes on with the next.
      if (avcodec_send_packet(codecContext_, packet_) >= 0) drainFrames();
    }
    av_packet_unref(packet_);
  }
}

size_t CDecoderFFMpeg::take(unsigned char* out, size_t bytes) {
  const size_t n = std::min(bytes, fifo_.size() - fifoStart_);
  std::memcpy(out, fifo_.data() + fifoStart_, n);
  fifoStart_ += n;
  // Compact once the consumed part is larger than what remains, so the FIFO stays bounded.
  if (fifoStart_ > kFifoBytes / 2 && fifoStart_ * 2 > fifo_.size()) {
    fifo_.erase(fifo_.begin(), fifo_.begin() + static_cast<long>(fifoStart_));
    fifoStart_ = 0;
  }
  return n;
}

int CDecoderFFMpeg::read(void* destination, int frames, int position) {
  if (!isOpen || !destination || frames <= 0) return 0;
  const size_t bytes = static_cast<size_t>(frames) * static_cast<size_t>(bytesPerFrame);
  if (position == 0 && !started_) {
    AVStream* stream = formatContext_->streams[audioStream_];
    if (stream->start_time != AV_NOPTS_VALUE && stream->start_time > 0) {
      long long lead = static_cast<long long>(std::floor(static_cast<double>(stream->start_time) * sampleRate *
                                                         stream->time_base.num / stream->time_base.den));
      lead = std::min(lead * bytesPerFrame, kMaxLeadInBytes / bytesPerFrame * bytesPerFrame);
      TraceLine("!!!======skipped %lld (frames) or %lld (bytes); alreadyPutInBuffer=%zu", lead / bytesPerFrame,
                lead, fifo_.size() - fifoStart_);
      fifo_.insert(fifo_.begin() + static_cast<long>(fifoStart_), static_cast<size_t>(lead), 0);
    }
  }
  started_ = true;
  fill(bytes);
  take(static_cast<unsigned char*>(destination), bytes);
  framesDone += frames;
  return frames;
}

double CDecoderFFMpeg::durationSeconds() {
  return isOpen && sampleRate > 0 ? static_cast<double>(frames_) / sampleRate : 0.0;
}

void CDecoderFFMpeg::closeLocked() {
  isOpen = 0;
  swr_free(&resampler_);
  av_frame_free(&frame_);
  av_packet_free(&packet_);
  avcodec_free_context(&codecContext_);
  if (formatContext_) avformat_close_input(&formatContext_);
  audioStream_ = -1;
  std::vector<unsigned char>().swap(fifo_);
  fifoStart_ = 0;
}

void CDecoderFFMpeg::close() {
  std::lock_guard guard(lock_);
  closeLocked();
}
