#include "skin/ZQCustomControl.h"

#include <wx/dcclient.h>
#include <wx/settings.h>

#include <algorithm>
#include <cstdio>

#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"
#include "skin/model/KeyName.h"

namespace {

LearnTarget g_learnTarget;
std::function<void()> g_learnTargetHook;

}  // namespace

LearnTarget CurrentLearnTarget() { return g_learnTarget; }

void SetLearnTarget(int id, int deck) {
  g_learnTarget = {id, deck};
  if (g_learnTargetHook) g_learnTargetHook();
}

void SetLearnTargetHook(std::function<void()> hook) { g_learnTargetHook = std::move(hook); }

int ModifierBits(bool control, bool alt, bool shift, bool meta) {
  int bits = 0;
  if (control) bits |= kModControl | kModControl2;
  if (alt) bits |= kModAlt;
  if (shift) bits |= kModShift;
  if (meta) bits |= kModMeta;
  return bits;
}

KeyInfo GetKeyInfo(const wxKeyEvent& event, bool upperCase) {
  KeyInfo info;
  int raw = event.GetKeyCode();
  int unicode = static_cast<int>(event.GetUnicodeKey());
  info.code = unicode >= 1 && raw < 397 ? unicode : raw;
  info.modifiers = ModifierBits(event.ControlDown(), event.AltDown(), event.ShiftDown(), event.MetaDown());
  info.character = unicode >= 1 ? unicode : ' ';
  if (upperCase && info.code >= 27 && info.code <= 255) info.code = wxToupper(info.code);
  return info;
}

ZQCustomControl::ZQCustomControl(wxWindow* parent, int logicalId, int deck)
    : wxControl(parent, wxID_ANY, wxDefaultPosition, wxSize(1, 1), wxBORDER_NONE | wxWANTS_CHARS),
      logicalId_(logicalId),
      deck_(deck) {
  defaultFont_ = MakeFont("small", 2, false, false, false);
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  Bind(wxEVT_PAINT, &ZQCustomControl::OnPaint, this);
  for (auto type : {wxEVT_LEFT_DOWN, wxEVT_LEFT_UP, wxEVT_LEFT_DCLICK, wxEVT_MIDDLE_DOWN, wxEVT_MIDDLE_UP,
                    wxEVT_MIDDLE_DCLICK, wxEVT_RIGHT_DOWN, wxEVT_RIGHT_UP, wxEVT_RIGHT_DCLICK, wxEVT_ENTER_WINDOW,
                    wxEVT_LEAVE_WINDOW, wxEVT_MOTION}) {
    Bind(type, &ZQCustomControl::OnMouse, this);
  }
  Bind(wxEVT_MOUSEWHEEL, &ZQCustomControl::OnWheel, this);
  Bind(wxEVT_CHAR, &ZQCustomControl::OnChar, this);
  Bind(wxEVT_SET_FOCUS, &ZQCustomControl::OnFocus, this);
  Bind(wxEVT_KILL_FOCUS, &ZQCustomControl::OnKillFocus, this);
  Bind(wxEVT_MOUSE_CAPTURE_LOST, &ZQCustomControl::OnCaptureLost, this);
  Hide();
}

ZQCustomControl::~ZQCustomControl() {
  offscreenDc_.SelectObject(wxNullBitmap);
}

void ZQCustomControl::RemakeOffscreen() {
  offscreenDc_.SelectObject(wxNullBitmap);
  offscreen_ = wxNullBitmap;
  if (width_ <= 0 || height_ <= 0) return;
  if (!offscreen_.Create(width_, height_, 32)) {
    std::fputs("very big error \n\n", stderr);
    offscreen_ = wxNullBitmap;
    return;
  }
  offscreenDc_.SelectObject(offscreen_);
}

void ZQCustomControl::LoadAttributes(SkinAttributeList& list) {
  Freeze();
  int width = std::max(1, list.GetInt("width"));
  int height = std::max(1, list.GetInt("height"));
  graphicsMode_ = list.GetInt("graphics_mode") == 1 ? 1 : 0;
  SetSize(list.GetInt("posx"), list.GetInt("posy"), width, height);
  if (width != width_ || height != height_ || !offscreen_.IsOk()) {
    width_ = width;
    height_ = height;
    RemakeOffscreen();
  }
  Thaw();
  placed_ = true;
  ready_ = true;
}

