#include "RecordSamplerOptions.h"

#include <cstdio>

#include "LumoSession.h"
#include "app/Engine.h"
#include "app/base/NumberText.h"
#include "audio/MixRecorder.h"
#include "audio/SamplerPlayer.h"

const char* RecordSamplerOptions::Usage() { return "[--record OUT.wav|OUT.mp3] [--sampler N:FILE[:AT_S]]..."; }

namespace {

// "N:FILE[:AT_S]": the time is taken from the last colon only when it parses as a number, so a
// file name may hold colons.
bool ParseTrigger(const std::string& text, RecordSamplerOptions::Trigger& trigger) {
  size_t colon = text.find(':');
  long long n = 0;
  if (colon == std::string::npos || !ParseInt(text.substr(0, colon), n) || n < 1 || n > CSamplerPlayer::kCount) {
    return false;
  }
  trigger.sampler = static_cast<int>(n - 1);
  trigger.file = text.substr(colon + 1);
  size_t last = trigger.file.rfind(':');
  double at = 0;
  if (last != std::string::npos && ParseDouble(trigger.file.substr(last + 1), at)) {
    if (!(at >= 0)) return false;
    trigger.atSeconds = at;
    trigger.file.resize(last);
  }
  return !trigger.file.empty();
}

}  // namespace

bool RecordSamplerOptions::Parse(const ParsedArgs& args) {
  if (auto record = args.Get("record")) {
    if (record->empty()) {
      std::fprintf(stderr, "lumo: --record wants a file name (OUT.wav or OUT.mp3)\n");
      return false;
    }
    record_ = *record;  // as given: anything but .mp3 records WAV
  }
  for (const auto& [name, value] : args.options) {
    if (name != "sampler") continue;
    Trigger trigger;
    if (!ParseTrigger(value, trigger)) {
      std::fprintf(stderr, "lumo: --sampler wants N:FILE[:AT_S] with N from 1 to 8, not \"%s\"\n", value.c_str());
      return false;
    }
    triggers_.push_back(trigger);
  }
  return true;
}

bool RecordSamplerOptions::Begin() {
  for (const Trigger& t : triggers_) {
    CSamplerPlayer* sampler = g_engine.samplers[t.sampler];
    if (!sampler || !sampler->Load(t.file)) {
      std::fprintf(stderr, "lumo: sampler %d can not load %s\n", t.sampler + 1, t.file.c_str());
      return false;
    }
  }
  if (!record_) return true;
  if (IsMp3Path(*record_) && !CMixRecorder::HasEncoder()) {
    std::fprintf(stderr, "lumo: can not record MP3: LAME (libmp3lame.so.0) is not installed; record to .wav "
                         "or install libmp3lame0\n");
    return false;
  }
  if (!g_engine.recorder || !g_engine.recorder->Start(*record_)) {
    std::fprintf(stderr, "lumo: can not record to %s\n", record_->c_str());
    return false;
  }
  return true;
}

void RecordSamplerOptions::Step(double seconds) {
  for (Trigger& t : triggers_) {
    if (t.fired || seconds < t.atSeconds) continue;
    t.fired = true;
    if (CSamplerPlayer* sampler = g_engine.samplers[t.sampler]) sampler->Play(1);
  }
  // lumo play runs no engine tick, so the players' step runs here; under lumo render the
  // engine tick may have stopped the recording first.
  bool stopped = EnginePlayersTick();
  if (record_ && !diskFailed_ && g_engine.recorder && (stopped || !g_engine.recorder->IsRecording())) {
    diskFailed_ = true;
    std::fprintf(stderr, "\nlumo: writing %s failed (disk full?); the recording stopped\n", record_->c_str());
  }
}

bool RecordSamplerOptions::Finish() {
  if (!record_ || !g_engine.recorder) return true;
  bool complete = g_engine.recorder->Stop() && !diskFailed_;
  if (!complete && !diskFailed_) std::fprintf(stderr, "lumo: writing %s failed; the recording is incomplete\n", record_->c_str());
  if (complete) std::printf("recorded %s\n", record_->c_str());
  return complete;
}
