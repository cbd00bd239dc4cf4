// The slider's view: a fader (track and cursor), a drawn knob or a film-strip knob, over the
// slider model that holds the value and the input laws.
#include <algorithm>
#include <cmath>

#include "skin/SkinControls.h"
#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"

CZQSlider::CZQSlider(wxWindow* parent, int logicalId, int deck)
    : CZQSkinnedControl(parent, logicalId, deck, kSlider), own_(logicalId, deck) {
  own_.SetRange(0, 127);
  ObserveModel(own_);
}

CZQSlider::~CZQSlider() { Unhook(model_, &own_); }

void CZQSlider::AttachModel(ControlModel* model) {
  auto* slider = dynamic_cast<SliderModel*>(model);
  if (!slider) return;
  Unhook(model_, &own_);
  model_ = slider;
  ObserveModel(*model_);
}

void CZQSlider::LoadAttributes(SkinAttributeList& list) {
  bool knob = list.GetBool("isknob");
  if (list.Has("size")) {
    list.Set("width", list.GetString("size"));
    list.Set("height", list.GetString("size"));
    knob = true;
  }
  cursorWidth_ = std::max(0, list.GetInt("cursorwidth"));
  cursorHeight_ = std::max(0, list.GetInt("cursorheight"));
  cursorUpx_ = list.GetInt("cursorupx");
  cursorUpy_ = list.GetInt("cursorupy");
  overx_ = list.GetInt("overx");
  overy_ = list.GetInt("overy");
  positions_ = list.GetInt("positions");
  spaceBetween_ = std::max(0, list.GetInt("spacebetweenpositions"));
  aliasing_ = std::max(1, list.GetInt("aliasing"));
  radius_ = list.GetInt("radius");
  cursorSize_ = list.Has("cursorsize") ? std::max(1, list.GetInt("cursorsize")) : 4;
  lineWidth_ = std::max(1, list.GetInt("linewidth"));
  useLine_ = !list.Has("useline") || list.GetBool("useline");
  sliderColour_ = ParseColour(list.GetString("slidercolor"), wxColour(0xAA, 0xAA, 0xAA));
  sliderColourOver_ = ParseColour(list.GetString("slidercolorover"), sliderColour_);
  cursorColour_ = ParseColour(list.GetString("cursorcolor"), sliderColour_);
  focusedCursorColour_ = ParseColour(list.GetString("focusedcursorcolor"), *wxWHITE);
  markerColour_ = ParseColour(list.GetString("markercolor"), wxNullColour);
  model_->SetKnob(knob);
  model_->SetReversed(list.GetBool("reversed"));
  model_->SetContinuous(list.GetBool("continuous"));
  model_->SetRotation(list.GetInt("rotation"));
  int width = std::max(0, list.GetInt("width")), height = std::max(0, list.GetInt("height"));
  bool vertical = height > width;
  int cw = cursorWidth_ ? cursorWidth_ : (vertical ? width : std::max(6, height / 2));
  int ch = cursorHeight_ ? cursorHeight_ : (vertical ? std::max(6, width / 2) : height);
  cursorWidth_ = cw, cursorHeight_ = ch;
  model_->SetGeometry(width, height, cw, ch);
  CZQSkinnedControl::LoadAttributes(list);
}

void CZQSlider::CaptureLost(bool) { model_->CaptureLost(); }

void CZQSlider::HandleEvent(const ControlEvent& event) {
  switch (event.kind) {
    case kEventMouseDown:
      if (!HasCapture()) CaptureMouse();
      break;
    case kEventMouseUp:
      if (HasCapture() && !(model_->Dragging() && event.button != 1 && event.button != 3)) ReleaseMouse();
      break;
    case kEventEnter:
    case kEventLeave:
      hover_ = event.kind == kEventEnter;
      Repaint();
      break;
    default:
      break;
  }
  model_->HandleEvent(event);
}

void CZQSlider::PaintControl() {
  bool active = hover_ || model_->Dragging();
  bool overImage = active && overx_ >= 0 && overy_ >= 0;
  PaintBackground(overImage ? overx_ : upx_, overImage ? overy_ : upy_, backColour_, backColour_);
  if (model_->IsKnob()) PaintKnob();
  else PaintFader();
}

