#include "app/gui/MainTick.h"

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/timer.h>
#include <wx/window.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "app/Engine.h"
#include "app/base/AtomicFile.h"
#include "app/Engine.h"
#include "app/Language.h"
#include "app/control/GuiTick.h"
#include "app/gui/CdDriveRows.h"
#include "app/gui/ControllerBinding.h"
#include "app/gui/WheelBinding.h"
#include "app/gui/WindowControls.h"
#include "skin/SoundDisplayTick.h"
#include "skin/VuMeterTick.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"
#include "deck/SoundSource.h"
#include "skin/ControlTable.h"
#include "skin/ZQCustomControl.h"

namespace {

constexpr int kReportEveryTicks = 5;

// For window tests: the engine state a test checks after moving the mouse, and where the
// controls it moves are on screen. Written atomically, so a reader never sees half a file.
void WriteStateReport(const std::string& path) {
  std::string text;
  char line[256];
  for (int d = 0; d < kDeckCount; ++d) {
    CSoundSource* deck = g_engine.decks[d];
    if (!deck) continue;
    std::snprintf(line, sizeof line,
                  "deck%d.playing=%d\ndeck%d.position=%d\ndeck%d.loaded=%d\ndeck%d.analysed=%d\ndeck%d.scratching=%d\n"
                  "deck%d.bpm=%.2f\n",
                  d, deck->IsPlaying() ? 1 : 0, d, deck->GetPosition(), d, deck->memory.percentLoaded(), d,
                  deck->analysed.load(), d, deck->scratching.load(), d, deck->bpm.load());
    text += line;
    if (g_engine.mixer) {
      std::snprintf(line, sizeof line, "volume%d=%d\n", d, g_engine.mixer->ChannelVolumePosition(d));
      text += line;
    }
    if (CZQMixerChannel* channel = g_engine.deckChannels[d]) {
      std::snprintf(line, sizeof line, "eqlow%d=%.1f\n", d, channel->GetBandLevel(1));
      text += line;
    }
  }
  if (g_engine.mixer) {
    std::snprintf(line, sizeof line, "crossfader=%d\ncfcurve=%d\n", g_engine.mixer->CrossfaderPosition(),
                  g_engine.mixer->CrossfaderCurve());
    text += line;
  }
  const struct { const char* name; int deck; } kShown[] = {
      {"deck_play_pause", 0}, {"crossfader", -1}, {"deck_volume", 0}, {"deck_eq_low", 0}, {"deck_elapsed", 0},
      {"sd_deck", 0},          {"deck_wheel", 0},      {"deck_play_pause", 1}, {"deck_play_pause", 2},
      {"deck_play_pause", 3}, {"deck_edit_bpm", 0}, {"cfg", -1}, {"close", -1}};
  for (const auto& shown : kShown) {
    ZQCustomControl* control = ControlAt(ControlIdByName(shown.name), shown.deck);
    if (!control || !control->IsShownOnScreen()) continue;
    wxPoint at = control->GetScreenPosition();
    wxSize size = control->GetSize();
    // Deck A's and the global controls by name alone, the other decks' with their number.
    if (shown.deck > 0) {
      std::snprintf(line, sizeof line, "rect.%s.%d=%d %d %d %d\n", shown.name, shown.deck, at.x, at.y, size.x, size.y);
    } else {
      std::snprintf(line, sizeof line, "rect.%s=%d %d %d %d\n", shown.name, at.x, at.y, size.x, size.y);
    }
    text += line;
  }
  // Which control has the keyboard: a test types into a dialog only once its focus has landed.
  const wxWindow* focus = wxWindow::FindFocus();
  text += "focus=" + (focus ? focus->GetName().utf8_string() : std::string("none")) + "\n";
  WriteFileAtomically(path, text);
}

class MainTickTimer : public wxTimer {
 public:
  explicit MainTickTimer(wxWindow* window) : window_(window) {}
  void Notify() override {
    std::string notice = tick_.Run();
    if (!notice.empty()) ShowNotice(wxString::FromUTF8(notice), window_);
    // The engine tick stopped a recording whose disk failed: say so.
    if (tick_.TakeRecorderFailure()) ShowNotice(wxString::FromUTF8(LangString(kStrRecorderDiskFailure)), window_);
    RefreshSoundDisplays(g_engine.decks, kDeckCount);
    RefreshVuMeters(g_engine.mixer);
    TurnDeckWheels();
    TickControllers();
    PollCdDriveScan();
    ShowWindowLamps();
    if (!reportPath_.empty() && tick_.counter() % kReportEveryTicks == 0) WriteStateReport(reportPath_);
  }

 private:
  wxWindow* window_;
  CGuiTick tick_;
  const char* reportEnv_ = std::getenv("ZORVIK_LUMO_STATE_REPORT");
  std::string reportPath_ = reportEnv_ ? reportEnv_ : "";
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
