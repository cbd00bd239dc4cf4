#include "app/gui/OptionsDialog.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/checklst.h>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/listbox.h>
#include <wx/msgdlg.h>
#include <wx/notebook.h>
#include <wx/panel.h>
#include <wx/radiobox.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/stattext.h>

#include <algorithm>

#include "app/OptionsApply.h"
#include "app/Settings.h"
#include "app/control/ControlBindings.h"
#include "audio/devices/OutputLayer.h"
#include "skin/SkinLoader.h"
#include "skin/ZQMainWindow.h"
#include "skin/SkinnedDialogs.h"

namespace {

std::function<std::vector<std::string>()> g_midiLister;
std::function<void()> g_midiApplier;

wxString Utf8(const std::string& text) { return wxString::FromUTF8(text); }

// The latency slider moves in steps of 120 frames, 1 to 100 of them.
constexpr int kLatencyStep = 120;

class OptionsDialog : public wxDialog {
 public:
  explicit OptionsDialog(wxWindow* parent) : wxDialog(parent, wxID_ANY, "Options") {
    auto* notebook = new wxNotebook(this, wxID_ANY);
    notebook->AddPage(GeneralPage(notebook), "General");
    notebook->AddPage(AudioPage(notebook), "Audio && MIDI");
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(notebook, 1, wxEXPAND | wxALL, 8);
    sizer->Add(CreateButtonSizer(wxOK | wxCANCEL), 0, wxEXPAND | wxALL, 8);
    SetSizerAndFit(sizer);
    notebook_ = notebook;
    // The keyboard starts on the first setting, not on the page tabs.
    CallAfter([this] { skin_->SetFocus(); });
  }

  void ShowPage(int page) { notebook_->SetSelection(std::clamp(page, 0, 1)); }

  // The settings as the widgets show them now.
  Settings Collected() const {
    Settings s = g_settings;
    // A skin setting changes only when the user picked another row than the one on screen.
    if (skin_->GetSelection() != initialSkin_ && skin_->GetSelection() >= 0 &&
        skin_->GetSelection() < static_cast<int>(SkinTable().size()))
      s.skinf1 = SkinTable()[static_cast<size_t>(skin_->GetSelection())].baseName + ".xml";
    for (const Check& check : checks_) s.*check.field = check.box->GetValue() ? 1 : 0;
    s.mixtim = mixTime_->GetValue();
    s.ptchrg = pitchRange_->GetSelection();
    s.fltmod = filterMode_->GetSelection();
    s.maxram = memory_->GetSelection() + 1;
    s.cfcurv = curve_->GetValue();
    s.midiInputs.clear();
    for (unsigned i = 0; i < midi_->GetCount() && s.midiInputs.size() < kMaxMidiInputs; ++i) {
      if (midi_->IsChecked(i)) s.midiInputs.push_back(midi_->GetString(i).utf8_string());
    }
    // Row 0 of either device list is "NO AUDIO OUTPUT": the mix runs, no device plays it.
    const int primary = primary_->GetSelection();
    s.naudio = primary <= 0 ? 1 : 0;
    if (primary > 0) s.audio0 = primary_->GetString(static_cast<unsigned>(primary)).utf8_string();
    const int secondary = secondary_->GetSelection();
    s.audio1 = secondary > 0 ? secondary_->GetString(static_cast<unsigned>(secondary)).utf8_string() : "";
    s.latncy = latency_->GetValue() * kLatencyStep;
    s.audmod = outputMode_->GetSelection();
    s.tctype = timecode_->GetSelection();
    s.audinp = liveInput_->GetStringSelection().utf8_string();
    return s;
  }

 private:
  struct Check {
    wxCheckBox* box;
    int Settings::*field;
  };

  void AddCheck(wxWindow* page, wxSizer* sizer, const char* label, int Settings::*field) {
    auto* box = new wxCheckBox(page, wxID_ANY, label);
    box->SetValue(g_settings.*field != 0);
    sizer->Add(box, 0, wxALL, 3);
    checks_.push_back({box, field});
  }

  static void AddLabel(wxWindow* page, wxSizer* sizer, const wxString& label) {
    sizer->Add(new wxStaticText(page, wxID_ANY, label), 0, wxLEFT | wxRIGHT | wxTOP, 4);
  }

  static wxChoice* AddChoice(wxWindow* page, wxSizer* sizer, const wxString& label, const wxArrayString& items,
                             int selection) {
    AddLabel(page, sizer, label);
    auto* choice = new wxChoice(page, wxID_ANY, wxDefaultPosition, wxDefaultSize, items);
    choice->SetSelection(std::clamp(selection, 0, static_cast<int>(items.size()) - 1));
    sizer->Add(choice, 0, wxEXPAND | wxALL, 3);
    return choice;
  }

