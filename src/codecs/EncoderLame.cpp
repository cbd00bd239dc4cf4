#include "codecs/EncoderLame.h"

#include <dlfcn.h>
#include <lame/lame.h>

#include <algorithm>
#include <cstdio>

#include <mutex>

#include "app/base/Trace.h"

// The entry points the encoder uses, bound by name from the shared library.
struct LameLibrary {
  decltype(&::lame_init) init;
  decltype(&::get_lame_version) version;
  decltype(&::lame_set_in_samplerate) setInRate;
  decltype(&::lame_set_out_samplerate) setOutRate;
  decltype(&::lame_set_num_channels) setChannels;
  decltype(&::lame_set_quality) setQuality;
  decltype(&::lame_set_brate) setBitRate;
  decltype(&::lame_set_mode) setMode;
  decltype(&::lame_set_VBR) setVbr;
  decltype(&::lame_set_bWriteVbrTag) setWriteTag;
  decltype(&::lame_init_params) initParams;
  decltype(&::lame_encode_buffer_interleaved) encodeInterleaved;
  decltype(&::lame_encode_buffer) encode;
  decltype(&::lame_encode_flush) flush;
  decltype(&::lame_get_lametag_frame) tagFrame;
  decltype(&::lame_close) close;
};

namespace {

constexpr int kUnitFrames = 44100;  // encoded a second at a time
constexpr const char* kLibraryName = "libmp3lame.so.0";

template <typename F>
bool Bind(void* handle, const char* name, F& target) {
  target = reinterpret_cast<F>(dlsym(handle, name));
  return target != nullptr;
}

// Loads the library once per process; null when it or any entry point is missing.
const LameLibrary* LoadLame() {
  static std::once_flag once;
  static LameLibrary library;
  static bool loaded = false;
  std::call_once(once, [] {
    void* handle = dlopen(kLibraryName, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
      TraceLine("lame: can not load library (%s)", dlerror());
      return;
    }
    LameLibrary& l = library;
    loaded = Bind(handle, "lame_init", l.init) && Bind(handle, "get_lame_version", l.version) &&
             Bind(handle, "lame_set_in_samplerate", l.setInRate) &&
             Bind(handle, "lame_set_out_samplerate", l.setOutRate) &&
             Bind(handle, "lame_set_num_channels", l.setChannels) &&
             Bind(handle, "lame_set_quality", l.setQuality) && Bind(handle, "lame_set_brate", l.setBitRate) &&
             Bind(handle, "lame_set_mode", l.setMode) && Bind(handle, "lame_set_VBR", l.setVbr) &&
             Bind(handle, "lame_set_bWriteVbrTag", l.setWriteTag) &&
             Bind(handle, "lame_init_params", l.initParams) &&
             Bind(handle, "lame_encode_buffer_interleaved", l.encodeInterleaved) &&
             Bind(handle, "lame_encode_buffer", l.encode) && Bind(handle, "lame_encode_flush", l.flush) &&
             Bind(handle, "lame_get_lametag_frame", l.tagFrame) && Bind(handle, "lame_close", l.close);
    if (!loaded) {
      TraceLine("lame: can not load library (%s lacks an entry point)", kLibraryName);
      dlclose(handle);
      return;
    }
    // The tag frame and the interleaved encoder arrived in 3.98.
    int major = 0, minor = 0;
    if (std::sscanf(l.version(), "%d.%d", &major, &minor) != 2 || major != 3 || minor < 98) {
      TraceLine("lame: %s v%d.%d is not compatible", kLibraryName, major, minor);
      loaded = false;
    }
  });
  return loaded ? &library : nullptr;
}

lame_global_flags* Flags(void* flags) { return static_cast<lame_global_flags*>(flags); }

}  // namespace

CEncoderLame::CEncoderLame(int deckId) : CBaseCodec(deckId) {}

CEncoderLame::~CEncoderLame() { close(); }

bool CEncoderLame::Available() { return LoadLame() != nullptr; }

