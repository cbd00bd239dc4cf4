#include "skin/SkinControls.h"

#include <algorithm>
#include <cmath>

#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"
#include "skin/RecordWheel.h"

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

void CZQSkinnedControl::ObserveModel(ControlModel& model) {
  model.onChanged = [this] { Repaint(); };
  model.observer = [this](ControlModel::Slot slot, int value, int deck) {
    ControlCallback* callbacks[] = {&onPress, &onRelease, &onPressAlt, &onReleaseAlt, &onDoubleClick, &onSpare1};
    if (*callbacks[slot]) (*callbacks[slot])(value, LogicalId(), deck);
  };
}

void CZQSkinnedControl::Unhook(ControlModel* model, ControlModel* own) {
  if (model == own) return;
  model->onChanged = nullptr;
  model->observer = nullptr;
}

// Buttons: six looks (up, over, down and the selected form of each), from the skin or colours.

CZQButton::CZQButton(wxWindow* parent, int logicalId, int deck)
    : CZQSkinnedControl(parent, logicalId, deck, kButton), own_(logicalId, deck) {
  ObserveModel(own_);
}

CZQButton::~CZQButton() { Unhook(model_, &own_); }

void CZQButton::AttachModel(ControlModel* model) {
  auto* button = dynamic_cast<ButtonModel*>(model);
  if (!button) return;
  Unhook(model_, &own_);
  model_ = button;
  ObserveModel(*model_);
}

void CZQButton::LoadAttributes(SkinAttributeList& list) {
  // The binding may already make it a switch; a skin reload keeps a lit switch lit.
  if (bool isSwitch = list.GetBool("isswitch") || model_->IsSwitch(); isSwitch != model_->IsSwitch())
    model_->SetIsSwitch(isSwitch);
  showLabel_ = list.GetBool("showlabel");
  int upx = Or(list.GetInt("upx"), list.GetInt("posx"));
  int upy = Or(list.GetInt("upy"), list.GetInt("posy"));
  static const char* const kCorners[6][2] = {{"upx", "upy"},   {"overx", "overy"},       {"downx", "downy"},
                                             {"selx", "sely"}, {"overselx", "oversely"}, {"downselx", "downsely"}};
  // A missing corner falls back to the one before it in its row (down to over to up).
  const int fallback[6] = {-1, 0, 1, -1, 3, 4};
  for (int i = 0; i < 6; ++i) {
    int fx = fallback[i] < 0 ? (i == 0 ? upx : list.GetInt("posx")) : corners_[fallback[i]][0];
    int fy = fallback[i] < 0 ? (i == 0 ? upy : list.GetInt("posy")) : corners_[fallback[i]][1];
    corners_[i][0] = Or(list.GetInt(kCorners[i][0]), fx);
    corners_[i][1] = Or(list.GetInt(kCorners[i][1]), fy);
  }
  CZQSkinnedControl::LoadAttributes(list);
  static const char* const kBacks[6] = {"backcolor", "backcolorover", "backcolordown", "backcolorsel",
                                        "backcolorselover", "backcolorseldown"};
  static const char* const kBorders[6] = {"bordercolor", "bordercolorover", "bordercolordown", "bordercolorsel",
                                          "bordercolorselover", "bordercolorseldown"};
  const wxColour defaults[6] = {backColour_, wxColour(0x60, 0x60, 0x60), wxColour(0x60, 0x60, 0x60),
                                wxColour(0xFF, 0x58, 0x3F), wxColour(0xFF, 0x70, 0x58), wxColour(0xD0, 0x48, 0x30)};
  for (int i = 0; i < 6; ++i) {
    backs_[i] = ParseColour(list.GetString(kBacks[i]), i == 2 ? backs_[1] : i == 5 ? backs_[4] : defaults[i]);
    borders_[i] = ParseColour(list.GetString(kBorders[i]), borderColour_);
  }
  fontPressed_ = ParseColour(list.GetString("fontcolorpressed"), *wxWHITE);
  fontSwitched_ = ParseColour(list.GetString("fontcolorswitched"), *wxWHITE);
  Repaint();
}

void CZQButton::PaintControl() {
  int look = model_->CurrentLook();
  PaintBackground(corners_[look][0], corners_[look][1], backs_[look], borders_[look]);
  bool held = model_->Held();
  bool lit = model_->IsSwitch() && model_->Selected();
  if (showLabel_ || GraphicsMode() == 1) PaintText(held ? fontPressed_ : lit ? fontSwitched_ : fontColour_);
}

void CZQButton::HandleEvent(const ControlEvent& event) {
  if (event.kind == kEventMouseDown && !HasCapture()) CaptureMouse();
  if (event.kind == kEventMouseUp && HasCapture()) ReleaseMouse();
  model_->HandleEvent(event);
}

// Texts: the model holds the text the tick and the bindings write.

CZQStaticText::CZQStaticText(wxWindow* parent, int logicalId, int deck)
    : CZQSkinnedControl(parent, logicalId, deck, kTextArea), own_(logicalId, deck) {
  ObserveModel(own_);
  own_.onChanged = [this] { ModelChanged(); };
}

CZQStaticText::~CZQStaticText() { Unhook(model_, &own_); }

void CZQStaticText::AttachModel(ControlModel* model) {
  auto* text = dynamic_cast<TextModel*>(model);
  if (!text) return;
  Unhook(model_, &own_);
  model_ = text;
  ObserveModel(*model_);
  model_->onChanged = [this] { ModelChanged(); };
  ModelChanged();
}

void CZQStaticText::HandleEvent(const ControlEvent& event) { model_->HandleEvent(event); }

void CZQStaticText::ModelChanged() {
  if (model_->Text() == text_) {
    Repaint();
    return;
  }
  if (model_->Scroller().Enabled()) {
    wxMemoryDC& dc = Offscreen();
    dc.SetFont(font_);
    model_->SetWidths(dc.GetTextExtent(wxString::FromUTF8(model_->Text())).GetWidth(), ControlWidth() - 4);
  }
  CZQSkinnedControl::SetText(model_->Text());
}

void CZQStaticText::PaintControl() {
  const TextScroller& scroller = model_->Scroller();
  if (!scroller.Scrolling() && scroller.Offset() == 0) {
    CZQSkinnedControl::PaintControl();
    return;
  }
  PaintBackground(upx_, upy_, backColour_, borderVisible_ ? borderColour_ : backColour_);
  wxMemoryDC& dc = Offscreen();
  dc.SetFont(font_);
  dc.SetTextForeground(fontColour_);
  dc.SetClippingRegion(2, 0, ControlWidth() - 4, ControlHeight());
  wxString text = wxString::FromUTF8(text_);
  int textHeight = dc.GetTextExtent(text).GetHeight();
  dc.DrawText(text, 2 + scroller.Offset(), (ControlHeight() - textHeight) / 2);
  dc.DestroyClippingRegion();
}

ZQCustomControl* CreateSkinControl(int type, wxWindow* parent, int logicalId, int deck) {
  switch (type) {
    case kButton: return new CZQButton(parent, logicalId, deck);
    case 2: return new CZQSlider(parent, logicalId, deck);
    case 3: return new CZQStaticText(parent, logicalId, deck);
    case 12: return new CSpecialKVButton(parent, logicalId, deck);
    case 13: return new CSpecialWheel(parent, logicalId, deck);
    case 14: return new CSpecialBeatPos(parent, logicalId, deck);
    case 16: return new CSpecialKVFlow(parent, logicalId, deck);
    default: return nullptr;
  }
}