  wxPanel* GeneralPage(wxWindow* parent) {
    auto* page = new wxPanel(parent);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    wxArrayString skins;
    int current = 0;
    for (size_t i = 0; i < SkinTable().size(); ++i) {
      skins.Add(Utf8(SkinTable()[i].label));
      if (FindSkin(SkinTable(), g_settings.skinf1) == static_cast<int>(i)) current = static_cast<int>(i);
    }
    // With no setting (chosen by the display's size) the row is the skin on screen.
    if (FindSkin(SkinTable(), g_settings.skinf1) < 0) {
      for (size_t i = 0; i < SkinTable().size(); ++i) {
        if (SkinTable()[i].xmlPath == CurrentSkinPath()) current = static_cast<int>(i);
      }
    }
    initialSkin_ = current;
    if (skins.empty()) skins.Add("(no skin)");
    skin_ = AddChoice(page, sizer, "Select User Interface (skin)", skins, current);
    skin_->SetName("options_skin");  // the window tests wait for the keyboard to be here
    AddCheck(page, sizer, "High-quality Time-stretching and Pitch-scaling (very CPU intensive)", &Settings::hqtime);
    AddCheck(page, sizer, "Reset Deck after Load", &Settings::resetd);
    AddCheck(page, sizer, "Beat-Matching when Auto-Mix", &Settings::bmatch);
    AddCheck(page, sizer, "Allow Auto-Mix on All Lists", &Settings::mixlst);
    AddCheck(page, sizer, "Show Hints (tooltips)", &Settings::dhints);
    AddCheck(page, sizer, "Use Slow Speed/Pitch Reset", &Settings::slowrt);
    AddCheck(page, sizer, "Use Perceptual Automatic Gain", &Settings::apgain);
    AddCheck(page, sizer, "Enable jog-wheels scratch mode", &Settings::jscrat);
    AddCheck(page, sizer, "Remember History", &Settings::histry);
    AddCheck(page, sizer, "Remember Song Equalizer Settings", &Settings::rmbreq);

    AddLabel(page, sizer, "Auto-Mix Fade Time");
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    mixTime_ = new wxSlider(page, wxID_ANY, std::clamp(g_settings.mixtim, 1, 300), 1, 300);
    auto* mixText = new wxStaticText(page, wxID_ANY, "");
    auto showMix = [this, mixText] {
      mixText->SetLabel(wxString::Format("%d.%ds", mixTime_->GetValue() / 10, mixTime_->GetValue() % 10));
    };
    showMix();
    mixTime_->Bind(wxEVT_SLIDER, [showMix](wxCommandEvent&) { showMix(); });
    row->Add(mixTime_, 1, wxEXPAND);
    row->Add(mixText, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, 6);
    sizer->Add(row, 0, wxEXPAND | wxALL, 3);

    wxArrayString ranges;
    for (const std::string& label : PitchRangeLabels()) ranges.Add(Utf8(label));
    pitchRange_ = AddChoice(page, sizer, "Pitch/Tempo Range", ranges, g_settings.ptchrg);
    filterMode_ = AddChoice(page, sizer, "Cutoff Filter Mode (LP/HP)",
                            wxArrayString(3, std::vector<wxString>{"LowPass && HighPass", "HighPass", "LowPass"}.data()),
                            g_settings.fltmod);
    memory_ = AddChoice(page, sizer, "Load Songs in RAM",
                        wxArrayString(4, std::vector<wxString>{"Auto", "5 minutes", "10 minutes", "15 minutes"}.data()),
                        g_settings.maxram - 1);
    AddLabel(page, sizer, "Crossfader Curve");
    curve_ = new wxSlider(page, wxID_ANY, std::clamp(g_settings.cfcurv, 0, 100), 0, 100, wxDefaultPosition,
                          wxDefaultSize, wxSL_HORIZONTAL);
    sizer->Add(curve_, 0, wxEXPAND | wxALL, 3);
    sizer->Add(new wxStaticText(page, wxID_ANY, "smooth - hard"), 0, wxALIGN_CENTER);
    page->SetSizer(sizer);
    return page;
  }

