#include "app/AutoMix.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "app/Engine.h"
#include "app/Settings.h"
#include "app/base/Trace.h"
#include "audio/Mixer.h"
#include "deck/BeatSync.h"
#include "deck/SoundSource.h"

CAutoMix g_autoMix;

namespace {
constexpr int kLeftDeck = 0;
constexpr int kRightDeck = 1;
constexpr int kOnAirRight = 64;          // the fader at or above this puts deck 1 on air
constexpr int kFramesPerTenth = 4410;    // "mixtim" counts tenths of a second
constexpr float kStepScale = 10160.0f;   // 127 steps times 80 ms, the time of two ticks
constexpr int kSyncLeftAbove = 84;       // the first third of a fade to the left
constexpr int kSyncRightBelow = 42;      // the first third of a fade to the right
constexpr int kSyncWorthIt = 3;          // hundredths of a beat
constexpr int kSlowResetCount = 2;       // the tick count the slow reset steps on
constexpr double kRandScale = 3.051851e-05;  // 1 / 32767
}  // namespace

void CAutoMix::Attach(CSoundSource* const* decks, int deckCount, CZQMixer* mixer) {
  for (int d = 0; d < 4; ++d) decks_[d] = decks && d < deckCount ? decks[d] : nullptr;
  mixer_ = mixer;
}

int CAutoMix::FaderPosition() const { return mixer_ ? mixer_->CrossfaderPosition() : faderShadow_; }

void CAutoMix::SetFader(int position) {
  faderShadow_ = position;
  if (mixer_) mixer_->SetCrossfader(position);
}

void CAutoMix::Notify(Event event, int from, int to, const std::string& path) {
  if (listener_) listener_(event, from, to, path);
}

bool CAutoMix::enabled() const { return g_settings.mixaut != 0; }

void CAutoMix::SetEnabled(bool on) {
  g_settings.mixaut = on ? 1 : 0;
  if (!on || fading_) return;
  bool anyPlaying = (decks_[kLeftDeck] && decks_[kLeftDeck]->IsPlaying()) ||
                    (decks_[kRightDeck] && decks_[kRightDeck]->IsPlaying());
  if (!anyPlaying) Start();
}

void CAutoMix::Start() { StartTowards(FaderPosition() < kOnAirRight); }

void CAutoMix::StartLeft() {
  if (!fading_ && FaderPosition() > 2) StartTowards(false);
}

void CAutoMix::StartRight() {
  if (!fading_ && FaderPosition() <= kFaderMax - 3) StartTowards(true);
}

void CAutoMix::StartTowards(bool toRight) {
  if (!decks_[kLeftDeck] || !decks_[kRightDeck]) return;
  const int v = FaderPosition();
  toRight_ = toRight;
  const int incoming = toRight ? kRightDeck : kLeftDeck;
  // A deck that failed its last load gets another song now.
  if (decks_[incoming]->GetLength() < 1 && loading_[incoming].empty()) LoadNextTrack(incoming);
  step_ = kStepScale / (std::max(g_settings.mixtim, 1) * 100.0f);
  fader_ = static_cast<float>(v);
  fading_ = true;
  Notify(Event::kFadeStarted, toRight ? kLeftDeck : kRightDeck, incoming, decks_[incoming]->FilePath());
}

int CAutoMix::LoadNextTrack(int deck, int autoPlay) {
  if (deck < 0 || deck > 1 || !decks_[deck] || playlist_.empty()) return 0;
  size_t index = 0;
  if (g_settings.random) {
    // glibc's RAND_MAX is 2^31-1: the low 15 bits give the 0..32767 the scale expects.
    const int rows = static_cast<int>(playlist_.size());
    const double r = (std::rand() & 0x7fff) * kRandScale * rows - 0.5;
    index = static_cast<size_t>(std::clamp(static_cast<int>(std::lround(r)), 0, rows - 1));
  }
  std::string path = playlist_[index];
  playlist_.erase(playlist_.begin() + static_cast<long>(index));
  if (!decks_[deck]->load(path, autoPlay, nullptr, 1)) {
    playlist_.push_front(path);  // a load still running: try again on a later tick
    return 0;
  }
  loading_[deck] = path;
  loadingAutoPlay_[deck] = autoPlay;
  return 1;
}

// A song that could not be loaded (missing, undecodable, empty) is passed over for the next.
void CAutoMix::SettleLoads() {
  for (int d = kLeftDeck; d <= kRightDeck; ++d) {
    if (loading_[d].empty() || !decks_[d] || decks_[d]->loadPending.load()) continue;
    std::string path;
    path.swap(loading_[d]);
    if (decks_[d]->fileOpen.load()) {
      Notify(Event::kLoaded, -1, d, path);
      continue;
    }
    TraceLine("automix: skipped %s: it could not be loaded", path.c_str());
    Notify(Event::kSkipped, -1, d, path);
    LoadNextTrack(d, loadingAutoPlay_[d]);
  }
}

