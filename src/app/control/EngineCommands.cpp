#include "app/control/EngineCommands.h"

#include <algorithm>
#include <atomic>
#include <deque>

#include "app/AutoMix.h"
#include "app/Engine.h"
#include "audio/Mixer.h"
#include "audio/LiveInputSource.h"
#include "audio/MixerChannel.h"
#include "deck/SoundSource.h"
#include "library/LibraryPanel.h"

namespace {

constexpr const char* kTexts[] = {
    "deck.setPlaying(-1)", "deck.cuePress()", "deck.cueRelease()", "deck.setCueHere()", "deck.playFromCue()",
    "deck.backToTop()", "deck.unload()", "deck.searchStart(dir)", "deck.searchStop()", "deck.hotCue(slot)",
    "deck.hotCueRelease(slot)", "deck.deleteCue(slot)", "hot cues delete while on", "deck.seek(length * v / 1000)",
    "deck.loopInOrOut()", "deck.endLoop(1)", "deck.recallLoop()", "deck.resizeLoop(-half)",
    "deck.resizeLoop(+size)", "deck.shiftLoop(+-length)", "deck.beatLoop(code)", "deck.beatLoopBack(code)",
    "deck.skipBeats(n)", "deck.loopSong = on",
    "deck.setPitch(-v)", "deck.bendStart(dir)", "deck.bendStop(dir)", "deck.setKeyLock(on)",
    "deck.setKeyShift(cents)", "deck.setDirection(on ? -1 : 1)", "deck.setBrake(on)", "deck.toggleScratchArmed()",
    "mixer.SetChannelVolume(deck, v)", "mixer.SetChannelTrim(deck, v / 10 dB)",
    "channel.SetBandLevel(band, v / 10 dB)", "channel.SetBandKill(band, on)", "channel.SetCutoffKnob(v)",
    "mixer.SetChannelMonitor(deck, on ? 110 : 0)", "channel.SetEffectState(place, on, 1)",
    "effect.SetDryWet(v / 1000)", "effect.SetParam(n, v)", "channel.SetSource(on ? deck input : deck)",
    "mixer.SetCrossfader(v)", "mixer.SetCrossfaderCurve(v)", "mixer.SetCueMix(v)",
    "mixer.SetMasterGain(v / 10 dB)", "mixer.SetMonitorGain(v / 10 dB)", "mixer.SetMicGain(v / 10 dB)",
    "mic.SetBandLevel(band, v / 10 dB)", "mic.SetBandKill(band, on)", "mixer.SetTalkOver(on)",
    "mixer.SetMicOn(on)", "mixer.SetSplitCue(on)",
    "EngineBeatSync(deck)", "EngineMatchTempo(deck)", "deck.beatSync(deck arg)", "EngineSetLimiter(on)",
    "autoMix.SetEnabled(on)", "autoMix.Start()", "autoMix.StartLeft/Right()"};
static_assert(sizeof(kTexts) / sizeof(kTexts[0]) == static_cast<size_t>(EngineCommand::kCount));

constexpr int kMonitorOnLevel = 110;

// Per deck: the cue-clear switch is lit, so hot-cue buttons delete.
std::atomic<bool> g_cueClearMode[kDeckCount];

// Auto-Mix plays the list on screen from the row under the cursor: that row itself when no
// deck holds a song yet, else the rows after it.
void TakeAutoMixListFromLibrary() {
  LibraryPanel* panel = CurrentLibraryPanel();
  CZQAbstractList* list = panel ? panel->list().list() : nullptr;
  if (!list) return;
  const bool empty = !(g_engine.decks[0] && g_engine.decks[0]->fileOpen.load()) &&
                     !(g_engine.decks[1] && g_engine.decks[1]->fileOpen.load());
  std::deque<std::string> paths;
  TZQListElement row;
  for (int r = std::max(0, panel->list().Cursor() + (empty ? 0 : 1)); list->GetRow(r, row); ++r)
    paths.push_back(row.column[kColPath]);
  g_autoMix.SetPlaylist(std::move(paths));
}

// The engine's own sink: each command is one setter on a deck, a channel or the mixer. A deck
// or channel that does not exist (yet) takes nothing.
class EngineSink : public EngineCommandSink {
 public:
  void Run(EngineCommand command, int deck, int value, int arg) override {
    using C = EngineCommand;
    CSoundSource* d = deck >= 0 && deck < kDeckCount ? g_engine.decks[deck] : nullptr;
    CZQMixerChannel* channel = deck >= 0 && deck < kDeckCount ? g_engine.deckChannels[deck] : nullptr;
    CZQMixer* mixer = g_engine.mixer;
    switch (command) {
      case C::kPlayPause: if (d) d->setPlaying(-1); break;
      case C::kCuePress: if (d) d->cuePress(); break;
      case C::kCueRelease: if (d) d->cueRelease(); break;
      case C::kSetCue: if (d) d->setCueHere(); break;
      case C::kCuePlay: if (d) d->playFromCue(); break;
      case C::kBackToTop: if (d) d->backToTop(); break;
      case C::kUnload: if (d) d->unload(); break;
      case C::kSearchStart: if (d) d->searchStart(arg); break;
      case C::kSearchStop: if (d) d->searchStop(); break;
      case C::kHotCue:
        // In clear mode a hot-cue button deletes its cue instead of jumping to it.
        if (d) g_cueClearMode[deck].load() ? d->deleteCue(arg) : d->hotCue(arg);
        break;
      case C::kHotCueRelease: if (d) d->hotCueRelease(arg); break;
      case C::kClearCue: if (d) d->deleteCue(arg); break;
      case C::kCueClearMode: if (deck >= 0 && deck < kDeckCount) g_cueClearMode[deck].store(value != 0); break;
      case C::kSeekPerMille:
        if (d) d->seek(static_cast<int>(static_cast<long long>(d->GetLength()) * std::clamp(value, 0, 1000) / 1000));
        break;
      case C::kLoopInOut: if (d) d->loopInOrOut(); break;
      case C::kLoopExit: if (d) d->endLoop(1); break;
      case C::kLoopReloop: if (d) d->recallLoop(); break;
      case C::kLoopHalve: if (d) d->resizeLoop(-(d->nextLength.load() / 2)); break;
      case C::kLoopDouble: if (d) d->resizeLoop(d->nextLength.load()); break;
      case C::kLoopShift: if (d) d->shiftLoop(arg * d->nextLength.load()); break;
      case C::kBeatLoop: if (d) d->beatLoop(arg); break;
      case C::kBeatLoopBack: if (d) d->beatLoopBack(arg); break;
      case C::kSkipBeats: if (d) d->skipBeats(arg); break;
      case C::kLoopSong: if (d) d->loopSong.store(value != 0 ? 1 : 0); break;
      case C::kPitch: if (d) d->setPitch(-value); break;
      case C::kBendStart: if (d) d->bendStart(arg); break;
      case C::kBendStop: if (d) d->bendStop(arg); break;
      case C::kKeyLock: if (d) d->setKeyLock(value != 0); break;
      case C::kKeyShift: if (d) d->setKeyShift(value); break;
      case C::kReverse: if (d) d->setDirection(value ? -1 : 1); break;
      case C::kBrake: if (d) d->setBrake(value); break;
      case C::kScratchArm: if (d) d->toggleScratchArmed(); break;
      case C::kVolume: if (mixer && deck >= 0) mixer->SetChannelVolume(deck, value); break;
      case C::kGain: if (mixer && deck >= 0) mixer->SetChannelTrim(deck, value * 0.1f); break;
      case C::kEqBand: if (channel) channel->SetBandLevel(arg, value * 0.1f); break;
      case C::kKill: if (channel) channel->SetBandKill(arg, value); break;
      case C::kCutoff: if (channel) channel->SetCutoffKnob(value); break;
      case C::kAnalogIn:
        // The deck's channel plays its line input instead of the deck, and back.
        if (channel && d && g_engine.deckInputs[deck])
          channel->SetSource(value ? static_cast<CAudioSignalSource*>(g_engine.deckInputs[deck]) : d);
        break;
      case C::kMonitor: if (mixer && deck >= 0) mixer->SetChannelMonitor(deck, value ? kMonitorOnLevel : 0); break;
      case C::kEffectOn: if (channel) channel->SetEffectState(arg, value, 1); break;
      case C::kEffectDryWet:
        if (CEffect* effect = channel ? channel->Place(arg) : nullptr) effect->SetDryWet(value * 0.001f);
        break;
      case C::kEffectParam:
        if (CEffect* effect = channel ? channel->Place(arg / 10) : nullptr) effect->SetParam(arg % 10, value);
        break;
      case C::kCrossfader: if (mixer) mixer->SetCrossfader(value); break;
      case C::kCrossfaderCurve: if (mixer) mixer->SetCrossfaderCurve(value); break;
      case C::kCueMix: if (mixer) mixer->SetCueMix(value); break;
      case C::kMasterGain: if (mixer) mixer->SetMasterGain(value * 0.1f); break;
      case C::kMonitorGain: if (mixer) mixer->SetMonitorGain(value * 0.1f); break;
      case C::kMicGain: if (mixer) mixer->SetMicGain(value * 0.1f); break;
      case C::kMicEqBand: if (g_engine.micChannel) g_engine.micChannel->SetBandLevel(arg, value * 0.1f); break;
      case C::kMicKill: if (g_engine.micChannel) g_engine.micChannel->SetBandKill(arg, value); break;
      case C::kTalkOver: if (mixer) mixer->SetTalkOver(value); break;
      case C::kMicOn: if (mixer) mixer->SetMicOn(value); break;
      case C::kSplitCue: if (mixer) mixer->SetSplitCue(value); break;
      case C::kBeatSync: if (d) EngineBeatSync(deck); break;
      case C::kMatchTempo: if (d) EngineMatchTempo(deck); break;
      case C::kSyncTo:
        if (d && arg != deck && arg >= 0 && arg < kDeckCount && g_engine.decks[arg]) d->beatSync(*g_engine.decks[arg]);
        break;
      case C::kLimiter: EngineSetLimiter(value != 0); break;
      case C::kAutoMix:
        if (value) TakeAutoMixListFromLibrary();
        g_autoMix.SetEnabled(value != 0);
        // Switched on with both decks stopped, it mixes to the next song at once.
        if (value && g_engine.decks[0] && g_engine.decks[1] && !g_engine.decks[0]->playing.load() &&
            !g_engine.decks[1]->playing.load())
          g_autoMix.Start();
        break;
      case C::kAutoMixNext: g_autoMix.Start(); break;
      case C::kAutoMixTowards: arg < 0 ? g_autoMix.StartLeft() : g_autoMix.StartRight(); break;
      case C::kCount: break;
    }
  }
};

EngineSink g_engineSink;
EngineCommandSink* g_sink = &g_engineSink;

}  // namespace

const char* EngineCommandText(EngineCommand command) {
  int index = static_cast<int>(command);
  return index >= 0 && index < static_cast<int>(EngineCommand::kCount) ? kTexts[index] : "";
}

EngineCommandSink& CurrentEngineSink() { return *g_sink; }
void SetEngineSink(EngineCommandSink* sink) { g_sink = sink ? sink : &g_engineSink; }
