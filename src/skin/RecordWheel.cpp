#include "skin/RecordWheel.h"

#include <wx/dcgraph.h>
#include <wx/graphics.h>

#include <cmath>
#include <memory>

#include "app/base/Trace.h"
#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"
#include "skin/model/WheelModel.h"

namespace {

int Or(int value, int fallback) { return value == -1 ? fallback : value; }
constexpr double kDegrees = 3.14159265358979323846 / 180.0;

}  // namespace

void CSpecialWheel::LoadAttributes(SkinAttributeList& list) {
  overx_ = list.GetInt("overx"), overy_ = list.GetInt("overy");
  downx_ = list.GetInt("downx"), downy_ = list.GetInt("downy");
  wheelx_ = list.GetInt("transparentwheelx"), wheely_ = list.GetInt("transparentwheely");
  radius_ = std::max(0, list.GetInt("radius"));
  cursorSize_ = std::max(0, list.GetInt("cursorsize"));
  cursorColour_ = ParseColour(list.GetString("cursorcolor"), *wxWHITE);
  trailColour_ = ParseColour(list.GetString("trailcursorcolor"), cursorColour_);
  CZQSkinnedControl::LoadAttributes(list);
  // The picture keeps its alpha: cut it from the skin's own bitmap, not through a blit.
  wheel_ = wxBitmap();
  wheelPicture_ = wxGraphicsBitmap();
  const SkinSurface& surface = SkinSurfaceFor(this);
  if (surface.IsOk() && wheelx_ >= 0 && wheely_ >= 0 && ControlWidth() > 0 && ControlHeight() > 0 &&
      wheelx_ + ControlWidth() <= surface.Width() && wheely_ + ControlHeight() <= surface.Height()) {
    wheel_ = surface.Bitmap().GetSubBitmap(wxRect(wheelx_, wheely_, ControlWidth(), ControlHeight()));
  }
  wheelPicture_ = wheel_.IsOk() ? wxGraphicsRenderer::GetDefaultRenderer()->CreateBitmap(wheel_) : wxGraphicsBitmap();
  Repaint();
}

void CSpecialWheel::HandleEvent(const ControlEvent& event) {
  switch (event.kind) {
    case kEventMouseDown:
      if (event.button != 1) break;
      CaptureMouse();
      pressed_ = true;
      lastPointerAngle_ = WheelPointerAngle(event.x, event.y, ControlWidth(), ControlHeight());
      if (onPress) onPress(0, LogicalId(), Deck());
      Repaint();
      break;
    case kEventMotion:
      if (pressed_) {
        const double angle = WheelPointerAngle(event.x, event.y, ControlWidth(), ControlHeight());
        const int samples = WheelDragSamples(lastPointerAngle_, angle, rpm_);
        lastPointerAngle_ = angle;
        if (samples != 0 && onWheelMove) onWheelMove(samples, event.x, event.y, event.button, LogicalId(), Deck());
      }
      break;
    case kEventMouseUp:
      if (event.button == 1 && pressed_) EndPress(false);
      break;
    case kEventEnter:
    case kEventLeave:
      hover_ = event.kind == kEventEnter;
      Repaint();
      break;
    default:
      break;
  }
}

void CSpecialWheel::CaptureLost(bool) {
  if (pressed_) EndPress(true);
}

void CSpecialWheel::EndPress(bool captureLost) {
  if (!captureLost && HasCapture()) ReleaseMouse();
  pressed_ = false;
  if (onRelease) onRelease(0, LogicalId(), Deck());
  Repaint();
}

void CSpecialWheel::SetWheelPosition(double seconds, int rpm) {
  rpm_ = rpm;
  const double angle = WheelAngleAt(seconds, rpm);
  if (std::fabs(angle - angle_) < 0.05) return;  // less than a pixel at the rim of any skin
  angle_ = angle;
  Repaint();
}

void CSpecialWheel::PaintControl() {
  if (!HasOffscreen()) return;
  const int sx = pressed_ && downx_ >= 0 ? downx_ : hover_ && overx_ >= 0 ? overx_ : upx_;
  const int sy = pressed_ && downy_ >= 0 ? downy_ : hover_ && overy_ >= 0 ? overy_ : upy_;
  PaintBackground(sx, sy, backColour_, borderColour_);
  std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(Offscreen()));
  if (!gc) {
    TraceLine("wheel: no graphics context - not painted");
    return;
  }
  gc->SetAntialiasMode(wxANTIALIAS_DEFAULT);
  gc->SetInterpolationQuality(wxINTERPOLATION_GOOD);
  const double w = ControlWidth(), h = ControlHeight();
  // Turn about the centre: forward play turns the picture clockwise on screen.
  gc->Translate(w / 2, h / 2);
  gc->Rotate(angle_ * kDegrees);
  gc->Translate(-w / 2, -h / 2);
  if (!wheelPicture_.IsNull()) gc->DrawBitmap(wheelPicture_, 0, 0, w, h);
  if (cursorSize_ > 0) {
    const double rim = radius_ > 0 ? radius_ : std::min(w, h) / 2 - cursorSize_;
    gc->SetPen(*wxTRANSPARENT_PEN);
    gc->SetBrush(wxBrush(pressed_ ? trailColour_ : cursorColour_));
    gc->DrawEllipse(w / 2 - cursorSize_ / 2.0, h / 2 - rim - cursorSize_ / 2.0, cursorSize_, cursorSize_);
  }
}

void CSpecialBeatPos::LoadAttributes(SkinAttributeList& list) {
  onx_ = list.GetInt("onx"), ony_ = list.GetInt("ony");
  elementWidth_ = std::max(0, list.GetInt("elementwidth"));
  firstOffset_ = Or(list.GetInt("firstelementoffset"), 0);
  CZQSkinnedControl::LoadAttributes(list);
}

void CSpecialBeatPos::HandleEvent(const ControlEvent& event) {
  switch (event.kind) {
    case kEventMouseDown:
      if (event.button == 1) CaptureMouse();
      break;
    case kEventMouseUp:
      if (event.button == 1 && HasCapture()) ReleaseMouse();
      break;
    case kEventEnter:
    case kEventLeave:
      hover_ = event.kind == kEventEnter;
      break;
    default:
      break;
  }
}

void CSpecialBeatPos::SetBeatIndex(int index) {
  if (index == index_) return;
  index_ = index;
  Repaint();
}

void CSpecialBeatPos::PaintControl() {
  if (!HasOffscreen()) return;
  PaintBackground(upx_, upy_, backColour_, borderColour_);
  const int x = BeatLampX(index_, elementWidth_, firstOffset_, ControlWidth());
  if (x < 0 || elementWidth_ <= 0) return;
  if (wxMemoryDC* source = SkinSurfaceFor(this).Dc(); source && onx_ >= 0 && ony_ >= 0) {
    Offscreen().Blit(x, 0, elementWidth_, ControlHeight(), source, onx_ + x, ony_);
  } else {
    // A skin without a lit image: a plain lamp in the font colour.
    Offscreen().SetPen(*wxTRANSPARENT_PEN);
    Offscreen().SetBrush(wxBrush(fontColour_));
    Offscreen().DrawRectangle(x + 1, 1, std::max(1, elementWidth_ - 2), std::max(1, ControlHeight() - 2));
  }
}
