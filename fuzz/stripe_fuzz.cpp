// .kn2 reader and the beat detector over whatever it yields: no value may escape the sane range,
// and detection and the walk must stay inside the arrays.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/BeatDetector.h"
#include "analysis/StripeFile.h"
#include "analysis/StripeMarks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // The first byte picks the tempo hint, so the manual ranges are fuzzed too.
  const int hint = static_cast<int8_t>(data[0]) * 3;
  const int n = static_cast<int>(std::min<size_t>((size - 1) / 4, 441 * 40));
  std::vector<float> a(static_cast<size_t>(n) + 1, 0.0f), b(static_cast<size_t>(n) + 1, 0.0f);
  DecodeStripeBytes(data + 1, size - 1, a.data(), n);
  for (int i = 0; i < n; ++i) {
    if (std::isnan(a[static_cast<size_t>(i)]) || std::fabs(a[static_cast<size_t>(i)]) >= kStripeLimit) __builtin_trap();
  }
  static ZQBeatDetector detector;
  const float bpm = detector.DetectBpm(n, a.data(), b.data(), n / 441, hint);
  if (std::isnan(bpm)) __builtin_trap();
  return 0;
}
