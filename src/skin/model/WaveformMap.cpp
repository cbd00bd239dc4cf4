#include "skin/model/WaveformMap.h"

#include <algorithm>
#include <cmath>

#include "analysis/StripeMarks.h"

void WaveformMap::SetGeometry(int width, int height, int cursorPos) {
  geometry_.vertical = height > width;
  geometry_.longSide = std::max(0, geometry_.vertical ? height : width);
  geometry_.shortSide = std::max(0, geometry_.vertical ? width : height);
  if (cursorPos < 0 || cursorPos >= geometry_.longSide) cursorPos = geometry_.longSide / 3;
  geometry_.cursorPos = cursorPos;
  kinds_.assign(static_cast<size_t>(geometry_.longSide), WaveColumn::kOutside);
  amplitudes_.assign(static_cast<size_t>(geometry_.longSide), 0.0f);
}

int WaveformMap::Zoom(int button) {
  if (button == 1) SetZoom(zoom_ * 2);
  else if (button == 2) SetZoom(zoom_ / 2);
  return zoom_;
}

void WaveformMap::SetZoom(int zoom) { zoom_ = std::clamp(zoom, kMinZoom, kMaxZoom); }

void WaveformMap::SetStep(double entriesPerPixel) {
  // Below a sixteenth of an entry a column would repeat one stripe value across many pixels.
  if (std::isfinite(entriesPerPixel)) step_ = std::clamp(entriesPerPixel, 1.0 / 16, 1024.0);
}

void WaveformMap::MapColumns(double positionEntries, const float* stripe, int length) {
  if (!std::isfinite(positionEntries)) positionEntries = 0.0;
  position_ = positionEntries;
  const double perColumn = EntriesPerPixel();
  const double origin = positionEntries / perColumn - geometry_.cursorPos;
  const double whole = std::floor(origin);
  remainder_ = origin - whole;
  if (!stripe) length = 0;
  bool previousBeat = false;
  for (int p = 0; p < geometry_.longSide; ++p) {
    const double grid = whole + p;
    long first = std::lround(grid * perColumn);
    long last = std::max(first + 1, std::lround((grid + 1) * perColumn));
    if (last <= 0 || first >= length) {
      kinds_[p] = WaveColumn::kOutside;
      amplitudes_[p] = 0.0f;
      previousBeat = false;
      continue;
    }
    first = std::max(first, 0L);
    last = std::min(last, static_cast<long>(length));
    float peak = 0.0f;
    bool marked = false;
    for (long i = first; i < last; ++i) {
      float value = SaneStripeValue(stripe[i]);
      marked |= IsMarked(value);
      peak = std::max(peak, std::fabs(WithoutMark(value)));
    }
    // A mark that spans two columns (or one entry spread over several at a fine scale) leaves
    // a single gap: only the first marked column of a run opens it.
    const bool beat = marked && !previousBeat;
    previousBeat = marked;
    kinds_[p] = beat ? WaveColumn::kBeat : WaveColumn::kSignal;
    amplitudes_[p] = beat ? 0.0f : std::min(peak, 1.0f);
  }
}

int WaveformMap::PixelOf(double entry) const {
  const double pixel = geometry_.cursorPos + (entry - position_) / EntriesPerPixel();
  if (!std::isfinite(pixel) || pixel < 0.0 || pixel >= geometry_.longSide) return -1;
  return static_cast<int>(pixel);
}

bool FindBeatAround(const float* stripe, int length, double positionEntries, BeatSpan* span, int reach) {
  *span = BeatSpan{};
  if (!stripe || length <= 0 || !std::isfinite(positionEntries)) return false;
  const long at = static_cast<long>(std::floor(positionEntries));
  if (at < 0 || at >= length) return false;
  for (long i = at; i >= 0 && i >= at - reach; --i) {
    if (IsMarked(SaneStripeValue(stripe[i]))) {
      span->previous = static_cast<int>(i);
      break;
    }
  }
  for (long i = at + 1; i < length && i <= at + reach; ++i) {
    if (IsMarked(SaneStripeValue(stripe[i]))) {
      span->next = static_cast<int>(i);
      break;
    }
  }
  if (span->previous < 0 || span->next < 0) return false;
  span->fraction = (positionEntries - span->previous) / (span->next - span->previous);
  return true;
}

int FirstMark(const float* stripe, int length) {
  for (int i = 0; stripe && i < length; ++i) {
    if (IsMarked(SaneStripeValue(stripe[i]))) return i;
  }
  return -1;
}

int BeatOfBar(const BeatSpan& span, int firstMark) {
  const int beat = span.next - span.previous;
  if (span.previous < 0 || beat <= 0 || firstMark < 0) return 0;
  const long index = std::lround(static_cast<double>(span.previous - firstMark) / beat);
  return static_cast<int>(((index % 4) + 4) % 4);
}

double BeatPhaseDifference(double fractionThis, double fractionOther) {
  double difference = std::fmod(fractionThis - fractionOther, 1.0);
  if (!std::isfinite(difference)) return 0.0;
  if (difference >= 0.5) difference -= 1.0;
  if (difference < -0.5) difference += 1.0;
  return difference;
}

int BeatDifferencePixels(double difference) {
  return static_cast<int>(std::clamp(std::lround(difference * 40.0), -20L, 20L));
}
