#include "skin/SkinnedDialogs.h"

#include <wx/msgdlg.h>

#include "app/base/Trace.h"
#include "skin/ControlTable.h"
#include "skin/SkinControls.h"
#include "skin/SkinLoader.h"
#include "skin/ZQDialogWindow.h"

namespace {

CZQSkinnedControl* DialogControl(const char* name) {
  return dynamic_cast<CZQSkinnedControl*>(ControlAt(ControlIdByName(name), -1));
}

bool IsSkinDialog(wxWindow* window) {
  for (int index : {kWindowConfirmDialog, kWindowMessageDialog}) {
    if (window && dynamic_cast<wxWindow*>(SkinDialogWindow(index)) == window) return true;
  }
  return false;
}

// Shows the skin's dialog window with the text; -1 when the skin has no usable one.
int ShowSkinDialog(int windowIndex, const std::string& text, bool withCancel) {
  auto* dialog = dynamic_cast<ZQDialogWindow*>(SkinDialogWindow(windowIndex));
  CZQSkinnedControl* ok = DialogControl("special_dialog_ok");
  CZQSkinnedControl* cancel = DialogControl("special_dialog_cancel");
  CZQSkinnedControl* message = DialogControl("special_dialog_message");
  // One set of controls serves both windows: it sits on the window the skin named last, and
  // the dialog about to show takes it over. Controls left on the main window mean the skin
  // has no dialogs.
  if (!dialog || dialog->SkinWidth() <= 0 || !ok || !ok->Placed() || !IsSkinDialog(ok->GetParent())) return -1;
  for (CZQSkinnedControl* control : {ok, cancel, message}) {
    if (control && control->Placed() && control->GetParent() != dialog && IsSkinDialog(control->GetParent()))
      control->Reparent(dialog);
  }
  if (message && message->GetParent() == dialog) message->SetText(text);
  ok->onRelease = [dialog](int, int, int) { dialog->CloseOk(); };
  if (cancel && cancel->GetParent() == dialog) {
    cancel->Show(withCancel);
    cancel->onRelease = [dialog](int, int, int) { dialog->CloseCancel(); };
  }
  dialog->CentreOnParent();
  const int result = dialog->ShowModal();
  ok->onRelease = nullptr;
  if (cancel) cancel->onRelease = nullptr;
  return result;
}

}  // namespace

void CreateSkinDialogWindows(wxWindow* main) {
  for (int index : {kWindowConfirmDialog, kWindowMessageDialog}) {
    if (!SkinDialogWindow(index)) SetSkinDialogWindow(index, new ZQDialogWindow(main, "Message"));
  }
}

bool AskConfirm(wxWindow* parent, const std::string& question) {
  const int result = ShowSkinDialog(kWindowConfirmDialog, question, true);
  if (result < 0) return wxMessageBox(wxString::FromUTF8(question), "Message", wxYES_NO, parent) == wxYES;
  return result == kDialogOk;
}

void ShowSkinnedMessage(wxWindow* parent, const std::string& text) {
  TraceLine("message: %s", text.c_str());
  if (ShowSkinDialog(kWindowMessageDialog, text, false) < 0)
    wxMessageBox(wxString::FromUTF8(text), "Message", wxOK, parent);
}
