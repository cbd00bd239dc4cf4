#include "app/gui/WindowControls.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include <wx/aboutdlg.h>
#include <wx/filedlg.h>
#include <wx/msgdlg.h>

#include "app/Engine.h"
#include "app/control/ControlActions.h"
#include "app/gui/BpmDialog.h"
#include "app/gui/LibraryDialogs.h"
#include "app/gui/OptionsDialog.h"
#include "app/gui/TagEditorDialog.h"
#include "audio/MixRecorder.h"
#include "library/LibraryPanel.h"
#include "skin/ControlTable.h"
#include "skin/SkinControls.h"
#include "skin/SkinLoader.h"
#include "skin/ZQCustomGroup.h"
#include "skin/ZQMainWindow.h"
#include "skin/SkinnedDialogs.h"

namespace {

// The selector buttons of the main group's pages: the four decks' effects, then microphone,
// master and samplers. Selecting one shows its page and releases the others; releasing the
// selected one goes back to page 0, the library.
struct PageSelector {
  const char* name;
  int deck;
  int page;
};
const PageSelector kSelectors[] = {{"fx_sel", 0, 1},         {"fx_sel", 1, 2},        {"fx_sel", 2, 3},
                                   {"fx_sel", 3, 4},         {"fx_mic_sel", -1, 5},   {"fx_master_sel", -1, 6},
                                   {"fx_samples_sel", -1, 7}};

CZQButton* Button(const char* name, int deck) {
  return dynamic_cast<CZQButton*>(ControlAt(ControlIdByName(name), deck));
}

void OnRelease(std::initializer_list<const char*> names, ControlCallback callback) {
  for (const char* name : names) {
    if (CZQButton* button = Button(name, -1)) button->onRelease = callback;
  }
}

// The record button: a running recording stops (what is still in the ring is written); otherwise
// a save dialog names the file and the recorder starts on the master.
void ToggleRecording(wxWindow* parent) {
  CMixRecorder* recorder = g_engine.recorder;
  if (!recorder) return;
  if (recorder->IsRecording()) {
    recorder->Stop();
    return;
  }
  const bool mp3 = CMixRecorder::HasEncoder();
  wxFileDialog dialog(parent, "Record the mix", "", "mix",
                      mp3 ? "MPEG 1 Layer 3 (*.mp3)|*.mp3|Windows PCM (*.wav)|*.wav" : "Windows PCM (*.wav)|*.wav",
                      wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
  if (dialog.ShowModal() != wxID_OK) return;
  const std::string path = WithRecordingExtension(dialog.GetPath().utf8_string(), mp3 && dialog.GetFilterIndex() == 0);
  if (!recorder->Start(path))
    ShowSkinnedMessage(parent, "The recording could not start: " + path);
}

}  // namespace

void BindWindowControls(ZQMainWindow* main) {
  // Scripts page through the main group: showPanel(n), and the panel before or after the one
  // on show, wrapping round.
  SetPanelActionHandler([main](const char* name, int value) {
    ZQCustomGroup& group = main->MainGroup();
    const int count = std::max(1, group.PanelCount());
    if (!std::strcmp(name, "showPanel") && value >= 0 && value < count) group.ShowPanel(value);
    if (!std::strcmp(name, "showPrevPanel")) group.ShowPanel((group.CurrentPanel() + count - 1) % count);
    if (!std::strcmp(name, "showNextPanel")) group.ShowPanel((group.CurrentPanel() + 1) % count);
  });
  // Dialogs open after the control's own event has finished.
  OnRelease({"cfg", "cfg2"}, [main](int, int, int) { main->CallAfter([main] { ShowOptionsDialog(main); }); });
  OnRelease({"recording"}, [main](int, int, int) { main->CallAfter([main] { ToggleRecording(main); }); });
  BindLibraryDialogs(main);
  OnRelease({"about", "about2"}, [main](int, int, int) {
    main->CallAfter([main] {
      wxAboutDialogInfo info;
      info.SetName("Zorvik Lumo");
      info.SetVersion(LUMO_VERSION);
      info.SetDescription("Four-deck DJ mixing: a mixer, effects, key lock, beat sync, Auto-Mix,\n"
                          "recording and a music library whose tracks are analysed once.");
      wxAboutBox(info, main);
    });
  });
  OnRelease({"list_tag_edit"}, [main](int, int, int) {
    main->CallAfter([main] {
      LibraryPanel* panel = CurrentLibraryPanel();
      TZQListElement row;
      if (panel && panel->list().CursorRow(row)) ShowTagEditor(main, row.column[kColPath], panel->browser());
    });
  });
  // The deck's tempo button and its tempo display both open the BPM dialog.
  for (int deck = 0; deck < kDeckCount; ++deck) {
    for (const char* name : {"deck_edit_bpm", "deck_bpm"}) {
      if (ZQCustomControl* control = ControlAt(ControlIdByName(name), deck))
        control->onRelease = [main](int, int, int d) { main->CallAfter([main, d] { ShowBpmDialog(main, d); }); };
    }
  }
  for (int deck = 0; deck < kDeckCount; ++deck) {
    if (CZQButton* load = Button("deck_load", deck)) load->onRelease = [](int, int, int d) { LoadSelectedTrackToDeck(d); };
  }
  OnRelease({"close", "close2"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow()) window->Close();
  });
  OnRelease({"minimize", "minimize2"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow()) window->Iconize();
  });
  OnRelease({"maximize", "maximize2"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow()) window->ToggleFullScreen();
  });
  OnRelease({"reload_skin"}, [](int, int, int) {
    if (ZQMainWindow* window = MainWindow(); window && !CurrentSkinPath().empty()) {
      std::string path = CurrentSkinPath();
      window->CallAfter([window, path] { LoadSkin(path, window); });  // not from inside a control's own event
    }
  });
  for (const PageSelector& selector : kSelectors) {
    CZQButton* button = Button(selector.name, selector.deck);
    if (!button) continue;
    button->onPress = [main, selector](int selected, int, int) {
      for (const PageSelector& other : kSelectors) {
        CZQButton* otherButton = Button(other.name, other.deck);
        if (otherButton && (other.page != selector.page)) otherButton->SetSelected(false);
      }
      main->MainGroup().ShowPanel(selected ? selector.page : 0);
    };
  }
}

void ShowWindowLamps() {
  if (CZQButton* record = Button("recording", -1))
    record->SetSelected(g_engine.recorder && g_engine.recorder->IsRecording());
}
