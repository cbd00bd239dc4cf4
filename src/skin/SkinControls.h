#pragma once
// The control types a skin places. Each draws its skin rectangle (or its colours in graphics
// mode 1) and, where it has one, its text. The full behaviour of each type (slider laws, the
// sound display's wave, the wheel's rotation) is built on these in their own files later; what
// is here is what every type needs to be placed, shown and pressed.
//
// Threads: GUI thread only.

#include <string>

#include "app/control/ButtonModel.h"
#include "app/control/SliderModel.h"
#include "skin/ZQCustomControl.h"
#include "skin/model/SkinTypes.h"

// What the types share: the "up" corner, colours, font and a text.
class CZQSkinnedControl : public ZQCustomControl {
 public:
  CZQSkinnedControl(wxWindow* parent, int logicalId, int deck, int type);
  void LoadAttributes(SkinAttributeList& list) override;
  void PaintControl() override;

  int Type() const { return type_; }
  virtual void SetText(const std::string& text);
  // A catalogue control draws its model from the control models; null is ignored.
  virtual void AttachModel(ControlModel*) {}
  const std::string& Text() const { return text_; }

 protected:
  static int Or(int value, int fallback) { return value == -1 ? fallback : value; }
  // A model shared with the control table outlives its view: unhook it when the view goes.
  static void Unhook(ControlModel* model, ControlModel* own);
  // Forwards a model's callbacks to this control's own (window functions, skin scripts).
  void ObserveModel(ControlModel& model);
  // Draws the background from (sx, sy) of the skin, or the colours in graphics mode 1.
  void PaintBackground(int sx, int sy, const wxColour& back, const wxColour& border);
  void PaintText(const wxColour& colour);

  int type_;
  int upx_ = 0, upy_ = 0;
  bool transparent_ = false;
  bool borderVisible_ = false;
  wxColour backColour_, borderColour_, fontColour_;
  wxFont font_;
  std::string align_ = "center";
  std::string text_;
};

// The views of the catalogue's buttons, sliders and texts draw a model (app/control) and pass
// their input to it. A catalogue control draws the model of its (id, deck), which the engine
// bindings drive; a private control of a skin keeps a model of its own.
class CZQButton : public CZQSkinnedControl {
 public:
  CZQButton(wxWindow* parent, int logicalId, int deck);
  ~CZQButton() override;
  void AttachModel(ControlModel* model) override;
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;
  bool Selected() const { return model_->Selected(); }
  void SetSelected(bool selected) { model_->SetSelected(selected); }
  bool IsSwitch() const { return model_->IsSwitch(); }
  ButtonModel& Model() { return *model_; }

 private:
  ButtonModel own_;
  ButtonModel* model_ = &own_;
  bool showLabel_ = false;
  int corners_[6][2] = {};  // up, over, down, selected, selected-over, selected-down
  wxColour backs_[6], borders_[6];
  wxColour fontPressed_, fontSwitched_;
};

class CZQSlider : public CZQSkinnedControl {
 public:
  CZQSlider(wxWindow* parent, int logicalId, int deck);
  ~CZQSlider() override;
  void AttachModel(ControlModel* model) override;
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;
  void CaptureLost(bool) override;
  virtual void SetValue(int value, bool finished) { model_->SetValue(value, finished); }
  int Value() const { return model_->Value(); }
  SliderModel& Model() { return *model_; }

 private:
  void PaintKnob();
  void PaintFader();

  SliderModel own_;
  SliderModel* model_ = &own_;
  int cursorWidth_ = 0, cursorHeight_ = 0, cursorUpx_ = -1, cursorUpy_ = -1;
  int overx_ = -1, overy_ = -1;
  int positions_ = 0, spaceBetween_ = 0, aliasing_ = 1, radius_ = 0, cursorSize_ = 4, lineWidth_ = 1;
  bool useLine_ = true;
  wxColour sliderColour_, sliderColourOver_, cursorColour_, focusedCursorColour_, markerColour_;
  bool hover_ = false;
};

class CZQStaticText : public CZQSkinnedControl {
 public:
  CZQStaticText(wxWindow* parent, int logicalId, int deck);
  ~CZQStaticText() override;
  void AttachModel(ControlModel* model) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;
  void SetText(const std::string& text) override { model_->SetText(text); }

 private:
  // The model changed: a new text is measured for the scroller; a scroll step repaints.
  void ModelChanged();

  TextModel own_;
  TextModel* model_ = &own_;
};

// Types that for now show their skin rectangle (and text) and take no input of their own.
#define LUMO_PLAIN_CONTROL(Class, TypeNumber)                                                    \
  class Class : public CZQSkinnedControl {                                                      \
   public:                                                                                      \
    Class(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, TypeNumber) {} \
  };
LUMO_PLAIN_CONTROL(CSpecialKVButton, 12)
LUMO_PLAIN_CONTROL(CSpecialKVFlow, 16)
#undef LUMO_PLAIN_CONTROL

// A new control of a skin type; null for types that make no control (video, web browser,
// group, unknown).
ZQCustomControl* CreateSkinControl(int type, wxWindow* parent, int logicalId, int deck);
