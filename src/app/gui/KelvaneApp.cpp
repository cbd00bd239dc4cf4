// Placeholder window program; the skinned main window replaces it.
#include <wx/wx.h>

class KelvaneApp : public wxApp {
 public:
  bool OnInit() override {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "Zorvik Lumo 2", wxPoint(100, 100), wxSize(400, 400));
    frame->Show();
    return true;
  }
};

wxIMPLEMENT_APP(KelvaneApp);
