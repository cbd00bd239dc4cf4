#include "analysis/TempoRange.h"

#include <atomic>

namespace {

struct RangeRow {
  TempoRange range;
  const char* text;
  double low;
};
constexpr RangeRow kRanges[] = {{TempoRange::kAuto, "auto", 0.0},      {TempoRange::k60to120, "60-120", 60.0},
                                {TempoRange::k70to140, "70-140", 70.0}, {TempoRange::k80to160, "80-160", 80.0},
                                {TempoRange::k90to180, "90-180", 90.0}, {TempoRange::k100to200, "100-200", 100.0}};

std::atomic<TempoRange> preferred{TempoRange::kAuto};

}  // namespace

bool ParseTempoRange(std::string_view text, TempoRange& out) {
  for (const RangeRow& row : kRanges) {
    if (text == row.text) {
      out = row.range;
      return true;
    }
  }
  return false;
}

const char* TempoRangeText(TempoRange range) {
  for (const RangeRow& row : kRanges) {
    if (row.range == range) return row.text;
  }
  return "auto";
}

void SetPreferredTempoRange(TempoRange range) { preferred.store(range, std::memory_order_relaxed); }
TempoRange PreferredTempoRange() { return preferred.load(std::memory_order_relaxed); }

double FoldIntoTempoRange(double bpm, TempoRange range) {
  double low = 0.0;
  for (const RangeRow& row : kRanges) {
    if (row.range == range) low = row.low;
  }
  if (low <= 0.0 || !(bpm > 0.0)) return bpm;
  while (bpm >= 2.0 * low) bpm *= 0.5;
  while (bpm < low) bpm *= 2.0;
  return bpm;
}