void ZQCustomControl::HandleEvent(const ControlEvent&) {}

void ZQCustomControl::SendEvent(const ControlEvent& event) {
  if (!learnMode_) {
    HandleEvent(event);
    return;
  }
  if (event.kind == kEventMouseDown || event.kind == kEventDoubleClick) SetFocus();
}

void ZQCustomControl::Repaint() {
  if (!offscreen_.IsOk()) return;
  PaintControl();
  Refresh(false);
}

bool ZQCustomControl::BlitFromSkin(int sx, int sy) {
  wxMemoryDC* source = SkinSurfaceFor(this).Dc();
  if (!source || !offscreen_.IsOk()) return false;
  offscreenDc_.Blit(0, 0, width_, height_, source, sx, sy);
  return true;
}

void ZQCustomControl::SetLearnMode(bool on) {
  bool learn = on && keySlotCount_ > 0;
  if (learn == learnMode_) return;
  learnMode_ = learn;
  Repaint();
}

void ZQCustomControl::SetMidiBinding(int channel, bool isKey, int keyOrCc, bool toggle) {
  midiChannel_ = channel, midiIsKey_ = isKey, midiKeyOrCc_ = keyOrCc, midiToggle_ = toggle;
}

void ZQCustomControl::SetKeyBinding(int slot, int code, int modifiers, int character) {
  if (slot < 0 || slot >= kMaxKeySlots) return;
  keyCodes_[slot] = code, keyModifiers_[slot] = modifiers;
  keyCharacters_[slot] = static_cast<unsigned short>(character);
}

void ZQCustomControl::SetKeySlotCount(int count) {
  keySlotCount_ = std::clamp(count, 0, kMaxKeySlots);
  if (keySlotCount_ == 0) learnMode_ = false;
}

void ZQCustomControl::OnPaint(wxPaintEvent&) {
  wxPaintDC dc(this);
  if (!ready_ || !offscreen_.IsOk()) return;
  if (learnMode_) {
    // The overlay goes on a copy so the control's own picture stays clean for the next paint.
    wxBitmap copy = offscreen_.GetSubBitmap(wxRect(0, 0, width_, height_));
    wxMemoryDC overlay(copy);
    DrawLearnOverlay(overlay);
    dc.Blit(0, 0, width_, height_, &overlay, 0, 0);
    return;
  }
  dc.Blit(0, 0, width_, height_, &offscreenDc_, 0, 0);
}

void ZQCustomControl::DrawLearnOverlay(wxDC& dc) {
  wxColour blue("BLUE"), black("BLACK"), white("WHITE");
  if (!hasFocus_) {
    dc.SetPen(wxPen(blue, 1));
    dc.SetBrush(wxBrush(blue, wxBRUSHSTYLE_BDIAGONAL_HATCH));
    dc.DrawRectangle(0, 0, width_, height_);
  } else {
    dc.SetPen(wxPen(blue, 2));
    dc.SetBrush(*wxTRANSPARENT_BRUSH);
    dc.DrawRectangle(1, 1, width_ - 2, height_ - 2);
  }
  dc.SetFont(defaultFont_);
  dc.SetTextForeground(white);
  dc.SetTextBackground(black);
  dc.SetBackgroundMode(wxBRUSHSTYLE_SOLID);
  int x = 0;
  if (midiKeyOrCc_ != -1) {
    wxString text = wxString::Format(midiIsKey_ ? "K%d" : "C%d", midiKeyOrCc_);
    dc.DrawText(text, x, 0);
    x += dc.GetTextExtent(text).x + 2;
  }
  for (int slot = 0; slot < keySlotCount_; ++slot) {
    if (keyCodes_[slot] == 0) continue;
    wxString text = wxString::FromUTF8(KeyName(keyCodes_[slot], keyModifiers_[slot], keyCharacters_[slot]) + " ");
    dc.DrawText(text, x, 0);
    x += dc.GetTextExtent(text).x + 1;
  }
  dc.SetBackgroundMode(wxBRUSHSTYLE_TRANSPARENT);
  dc.SetPen(wxNullPen);
  dc.SetBrush(wxNullBrush);
}

