#include "DemoTrack.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "codecs/DecoderWAV.h"

namespace {

constexpr double kRate = 44100.0;
constexpr double kPi = 3.14159265358979323846;

double Kick(double t) {
  if (t > 0.35) return 0.0;
  double freq = 50.0 + 110.0 * std::exp(-t * 30.0);  // the pitch drops into the thump
  return std::sin(2 * kPi * freq * t) * std::exp(-t * 9.0);
}

double Hat(double t, uint32_t& noise) {
  if (t > 0.06) return 0.0;
  noise = noise * 1664525u + 1013904223u;
  double white = (static_cast<int32_t>(noise) / 2147483648.0);
  return white * std::exp(-t * 70.0) * 0.25;
}

double Pad(double t) {
  const double chord[] = {220.0, 261.63, 329.63};  // A minor
  double sum = 0;
  for (double f : chord) sum += std::sin(2 * kPi * f * t) + 0.3 * std::sin(4 * kPi * f * t);
  return sum * 0.06;
}

}  // namespace

bool WriteDemoTrack(const std::string& path, double seconds, double bpm) {
  int frames = static_cast<int>(seconds * kRate);
  double beat = 60.0 / bpm;
  std::vector<short> pcm(2 * static_cast<size_t>(frames));
  uint32_t noise = 12345;
  for (int i = 0; i < frames; ++i) {
    double t = i / kRate;
    double inBeat = std::fmod(t, beat);
    double offBeat = std::fmod(t + beat / 2, beat);
    double fade = std::min(1.0, std::min(t / 0.5, (seconds - t) / 0.5));
    double mono = 0.7 * Kick(inBeat) + Pad(t) * fade;
    double hat = Hat(offBeat, noise);
    pcm[2 * i] = static_cast<short>(std::lround(std::clamp(mono + hat * 0.8, -1.0, 1.0) * 30000));
    pcm[2 * i + 1] = static_cast<short>(std::lround(std::clamp(mono + hat * 1.2, -1.0, 1.0) * 30000));
  }
  CDecoderWAV writer(100);
  AudioFormat format{44100, 2, 16, 16, 0, 0};
  if (!writer.open(path, &format, 1)) return false;
  bool ok = writer.write(pcm.data(), frames) == frames;
  writer.close();
  return ok;
}
