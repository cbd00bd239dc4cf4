#include "app/gui/ControllerBinding.h"

#include <wx/event.h>
#include <wx/window.h>

#include <memory>
#include <string>

#include "app/DataFolders.h"
#include "app/Settings.h"
#include "app/base/Trace.h"
#include "app/control/ControlModels.h"
#include "skin/model/ActionDispatch.h"
#include "app/gui/OptionsDialog.h"
#include "controllers/ControllerLayer.h"
#include "controllers/ControllerTransport.h"
#include "controllers/KeyCodes.h"
#include "skin/ControlTable.h"
#include "skin/EditText.h"
#include "skin/SkinScripting.h"
#include "skin/ZQCustomControl.h"

namespace {

std::unique_ptr<ControllerLayer> g_layer;
wxWindow* g_window = nullptr;

// Bound keys and notes become the control's own events.
class WindowShortcutSink : public ShortcutSink {
 public:
  void KeyEvent(int id, int deck, int slot) override {
    ControlEvent event;
    event.kind = kEventBoundKey;
    event.keyIndex = slot;
    event.deck = deck;
    if (ZQCustomControl* control = ControlAt(id, deck)) control->SendEvent(event);
  }
  void MidiEvent(int id, int deck, int status, int channel, int data1, int value) override {
    ControlEvent event;
    event.kind = kEventMessage;
    event.status = status;
    event.channel = channel;
    event.data1 = data1;
    event.value = value;
    event.deck = deck;
    if (ZQCustomControl* control = ControlAt(id, deck)) control->SendEvent(event);
  }
  void BindingsChanged(int id, int deck) override {
    if (ZQCustomControl* control = ControlAt(id, deck)) control->Repaint();
  }
};
WindowShortcutSink g_sink;

// The console's two mode switches per deck: the program keeps the mode, the button shows it.
void BindConsoleModes() {
  for (const char* control : {"tarvo_tune_scratch", "tarvo_vol_pitch"}) {
    for (int deck = 0; deck < 2; ++deck) {
      ButtonModel* button = ButtonModelNamed(control, deck);
      if (!button) continue;
      button->SetEngineLamp(true);
      button->onPress = [control, deck](int, int, int) {
        ButtonModel* shown = ButtonModelNamed(control, deck);
        if (g_layer && shown) shown->SetSelected(g_layer->Console().ConsoleLedBlinkControl(control, deck));
      };
    }
  }
}

// The console's info buttons turn its display's pages.
void BindConsoleInfo() {
  for (int deck = 0; deck < 2; ++deck) {
    if (ButtonModel* info = ButtonModelNamed("tarvo_info", deck)) {
      info->onPress = [deck](int, int, int) {
        if (g_layer) g_layer->Display().NextPage(deck);
      };
    }
  }
}

std::string ModelText(const char* name, int deck) {
  TextModel* text = TextModelNamed(name, deck);
  return text ? text->Text() : std::string();
}

// The status line names the console found (empty without one); with a console, each deck's
// display line goes to the deck's console info label.
void ShowConsoleStatus() {
  TextModel* status = TextModelNamed("status_tarvo_controller", -1);
  if (status && g_layer && status->Text() != g_layer->ConsoleStatus()) status->SetText(g_layer->ConsoleStatus());
  if (!g_layer || !*g_layer->ConsoleStatus()) return;
  for (int deck = 0; deck < 2; ++deck) {
    ConsoleDeckView view;
    for (int slot = 0; slot < 4; ++slot) {
      view.effects[slot] = ModelText(("deck_fx_name" + std::to_string(slot + 1)).c_str(), deck);
    }
    view.pitchHundredths = GetControlValue("pitch", deck).intValue;
    view.pitchOnFader = g_layer->Console().PitchOnFader(deck);
    view.scratch = g_layer->Console().ScratchMode(deck);
    view.monitor = GetControlValue("monitor", deck).intValue != 0;
    view.artist = GetControlValue("artist", deck).text;
    view.title = GetControlValue("title", deck).text;
    std::string line;
    TextModel* label = TextModelNamed("label_tarvo_info", deck);
    if (label && g_layer->Display().Update(deck, view, &line)) label->SetText(line);
  }
}

// Runs on a MIDI driver's thread: only posts the drain to the GUI thread.
void WakeGuiThread(void* context) {
  static_cast<wxWindow*>(context)->CallAfter([] {
    if (g_layer) g_layer->DrainMidi();
  });
}

}  // namespace

void StartControllers(wxWindow* window) {
  g_window = window;
  g_layer = std::make_unique<ControllerLayer>(MakeRtMidiSystem("", "Zorvik Lumo"), MakeHidApiSystem());
  g_layer->Shortcuts().SetSink(&g_sink);
  g_layer->Start(Folders().settings, Folders().programData + "controllers", g_settings.midiInputs, &WakeGuiThread,
                 window);
  ConnectSkinScripts(&g_layer->Scripts());
  BindConsoleModes();
  BindConsoleInfo();
  ShowConsoleStatus();
  // Keys reach the shortcut tables before the focused control; the rest go on as usual.
  window->Bind(wxEVT_CHAR_HOOK, [](wxKeyEvent& event) {
    if (!ControllersTakeKey(event)) event.Skip();
  });
  SetMidiInputLister([] { return g_layer ? g_layer->Controllers().InputNames() : std::vector<std::string>{}; });
  SetMidiSelectionApplier([] {
    if (g_layer) g_layer->Controllers().ApplyMidiSelection(g_settings.midiInputs);
  });
}

void TickControllers() {
  if (!g_layer) return;
  g_layer->Tick();
  ShowConsoleStatus();  // a console plugged in or out since
}

bool ControllersTakeKey(const wxKeyEvent& event) {
  if (!g_layer) return false;
  ShortcutTables::KeyPress key;
  const KeyInfo info = GetKeyInfo(event, true);
  key.code = StoredKeyCode(event.GetKeyCode());
  key.flags = info.modifiers;
  key.character = info.character;
  key.searchHasFocus = EditTextHasFocus();
  return g_layer->Shortcuts().OnKey(key);
}

void StopControllers() {
  if (!g_layer) return;
  g_layer->SaveShortcuts(Folders().settings);
  ConnectSkinScripts(nullptr);
  SetMidiInputLister(nullptr);
  SetMidiSelectionApplier(nullptr);
  g_layer.reset();
  g_window = nullptr;
}
