#include "skin/SkinControls.h"

#include <algorithm>
#include <cmath>

#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"

namespace {

int Or(int value, int fallback) { return value == -1 ? fallback : value; }

}  // namespace

CZQSkinnedControl::CZQSkinnedControl(wxWindow* parent, int logicalId, int deck, int type)
    : ZQCustomControl(parent, logicalId, deck), type_(type) {
  font_ = defaultFont_;
}

void CZQSkinnedControl::LoadAttributes(SkinAttributeList& list) {
  upx_ = Or(list.GetInt("upx"), list.GetInt("posx"));
  upy_ = Or(list.GetInt("upy"), list.GetInt("posy"));
  transparent_ = list.GetBool("transparent");
  borderVisible_ = list.GetBool("bordervisible");
  backColour_ = ParseColour(list.GetString("backcolor"), wxColour(0x11, 0x11, 0x11));
  borderColour_ = ParseColour(list.GetString("bordercolor"), backColour_);
  fontColour_ = ParseColour(list.GetString("fontcolor"), wxColour(0xAA, 0xAA, 0xAA));
  std::string style = list.GetString("fontstyle");
  bool bold = style.find("bold") != std::string::npos;
  bool italic = style.find("italic") != std::string::npos;
  int size = list.Has("fontsize") ? list.GetInt("fontsize") : 2;
  font_ = MakeFont(list.GetString("fontname"), size, bold, italic, false);
  if (list.Has("fontalign")) align_ = list.GetString("fontalign");
  ZQCustomControl::LoadAttributes(list);
  Repaint();
}

void CZQSkinnedControl::SetText(const std::string& text) {
  if (text == text_) return;
  text_ = text;
  Repaint();
}

void CZQSkinnedControl::PaintBackground(int sx, int sy, const wxColour& back, const wxColour& border) {
  wxMemoryDC& dc = Offscreen();
  if (GraphicsMode() != 1 && BlitFromSkin(sx, sy)) return;
  if (transparent_ && BlitFromSkin(upx_, upy_)) return;
  dc.SetPen(wxPen(border.IsOk() ? border : back));
  dc.SetBrush(wxBrush(back));
  dc.DrawRectangle(0, 0, ControlWidth(), ControlHeight());
}

void CZQSkinnedControl::PaintText(const wxColour& colour) {
  if (text_.empty()) return;
  wxMemoryDC& dc = Offscreen();
  dc.SetFont(font_);
  dc.SetTextForeground(colour);
  dc.SetBackgroundMode(wxBRUSHSTYLE_TRANSPARENT);
  int alignment = align_ == "left" ? wxALIGN_LEFT | wxALIGN_CENTER_VERTICAL
                  : align_ == "right" ? wxALIGN_RIGHT | wxALIGN_CENTER_VERTICAL
                                      : wxALIGN_CENTER;
  wxRect area(2, 0, ControlWidth() - 4, ControlHeight());
  dc.DrawLabel(wxString::FromUTF8(text_), area, alignment);
}

void CZQSkinnedControl::PaintControl() {
  PaintBackground(upx_, upy_, backColour_, borderVisible_ ? borderColour_ : backColour_);
  PaintText(fontColour_);
}

// Buttons: four bitmap states and a selected (switched) variant of each.

void CZQButton::LoadAttributes(SkinAttributeList& list) {
  isSwitch_ = list.GetBool("isswitch");
  showLabel_ = list.GetBool("showlabel");
  int upx = Or(list.GetInt("upx"), list.GetInt("posx"));
  int upy = Or(list.GetInt("upy"), list.GetInt("posy"));
  overx_ = Or(list.GetInt("overx"), upx), overy_ = Or(list.GetInt("overy"), upy);
  downx_ = Or(list.GetInt("downx"), overx_), downy_ = Or(list.GetInt("downy"), overy_);
  selx_ = Or(list.GetInt("selx"), list.GetInt("posx")), sely_ = Or(list.GetInt("sely"), list.GetInt("posy"));
  overselx_ = Or(list.GetInt("overselx"), selx_), oversely_ = Or(list.GetInt("oversely"), sely_);
  downselx_ = Or(list.GetInt("downselx"), overselx_), downsely_ = Or(list.GetInt("downsely"), oversely_);
  backOver_ = ParseColour(list.GetString("backcolorover"), wxColour(0x60, 0x60, 0x60));
  backDown_ = ParseColour(list.GetString("backcolordown"), backOver_);
  backSel_ = ParseColour(list.GetString("backcolorsel"), wxColour(0xFF, 0x58, 0x3F));
  fontPressed_ = ParseColour(list.GetString("fontcolorpressed"), *wxWHITE);
  fontSwitched_ = ParseColour(list.GetString("fontcolorswitched"), *wxWHITE);
  CZQSkinnedControl::LoadAttributes(list);
}

