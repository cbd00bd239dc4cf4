#include "MixOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "app/Engine.h"
#include "audio/MixRecorder.h"
#include "codecs/PathRules.h"

MixOutput::~MixOutput() { Close(); }

bool MixOutput::Check(const std::string& path, std::string* error) {
  if (IsMp3Path(path)) {
    if (!CMixRecorder::HasEncoder()) {
      *error = "MP3 needs LAME (libmp3lame.so.0), which is not on this machine; write a .wav";
      return false;
    }
  } else if (!EndsWith(ToLowerAscii(path), ".wav")) {
    *error = path + ": the mix is written as .wav or .mp3";
    return false;
  }
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    *error = "can not write " + path + ": " + std::strerror(errno);
    return false;
  }
  ::close(fd);
  path_ = path;
  return true;
}

bool MixOutput::Start(std::string* error) {
  if (!g_engine.recorder || !g_engine.recorder->Start(path_)) {
    *error = "the recorder could not start on " + path_ + " (see log.txt)";
    return false;
  }
  started_ = true;
  return true;
}

bool MixOutput::Healthy() {
  if (!started_) return false;
  // The engine tick stops a recording whose disk failed; a failure not yet seen by it counts too.
  return g_engine.recorder->IsRecording() && !g_engine.recorder->Failed();
}

bool MixOutput::Close() {
  if (!started_) return true;
  started_ = false;
  return g_engine.recorder && g_engine.recorder->Stop() == 1;
}