int CEncoderLame::open(std::string path, AudioFormat* format, int write) {
  if (!write || !format) return 0;
  if (isOpen) {
    TraceLine("lame: already opened");
    return 0;
  }
  lib_ = LoadLame();
  if (!lib_) {
    TraceLine("lame: library not opened/found");
    return 0;
  }
  if (format->channels < 1 || format->channels > 2 || format->sampleRate < 1) {
    TraceLine("lame: error on init");
    return 0;
  }
  lame_global_flags* flags = lib_->init();
  if (!flags) {
    TraceLine("lame: out of memory");
    return 0;
  }
  lib_->setInRate(flags, format->sampleRate);
  lib_->setOutRate(flags, format->sampleRate);
  lib_->setChannels(flags, format->channels);
  lib_->setBitRate(flags, bitRate);
  lib_->setMode(flags, format->channels == 1 ? MONO : static_cast<MPEG_mode>(channelOption));
  lib_->setQuality(flags, 5);
  lib_->setVbr(flags, vbr_off);
  lib_->setWriteTag(flags, 1);  // a placeholder frame now, the real tag at close
  if (lib_->initParams(flags) < 0) {
    TraceLine("lame: error on init");
    lib_->close(flags);
    return 0;
  }
  file_ = std::fopen(path.c_str(), "wb");
  if (!file_) {
    TraceLine("lame: output file '%s' not opened", path.c_str());
    lib_->close(flags);
    return 0;
  }
  flags_ = flags;
  format_ = *format;
  bytesPerFrame = 2 * format_.channels;
  sampleRate = format_.sampleRate;
  pending_.assign(static_cast<size_t>(kUnitFrames) * static_cast<size_t>(format_.channels), 0);
  pendingFrames_ = 0;
  mp3_.resize(kUnitFrames * 5 / 4 + 7200);  // LAME's worst case for one call
  framesWritten_ = 0;
  framesDone = 0;
  isOpen = 1;
  TraceLine("lame encoding at %d Hz, %d channels, %d kbps bitrate, vbr=%d", format_.sampleRate,
            format_.channels, bitRate, 0);
  return 1;
}

int CEncoderLame::write(const void* source, int frames) {
  if (!isOpen || !source || frames <= 0) return 0;
  const short* in = static_cast<const short*>(source);
  int channels = format_.channels;
  int left = frames;
  while (left > 0) {
    int take = std::min(left, kUnitFrames - pendingFrames_);
    std::copy(in, in + take * channels, pending_.begin() + pendingFrames_ * channels);
    pendingFrames_ += take;
    in += take * channels;
    left -= take;
    if (pendingFrames_ == kUnitFrames && !EncodePending()) return 0;
  }
  framesDone += frames;
  return frames;
}

bool CEncoderLame::EncodePending() {
  if (pendingFrames_ == 0) return true;
  auto* flags = Flags(flags_);
  int bytes = format_.channels == 2
                  ? lib_->encodeInterleaved(flags, pending_.data(), pendingFrames_, mp3_.data(),
                                            static_cast<int>(mp3_.size()))
                  : lib_->encode(flags, pending_.data(), pending_.data(), pendingFrames_, mp3_.data(),
                                 static_cast<int>(mp3_.size()));
  framesWritten_ += pendingFrames_;
  pendingFrames_ = 0;
  if (bytes < 0 || !WriteOut(mp3_.data(), bytes)) {
    TraceLine("lame: output file write error");
    return false;
  }
  return true;
}

bool CEncoderLame::WriteOut(const unsigned char* bytes, int count) {
  if (count <= 0) return true;
  return std::fwrite(bytes, 1, static_cast<size_t>(count), file_) == static_cast<size_t>(count) &&
         std::fflush(file_) == 0;
}

// The first frame of the file was left empty for the tag; LAME fills it now that it knows the
// length and the peak.
void CEncoderLame::WriteTagFrame() {
  unsigned char tag[2880];
  size_t size = lib_->tagFrame(Flags(flags_), tag, sizeof tag);
  if (size == 0 || size > sizeof tag) return;
  if (std::fseek(file_, 0, SEEK_SET) != 0 || std::fwrite(tag, 1, size, file_) != size ||
      std::fflush(file_) != 0) {
    TraceLine("lame: output file write error (infotag)");
  }
}

double CEncoderLame::durationSeconds() {
  return isOpen && sampleRate > 0 ? static_cast<double>(framesDone) / sampleRate : 0.0;
}

void CEncoderLame::close() {
  if (!isOpen) return;
  EncodePending();
  int bytes = lib_->flush(Flags(flags_), mp3_.data(), static_cast<int>(mp3_.size()));
  if (bytes < 0 || !WriteOut(mp3_.data(), bytes)) TraceLine("lame: output file write error (flush)");
  WriteTagFrame();
  std::fclose(file_);
  file_ = nullptr;
  lib_->close(Flags(flags_));
  flags_ = nullptr;
  isOpen = 0;
}
