#include "app/control/ControlActions.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "app/Engine.h"
#include "app/control/ControlModels.h"
#include "app/control/EngineCommands.h"
#include "audio/SamplerPlayer.h"
#include "deck/SoundSource.h"
#include "library/LibraryPanel.h"
#include "library/TrackListView.h"
#include "skin/model/ActionTable.h"

namespace {

std::function<void(const char*, int)>& PanelHandler() {
  static std::function<void(const char*, int)> handler;
  return handler;
}


constexpr double kSecondsPerFrame = 1.0 / 44100.0;
constexpr int kCueNear = 441;      // "cue" lights within this many frames of the cue point
constexpr int kCueSetAbove = 44;   // a hot cue at or below this frame is empty

ControlActionRunner g_runner;

bool Is(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

int SelectedOf(const char* control, int deck) {
  ButtonModel* button = ButtonModelNamed(control, deck);
  return button && button->Selected() ? 1 : 0;
}

// "fxPanDryWet" -> "deck_fx_pan_drywet", "fxEchoParam2" -> "deck_fx_echo_param2"
std::string EffectSliderName(const char* name) {
  std::string rest = name + 2;
  size_t cut = rest.find_first_of("DP", 1);
  if (cut == std::string::npos) return {};
  std::string effect = rest.substr(0, cut), part = rest.substr(cut);
  for (char& c : effect) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (part == "DryWet") part = "drywet";
  else if (part == "Param1") part = "param1";
  else if (part == "Param2") part = "param2";
  else return {};
  return "deck_fx_" + effect + "_" + part;
}

ControlValue DeckValue(const char* name, int deck) {
  CSoundSource* d = deck >= 0 && deck < kDeckCount ? g_engine.decks[deck] : nullptr;
  bool loaded = d && d->fileOpen.load() != 0;
  if (Is(name, "bpm")) return ControlValue::Float(d ? d->GetBpm() : 0.0);
  if (Is(name, "pitch")) return ControlValue::Int(d ? d->getPitch() : 0);
  if (Is(name, "timeElapsed")) return ControlValue::Float(loaded ? d->GetPosition() * kSecondsPerFrame : 0.0);
  if (Is(name, "timeRemain"))
    return ControlValue::Float(loaded ? (d->GetLength() - d->GetPosition()) * kSecondsPerFrame : 0.0);
  if (Is(name, "play")) return ControlValue::Int(d && d->IsPlaying() ? 1 : 0);
  if (Is(name, "cue"))
    return ControlValue::Int(loaded && std::abs(d->GetPosition() - d->cuePos.load()) <= kCueNear ? 1 : 0);
  if (Is(name, "keyLock")) return ControlValue::Int(SelectedOf("deck_key_lock", deck));
  if (Is(name, "pitchIs0")) {
    SliderModel* pitch = SliderModelNamed("deck_pitch", deck);
    return ControlValue::Int(pitch && pitch->Value() != 0 ? 1 : 0);
  }
  if (Is(name, "loopSize")) return ControlValue::Int(d ? d->loopSizeCode(d->nextLength.load()) : 0);
  if (Is(name, "looping")) return ControlValue::Int(d ? d->loopActive.load() : 0);
  if (Is(name, "loopIn")) return ControlValue::Int(d ? d->loopInArmed.load() : 0);
  if (Is(name, "monitor")) return ControlValue::Int(SelectedOf("deck_monitor", deck));
  if (std::strncmp(name, "cuepos", 6) == 0 && name[6] >= '1' && name[6] <= '5' && !name[7])
    return ControlValue::Int(d && d->cueTable[name[6] - '0'].load() > kCueSetAbove ? 1 : 0);
  if (Is(name, "onbeat")) return ControlValue::Int(0);
  struct Selection { const char* value; const char* control; };
  static const Selection kSelections[] = {
      {"analogIn", "deck_analogin"}, {"timecodeIn", "deck_timecodein"}, {"brake", "deck_brake"},
      {"reverse", "deck_reverse"},   {"killLow", "deck_kill_low"},      {"killMid", "deck_kill_mid"},
      {"killHigh", "deck_kill_high"}, {"fxPan", "deck_fx_pan"},         {"fxFlanger", "deck_fx_flanger"},
      {"fxPhaser", "deck_fx_phaser"}, {"fxReverb", "deck_fx_reverb"},   {"fxEcho", "deck_fx_echo"},
      {"fxDelay", "deck_fx_delay"},   {"fxBeatwaw", "deck_fx_beatwaw"}};
  for (const Selection& s : kSelections) {
    if (Is(name, s.value)) return ControlValue::Int(SelectedOf(s.control, deck));
  }
  if (std::strncmp(name, "fx", 2) == 0) {
    if (SliderModel* slider = SliderModelNamed(EffectSliderName(name).c_str(), deck))
      return ControlValue::Int(slider->Value());
  }
  return {};
}

}  // namespace

void ControlActionRunner::RunAction(int row, int value, int aux, int deck) {
  if (row < 0 || row >= kActionCount) return;
  const ScriptAction& action = kActionTable[row];
  if (action.group == kDirect) {
    RunDirectAction(action.name, value, aux, deck);
    return;
  }
  int id = ControlIdByName(action.control);
  if (id <= 0) return;
  if (action.group == kSliderSet) SetSliderByScript(id, deck, value);
  else if (action.group == kPress) PressControl(id, deck, value);
}

ControlValue ControlActionRunner::GetValue(const char* name, int deck) {
  struct Global { const char* value; const char* control; };
  static const Global kGlobals[] = {{"micKillLow", "mic_kill_low"}, {"micKillMid", "mic_kill_mid"},
                                    {"micKillHigh", "mic_kill_high"}, {"onAir", "onair"},
                                    {"talkOver", "talkover"},         {"autoDj", "autodj"}};
  for (const Global& g : kGlobals) {
    if (Is(name, g.value)) return ControlValue::Int(SelectedOf(g.control, -1));
  }
  if (Is(name, "artist")) return ControlValue::Text("");  // tags reach the deck with the library's record
  if (Is(name, "title")) {
    TextModel* shown = deck >= 0 ? TextModelNamed("deck_songname", deck) : nullptr;
    return ControlValue::Text(shown ? shown->Text() : std::string());
  }
  return DeckValue(name, deck);
}

void InstallControlActions() { SetActionRunner(&g_runner); }

void SetPanelActionHandler(std::function<void(const char* name, int value)> handler) {
  PanelHandler() = std::move(handler);
}

void RunDirectAction(const char* name, int value, int aux, int deck) {
  CSoundSource* source = deck >= 0 && deck < kDeckCount ? g_engine.decks[deck] : nullptr;
  LibraryPanel* library = CurrentLibraryPanel();
  // A jog wheel sends signed steps; aux is its steps per turn (100 unless the script says).
  if (Is(name, "scratchDeckJW") || Is(name, "moveDeckJogWheel")) {
    if (source && value != 0) source->jogMove(value, -100, 0, Is(name, "scratchDeckJW") ? 1 : 0, aux > 0 ? aux : 100);
  } else if (Is(name, "deckLoopNormal64ths")) {
    if (value > 0) CurrentEngineSink().Run(EngineCommand::kBeatLoop, deck, 0, value);
  } else if (Is(name, "deckLoopInstant64ths")) {
    if (value > 0) CurrentEngineSink().Run(EngineCommand::kBeatLoopBack, deck, 0, value);
  } else if (Is(name, "samplerPlay")) {
    // samplerPlay(n, on): sampler 1 to 8; on 1 plays, 0 stops, missing (-1) toggles.
    if (value >= 1 && value <= 8 && g_engine.samplers[value - 1]) {
      CSamplerPlayer& sampler = *g_engine.samplers[value - 1];
      sampler.Play(aux < 0 ? (sampler.IsPlaying() ? 0 : 1) : aux);
    }
  } else if (Is(name, "sleep")) {
    // Blocks the GUI thread, as scripts expect of it; bounded so a typo cannot freeze the set.
    if (value > 0) std::this_thread::sleep_for(std::chrono::milliseconds(std::min(value, 1000)));
  } else if (Is(name, "lbMoveCursor")) {
    if (library && value != 0) library->MoveListCursor(value);
  } else if (Is(name, "lbBrowserSelect")) {
    // An encoder on the tree: steps move its cursor, 0 opens the node under it.
    if (library) value == 0 || value == -1 ? library->ActivateTreeCursor() : library->MoveTreeCursor(value);
  } else if (Is(name, "lbListSelect")) {
    if (library && value != 0 && value != -1) library->MoveListCursor(value);
    else if (library) library->SetFocus(LibraryPanel::kListPane);
  } else if (Is(name, "lbToggleSelect")) {
    if (library) library->HandleKey(kNavTab);
  } else if (Is(name, "deckLBLoad")) {
    if (library) library->LoadSelectedTrackToDeck(deck);
  } else if (PanelHandler()) {
    PanelHandler()(name, value);  // showPanel, showPrevPanel, showNextPanel
  }
}