void CZQSlider::PaintKnob() {
  wxMemoryDC& dc = Offscreen();
  int w = ControlWidth(), h = ControlHeight();
  double angle = model_->Angle(), rotation = model_->Rotation();
  if (positions_ > 1) {
    // A film strip: one frame per position, laid out in rows of the skin image from the over
    // corner (the up corner when the skin gives none).
    int frames = aliasing_ * positions_;
    int index = (static_cast<int>(std::lround(angle / (360.0 / frames))) - 1) % positions_;
    index = std::max(index, 0);
    int step = w + spaceBetween_;
    const bool overCorner = overx_ >= 0 && overy_ >= 0;
    int x = (overCorner ? overx_ : upx_) + step * index, y = overCorner ? overy_ : upy_;
    wxMemoryDC* skin = SkinSurfaceFor(this).Dc();
    int imageWidth = skin ? skin->GetSize().GetWidth() : 0;
    if (imageWidth > 0 && step > 0) {
      while (x + w > imageWidth) {
        x -= (imageWidth / step) * step;
        y += h + spaceBetween_;
        if (imageWidth / step == 0) break;
      }
    }
    if (BlitFromSkin(x, y)) return;
  }
  // A drawn knob: a marker from the centre, the minimum at the lower left, turning clockwise
  // (angles counted anticlockwise from three o'clock, screen y pointing down).
  double direction = (90.0 + rotation * 0.5 - angle) * M_PI / 180.0;
  double r = radius_ > 0 ? radius_ : std::min(w, h) / 2.0 - 2;
  wxColour colour = hover_ || model_->Dragging() ? focusedCursorColour_ : cursorColour_;
  double cx = w / 2.0, cy = h / 2.0;
  if (useLine_) {
    double inner = std::max(0.0, r - std::max(cursorSize_, static_cast<int>(r * 0.7)));
    dc.SetPen(wxPen(colour, std::max(lineWidth_, w / 14)));
    dc.DrawLine(static_cast<int>(cx + inner * std::cos(direction)), static_cast<int>(cy - inner * std::sin(direction)),
                static_cast<int>(cx + r * std::cos(direction)), static_cast<int>(cy - r * std::sin(direction)));
  } else {
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxBrush(colour));
    double at = r - cursorSize_;
    dc.DrawCircle(static_cast<int>(cx + at * std::cos(direction)), static_cast<int>(cy - at * std::sin(direction)),
                  cursorSize_ / 2 + 1);
  }
}

void CZQSlider::PaintFader() {
  wxMemoryDC& dc = Offscreen();
  int w = ControlWidth(), h = ControlHeight();
  bool vertical = model_->Vertical();
  int at = model_->CursorPosition();
  int x = vertical ? (w - cursorWidth_) / 2 : at;
  int y = vertical ? at : (h - cursorHeight_) / 2;
  if (markerColour_.IsOk() && model_->Min() == -model_->Max()) {
    // The centre line of a bipolar fader (pitch): where the value is zero.
    dc.SetPen(wxPen(markerColour_));
    if (vertical) dc.DrawLine(0, h / 2, w, h / 2);
    else dc.DrawLine(w / 2, 0, w / 2, h);
  }
  wxMemoryDC* skin = SkinSurfaceFor(this).Dc();
  if (skin && cursorUpx_ >= 0 && cursorUpy_ >= 0 && GraphicsMode() != 1) {
    dc.Blit(x, y, cursorWidth_, cursorHeight_, skin, cursorUpx_, cursorUpy_);
    return;
  }
  dc.SetPen(wxPen(wxColour(0x10, 0x10, 0x10)));
  dc.SetBrush(wxBrush(hover_ || model_->Dragging() ? sliderColourOver_ : sliderColour_));
  dc.DrawRoundedRectangle(x, y, cursorWidth_, cursorHeight_, 2);
  dc.SetPen(wxPen(wxColour(0x20, 0x20, 0x20), 1));
  if (vertical) dc.DrawLine(x + 2, y + cursorHeight_ / 2, x + cursorWidth_ - 2, y + cursorHeight_ / 2);
  else dc.DrawLine(x + cursorWidth_ / 2, y + 2, x + cursorWidth_ / 2, y + cursorHeight_ - 2);
}
