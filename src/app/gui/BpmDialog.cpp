#include "app/gui/BpmDialog.h"

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/radiobox.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/valtext.h>

#include <chrono>
#include <cstdlib>
#include <locale>
#include <sstream>

#include "analysis/TapTempo.h"
#include "app/Engine.h"
#include "app/base/Trace.h"
#include "deck/SoundSource.h"
#include "skin/SkinnedDialogs.h"

namespace {

// Seconds for a tap: the steady clock, or the test's fixed step per tap.
class TapClock {
 public:
  TapClock() {
    if (const char* step = std::getenv("ZORVIK_LUMO_TAP_STEP_MS")) stepSeconds_ = std::atof(step) / 1000.0;
  }
  double Now() {
    if (stepSeconds_ > 0.0) return taps_++ * stepSeconds_;
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  }

 private:
  double stepSeconds_ = 0.0;
  int taps_ = 0;
};

// The typed tempo in the C locale whatever the desktop's; 0 when the field holds none.
double ParseTempo(const wxString& text) {
  std::istringstream in(text.utf8_string());
  in.imbue(std::locale::classic());
  double bpm = 0.0;
  in >> bpm;
  return in.fail() || bpm < 0.0 || bpm >= 1000.0 ? 0.0 : bpm;
}

class BpmDialog : public wxDialog {
 public:
  BpmDialog(wxWindow* parent, int deck, double bpm) : wxDialog(parent, wxID_ANY, "BPM"), bpm_(bpm) {
    SetTitle(wxString::Format("BPM - Deck %c", 'A' + deck));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(new wxStaticText(this, wxID_ANY, "BPM value"), 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, 8);
    wxTextValidator digits(wxFILTER_INCLUDE_CHAR_LIST);
    digits.SetCharIncludes("0123456789.");
    field_ = new wxTextCtrl(this, wxID_ANY, "", wxDefaultPosition, wxSize(90, -1), 0, digits);
    field_->SetMaxLength(6);
    row->Add(field_, 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, 8);
    auto* tap = new wxButton(this, wxID_ANY, "Tap Beat");
    row->Add(tap, 0, wxALIGN_CENTER_VERTICAL);
    sizer->Add(row, 0, wxALL, 10);
    const wxString modes[] = {"Manual input", "Automatic 75-150 BPM", "Automatic <100 BPM", "Automatic >100 BPM"};
    mode_ = new wxRadioBox(this, wxID_ANY, "Mode", wxDefaultPosition, wxDefaultSize, 4, modes, 1);
    sizer->Add(mode_, 0, wxEXPAND | wxLEFT | wxRIGHT, 10);
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(new wxButton(this, wxID_OK, "OK"), 0, wxALL, 4);
    buttons->Add(new wxButton(this, wxID_CANCEL, "Cancel"), 0, wxALL, 4);
    sizer->Add(buttons, 0, wxALIGN_RIGHT | wxALL, 6);
    SetSizerAndFit(sizer);
    ShowMode();

    tap->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Tap(); });
    mode_->Bind(wxEVT_RADIOBOX, [this](wxCommandEvent&) { ShowMode(); });
    field_->Bind(wxEVT_TEXT, [this](wxCommandEvent&) {
      if (!showing_) taps_.Reset();  // typing takes over from tapping
    });
  }

  BpmDialogMode Mode() const { return static_cast<BpmDialogMode>(mode_->GetSelection()); }
  double TypedBpm() const { return ParseTempo(field_->GetValue()); }
  wxString FieldText() const { return field_->GetValue(); }

 private:
  // A tap is a manual tempo: the mode goes back to manual input.
  void Tap() {
    taps_.Tap(clock_.Now());
    if (taps_.bpm() > 0.0) bpm_ = taps_.bpm();
    mode_->SetSelection(0);
    ShowMode();
  }

  void ShowMode() {
    char text[16];
    BpmDialogFieldText(Mode(), bpm_, text, sizeof text);
    showing_ = true;
    field_->ChangeValue(text);
    showing_ = false;
    field_->Enable(Mode() == BpmDialogMode::kManual);
  }

  wxTextCtrl* field_;
  wxRadioBox* mode_;
  ZQTapTempo taps_;
  TapClock clock_;
  double bpm_;
  bool showing_ = false;
};

}  // namespace

bool ShowBpmDialog(wxWindow* parent, int deck) {
  CSoundSource* source = deck >= 0 && deck < kDeckCount ? g_engine.decks[deck] : nullptr;
  if (!source) return false;
  BpmDialog dialog(parent, deck, source->bpm.load(std::memory_order_relaxed));
  if (dialog.ShowModal() != wxID_OK) return false;
  const BpmDialogMode mode = dialog.Mode();
  const int hint = BpmDialogHint(mode, dialog.TypedBpm());
  TraceLine("bpm dialog: deck %d, mode %d, field '%s', hint %d", deck + 1, static_cast<int>(mode),
            dialog.FieldText().utf8_string().c_str(), hint);
  if (!source->reanalyseBpm(hint)) {
    ShowSkinnedMessage(parent, "The tempo can be found again once the whole track is loaded.");
    return false;
  }
  return true;
}
