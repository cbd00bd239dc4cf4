// CDecoderFFMpeg: decoding, sample-exact seeking and the output FIFO.
//
// Every sample carries an index: input samples count from the track's first sample (placed by
// the first frame's time stamp after a seek, then counted), output frames from the first 44100 Hz
// frame. A seek restarts the decoder at the key frame before a lead-in point well ahead of the
// target, drops the input before that point and the output before the target. The lead-in
// point lies on the resampler's grid (a multiple of rate / gcd(rate, 44100) input samples), so
// the restarted resampler computes each output frame with the same phase and the same input as
// an uninterrupted decode does.

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include "app/base/Trace.h"
#include "codecs/DecoderFFMpeg.h"

namespace {

constexpr int64_t kForwardDecodeFrames = 44100;  // a jump this far ahead decodes on instead of seeking
constexpr int kLateLandingRetries = 4;
constexpr int64_t kTailSeconds = 3;
constexpr int kMaxPlanes = 32;
constexpr int64_t kGapSamples = 32;      // time stamp jitter below this is no hole
constexpr int64_t kMaxGapSeconds = 30;   // a larger jump is a broken time stamp, not lost audio

}  // namespace

int CDecoderFFMpeg::read(void* destination, int frames, int position) {
  if (!isOpen || !destination || frames <= 0 || position < -1) return 0;
  int64_t want = position == -1 ? (positioned_ ? fifoPos_ : 0) : position;
  if (want >= frames_ + outStep_) return 0;  // past the end: nothing to decode
  const int64_t held = static_cast<int64_t>(fifo_.size() - fifoHead_) / kOutputChannels;
  const int64_t end = fifoPos_ + held;
  if (!positioned_ || want < fifoPos_ || want > end + kForwardDecodeFrames) {
    if (!seekTo(want)) {
      noteDamage();
      return 0;
    }
  } else if (want <= end) {
    fifoHead_ += static_cast<size_t>(want - fifoPos_) * kOutputChannels;
    fifoPos_ = want;
  } else {
    fifo_.clear();
    fifoHead_ = 0;
    fifoPos_ = wantFrom_ = want;
  }
  while (static_cast<int64_t>(fifo_.size() - fifoHead_) < static_cast<int64_t>(frames) * kOutputChannels &&
         decodeMore()) {
  }
  // Nothing past the stated length, even where the decoder runs on into padding.
  int got = takeOutput(static_cast<int16_t*>(destination),
                       static_cast<int>(std::min<int64_t>(frames, std::max<int64_t>(0, frames_ - want))));
  framesDone += got;
  return got;
}

bool CDecoderFFMpeg::seekTo(int64_t outFrame) {
  const int rate = codecContext_->sample_rate;
  const int64_t target = av_rescale(outFrame, rate, kOutputRate);
  const int64_t lead = std::max<int64_t>(0, target - preroll_) / inStep_ * inStep_;
  // Time stamps on a stream's last page can be counted back from its trimmed end (Ogg does):
  // a seek into the last seconds starts before them and decodes on.
  int64_t from = std::min(lead, std::max<int64_t>(0, inputLength_ - kTailSeconds * rate));
  // Time stamps coarser than a sample (ASF's milliseconds) cannot place a restart exactly: such
  // streams restart from the beginning and decode on, slower but right.
  if (coarseTimeStamps_) from = 0;
  for (int attempt = 0;; ++attempt) {
    resetPipeline();
    dropInputBefore_ = lead;
    outPos_ = lead / inStep_ * outStep_;
    wantFrom_ = fifoPos_ = outFrame;
    if (attempt > kLateLandingRetries) from = 0;
    if (!seekDemuxer(from)) {
      if (from == 0) return false;
      from = 0;
      continue;
    }
    while (!placed_ && !landedLate_ && decodeMore()) {
    }
    if (placed_ || from == 0) break;
    // The demuxer landed after the lead-in point (an estimated index, or past the last packet):
    // go back further.
    from = std::max<int64_t>(0, from - (preroll_ << attempt) - rate);
  }
  positioned_ = true;
  return true;
}

bool CDecoderFFMpeg::seekDemuxer(int64_t inSample) {
  AVStream* stream = formatContext_->streams[audioStream_];
  seekedToStart_ = inSample <= 0;
  const int64_t ts = startPts_ + av_rescale_q(std::max<int64_t>(0, inSample),
                                              AVRational{1, codecContext_->sample_rate}, stream->time_base);
  if (av_seek_frame(formatContext_, audioStream_, ts, AVSEEK_FLAG_BACKWARD) >= 0) return true;
  if (avformat_seek_file(formatContext_, audioStream_, INT64_MIN, ts, ts, 0) >= 0) return true;
  // A demuxer that cannot seek by time can usually still go back to its first byte.
  return seekedToStart_ && av_seek_frame(formatContext_, -1, 0, AVSEEK_FLAG_BYTE) >= 0;
}

void CDecoderFFMpeg::resetPipeline() {
  avcodec_flush_buffers(codecContext_);
  swr_close(resampler_);
  swr_init(resampler_);
  fifo_.clear();
  fifoHead_ = 0;
  placed_ = false;
  inPos_ = 0;
  ended_ = landedLate_ = false;
}

bool CDecoderFFMpeg::decodeMore() {
  if (ended_) return false;
  for (;;) {
    if (av_read_frame(formatContext_, packet_) < 0) {
      avcodec_send_packet(codecContext_, nullptr);  // what the decoder still holds
      receiveFrames();
      flushResampler();
      ended_ = true;
      return false;
    }
    if (packet_->stream_index != audioStream_) {
      av_packet_unref(packet_);
      continue;
    }
    int sent = avcodec_send_packet(codecContext_, packet_);
    av_packet_unref(packet_);
    if (sent < 0 && sent != AVERROR(EAGAIN)) noteDamage();  // the packet is skipped
    receiveFrames();
    return true;
  }
}