void CZQButton::PaintControl() {
  int sx = selected_ ? (down_ ? downselx_ : over_ ? overselx_ : selx_) : (down_ ? downx_ : over_ ? overx_ : upx_);
  int sy = selected_ ? (down_ ? downsely_ : over_ ? oversely_ : sely_) : (down_ ? downy_ : over_ ? overy_ : upy_);
  wxColour back = selected_ ? backSel_ : down_ ? backDown_ : over_ ? backOver_ : backColour_;
  PaintBackground(sx, sy, back, borderColour_);
  if (showLabel_ || GraphicsMode() == 1) PaintText(down_ ? fontPressed_ : selected_ ? fontSwitched_ : fontColour_);
}

void CZQButton::SetSelected(bool selected) {
  if (selected == selected_) return;
  selected_ = selected;
  Repaint();
}

void CZQButton::Press(int button) {
  down_ = true;
  if (button == 3) {
    Repaint();
    if (onPressAlt) onPressAlt(selected_, LogicalId(), Deck());
    return;
  }
  if (isSwitch_) selected_ = !selected_;
  Repaint();
  if (onPress) onPress(selected_, LogicalId(), Deck());
}

void CZQButton::Release(int button) {
  if (!down_) return;
  down_ = false;
  Repaint();
  ControlCallback& callback = button == 3 ? onReleaseAlt : onRelease;
  if (callback) callback(selected_, LogicalId(), Deck());
}

void CZQButton::HandleEvent(const ControlEvent& event) {
  switch (event.kind) {
    case kEventMouseDown:
      CaptureMouse();
      Press(event.button);
      break;
    case kEventMouseUp:
      if (HasCapture()) ReleaseMouse();
      Release(event.button);
      break;
    case kEventDoubleClick:
      if (onDoubleClick) onDoubleClick(selected_, LogicalId(), Deck());
      break;
    case kEventEnter:
    case kEventLeave:
      over_ = event.kind == kEventEnter;
      Repaint();
      break;
    case kEventMessage:
      if (event.status == 0x90 && event.value > 0) Press(1);
      else if (event.status == 0x80 || event.status == 0x90) Release(1);
      break;
    case kEventBoundKey:
      Press(1);
      Release(1);
      break;
    default:
      break;
  }
}

// Sliders: a track from the skin and a cursor placed by the value; a square "size" makes a knob.

void CZQSlider::LoadAttributes(SkinAttributeList& list) {
  if (list.Has("size")) {
    list.Set("width", list.GetString("size"));
    list.Set("height", list.GetString("size"));
    knob_ = true;
  }
  knob_ = knob_ || list.GetBool("isknob");
  cursorWidth_ = std::max(0, list.GetInt("cursorwidth"));
  cursorHeight_ = std::max(0, list.GetInt("cursorheight"));
  cursorUpx_ = list.GetInt("cursorupx");
  cursorUpy_ = list.GetInt("cursorupy");
  sliderColour_ = ParseColour(list.GetString("slidercolor"), wxColour(0xAA, 0xAA, 0xAA));
  CZQSkinnedControl::LoadAttributes(list);
}

