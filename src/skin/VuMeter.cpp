#include "skin/VuMeter.h"

#include <algorithm>
#include <cmath>

#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"

namespace {

// The bands of the drawn meter, in percent of its length: green to -10 dB, yellow to 0 dB.
const float kMidFrom = VuPercentOfDb(-10.0f);
const float kHighFrom = VuPercentOfDb(0.0f);

}  // namespace

CZQVUMeterControl::CZQVUMeterControl(wxWindow* parent, int logicalId, int deck)
    : CZQSkinnedControl(parent, logicalId, deck, 10) {}

void CZQVUMeterControl::LoadAttributes(SkinAttributeList& list) {
  bitmapMode_ = list.GetBool("indicator");
  reversed_ = list.GetBool("reversed");
  activeUpx_ = list.GetInt("activeupx");
  activeUpy_ = list.GetInt("activeupy");
  activeStep_ = std::max(0, list.GetInt("activestepsize"));
  low_ = ParseColour(list.GetString("colorlow"), wxColour(0x2f, 0xd2, 0x7c));
  mid_ = ParseColour(list.GetString("colormid"), wxColour(0xf4, 0xe0, 0x4d));
  high_ = ParseColour(list.GetString("colorhigh"), wxColour(0xff, 0x4b, 0x4b));
  backLow_ = ParseColour(list.GetString("backcolorlow"), wxColour(0x12, 0x30, 0x1f));
  backMid_ = ParseColour(list.GetString("backcolormid"), backLow_);
  backHigh_ = ParseColour(list.GetString("backcolorhigh"), backMid_);
  // The drawn meter falls a few percent a tick; the bitmap meter one step a paint.
  ballistics_ = VuBallistics(bitmapMode_ ? 1 : 4);
  ballistics_.Reset(bitmapMode_ ? -1 : 0);
  CZQSkinnedControl::LoadAttributes(list);
}

void CZQVUMeterControl::SetLevelDb(float decibels) {
  Push(bitmapMode_ ? VuStepOf(decibels) : static_cast<int>(std::lround(VuPercentOfDb(decibels))));
}

void CZQVUMeterControl::SetPercent(float percent) {
  if (std::isnan(percent)) percent = 0.0f;
  percent = std::clamp(percent, 0.0f, 100.0f);
  // A percentage on the bitmap meter lights the same share of its steps.
  Push(bitmapMode_ ? static_cast<int>(std::lround(percent * kVuStepCount / 100.0f)) - 1
                   : static_cast<int>(std::lround(percent)));
}

void CZQVUMeterControl::Push(int level) {
  const int level0 = ballistics_.Level(), peak0 = ballistics_.Peak();
  ballistics_.Push(level);
  // A meter at rest costs nothing: only a change is drawn.
  if (ballistics_.Level() != level0 || ballistics_.Peak() != peak0) Repaint();
}

void CZQVUMeterControl::PaintControl() {
  wxMemoryDC& dc = Offscreen();
  if (bitmapMode_) PaintSteps(dc);
  else PaintDrawn(dc);
}

void CZQVUMeterControl::PaintDrawn(wxDC& dc) {
  const int w = ControlWidth(), h = ControlHeight();
  const bool vertical = h >= w;
  const int length = vertical ? h : w;
  // Position along the meter, 0 at the quiet end, to a pixel rectangle across it.
  auto span = [&](int from, int to, const wxColour& colour) {
    if (to <= from) return;
    dc.SetBrush(wxBrush(colour));
    if (!vertical) dc.DrawRectangle(from, 0, to - from, h);
    else if (reversed_) dc.DrawRectangle(0, from, w, to - from);
    else dc.DrawRectangle(0, h - to, w, to - from);
  };
  auto pixels = [&](float percent) { return std::max(1, static_cast<int>(std::lround((length - 1) * 0.01 * percent))); };
  const int midAt = pixels(kMidFrom), highAt = pixels(kHighFrom);
  dc.SetPen(*wxTRANSPARENT_PEN);
  if (!(transparent_ && BlitFromSkin(upx_, upy_))) {
    span(0, midAt, backLow_);
    span(midAt, highAt, backMid_);
    span(highAt, length, backHigh_);
  }
  const int level = ballistics_.Level() > 0 ? pixels(ballistics_.Level()) : 0;
  // Every second line is lit, which gives the meter its segmented look at any size.
  for (int i = 0; i < level; i += 2) span(i, i + 1, i < midAt ? low_ : i < highAt ? mid_ : high_);
  if (ballistics_.Peak() > 0) {
    const int peak = pixels(ballistics_.Peak()) - 1;
    span(peak, peak + 1, peak < midAt ? low_ : peak < highAt ? mid_ : high_);
  }
}

void CZQVUMeterControl::PaintSteps(wxDC& dc) {
  const int w = ControlWidth(), h = ControlHeight();
  PaintBackground(upx_, upy_, backLow_, backLow_);
  wxMemoryDC* skin = SkinSurfaceFor(this).Dc();
  if (!skin || activeUpx_ < 0 || activeUpy_ < 0) return;
  const bool vertical = h >= w;
  const int length = vertical ? h : w;
  const int pitch = activeStep_ > 0 ? activeStep_ : std::max(1, (length - 23) / kVuStepCount + 1);
  auto lightStep = [&](int step) {
    if (step < 0) return;
    const int from = step * pitch;
    const int size = std::min(pitch - 1, length - from);
    if (size <= 0) return;
    if (!vertical) dc.Blit(from, 0, size, h, skin, activeUpx_ + from, activeUpy_);
    else if (reversed_) dc.Blit(0, from, w, size, skin, activeUpx_, activeUpy_ + from);
    else dc.Blit(0, h - from - size, w, size, skin, activeUpx_, activeUpy_ + h - from - size);
  };
  for (int step = 0; step <= ballistics_.Level(); ++step) lightStep(step);
  lightStep(ballistics_.Peak());
}
