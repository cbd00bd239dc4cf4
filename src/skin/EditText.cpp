#include "skin/EditText.h"

#include "library/LibraryPanel.h"
#include "skin/BrowserSetup.h"
#include "skin/BrowserTree.h"
#include "skin/ControlTable.h"

void ClearSearchBox() {
  if (auto* box = dynamic_cast<CZQEditText*>(ControlAt(ControlIdByName("et_search"), -1))) box->ClearValue();
  else if (LibraryPanel* panel = CurrentLibraryPanel()) panel->SetSearchText("");
}

CZQEditText::CZQEditText(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 9) {
  // Editing keys are the box's own: they must not move the focus or reach the shortcuts.
  Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) {
    if (LearnMode()) {
      event.Skip();
      return;
    }
    switch (event.GetKeyCode()) {
      case WXK_BACK: case WXK_DELETE: case WXK_NUMPAD_DELETE: case WXK_LEFT: case WXK_RIGHT: case WXK_HOME:
      case WXK_END: case WXK_ESCAPE: case WXK_RETURN: case WXK_NUMPAD_ENTER: case WXK_DOWN: case WXK_TAB: {
        ControlEvent key;
        key.kind = kEventCharacter;
        key.x = event.GetKeyCode();
        SendEvent(key);
        break;
      }
      default: event.Skip();
    }
  });
}

bool EditTextHasFocus() { return dynamic_cast<CZQEditText*>(wxWindow::FindFocus()) != nullptr; }

bool CZQEditText::IsSearchBox() const {
  static const int kSearchBox = ControlIdByName("et_search");
  return CatalogueId() == kSearchBox;
}

void CZQEditText::SetValue(const std::string& text) {
  model_.SetText(text);
  Changed();
}

void CZQEditText::ClearValue() {
  model_.Clear();
  Changed();
}

void CZQEditText::Changed() {
  if (IsSearchBox()) {
    if (LibraryPanel* panel = CurrentLibraryPanel()) panel->SetSearchText(model_.Text());
  }
  Repaint();
}

void CZQEditText::HandleEvent(const ControlEvent& event) {
  if (event.kind == kEventMouseDown) {
    SetFocus();
    Repaint();
    return;
  }
  if (event.kind != kEventCharacter) return;
  bool changed = false;
  switch (event.x) {
    case WXK_BACK: changed = model_.Backspace(); break;
    case WXK_DELETE: case WXK_NUMPAD_DELETE: changed = model_.Delete(); break;
    case WXK_LEFT: model_.Left(); break;
    case WXK_RIGHT: model_.Right(); break;
    case WXK_HOME: model_.Home(); break;
    case WXK_END: model_.End(); break;
    case WXK_ESCAPE: changed = model_.Clear(); break;
    case WXK_RETURN: case WXK_NUMPAD_ENTER: case WXK_DOWN: case WXK_TAB:
      // The DJ found the song: the list takes the keys to pick it and load it.
      if (IsSearchBox()) FocusLibraryPane(1);
      return;
    default:
      // Control and Alt chords are shortcuts, not text.
      if ((event.y & (1 | 16 | 2)) == 0) changed = model_.Type(static_cast<char32_t>(event.character));
  }
  if (changed) Changed();
  else Repaint();
}

void CZQEditText::PaintControl() {
  wxMemoryDC& dc = Offscreen();
  // The skin's picture of an empty box may hold a hint ("Search..."): it shows only while the
  // box is empty and idle.
  if (model_.Text().empty() && !HasFocus()) {
    PaintBackground(upx_, upy_, backColour_, borderVisible_ ? borderColour_ : backColour_);
  } else {
    dc.SetPen(wxPen(borderVisible_ ? borderColour_ : backColour_));
    dc.SetBrush(wxBrush(backColour_));
    dc.DrawRectangle(0, 0, ControlWidth(), ControlHeight());
  }
  dc.SetFont(font_);
  dc.SetTextForeground(fontColour_);
  dc.SetBackgroundMode(wxBRUSHSTYLE_TRANSPARENT);
  const wxString before = wxString::FromUTF8(model_.Text().substr(0, model_.Caret()));
  const wxString all = wxString::FromUTF8(model_.Text());
  const wxSize caretAt = dc.GetTextExtent(before);
  const int textHeight = dc.GetCharHeight();
  // Long text scrolls left so the caret stays inside the box.
  const int shift = std::max(0, caretAt.GetWidth() + 6 - ControlWidth());
  const int y = (ControlHeight() - textHeight) / 2;
  dc.DrawText(all, 3 - shift, y);
  if (HasFocus()) {
    dc.SetPen(wxPen(fontColour_));
    dc.DrawLine(3 - shift + caretAt.GetWidth(), y, 3 - shift + caretAt.GetWidth(), y + textHeight);
  }
}
