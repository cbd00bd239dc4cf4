#pragma once
// Skinned dialogs ("confirm_dialog", "message_dialog"): a dialog whose background comes from the
// skin like the main window's. OK closes with 5100, Cancel with 5101.
//
// Threads: GUI thread only.

#include <wx/dialog.h>

#include "skin/ZQBaseWindow.h"

constexpr int kDialogOk = 5100;
constexpr int kDialogCancel = 5101;

class ZQDialogWindow : public wxDialog, public ZQBaseWindow {
 public:
  ZQDialogWindow(wxWindow* parent, const wxString& title);

  void BeginUpdate() override { Freeze(); }
  void EndUpdate() override { Thaw(); }
  wxWindow* GetParentWindow() override { return GetParent(); }
  void MoveTo(int x, int y) override { Move(x, y); }
  void ApplySize(int width, int height) override { SetClientSize(width, height); }

  void CloseOk() { EndModal(kDialogOk); }
  void CloseCancel() { EndModal(kDialogCancel); }

 private:
  void OnPaint(wxPaintEvent& event) { (void)event, PaintSkinBackground(this); }
};
