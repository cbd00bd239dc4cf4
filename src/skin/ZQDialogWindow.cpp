#include "skin/ZQDialogWindow.h"

ZQDialogWindow::ZQDialogWindow(wxWindow* parent, const wxString& title)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxSize(300, 150), wxBORDER_NONE) {
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  Bind(wxEVT_PAINT, &ZQDialogWindow::OnPaint, this);
  // The keyboard answers as a toolkit box does: Return is OK, Escape is Cancel.
  Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
    const int key = event.GetKeyCode();
    if (key == WXK_RETURN || key == WXK_NUMPAD_ENTER) CloseOk();
    else if (key == WXK_ESCAPE) CloseCancel();
    else event.Skip();
  });
}
