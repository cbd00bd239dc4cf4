#include "skin/SkinnedDialogs.h"

#include <wx/msgdlg.h>

#include "skin/ControlTable.h"
#include "skin/SkinControls.h"
#include "skin/SkinLoader.h"
#include "skin/ZQDialogWindow.h"

namespace {

CZQSkinnedControl* DialogControl(const char* name) {
  return dynamic_cast<CZQSkinnedControl*>(ControlAt(ControlIdByName(name), -1));
}

// Shows the skin's dialog window with the text; -1 when the skin has no usable one.
int ShowSkinDialog(int windowIndex, const std::string& text, bool withCancel) {
  auto* dialog = dynamic_cast<ZQDialogWindow*>(SkinDialogWindow(windowIndex));
  CZQSkinnedControl* ok = DialogControl("special_dialog_ok");
  CZQSkinnedControl* cancel = DialogControl("special_dialog_cancel");
  CZQSkinnedControl* message = DialogControl("special_dialog_message");
  // The controls must sit on this very dialog: one set serves both windows.
  if (!dialog || !ok || !ok->Placed() || ok->GetParent() != dialog) return -1;
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
  if (ShowSkinDialog(kWindowMessageDialog, text, false) < 0)
    wxMessageBox(wxString::FromUTF8(text), "Message", wxOK, parent);
}
