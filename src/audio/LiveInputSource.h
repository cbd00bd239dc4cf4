#pragma once
// CLiveInputSource: sound from the sound card's inputs in the mix. One instance with no deck is
// the microphone; four more, one per deck, are the decks' line inputs, which a deck channel
// plays in place of the deck (SetSource). InputAudioBlock fills their buffers at the start of
// every block (InputAudioBlock.h).
//
// Timecode attaches here: a CTimecodeEngine reads the input block (InputBlock) and answers
// with a speed and a position; with timecode active the source steers its deck through
// CTimecodeDeck and plays the deck's audio instead of the input.
//
// Everything here runs on the audio thread except construction, AttachTimecode and
// SetTimecodeActive; the buffer is written and read within one block, so it needs no lock.

#include <atomic>
#include <memory>

#include "audio/AudioSignalSource.h"

struct TimecodeReading {
  double speed = 0.0;             // 1.0 is the record's nominal speed; 0 no signal
  double positionSeconds = -1.0;  // absolute position on the record; negative when unknown
};

// The decoder of a control signal. Real-time safe, allocation-free.
class CTimecodeEngine {
 public:
  virtual ~CTimecodeEngine() = default;
  LUMO_RT virtual TimecodeReading Decode(const float* stereo, int frames) noexcept = 0;
};

// What a timecode input needs of its deck.
class CTimecodeDeck {
 public:
  virtual ~CTimecodeDeck() = default;
  LUMO_RT virtual double PositionSeconds() const noexcept = 0;
  LUMO_RT virtual void SeekSeconds(double seconds) noexcept = 0;
  LUMO_RT virtual void SetExternalSpeed(double speed) noexcept = 0;
};

class CLiveInputSource : public CAudioSignalSource {
 public:
  static constexpr int kCapacity = 4410;
  static constexpr double kSeekDistanceSeconds = 3.0;  // the needle moved: jump the deck
  static constexpr double kMovingSpeed = 0.001;

  // deck: the deck whose input this is (slots 3 to 6 forward to it), or null for the mic.
  explicit CLiveInputSource(CAudioSignalSource* deck, int capacityFrames = kCapacity);

  // Audio thread: one block of input. From `in` (frames x channels interleaved) take the
  // channels first and first + 1 (first alone when it is the last one).
  LUMO_RT void SetInput(const float* in, int frames, int channels, int first) noexcept;
  LUMO_RT void ClearInput(int frames) noexcept;
  // The current input block, for a decoder: stereo interleaved, *frames long.
  LUMO_RT const float* InputBlock(int* frames) const noexcept;

  void AttachTimecode(CTimecodeEngine* engine, CTimecodeDeck* deck);
  void SetTimecodeActive(int on) { timecodeActive_.store(on != 0, std::memory_order_relaxed); }
  bool TimecodeActive() const { return timecodeActive_.load(std::memory_order_relaxed); }

  LUMO_RT void GetSamples(float* out, int frames) noexcept override;
  LUMO_RT void PrepareBlock(int phase) noexcept override;
  float GetBpm() override { return deck_ ? deck_->GetBpm() : 0.0f; }
  int GetPosition() override { return deck_ ? deck_->GetPosition() : 0; }
  int GetLength() override { return deck_ ? deck_->GetLength() : -1; }
  CAudioSignalSource* Deck() const { return deck_; }

 private:
  LUMO_RT void SteerDeck(int frames) noexcept;

  CAudioSignalSource* deck_;
  int capacity_;
  std::unique_ptr<float[]> buffer_;
  int filled_ = 0;  // frames of the current block
  std::atomic<bool> timecodeActive_{false};
  std::atomic<CTimecodeEngine*> engine_{nullptr};
  std::atomic<CTimecodeDeck*> steered_{nullptr};
};
