// CDecoderFFMpeg: opening, the resampler set-up, the length measurement and closing. The
// decode, seek and output FIFO are in DecoderFFMpegRead.cpp.

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
#include <cstring>
#include <numeric>

#include "app/base/Trace.h"
#include "codecs/PathRules.h"

namespace {

std::atomic<int> instances{0};
constexpr int kMemoryIoBytes = 32768;
constexpr double kPrerollSeconds = 0.3;  // covers MP3's bit reservoir at 32 kbit/s and Opus's 80 ms
constexpr int kLengthProbeAttempts = 8;

int ReadMemory(void* opaque, uint8_t* buffer, int size) {
  auto* in = static_cast<CDecoderFFMpeg::MemoryInput*>(opaque);
  size_t left = in->size - std::min(in->position, in->size);
  if (left == 0) return AVERROR_EOF;
  size_t n = std::min(left, static_cast<size_t>(size));
  std::memcpy(buffer, in->data + in->position, n);
  in->position += n;
  return static_cast<int>(n);
}

int64_t SeekMemory(void* opaque, int64_t offset, int whence) {
  auto* in = static_cast<CDecoderFFMpeg::MemoryInput*>(opaque);
  if (whence & AVSEEK_SIZE) return static_cast<int64_t>(in->size);
  int64_t base = 0;
  switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET: base = 0; break;
    case SEEK_CUR: base = static_cast<int64_t>(in->position); break;
    case SEEK_END: base = static_cast<int64_t>(in->size); break;
    default: return -1;
  }
  int64_t target = base + offset;
  if (target < 0 || target > static_cast<int64_t>(in->size)) return -1;
  in->position = static_cast<size_t>(target);
  return target;
}

}  // namespace

CDecoderFFMpeg::CDecoderFFMpeg(int deckId) : CBaseCodec(deckId) {
  // FFmpeg's own warnings about damaged frames go nowhere; this decoder logs once per file.
  if (instances.fetch_add(1) == 0) av_log_set_level(AV_LOG_QUIET);
}

CDecoderFFMpeg::~CDecoderFFMpeg() {
  close();
  instances.fetch_sub(1);
}

bool CDecoderFFMpeg::TakesExtension(const std::string& path) {
  const std::string lower = ToLowerAscii(path);
  // What a DJ's library holds and FFmpeg decodes. The WAV, AIFF and AU names are here because
  // this decoder is last: it only sees the files the built-in readers refused (extensible WAV,
  // 24- and 32-bit integer PCM, AIFF-C, compressed AU).
  for (const char* ext : {".mp3", ".m3e", ".mp2", ".aac", ".m4a", ".mp4", ".ogg", ".oga", ".opus",
                          ".flac", ".wma", ".wav", ".aif", ".aiff", ".aifc", ".au", ".snd"}) {
    if (EndsWith(lower, ext)) return true;
  }
  return false;
}

int CDecoderFFMpeg::open(std::string path, AudioFormat* format, int write) {
  if (isOpen || !format || write) return 0;
  // The chain marks MP3 data behind a short header with this prefix; FFmpeg finds the first
  // frame by itself.
  if (path.rfind("kv:/", 0) == 0) path.erase(0, 4);
  if (!TakesExtension(path)) return 0;
  std::lock_guard guard(lock_);
  if (isOpen) return 0;
  name_ = path;
  if (openLocked(path.c_str(), format)) return 1;
  closeLocked();
  return 0;
}

int CDecoderFFMpeg::openMemory(const unsigned char* data, size_t size, AudioFormat* format) {
  if (isOpen || !format || !data) return 0;
  std::lock_guard guard(lock_);
  if (isOpen) return 0;
  name_ = "(memory)";
  memory_ = MemoryInput{data, size, 0};
  auto* buffer = static_cast<unsigned char*>(av_malloc(kMemoryIoBytes));
  formatContext_ = avformat_alloc_context();
  if (buffer) memoryIo_ = avio_alloc_context(buffer, kMemoryIoBytes, 0, &memory_, ReadMemory, nullptr, SeekMemory);
  if (!memoryIo_ || !formatContext_) {
    if (!memoryIo_) av_free(buffer);
    closeLocked();
    return 0;
  }
  formatContext_->pb = memoryIo_;
  formatContext_->flags |= AVFMT_FLAG_CUSTOM_IO;
  if (openLocked(nullptr, format)) return 1;
  closeLocked();
  return 0;
}

