#include "skin/ZQDialogWindow.h"

ZQDialogWindow::ZQDialogWindow(wxWindow* parent, const wxString& title)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxSize(300, 150), wxBORDER_NONE) {
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  Bind(wxEVT_PAINT, &ZQDialogWindow::OnPaint, this);
}