void CAutoMix::CheckTrigger(int deck) {
  CSoundSource* source = decks_[deck];
  if (!source || !source->IsPlaying() || !source->isReady()) return;
  const int length = source->GetLength();
  if (length < 1) return;
  int end = length;
  const int lastSound = source->cueTable[CSoundSource::kLastSoundSlot].load();
  if (lastSound > length / 2 && lastSound < length) end = lastSound;
  if (source->Position() <= end - static_cast<double>(g_settings.mixtim) * kFramesPerTenth) return;
  const int fader = FaderPosition();
  const bool onAir = deck == kLeftDeck ? fader < kOnAirRight : fader >= kOnAirRight;
  if (onAir) Start();
}

void CAutoMix::Tick(int counter, int beatDifference) {
  SettleLoads();
  if (g_settings.mixaut && !fading_) {
    CheckTrigger(kLeftDeck);
    if (!fading_) CheckTrigger(kRightDeck);
  }
  // A fade moves every second tick, which the step size counts on.
  if (fading_ && (counter & 1)) FadeStep(beatDifference);
  if (counter == kSlowResetCount) SlowResetStep();
}

void CAutoMix::FadeStep(int beatDifference) {
  CSoundSource* left = decks_[kLeftDeck];
  CSoundSource* right = decks_[kRightDeck];
  if (!left || !right) return;
  const int before = FaderPosition();
  CSoundSource& incoming = toRight_ ? *right : *left;
  CSoundSource& outgoing = toRight_ ? *left : *right;
  fader_ += toRight_ ? step_ : -step_;
  SetFader(static_cast<int>(std::lround(std::clamp(fader_, 0.0f, static_cast<float>(kFaderMax)))));
  if (incoming.GetLength() > 0) incoming.setPlaying(1);

  // The incoming deck is matched to the outgoing one in the first third of the travel, once
  // per step until the beats are within a few hundredths.
  const bool firstThird = toRight_ ? before < kSyncRightBelow : before > kSyncLeftAbove;
  if (g_settings.bmatch && firstThird && std::abs(beatDifference) > kSyncWorthIt) {
    slowReset_[kLeftDeck] = slowReset_[kRightDeck] = false;
    incoming.beatSync(outgoing);
  }
  const bool done = toRight_ ? fader_ >= kFaderMax - step_ : step_ >= fader_;
  if (done) FinishFade();
}

void CAutoMix::FinishFade() {
  const int incoming = toRight_ ? kRightDeck : kLeftDeck;
  const int outgoing = toRight_ ? kLeftDeck : kRightDeck;
  fader_ = toRight_ ? static_cast<float>(kFaderMax) : 0.0f;
  SetFader(toRight_ ? kFaderMax : 0);
  // The incoming deck glides back to its own tempo.
  if (g_settings.slowrt) slowReset_[incoming] = true;
  fading_ = false;
  LoadNextTrack(outgoing);
  Notify(Event::kFadeEnded, outgoing, incoming, decks_[incoming] ? decks_[incoming]->FilePath() : "");
}

void CAutoMix::SetSlowReset(int deck, bool on) {
  if (deck < 0 || deck >= 4) return;
  if (on && !g_settings.slowrt) {
    if (decks_[deck]) decks_[deck]->setPitch(0);
    slowReset_[deck] = false;
    return;
  }
  slowReset_[deck] = on;
}

void CAutoMix::SlowResetStep() {
  for (int d = 0; d < 4; ++d) {
    if (!slowReset_[d] || !decks_[d]) continue;
    const int pitch = decks_[d]->getPitch();
    if (pitch > kSlowResetStep) {
      decks_[d]->setPitch(pitch - kSlowResetStep);
    } else if (pitch < -kSlowResetStep) {
      decks_[d]->setPitch(pitch + kSlowResetStep);
    } else {
      decks_[d]->setPitch(0);
      slowReset_[d] = false;
    }
  }
}

namespace {
// Both sync commands: the deck against its partner, then the pair's pitch glide is cancelled.
int SyncCommand(int deck, int (CSoundSource::*command)(CSoundSource&)) {
  if (deck < 0 || deck >= kDeckCount) return 0;
  CSoundSource* own = g_engine.decks[deck];
  CSoundSource* other = g_engine.decks[SyncPartner(deck)];
  if (!own || !other) return 0;
  const int done = (own->*command)(*other);
  if (done) {
    g_autoMix.SetSlowReset(deck, false);
    g_autoMix.SetSlowReset(SyncPartner(deck), false);
  }
  return done;
}
}  // namespace

int EngineBeatSync(int deck) { return SyncCommand(deck, &CSoundSource::beatSync); }
int EngineMatchTempo(int deck) { return SyncCommand(deck, &CSoundSource::matchTempo); }