void CZQSlider::PaintControl() {
  PaintBackground(upx_, upy_, backColour_, backColour_);
  wxMemoryDC& dc = Offscreen();
  int w = ControlWidth(), h = ControlHeight();
  if (knob_) {
    // A pointer from the centre over 270 degrees, starting at the lower left.
    double angle = (225.0 - 270.0 * value_ / kMaxValue) * M_PI / 180.0;
    double r = std::min(w, h) / 2.0 - 2;
    dc.SetPen(wxPen(sliderColour_, std::max(2, w / 14)));
    dc.DrawLine(w / 2, h / 2, w / 2 + static_cast<int>(r * std::cos(angle)),
                h / 2 - static_cast<int>(r * std::sin(angle)));
    return;
  }
  int cw = cursorWidth_ ? cursorWidth_ : (Vertical() ? w : std::max(6, h / 2));
  int ch = cursorHeight_ ? cursorHeight_ : (Vertical() ? std::max(6, w / 2) : h);
  int x = Vertical() ? (w - cw) / 2 : (w - cw) * value_ / kMaxValue;
  int y = Vertical() ? (h - ch) * (kMaxValue - value_) / kMaxValue : (h - ch) / 2;
  wxMemoryDC* skin = SkinSurfaceFor(this).Dc();
  if (skin && cursorUpx_ >= 0 && cursorUpy_ >= 0 && GraphicsMode() != 1) {
    dc.Blit(x, y, cw, ch, skin, cursorUpx_, cursorUpy_);
    return;
  }
  dc.SetPen(wxPen(wxColour(0x10, 0x10, 0x10)));
  dc.SetBrush(wxBrush(sliderColour_));
  dc.DrawRoundedRectangle(x, y, cw, ch, 2);
  dc.SetPen(wxPen(wxColour(0x20, 0x20, 0x20), 1));
  if (Vertical()) dc.DrawLine(x + 2, y + ch / 2, x + cw - 2, y + ch / 2);
  else dc.DrawLine(x + cw / 2, y + 2, x + cw / 2, y + ch - 2);
}

int CZQSlider::ValueAt(int x, int y) const {
  int span = Vertical() ? ControlHeight() : ControlWidth();
  int at = Vertical() ? ControlHeight() - y : x;
  return std::clamp(span > 0 ? at * kMaxValue / span : 0, 0, kMaxValue);
}

void CZQSlider::SetValue(int value, bool finished) {
  value_ = std::clamp(value, 0, kMaxValue);
  Repaint();
  ControlCallback& callback = finished ? onRelease : onPress;
  if (callback) callback(value_, LogicalId(), Deck());
}

void CZQSlider::HandleEvent(const ControlEvent& event) {
  switch (event.kind) {
    case kEventMouseDown:
      dragging_ = true;
      CaptureMouse();
      if (!knob_) SetValue(ValueAt(event.x, event.y), false);
      break;
    case kEventMotion:
      if (dragging_) SetValue(ValueAt(event.x, event.y), false);
      break;
    case kEventMouseUp:
      if (HasCapture()) ReleaseMouse();
      if (dragging_) SetValue(value_, true);
      dragging_ = false;
      break;
    case kEventWheel:
      SetValue(value_ + (event.status > 0 ? 1 : -1), true);
      break;
    case kEventMessage:
      if (event.status == 0xB0) SetValue(event.value, true);
      break;
    default:
      break;
  }
}

ZQCustomControl* CreateSkinControl(int type, wxWindow* parent, int logicalId, int deck) {
  switch (type) {
    case 1: return new CZQButton(parent, logicalId, deck);
    case 2: return new CZQSlider(parent, logicalId, deck);
    case 3: return new CZQStaticText(parent, logicalId, deck);
    case 4: return new CZQImage(parent, logicalId, deck);
    case 10: return new CZQVUMeter(parent, logicalId, deck);
    case 11: return new CZQSoundDisplay(parent, logicalId, deck);
    case 12: return new CSpecialKVButton(parent, logicalId, deck);
    case 13: return new CSpecialWheel(parent, logicalId, deck);
    case 14: return new CSpecialBeatPos(parent, logicalId, deck);
    case 16: return new CSpecialKVFlow(parent, logicalId, deck);
    default: return nullptr;
  }
}