int CDecoderFFMpeg::openLocked(const char* url, AudioFormat* format) {
  if (avformat_open_input(&formatContext_, url ? url : "", nullptr, nullptr) < 0) {
    formatContext_ = nullptr;  // freed by the failed open
    return 0;
  }
  formatContext_->flags |= AVFMT_FLAG_GENPTS;
  if (avformat_find_stream_info(formatContext_, nullptr) < 0) return 0;
  audioStream_ = av_find_best_stream(formatContext_, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (audioStream_ < 0) return 0;
  // Cover art and any other stream never reach a decoder.
  for (unsigned i = 0; i < formatContext_->nb_streams; ++i) {
    if (static_cast<int>(i) != audioStream_) formatContext_->streams[i]->discard = AVDISCARD_ALL;
  }
  if (!openCodec() || !setUpResampler()) return 0;
  packet_ = av_packet_alloc();
  frame_ = av_frame_alloc();
  if (!packet_ || !frame_ || !findTrackStart()) return 0;
  measureLength();
  if (frames_ <= 0) return 0;

  *format = AudioFormat{kOutputRate, kOutputChannels, 16, 16, 0, frames_};
  CBaseCodec::sampleRate = kOutputRate;
  bytesPerFrame = kOutputChannels * 2;
  framesDone = 0;
  positioned_ = false;
  damaged_ = 0;
  TraceLine("START audio=%d, av_gettime() = %f s", audioStream_, av_gettime() * 1e-6);
  isOpen = 1;
  return 1;
}

bool CDecoderFFMpeg::openCodec() {
  AVStream* stream = formatContext_->streams[audioStream_];
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (!codec) return false;
  codecContext_ = avcodec_alloc_context3(codec);
  if (!codecContext_ || avcodec_parameters_to_context(codecContext_, stream->codecpar) < 0) return false;
  codecContext_->pkt_timebase = stream->time_base;  // the decoder's start trim moves time stamps
  if (avcodec_open2(codecContext_, codec, nullptr) < 0) return false;
  channels_ = codecContext_->ch_layout.nb_channels;
  streamRate_ = codecContext_->sample_rate;
  return codecContext_->sample_rate > 0 && codecContext_->sample_rate <= 768000 && channels_ > 0 &&
         channels_ <= 32 && codecContext_->sample_fmt != AV_SAMPLE_FMT_NONE;
}

bool CDecoderFFMpeg::setUpResampler() {
  const int rate = codecContext_->sample_rate;
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  AVChannelLayout in;
  if (codecContext_->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(&in, channels_);
  } else if (av_channel_layout_copy(&in, &codecContext_->ch_layout) < 0) {
    return false;
  }
  int ok = swr_alloc_set_opts2(&resampler_, &stereo, AV_SAMPLE_FMT_S16, kOutputRate, &in,
                               codecContext_->sample_fmt, rate, 0, nullptr);
  av_channel_layout_uninit(&in);
  if (ok < 0) return false;
  // A long windowed-sinc filter on an exact rational grid: every output frame has a fixed phase,
  // so a restart on a grid point continues exactly as a decode from the start would.
  av_opt_set_int(resampler_, "filter_size", 64, 0);
  av_opt_set_int(resampler_, "exact_rational", 1, 0);
  av_opt_set_int(resampler_, "linear_interp", 0, 0);
  if (channels_ == 1) {
    const double both[2] = {1.0, 1.0};  // mono plays at full level on both sides
    if (swr_set_matrix(resampler_, both, 1) < 0) return false;
  }
  if (swr_init(resampler_) < 0) return false;
  inputFormat_ = codecContext_->sample_fmt;
  const int64_t common = std::gcd(static_cast<int64_t>(rate), static_cast<int64_t>(kOutputRate));
  inStep_ = rate / common;
  outStep_ = kOutputRate / common;
  preroll_ = static_cast<int64_t>(rate * kPrerollSeconds);
  const AVRational base = formatContext_->streams[audioStream_]->time_base;
  coarseTimeStamps_ = static_cast<int64_t>(base.num) * rate > base.den;
  return true;
}

// Frame 0 of the track is the first sample the decoder gives after its own start trim: its
// time stamp anchors every later position.
bool CDecoderFFMpeg::findTrackStart() {
  for (int packets = 0; packets < 4096; ++packets) {
    if (av_read_frame(formatContext_, packet_) < 0) return false;
    bool ours = packet_->stream_index == audioStream_;
    if (ours) avcodec_send_packet(codecContext_, packet_);
    av_packet_unref(packet_);
    if (!ours) continue;
    while (avcodec_receive_frame(codecContext_, frame_) == 0) {
      int64_t pts = frame_->pts != AV_NOPTS_VALUE ? frame_->pts : frame_->best_effort_timestamp;
      bool placed = frame_->nb_samples > 0;
      av_frame_unref(frame_);
      if (!placed) continue;
      startPts_ = pts != AV_NOPTS_VALUE ? pts : 0;
      return true;
    }
  }
  return false;
}

// Containers often state a length that is not the music's: MP3 and Opus count the encoder's
// delay and padding, a VBR MP3 without a header is guessed from its bit rate. The end is found
// by decoding the last seconds, starting a little before the stated end and earlier again when
// that lies past the real one.
void CDecoderFFMpeg::measureLength() {
  AVStream* stream = formatContext_->streams[audioStream_];
  const int rate = codecContext_->sample_rate;
  double seconds = 0.0;
  if (stream->duration != AV_NOPTS_VALUE) seconds = stream->duration * av_q2d(stream->time_base);
  else if (formatContext_->duration != AV_NOPTS_VALUE) seconds = formatContext_->duration * 1e-6;
  seconds = std::clamp(seconds, 0.0, 86400.0);
  int64_t lastEnd = -1;
  int64_t back = 4 * static_cast<int64_t>(rate);
  int64_t from = static_cast<int64_t>(seconds * rate) - back;
  for (int attempt = 0; attempt < kLengthProbeAttempts && lastEnd < 0; ++attempt) {
    if (attempt == kLengthProbeAttempts - 1) from = 0;
    from = std::max<int64_t>(0, from);
    avcodec_flush_buffers(codecContext_);
    if (seekDemuxer(from)) {
      bool placed = false, hurt = false;
      int64_t next = 0;
      auto count = [&] {
        const int64_t index = frameIndex(frame_);
        if (!placed) {
          placed = index != kUnplaced;
          next = index;
          if (!placed) return;
        } else if (hurt && index != kUnplaced && index > next) {
          next = index;  // a damaged packet left a hole; read() fills it with silence
        }
        next += frame_->nb_samples;
      };
      auto drain = [&] {
        int result;
        while ((result = avcodec_receive_frame(codecContext_, frame_)) == 0) {
          count();
          av_frame_unref(frame_);
        }
        hurt = hurt || (result != AVERROR(EAGAIN) && result != AVERROR_EOF);
      };
      while (av_read_frame(formatContext_, packet_) >= 0) {
        if (packet_->stream_index == audioStream_) {
          int sent = avcodec_send_packet(codecContext_, packet_);
          hurt = hurt || (sent < 0 && sent != AVERROR(EAGAIN));
          av_packet_unref(packet_);
          drain();
        } else {
          av_packet_unref(packet_);
        }
      }
      avcodec_send_packet(codecContext_, nullptr);
      drain();
      if (placed && next > 0) lastEnd = next;
    }
    if (from == 0) break;
    from -= back << (attempt + 1);
  }
  avcodec_flush_buffers(codecContext_);
  int64_t samples = lastEnd > 0 ? lastEnd : static_cast<int64_t>(seconds * rate);
  // A container that states its length exactly (an MP4 edit list) may still let the decoder run
  // into the encoder's padding: the stated length then wins. A length guessed from the bit rate
  // never does.
  if (lastEnd > 0 && stream->duration != AV_NOPTS_VALUE && stream->duration > 0 &&
      formatContext_->duration_estimation_method != AVFMT_DURATION_FROM_BITRATE) {
    samples = std::min(samples, av_rescale_q(stream->duration, stream->time_base, AVRational{1, rate}));
  }
  inputLength_ = samples;
  int64_t out = av_rescale(samples, kOutputRate, rate);
  frames_ = static_cast<int>(std::clamp<int64_t>(out, 0, 0x7fffffff));
}

double CDecoderFFMpeg::durationSeconds() {
  return isOpen ? static_cast<double>(frames_) / kOutputRate : 0.0;
}

void CDecoderFFMpeg::closeLocked() {
  isOpen = 0;
  swr_free(&resampler_);
  av_frame_free(&frame_);
  av_packet_free(&packet_);
  avcodec_free_context(&codecContext_);
  if (formatContext_) avformat_close_input(&formatContext_);
  if (memoryIo_) {
    av_freep(&memoryIo_->buffer);
    avio_context_free(&memoryIo_);
  }
  memory_ = MemoryInput{};
  audioStream_ = -1;
  frames_ = 0;
  std::vector<int16_t>().swap(fifo_);
  std::vector<int16_t>().swap(scratch_);
  fifoHead_ = 0;
}

void CDecoderFFMpeg::close() {
  std::lock_guard guard(lock_);
  closeLocked();
}