  wxPanel* AudioPage(wxWindow* parent) {
    auto* page = new wxPanel(parent);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    AddLabel(page, sizer, "Select MIDI In Device");
    midi_ = new wxCheckListBox(page, wxID_ANY, wxDefaultPosition, wxSize(-1, 70));
    if (g_midiLister) {
      for (const std::string& name : g_midiLister()) {
        const int item = midi_->Append(Utf8(name));
        const auto& on = g_settings.midiInputs;
        midi_->Check(static_cast<unsigned>(item), std::find(on.begin(), on.end(), name) != on.end());
      }
    }
    sizer->Add(midi_, 0, wxEXPAND | wxALL, 3);

    wxArrayString devices;
    devices.Add("NO AUDIO OUTPUT");
    for (int i = 0; i < OutputDeviceCount(true); ++i) devices.Add(Utf8(OutputDevice(i)->name));
    AddLabel(page, sizer, "Select Audio Device");
    primary_ = new wxListBox(page, wxID_ANY, wxDefaultPosition, wxSize(-1, 70), devices);
    const int primaryRow = g_settings.naudio ? 0 : 1 + std::max(0, OutputDeviceIndexByName(g_settings.audio0));
    primary_->SetSelection(std::min(primaryRow, static_cast<int>(devices.size()) - 1));
    sizer->Add(primary_, 0, wxEXPAND | wxALL, 3);

    AddLabel(page, sizer, "Latency");
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    latency_ = new wxSlider(page, wxID_ANY, std::clamp(g_settings.latncy / kLatencyStep, 1, 100), 1, 100);
    auto* latencyText = new wxStaticText(page, wxID_ANY, "");
    auto showLatency = [this, latencyText] {
      // JACK sets its own period: the slider does nothing there.
      const int row = primary_->GetSelection();
      const OutputDeviceInfo* device = row > 0 ? OutputDevice(row - 1) : nullptr;
      const int frames = latency_->GetValue() * kLatencyStep;
      latencyText->SetLabel(device && device->pro ? wxString("- ms")
                                                  : wxString::Format("%d ms (%d frames)", frames * 1000 / 44100, frames));
    };
    showLatency();
    latency_->Bind(wxEVT_SLIDER, [showLatency](wxCommandEvent&) { showLatency(); });
    primary_->Bind(wxEVT_LISTBOX, [showLatency](wxCommandEvent&) { showLatency(); });
    row->Add(latency_, 1, wxEXPAND);
    row->Add(latencyText, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, 6);
    sizer->Add(row, 0, wxEXPAND | wxALL, 3);

    const wxString modes[] = {"Normal - only the speakers signal will be available",
                              "Split Mode - speakers on Left (mono), headphones on Right (mono)",
                              "Multichannel Soundcard - speakers on front, headphones on rear"};
    outputMode_ = new wxRadioBox(page, wxID_ANY, "Select Output Mode", wxDefaultPosition, wxDefaultSize, 3, modes, 1);
    outputMode_->SetSelection(std::clamp(g_settings.audmod, 0, 2));
    sizer->Add(outputMode_, 0, wxEXPAND | wxALL, 3);
    AddCheck(page, sizer, "Reverse Master and Monitor audio output channels", &Settings::revmmo);
    AddCheck(page, sizer, "Use an External Mixer (DeckA and DeckB outputs only)", &Settings::extmix);
    AddCheck(page, sizer, "Disable crossfader and volume when in External Mixer mode", &Settings::dsblcf);

    AddLabel(page, sizer, "Select an additional audio device for previewing / monitoring");
    secondary_ = new wxListBox(page, wxID_ANY, wxDefaultPosition, wxSize(-1, 60), devices);
    const int secondaryRow = g_settings.audio1.empty() ? 0 : 1 + OutputDeviceIndexByName(g_settings.audio1);
    secondary_->SetSelection(std::clamp(secondaryRow, 0, static_cast<int>(devices.size()) - 1));
    sizer->Add(secondary_, 0, wxEXPAND | wxALL, 3);

    const wxString engines[] = {"Kelvane", "MsPinky/Torq"};
    timecode_ = AddChoice(page, sizer, "Select the time-coded vinyl/CD engine", wxArrayString(2, engines),
                          g_settings.tctype);

    // The microphone and the decks' line inputs: "none" or a capture device. A saved device that
    // is not plugged in now stays listed, so OK does not lose it.
    wxArrayString inputs;
    for (const std::string& name : LiveInputChoices()) inputs.Add(Utf8(name));
    if (inputs.Index(Utf8(g_settings.audinp)) == wxNOT_FOUND && !g_settings.audinp.empty())
      inputs.Add(Utf8(g_settings.audinp));
    liveInput_ = AddChoice(page, sizer, "Select the live input device (microphone and line inputs)", inputs,
                           inputs.Index(Utf8(g_settings.audinp)));
    page->SetSizer(sizer);
    return page;
  }

  wxNotebook* notebook_ = nullptr;
  wxChoice *skin_ = nullptr, *pitchRange_ = nullptr, *filterMode_ = nullptr, *memory_ = nullptr, *timecode_ = nullptr;
  wxSlider *mixTime_ = nullptr, *curve_ = nullptr, *latency_ = nullptr;
  wxCheckListBox* midi_ = nullptr;
  wxListBox *primary_ = nullptr, *secondary_ = nullptr;
  wxRadioBox* outputMode_ = nullptr;
  wxChoice* liveInput_ = nullptr;
  std::vector<Check> checks_;
  int initialSkin_ = -1;
};

}  // namespace

void SetMidiInputLister(std::function<std::vector<std::string>()> lister) { g_midiLister = std::move(lister); }
void SetMidiSelectionApplier(std::function<void()> applier) { g_midiApplier = std::move(applier); }

bool ShowOptionsDialog(wxWindow* parent, int page) {
  OptionsDialog dialog(parent);
  dialog.ShowPage(page);
  if (dialog.ShowModal() != wxID_OK) return false;
  OptionsApplyHooks hooks;
  hooks.chooseSkin = [](const std::string& name) {
    const int row = FindSkin(SkinTable(), name);
    return row >= 0 && LoadChosenSkin(SkinTable()[static_cast<size_t>(row)], MainWindow());
  };
  hooks.applyMidiSelection = g_midiApplier;
  const OptionsOutcome outcome = ApplyChosenOptions(dialog.Collected(), hooks);
  ApplyPitchRange();
  if (!outcome.saved && !outcome.message.empty()) ShowSkinnedMessage(parent, outcome.message);
  return true;
}