int ControlEventButton(const wxMouseEvent& event) {
  if (event.IsButton()) {
    switch (event.GetButton()) {
      case wxMOUSE_BTN_LEFT: return 1;
      case wxMOUSE_BTN_MIDDLE: return 2;
      case wxMOUSE_BTN_RIGHT: return 3;
      default: return 0;
    }
  }
  return event.LeftIsDown() ? 1 : event.MiddleIsDown() ? 2 : event.RightIsDown() ? 3 : 0;
}

void ZQCustomControl::OnMouse(wxMouseEvent& event) {
  ControlEvent e;
  e.x = event.GetX();
  e.y = event.GetY();
  e.button = ControlEventButton(event);
  e.source = ModifierBits(event.ControlDown(), event.AltDown(), event.ShiftDown(), event.MetaDown());
  bool isButton = event.IsButton();
  if (isButton && event.ButtonDClick() && wantsDoubleClick_) {
    e.kind = kEventDoubleClick;
    SendEvent(e);
  } else if (isButton && (event.ButtonDown() || event.ButtonDClick())) {
    PauseHint();
    // Without wantsDoubleClick the second click of a double click is a press like any other.
    e.kind = kEventMouseDown;
    SendEvent(e);
  } else if (isButton && event.ButtonUp()) {
    e.kind = kEventMouseUp;
    if (!learnMode_) SendEvent(e);
  } else if (!learnMode_) {
    // A crossing with a button held is the drag itself (the capture reports those), not a
    // hand coming back to hover.
    if ((event.Leaving() || event.Entering()) && !event.ButtonIsDown(wxMOUSE_BTN_ANY)) ResumeHint();
    e.kind = event.Entering() ? kEventEnter : event.Leaving() ? kEventLeave : kEventMotion;
    SendEvent(e);
  }
  event.Skip();
}

// A hint asked for by resting the pointer on a control is no help once the hand is working it:
// after a drag the pointer rests where it let go, and the hint's window would pop up over the
// controls below (the record's hint covers the transport row) and take the next click there.
void ZQCustomControl::PauseHint() {
  if (!GetToolTip()) return;
  pausedHint_ = GetToolTipText();
  UnsetToolTip();
}

void ZQCustomControl::ResumeHint() {
  if (pausedHint_.empty()) return;
  SetToolTip(pausedHint_);
  pausedHint_.clear();
}

void ZQCustomControl::OnWheel(wxMouseEvent& event) {
  ZQCustomControl* target = ControlUnderPointer(ClientToScreen(event.GetPosition()));
  if (!target) return;
  ControlEvent e;
  e.kind = kEventWheel;
  e.status = event.GetWheelRotation();
  wxPoint local = target->ScreenToClient(ClientToScreen(event.GetPosition()));
  e.x = local.x, e.y = local.y;
  e.button = ControlEventButton(event);
  target->SendEvent(e);
}

void ZQCustomControl::OnChar(wxKeyEvent& event) {
  KeyInfo info = GetKeyInfo(event, false);
  if (!learnMode_) {
    ControlEvent e;
    e.kind = kEventCharacter;
    e.x = info.code;
    e.y = info.modifiers;
    e.character = info.character;
    HandleEvent(e);
  }
  event.Skip();  // the window's shortcut handler still sees the key
}

void ZQCustomControl::OnFocus(wxFocusEvent& event) {
  hasFocus_ = true;
  if (learnMode_) SetLearnTarget(catalogueId_, deck_);
  Repaint();
  event.Skip();
}

void ZQCustomControl::OnKillFocus(wxFocusEvent& event) {
  hasFocus_ = false;
  LearnTarget target = CurrentLearnTarget();
  if (target.id == catalogueId_ && target.deck == deck_) SetLearnTarget(0, -1);
  Repaint();
  event.Skip();
}

void ZQCustomControl::OnCaptureLost(wxMouseCaptureLostEvent&) { CaptureLost(true); }
