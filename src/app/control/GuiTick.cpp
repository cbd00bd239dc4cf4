#include "app/control/GuiTick.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "app/Engine.h"
#include "app/control/ControlModels.h"
#include "app/control/DisplayFormats.h"
#include "audio/devices/OutputLayer.h"
#include "deck/SoundSource.h"
#include "skin/model/NotifierTable.h"

namespace {

constexpr int kCueNear = 441;     // frames: "cue" is lit within this of the cue point
constexpr int kCueSetAbove = 44;  // a hot cue at or below this frame is empty
constexpr int kClockCount = 6;    // the clock is set once a cycle, at this count
constexpr int kHotCues = 10;
constexpr int kPitchResetCount = 2;  // the slow pitch reset steps once a cycle, at this count
constexpr int kPitchResetStep = 10;

bool g_pitchResetWanted[kDeckCount] = {};

void SetText(const char* control, int deck, const std::string& text) {
  if (TextModel* model = TextModelNamed(control, deck)) model->SetText(text);
}

void SetLamp(const char* control, int deck, bool on) {
  if (ButtonModel* button = ButtonModelNamed(control, deck)) button->SetLamp(on);
}

bool AtCue(CSoundSource& deck) {
  return deck.fileOpen.load() && std::abs(deck.GetPosition() - deck.cuePos.load()) <= kCueNear;
}

}  // namespace

std::string CGuiTick::Run() {
  DeckTickReport reports[kDeckCount];
  engineTick_.Run(g_engine.decks, kDeckCount, reports);
  for (int d = 0; d < kDeckCount; ++d) {
    if (TextModel* name = TextModelNamed("deck_songname", d)) name->Tick();
    CSoundSource* deck = g_engine.decks[d];
    if (!deck) continue;
    // An idle deck is looked at every other tick, in turn with its neighbour.
    bool busy = deck->IsPlaying() || deck->fileOpen.load();
    if (busy || (counter() & 1) == (d & 1) || reports[d].status) RefreshDeck(*deck, d, reports[d]);
    RefreshLamps(*deck, d);
    NotifyDeck(*deck, d);
  }
  if (counter() == kClockCount) RefreshClock();
  if (counter() == kPitchResetCount) SlowPitchReset();
  return TakeOutputNotice();
}

void RequestSlowPitchReset(int deck) {
  if (deck >= 0 && deck < kDeckCount) g_pitchResetWanted[deck] = true;
}

void CGuiTick::SlowPitchReset() {
  for (int d = 0; d < kDeckCount; ++d) {
    SliderModel* pitch = g_pitchResetWanted[d] ? SliderModelNamed("deck_pitch", d) : nullptr;
    if (!pitch) continue;
    int value = pitch->Value();
    if (value == 0) {
      g_pitchResetWanted[d] = false;
      continue;
    }
    pitch->SetValue(value > 0 ? std::max(value - kPitchResetStep, 0) : std::min(value + kPitchResetStep, 0), true);
  }
}

void CGuiTick::RefreshDeck(CSoundSource& deck, int index, const DeckTickReport& report) {
  bool loaded = deck.fileOpen.load() != 0;
  long long position = loaded ? deck.GetPosition() : 0, length = loaded ? deck.GetLength() : 0;
  SetText("deck_elapsed", index, FormatDeckTime(position, false));
  SetText("deck_remained", index, FormatDeckTime(length - position, true));
  SetText("deck_bpm", index, FormatBpm(loaded ? deck.GetBpm() : 0.0, false));
  SetText("deck_pitch_tempo", index, FormatPitch(deck.getPitch(), true));
  if (SliderModel* pos = SliderModelNamed("deck_pos", index); pos && length > 0)
    pos->ShowValue(static_cast<int>(position * pos->Max() / length));
  // The song's name changes only with a load or unload; the path is read then, not every tick.
  if (report.status || (loaded && shownNames_[index].empty()) || (!loaded && !shownNames_[index].empty())) {
    shownNames_[index] = loaded ? std::filesystem::path(deck.FilePath()).stem().string() : std::string();
    SetText("deck_songname", index, shownNames_[index]);
  }
}

void CGuiTick::RefreshLamps(CSoundSource& deck, int index) {
  bool playing = deck.IsPlaying();
  SetLamp("deck_play_pause", index, playing && deck.fileOpen.load());
  SetLamp("deck_cue", index, !playing && AtCue(deck));
  bool looping = deck.loopActive.load() != 0;
  SetLamp("deck_loop_in_end", index, looping || deck.loopInArmed.load());
  SetLamp("deck_loop_out", index, looping);
  static const char* const kCuePositions[kHotCues] = {"deck_cuepos_1", "deck_cuepos_2", "deck_cuepos_3", "deck_cuepos_4",
                                                      "deck_cuepos_5", "deck_cuepos_6", "deck_cuepos_7", "deck_cuepos_8",
                                                      "deck_cuepos_9", "deck_cuepos_10"};
  for (int n = 0; n < kHotCues; ++n) SetLamp(kCuePositions[n], index, deck.cueTable[n + 1].load() > kCueSetAbove);
}

bool CGuiTick::Notify(const char* name, int deck, int value) {
  int index = NotifierIndex(name, deck);
  if (index < 0 || NotifierTable()[index].intValue == value) return false;
  SetStateOfNotifier(name, deck, value, value, std::to_string(value).c_str());
  ++notifications_;
  return true;
}

void CGuiTick::NotifyDeck(CSoundSource& deck, int index) {
  Notify("play", index, deck.IsPlaying() ? 1 : 0);
  Notify("cue", index, AtCue(deck) ? 1 : 0);
  Notify("looping", index, deck.loopActive.load());
  Notify("loopIn", index, deck.loopInArmed.load());
  Notify("loopSize", index, deck.loopActive.load() ? deck.loopSizeCode(deck.nextLength.load()) : 0);
  Notify("pitchIs0", index, deck.getPitch() != 0 ? 1 : 0);
  static const char* const kNames[] = {"cuepos1", "cuepos2", "cuepos3", "cuepos4", "cuepos5"};
  for (int n = 0; n < 5; ++n) Notify(kNames[n], index, deck.cueTable[n + 1].load() > kCueSetAbove ? 1 : 0);
}

void CGuiTick::RefreshClock() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[16];
  std::strftime(text, sizeof text, "%I:%M%p", &local);
  SetText("time", -1, text);
}
