#include "app/control/DisplayFormats.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "app/base/NumberText.h"

namespace {
std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Printf(const char* format, ...) {
  char buffer[96];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  return buffer;
}
}  // namespace

std::string FormatPitch(int hundredths, bool labels) {
  int magnitude = std::abs(hundredths);
  std::string fraction = Printf("%02d", magnitude % 100);
  if (hundredths < 0) return Printf(labels ? "PITCH -%d.%s" : "-%d.%s", magnitude / 100, fraction.c_str());
  return Printf(labels ? "PITCH  %d.%s" : "%d.%s", magnitude / 100, fraction.c_str());
}

std::string FormatKeyShift(int cents, const std::string& keyName, bool labels) {
  int magnitude = std::abs(cents);
  if (cents < 0) return Printf(labels ? "KEY -%d.%02d (%s)" : "-%d.%02d (%s)", magnitude / 100, magnitude % 100, keyName.c_str());
  return Printf(labels ? "KEY %d.%02d (%s)" : "%d.%02d (%s)", magnitude / 100, magnitude % 100, keyName.c_str());
}

std::string FormatBpm(double bpm, bool labels) {
  if (!(bpm > 0)) return "---.-";
  // In the C locale's form whatever the toolkit set: "128.00", never "128,00".
  return (labels ? "BPM  " : "") + FormatFixed(bpm, 2);
}

std::string FormatTenthsDb(int tenths, bool bottom) {
  if (bottom) return "- oo";
  int magnitude = std::abs(tenths);
  return Printf(tenths < 0 ? "-%d.%d dB" : "%d.%d dB", magnitude / 10, magnitude % 10);
}

std::string FormatPercent(int percent) { return Printf("%d%%", percent); }

std::string FormatHz(float hz) {
  int whole = static_cast<int>(std::lround(hz));
  if (whole < 1000) return Printf("%d Hz", whole);
  int tenthsK = static_cast<int>(std::lround(hz / 100.0f));
  return Printf("%d.%d KHz", tenthsK / 10, tenthsK % 10);
}

std::string FormatDeckTime(long long frames, bool remaining) {
  if (frames < 0) frames = 0;
  long long tenths = frames / 4410;
  int minutes = static_cast<int>(tenths / 600);
  int seconds = static_cast<int>(tenths / 10 % 60);
  return Printf("%s%02d:%02d.%d", remaining ? "-" : "", minutes, seconds, static_cast<int>(tenths % 10));
}
