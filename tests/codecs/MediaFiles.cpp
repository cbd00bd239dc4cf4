#include "MediaFiles.h"

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "codecs/CodecChain.h"
#include "support/TestFiles.h"

namespace media {
namespace {

constexpr double kLevel = 0.4;  // well below full scale: lossy codecs overshoot

struct Folder {
  std::string path;
  Folder() {
    path = (std::filesystem::temp_directory_path() / ("lumo-media-" + std::to_string(::getpid()))).string() + "/";
    std::filesystem::create_directories(path);
  }
  ~Folder() { std::filesystem::remove_all(path); }
};

Folder& Shared() {
  static Folder folder;
  return folder;
}

std::vector<int16_t> MakeSource() {
  std::vector<int16_t> stereo(2 * static_cast<size_t>(kSourceFrames), 0);
  double phase = 0.0;
  for (int i = kFirstSoundFrame; i < kSourceFrames; ++i) {
    double t = (i - kFirstSoundFrame) / 44100.0;
    phase += 2 * M_PI * (200.0 + 600.0 * t) / 44100.0;  // 200 Hz rising 600 Hz a second
    stereo[2 * static_cast<size_t>(i)] = static_cast<int16_t>(std::lround(32767 * kLevel * std::sin(phase)));
    stereo[2 * static_cast<size_t>(i) + 1] =
        static_cast<int16_t>(std::lround(32767 * kLevel * 0.5 * std::sin(2 * M_PI * 330.0 * t)));
  }
  return stereo;
}

// How each file is made from the source (or from another file), as a shell command with {in}
// and {out}.
const std::map<std::string, std::pair<std::string, std::string>>& Recipes() {
  static const std::map<std::string, std::pair<std::string, std::string>> recipes = {
      {"flac.flac", {"source.wav", "sox {in} {out}"}},
      {"wav24.wav", {"source.wav", "sox {in} -b 24 {out}"}},
      {"wav32.wav", {"source.wav", "sox {in} -b 32 -e signed-integer {out}"}},
      {"wavfloat.wav", {"source.wav", "sox {in} -b 32 -e floating-point {out}"}},
      {"wav8.wav", {"source.wav", "sox {in} -D -b 8 {out}"}},
      {"aiff8.aiff", {"source.wav", "sox {in} -D -b 8 {out}"}},
      {"aiff16.aiff", {"source.wav", "sox {in} -b 16 {out}"}},
      {"aiff24.aiff", {"source.wav", "sox {in} -b 24 {out}"}},
      {"aiff32.aiff", {"source.wav", "sox {in} -b 32 {out}"}},
      {"aifc16.aiff", {"source.wav", "sox {in} -t aifc {out}"}},
      {"au8.au", {"source.wav", "sox {in} -D -b 8 -e signed-integer {out}"}},
      {"au16.au", {"source.wav", "sox {in} -b 16 -e signed-integer {out}"}},
      {"au24.au", {"source.wav", "sox {in} -b 24 -e signed-integer {out}"}},
      {"au32.au", {"source.wav", "sox {in} -b 32 -e signed-integer {out}"}},
      {"rate48000.wav", {"source.wav", "sox {in} -r 48000 {out}"}},
      {"mp3.mp3", {"source.wav", "lame --quiet -b 128 {in} {out}"}},
      {"mp3-noheader.mp3", {"source.wav", "lame --quiet -t -V 4 {in} {out}"}},
      {"ogg.ogg", {"source.wav", "ffmpeg -v error -y -i {in} -c:a libvorbis -q:a 4 {out}"}},
      {"opus.opus", {"source.wav", "ffmpeg -v error -y -i {in} -c:a libopus -b:a 96k {out}"}},
      {"m4a.m4a", {"source.wav", "ffmpeg -v error -y -i {in} -c:a aac -b:a 160k {out}"}},
      {"wma.wma", {"source.wav", "ffmpeg -v error -y -i {in} -c:a wmav2 -b:a 128k {out}"}},
      {"alac.m4a", {"source.wav", "ffmpeg -v error -y -i {in} -c:a alac {out}"}},
      {"cover.png", {"", "ffmpeg -v error -y -f lavfi -i color=c=red:s=64x64 -frames:v 1 {out}"}},
      {"mp3-cover.mp3",
       {"mp3.mp3", "ffmpeg -v error -y -i {in} -i {dir}cover.png -map 0 -map 1 -c copy -id3v2_version 3 "
                   "-metadata:s:v comment=\"Cover (front)\" {out}"}},
  };
  return recipes;
}

std::string Replace(std::string text, const std::string& key, const std::string& value) {
  for (size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + value.size())) {
    text.replace(at, key.size(), value);
  }
  return text;
}

}  // namespace

bool Run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

std::string Folder() { return Shared().path; }

const std::vector<int16_t>& Source() {
  static const std::vector<int16_t> source = MakeSource();
  return source;
}

std::string Path(const std::string& name) {
  static std::map<std::string, std::string> made;
  auto known = made.find(name);
  if (known != made.end()) return known->second;
  std::string out = Shared().path + name;
  if (name == "source.wav") {
    WriteStereo16(out, Source());
  } else {
    auto recipe = Recipes().find(name);
    if (recipe == Recipes().end()) return "";
    std::string in = recipe->second.first.empty() ? "" : Path(recipe->second.first);
    if (!recipe->second.first.empty() && in.empty()) return "";
    if (name == "mp3-cover.mp3" && Path("cover.png").empty()) return "";
    std::string command = Replace(Replace(Replace(recipe->second.second, "{in}", "'" + in + "'"), "{out}",
                                          "'" + out + "'"),
                                  "{dir}", Shared().path);
    if (!Run(command)) out.clear();
  }
  made[name] = out;
  return out;
}

std::vector<int16_t> DecodeWhole(const std::string& path, int* frames, std::string* codec) {
  CCodecChain chain(1);
  AudioFormat format = EngineFormat();
  *frames = 0;
  if (!chain.open(path, &format, 0, 88200)) return {};
  if (codec) *codec = chain.activeCodecObject()->codecName();
  std::vector<int16_t> stereo(2 * (static_cast<size_t>(format.frames) + 44100), 0);
  for (int at = 0; at < format.frames; at += 44100) {
    int got = chain.read16(stereo.data() + 2 * static_cast<size_t>(at), std::min(44100, format.frames - at), at);
    *frames = at + got;
    if (got <= 0) break;
  }
  stereo.resize(2 * static_cast<size_t>(*frames));
  return stereo;
}

int FirstSound(const std::vector<int16_t>& stereo) {
  const int threshold = static_cast<int>(32767 * kLevel / 4);
  for (size_t i = 0; i < stereo.size() / 2; ++i) {
    if (std::abs(stereo[2 * i]) >= threshold) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace media
