#pragma once
// CAutoMix: an unattended set across decks 0 and 1. It watches the deck on air, starts a fade
// the fade time before that track's last sound, moves the crossfader in a straight line, starts
// the other deck, beat-matches it in the first third of the fade when asked to, lets it glide
// back to its own tempo afterwards, and loads the next song into the deck that has gone quiet.
//
// It drives only what a user would: the crossfader and the deck commands. It runs on the engine
// tick (CEngineTick calls Tick), so the window and the lumo tool behave the same. Main thread
// (the thread that runs the tick) only; the settings are the g_settings globals "mixaut",
// "mixtim", "bmatch", "random" and "slowrt".

#include <deque>
#include <functional>
#include <string>

class CSoundSource;
class CZQMixer;

class CAutoMix {
 public:
  static constexpr int kFaderMax = 127;
  static constexpr int kSlowResetStep = 10;  // hundredths of a percent per reset step

  enum class Event { kFadeStarted, kFadeEnded, kLoaded, kSkipped };
  // deckFrom/deckTo: the fade's outgoing and incoming decks; for kLoaded and kSkipped deckTo is
  // the deck and path the song.
  using Listener = std::function<void(Event event, int deckFrom, int deckTo, const std::string& path)>;

  // The decks (index 0 and 1 are used, 4 entries for the slow reset) and the mixer whose
  // crossfader moves. Either may be null: nothing is then driven.
  void Attach(CSoundSource* const* decks, int deckCount, CZQMixer* mixer);
  void SetListener(Listener listener) { listener_ = std::move(listener); }

  // The playlist the next songs come from, in order (paths).
  void SetPlaylist(std::deque<std::string> paths) { playlist_ = std::move(paths); }
  size_t songsLeft() const { return playlist_.size(); }

  // The "mixaut" switch; switched on with neither deck playing, a fade starts at once.
  void SetEnabled(bool on);
  bool enabled() const;
  // Starts a fade away from the side the crossfader is on.
  void Start();
  // One-way manual fades (skin buttons): to the left only with the fader above 2, to the right
  // only at 124 or below.
  void StartLeft();
  void StartRight();
  // Loads the next playlist song on a deck, parked at its first sound (or playing from there
  // with autoPlay). 0 when the list is empty.
  int LoadNextTrack(int deck, int autoPlay = 0);
  // Looks at the songs asked for: a load that failed is logged and the next song tried. The
  // tick does this; a caller that steps the loaders itself may too.
  void SettleLoads();
  bool loadsPending() const { return !loading_[0].empty() || !loading_[1].empty(); }

  // One engine tick. counter is the tick counter (0..9) before this tick; beatDifference is the
  // pair's difference in hundredths of a beat, fresh on odd counts.
  void Tick(int counter, int beatDifference);

  // The pitch of a deck glides back to 0 from the next tick on (the sync commands clear it).
  void SetSlowReset(int deck, bool on);
  bool slowReset(int deck) const { return deck >= 0 && deck < 4 && slowReset_[deck]; }
  bool fading() const { return fading_; }
  bool fadingToRight() const { return toRight_; }
  float faderValue() const { return fader_; }
  float step() const { return step_; }

 private:
  int FaderPosition() const;
  void SetFader(int position);
  void CheckTrigger(int deck);
  void FadeStep(int beatDifference);
  void FinishFade();
  void SlowResetStep();
  void StartTowards(bool toRight);
  void Notify(Event event, int from, int to, const std::string& path);

  CSoundSource* decks_[4] = {};
  CZQMixer* mixer_ = nullptr;
  int faderShadow_ = 0;  // without a mixer
  Listener listener_;
  std::deque<std::string> playlist_;
  std::string loading_[2];  // a song asked for on deck 0 or 1, until the load has settled
  int loadingAutoPlay_[2] = {};

  bool fading_ = false;
  bool toRight_ = false;
  float step_ = 0.0f;
  float fader_ = 0.0f;
  bool slowReset_[4] = {};
};

// The program's Auto-Mix, driven by the engine tick.
extern CAutoMix g_autoMix;

// The window's and scripts' sync buttons, on the engine's decks: the deck against its partner
// (0 with 1, 2 with 3). Both clear the slow pitch reset of the pair. 1 done, 0 refused.
int EngineBeatSync(int deck);
int EngineMatchTempo(int deck);
