#pragma once
// The engine's half of the main tick: the deck steps that must happen on a steady clock about
// 26 times a second, on a non-real-time thread. The window's tick and the lumo tool call it on
// their own clocks; it never blocks and reads engine state without locks.
//
// Per deck: fire a transport event the audio thread queued, return a finished track to its
// cue, run the pitch bend, the accelerating search and the hot-cue hold counters, and collect
// the status the display needs. Then the players' step (EnginePlayersTick: sampler and preview
// events, and a recording whose disk failed is stopped); on odd counts, the beat difference of
// decks 0 and 1; and Auto-Mix (AutoMix.h) over those decks and the engine's mixer.

class CSoundSource;
class CAutoMix;

struct DeckTickReport {
  int status = 0;            // the deck's status code, taken (0: nothing new)
  bool loopChanged = false;  // the loop buttons need a refresh
  bool returnedToCue = false;
};

class CEngineTick {
 public:
  static constexpr int kCycle = 10;  // ticks per cycle, about 380 ms
  static constexpr int kEndFrames = 44;  // a track this near its end has finished

  CEngineTick();

  // One tick over `count` decks (null entries are skipped); reports[d] is filled when given.
  void Run(CSoundSource* const* decks, int count, DeckTickReport* reports);
  int counter() const { return counter_; }
  // Decks 0 and 1 in hundredths of a beat (BeatDifference), refreshed every second tick.
  int beatDifference() const { return beatDifference_; }
  // The Auto-Mix the tick drives; g_autoMix unless set (null: none).
  void SetAutoMix(CAutoMix* autoMix) { autoMix_ = autoMix; }
  // True once after the tick stopped a recording whose disk failed: the window switches the
  // record button off and says so.
  bool TakeRecorderFailure() {
    bool failed = recorderFailed_;
    recorderFailed_ = false;
    return failed;
  }

 private:
  void RunDeck(CSoundSource& deck, int index, DeckTickReport& report);

  int counter_ = 0;
  int beatDifference_ = 0;
  CAutoMix* autoMix_;
  bool recorderFailed_ = false;
};
