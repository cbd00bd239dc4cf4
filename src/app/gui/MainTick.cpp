#include "app/gui/MainTick.h"

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include <memory>

#include "app/control/GuiTick.h"

namespace {

class MainTickTimer : public wxTimer {
 public:
  explicit MainTickTimer(wxWindow* window) : window_(window) {}
  void Notify() override {
    std::string notice = tick_.Run();
    if (!notice.empty()) ShowNotice(wxString::FromUTF8(notice), window_);
  }

 private:
  wxWindow* window_;
  CGuiTick tick_;
};

std::unique_ptr<MainTickTimer> g_timer;

}  // namespace

void StartMainTick(wxWindow* window) {
  g_timer = std::make_unique<MainTickTimer>(window);
  g_timer->Start(kMainTickMs);
}

void StopMainTick() {
  if (g_timer) g_timer->Stop();
  g_timer.reset();
}

void ShowNotice(const wxString& text, wxWindow* parent) {
  auto* box = new wxDialog(parent, wxID_ANY, "Message");
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(new wxStaticText(box, wxID_ANY, text), 0, wxALL, 16);
  sizer->Add(new wxButton(box, wxID_OK, "OK"), 0, wxALIGN_RIGHT | wxLEFT | wxRIGHT | wxBOTTOM, 12);
  box->SetSizerAndFit(sizer);
  box->Bind(wxEVT_BUTTON, [box](wxCommandEvent&) { box->Destroy(); }, wxID_OK);
  parent->CallAfter([box] {
    box->CentreOnParent();
    box->Show();
  });
}
