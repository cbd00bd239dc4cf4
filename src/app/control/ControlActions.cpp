#include "app/control/ControlActions.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "app/Engine.h"
#include "app/control/ControlModels.h"
#include "deck/SoundSource.h"
#include "skin/model/ActionTable.h"

namespace {

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

void ControlActionRunner::RunAction(int row, int value, int, int deck) {
  if (row < 0 || row >= kActionCount) return;
  const ScriptAction& action = kActionTable[row];
  int id = ControlIdByName(action.control);
  if (id <= 0) return;  // direct rows name no control; their engine parts are not built yet
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
