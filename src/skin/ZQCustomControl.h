#pragma once
// The base of every skinned control. A control owns an offscreen bitmap, redraws it in
// PaintControl() when its state changes and copies it to the screen in its paint event, so the
// many small controls of a skin can refresh every tick without flicker.
//
// All input (mouse, bound keys, MIDI, scripts) arrives as one ControlEvent through SendEvent,
// which drops everything but focus clicks while the control shows its bindings (learn mode).
//
// Threads: GUI thread only; controls take no locks. Ownership: catalogue controls belong to the
// control table and live until the main window closes; private controls belong to the loader.

#include <wx/bitmap.h>
#include <wx/control.h>
#include <wx/dcmemory.h>

#include <functional>
#include <string>

#include "app/control/ControlEvent.h"
#include "skin/model/SkinAttributeList.h"

class ZQCustomControl : public wxControl {
 public:
  static constexpr int kMaxKeySlots = 10;

  ZQCustomControl(wxWindow* parent, int logicalId, int deck);
  ~ZQCustomControl() override;

  // Size, graphics mode and position from the skin; remakes the offscreen bitmap when the size
  // changed and marks the control placed. Values (a slider's level, a button's state) are kept.
  virtual void LoadAttributes(SkinAttributeList& list);
  virtual void HandleEvent(const ControlEvent& event);
  // Redraws the offscreen bitmap from the current state.
  virtual void PaintControl() = 0;
  // A drag was ended from outside.
  virtual void CaptureLost(bool) {}

  // HandleEvent guarded by learn mode: in learn mode a press or double click takes the focus
  // and everything else is dropped, so learning never fires a function.
  void SendEvent(const ControlEvent& event);
  // PaintControl, then a refresh that posts the paint.
  void Repaint();

  // Learn mode; a control with no key slots never enters it.
  void SetLearnMode(bool on);
  bool LearnMode() const { return learnMode_; }

  // Bindings shown by the learn overlay.
  void SetMidiBinding(int channel, bool isKey, int keyOrCc, bool toggle);
  void SetKeyBinding(int slot, int code, int modifiers, int character);
  void SetKeySlotCount(int count);

  int LogicalId() const { return logicalId_; }
  void SetLogicalId(int id) { logicalId_ = id; }
  int CatalogueId() const { return catalogueId_; }
  void SetCatalogueId(int id) { catalogueId_ = id; }
  int Deck() const { return deck_; }
  bool Placed() const { return placed_; }
  void SetPlaced(bool placed) { placed_ = placed; }
  bool ReparentAllowed() const { return reparentAllowed_; }
  void SetReparentAllowed(bool allowed) { reparentAllowed_ = allowed; }
  int ScriptEventBits() const { return scriptEventBits_; }
  void SetScriptEventBits(int bits) { scriptEventBits_ = bits; }
  const std::string& Name() const { return name_; }
  void SetName(const std::string& name) { name_ = name.substr(0, 63); }
  int GraphicsMode() const { return graphicsMode_; }
  bool WantsDoubleClick() const { return wantsDoubleClick_; }
  void SetWantsDoubleClick(bool wants) { wantsDoubleClick_ = wants; }
  bool HasOffscreen() const { return offscreen_.IsOk(); }

  ControlCallback onPress, onRelease, onPressAlt, onReleaseAlt, onDoubleClick, onSpare1, onSpare2;

 protected:
  // The attributes every control keeps for drawing.
  int ControlWidth() const { return width_; }
  int ControlHeight() const { return height_; }
  wxMemoryDC& Offscreen() { return offscreenDc_; }
  // Blits the control's rectangle of the skin image at (sx, sy) into the offscreen surface;
  // false when there is no image to draw from.
  bool BlitFromSkin(int sx, int sy);
  wxFont defaultFont_;

 private:
  void OnPaint(wxPaintEvent& event);
  void OnMouse(wxMouseEvent& event);
  void PauseHint();
  void ResumeHint();
  void OnWheel(wxMouseEvent& event);
  void OnChar(wxKeyEvent& event);
  void OnFocus(wxFocusEvent& event);
  void OnKillFocus(wxFocusEvent& event);
  void OnCaptureLost(wxMouseCaptureLostEvent& event);
  void DrawLearnOverlay(wxDC& dc);
  void RemakeOffscreen();

  bool ready_ = false;
  int width_ = 0, height_ = 0;
  int logicalId_;
  bool wantsDoubleClick_ = false;
  int doubleClickExtra_ = 0;
  bool reparentAllowed_ = true;
  int scriptEventBits_ = 0;
  int catalogueId_ = 0;
  int deck_;
  bool learnMode_ = false;
  bool midiMappingAllowed_ = true;
  int keySlotCount_ = kMaxKeySlots;
  bool hasFocus_ = false;
  // The hint put away while the hand works the control, given back when the pointer leaves.
  wxString pausedHint_;
  int midiChannel_ = 0;
  bool midiIsKey_ = false;
  int midiKeyOrCc_ = -1;
  bool midiToggle_ = false;
  int keyCodes_[kMaxKeySlots] = {};
  int keyModifiers_[kMaxKeySlots] = {};
  unsigned short keyCharacters_[kMaxKeySlots] = {};
  int graphicsMode_ = -1;
  bool placed_ = false;
  std::string name_;
  wxBitmap offscreen_;
  wxMemoryDC offscreenDc_;
};

// Modifier bits of a mouse or key event: 1 | 16 control, 2 alt, 4 shift, 8 meta.
int ModifierBits(bool control, bool alt, bool shift, bool meta);

// Button of a mouse event, 1 left, 2 middle, 3 right, 0 none: a press or release names the
// button that changed, whatever else is held; motion and the wheel name the first one held.
int ControlEventButton(const wxMouseEvent& event);

// Key code, modifiers and character of a key event: the Unicode code when it is 1 or above and
// the raw code below 397, else the raw code; codes 27-255 upper-cased when asked.
struct KeyInfo {
  int code = 0;
  int modifiers = 0;
  int character = ' ';
};
KeyInfo GetKeyInfo(const wxKeyEvent& event, bool upperCase);

// The control that learn mode binds the next key or MIDI message to: (catalogue id, deck).
struct LearnTarget {
  int id = 0;
  int deck = -1;
};
LearnTarget CurrentLearnTarget();
void SetLearnTarget(int id, int deck);
// Called when the target changes, so the controller layer can release a held note and reset its
// rotating key slot.
void SetLearnTargetHook(std::function<void()> hook);

// Asks the main window for the control under a screen point (the wheel goes there).
ZQCustomControl* ControlUnderPointer(const wxPoint& screenPoint);
