#pragma once
// The control types a skin places. Each draws its skin rectangle (or its colours in graphics
// mode 1) and, where it has one, its text. The full behaviour of each type (slider laws, the
// sound display's wave, the wheel's rotation) is built on these in their own files later; what
// is here is what every type needs to be placed, shown and pressed.
//
// Threads: GUI thread only.

#include <string>

#include "skin/ZQCustomControl.h"

// What the types share: the "up" corner, colours, font and a text.
class CZQSkinnedControl : public ZQCustomControl {
 public:
  CZQSkinnedControl(wxWindow* parent, int logicalId, int deck, int type);
  void LoadAttributes(SkinAttributeList& list) override;
  void PaintControl() override;

  int Type() const { return type_; }
  void SetText(const std::string& text);
  const std::string& Text() const { return text_; }

 protected:
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

class CZQButton : public CZQSkinnedControl {
 public:
  CZQButton(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 1) {}
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;
  bool Selected() const { return selected_; }
  void SetSelected(bool selected);
  bool IsSwitch() const { return isSwitch_; }

 private:
  void Press(int button);
  void Release(int button);

  bool isSwitch_ = false, showLabel_ = false;
  bool over_ = false, down_ = false, selected_ = false;
  int overx_ = 0, overy_ = 0, downx_ = 0, downy_ = 0, selx_ = 0, sely_ = 0;
  int overselx_ = 0, oversely_ = 0, downselx_ = 0, downsely_ = 0;
  wxColour backOver_, backDown_, backSel_, fontPressed_, fontSwitched_;
};

class CZQSlider : public CZQSkinnedControl {
 public:
  static constexpr int kMaxValue = 127;
  CZQSlider(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 2) {}
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;
  virtual void SetValue(int value, bool finished);
  int Value() const { return value_; }

 private:
  int ValueAt(int x, int y) const;
  bool Vertical() const { return ControlHeight() > ControlWidth(); }

  int value_ = kMaxValue / 2;
  bool knob_ = false, dragging_ = false;
  int cursorWidth_ = 0, cursorHeight_ = 0, cursorUpx_ = -1, cursorUpy_ = -1;
  wxColour sliderColour_;
};

// Types that for now show their skin rectangle (and text) and take no input of their own.
#define LUMO_PLAIN_CONTROL(Class, TypeNumber)                                                    \
  class Class : public CZQSkinnedControl {                                                      \
   public:                                                                                      \
    Class(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, TypeNumber) {} \
  };
LUMO_PLAIN_CONTROL(CZQStaticText, 3)
LUMO_PLAIN_CONTROL(CZQImage, 4)
LUMO_PLAIN_CONTROL(CZQVUMeter, 10)
LUMO_PLAIN_CONTROL(CZQSoundDisplay, 11)
LUMO_PLAIN_CONTROL(CSpecialKVButton, 12)
LUMO_PLAIN_CONTROL(CSpecialWheel, 13)
LUMO_PLAIN_CONTROL(CSpecialBeatPos, 14)
LUMO_PLAIN_CONTROL(CSpecialKVFlow, 16)
#undef LUMO_PLAIN_CONTROL

// A new control of a skin type; null for types that make no control (video, web browser,
// group, unknown).
ZQCustomControl* CreateSkinControl(int type, wxWindow* parent, int logicalId, int deck);