void CDecoderFFMpeg::receiveFrames() {
  int result;
  while ((result = avcodec_receive_frame(codecContext_, frame_)) == 0) {
    pushFrame(frame_);
    av_frame_unref(frame_);
  }
  if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) noteDamage();
}

int64_t CDecoderFFMpeg::frameIndex(const AVFrame* frame) const {
  int64_t pts = frame->pts != AV_NOPTS_VALUE ? frame->pts : frame->best_effort_timestamp;
  if (pts == AV_NOPTS_VALUE) return kUnplaced;
  AVStream* stream = formatContext_->streams[audioStream_];
  return av_rescale_q(pts - startPts_, stream->time_base, AVRational{1, codecContext_->sample_rate});
}

void CDecoderFFMpeg::pushFrame(const AVFrame* frame) {
  if (landedLate_ || frame->nb_samples <= 0) return;
  if (frame->sample_rate != codecContext_->sample_rate || frame->ch_layout.nb_channels != channels_ ||
      frame->format != inputFormat_) {
    noteDamage();  // a stream that changes format midway: the odd frame is dropped
    return;
  }
  if (!placed_) {
    int64_t index = frameIndex(frame);
    if (seekedToStart_ && index == kUnplaced) index = 0;
    if (index == kUnplaced || (!seekedToStart_ && index > dropInputBefore_)) {
      landedLate_ = true;
      return;
    }
    inPos_ = index;
    placed_ = true;
  } else if (damaged_ > 0) {
    // A damaged packet that decoded to nothing leaves a hole in the time stamps: fill it with
    // silence, so the music after it stays where it belongs. (Only in a damaged file: some
    // streams' time stamps wander near their start, where counting samples is the truth.)
    const int64_t index = frameIndex(frame);
    const int64_t gap = index == kUnplaced ? 0 : index - inPos_;
    if (gap >= kGapSamples && gap <= kMaxGapSeconds * codecContext_->sample_rate) pushSilence(gap);
  }
  const int samples = frame->nb_samples;
  const int64_t skip = std::clamp<int64_t>(dropInputBefore_ - inPos_, 0, samples);
  inPos_ += samples;
  if (skip >= samples) return;
  const auto format = static_cast<AVSampleFormat>(frame->format);
  const bool planar = av_sample_fmt_is_planar(format);
  const int planes = planar ? channels_ : 1;
  const int64_t offset = skip * av_get_bytes_per_sample(format) * (planar ? 1 : channels_);
  const uint8_t* in[kMaxPlanes];
  for (int p = 0; p < planes && p < kMaxPlanes; ++p) in[p] = frame->extended_data[p] + offset;
  pushResampled(in, samples - static_cast<int>(skip));
}

void CDecoderFFMpeg::pushSilence(int64_t samples) {
  const int64_t skip = std::clamp<int64_t>(dropInputBefore_ - inPos_, 0, samples);
  inPos_ += samples;
  const auto format = static_cast<AVSampleFormat>(inputFormat_);
  for (int64_t left = samples - skip; left > 0;) {
    const int n = static_cast<int>(std::min<int64_t>(left, 8192));
    uint8_t** planes = nullptr;
    if (av_samples_alloc_array_and_samples(&planes, nullptr, channels_, n, format, 0) < 0) return;
    av_samples_set_silence(planes, 0, n, channels_, format);
    pushResampled(planes, n);
    av_freep(&planes[0]);
    av_freep(&planes);
    left -= n;
  }
}

void CDecoderFFMpeg::pushResampled(const uint8_t* const* planes, int samples) {
  int room = swr_get_out_samples(resampler_, samples);
  while (room > 0) {
    scratch_.resize(static_cast<size_t>(room) * kOutputChannels);
    auto* out = reinterpret_cast<uint8_t*>(scratch_.data());
    int got = swr_convert(resampler_, &out, room, const_cast<const uint8_t**>(planes), samples);
    if (got <= 0) return;
    appendOutput(scratch_.data(), got);
    if (planes) return;  // input is consumed in one call; only a flush needs several
    room = swr_get_out_samples(resampler_, 0);
  }
}

void CDecoderFFMpeg::flushResampler() { pushResampled(nullptr, 0); }

void CDecoderFFMpeg::appendOutput(const int16_t* stereo, int frames) {
  const int64_t skip = std::clamp<int64_t>(wantFrom_ - outPos_, 0, frames);
  outPos_ += frames;
  if (skip < frames) fifo_.insert(fifo_.end(), stereo + kOutputChannels * skip, stereo + kOutputChannels * frames);
}

int CDecoderFFMpeg::takeOutput(int16_t* destination, int frames) {
  const size_t held = (fifo_.size() - fifoHead_) / kOutputChannels;
  const size_t n = std::min(held, static_cast<size_t>(frames));
  if (n > 0) std::memcpy(destination, fifo_.data() + fifoHead_, n * kOutputChannels * sizeof(int16_t));
  fifoHead_ += n * kOutputChannels;
  fifoPos_ += static_cast<int64_t>(n);
  // Keep the FIFO from growing: drop what has been taken once it outweighs what is left.
  if (fifoHead_ == fifo_.size()) {
    fifo_.clear();
    fifoHead_ = 0;
  } else if (fifoHead_ > fifo_.size() / 2) {
    fifo_.erase(fifo_.begin(), fifo_.begin() + static_cast<long>(fifoHead_));
    fifoHead_ = 0;
  }
  return static_cast<int>(n);
}

void CDecoderFFMpeg::noteDamage() {
  if (damaged_++ == 0) TraceLine("ffmpeg: skipping damaged audio in %s", name_.c_str());
}
