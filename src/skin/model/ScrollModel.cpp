#include "skin/model/ScrollModel.h"

#include <algorithm>
#include <cmath>

void ScrollModel::SetVisibleLines(int lines) { visibleLines = std::max(1, lines), Update(); }
void ScrollModel::SetMinimalThumb(int pixels) { minimalThumb = std::max(1, pixels), Update(); }
void ScrollModel::SetTrackSize(int pixels) { trackSize = std::max(2, pixels), Update(); }
void ScrollModel::SetTotalLines(int lines) { totalLines = std::max(0, lines), Update(); }

void ScrollModel::SetPixelOffset(int pixels) {
  mode = 1;
  pixelOffset = pixels;
  Update();
}

void ScrollModel::SetLineOffset(int line) {
  mode = 0;
  lineOffset = line;
  Update();
}

void ScrollModel::Update() {
  long long thumb = totalLines > 0 ? static_cast<long long>(trackSize) * visibleLines / totalLines : trackSize;
  thumbSize = static_cast<int>(std::clamp<long long>(thumb, minimalThumb, trackSize));
  thumbSize = std::min(thumbSize, trackSize);
  int room = trackSize - thumbSize;
  int hiddenLines = std::max(0, totalLines - visibleLines);
  if (mode == 1) {
    pixelOffset = std::clamp(pixelOffset, 0, room);
    lineOffset = room > 0 ? static_cast<int>(std::lround(static_cast<double>(pixelOffset) * hiddenLines / room)) : 0;
  } else {
    lineOffset = std::clamp(lineOffset, 0, hiddenLines);
    pixelOffset = hiddenLines > 0 ? static_cast<int>(std::lround(static_cast<double>(lineOffset) * room / hiddenLines)) : 0;
  }
}
