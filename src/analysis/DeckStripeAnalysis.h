#pragma once
// CDeckStripeAnalysis: the deck's analysis port. A deck loading a track without a stripe gets
// its waveform second by second as blocks arrive (FeedSecond), then, once the whole track is in
// memory, a full pass in track order on the one-shot analysis thread: the stripe, tempo and beat
// marks, gain and key. On unload the results go to the stripe file and the song record.
//
// Threads: ResetFilters, LoadStripes, FeedSecond, EstimateWindowBpm and SaveStripes run on the
// deck's loader thread; AnalyseWholeTrack on the deck's one-shot analysis thread, with filters
// and detectors of its own. FeedSecond allocates nothing; the whole-track pass sizes its arrays
// when it starts. One object per deck.

#include <atomic>
#include <string>
#include <vector>

#include "analysis/BeatDetector.h"
#include "analysis/GainAnalyzer.h"
#include "analysis/KeyDetector.h"
#include "analysis/TempoEstimator.h"
#include "deck/DeckAnalysis.h"
#include "effects/CutoffFilter.h"

class CDeckStripeAnalysis : public CDeckAnalysis {
 public:
  CDeckStripeAnalysis();

  void ResetFilters(CSoundSource& deck) override;
  int LoadStripes(CSoundSource& deck) override;
  void FeedSecond(CSoundSource& deck, int blockIndex, const short* stereo, int frames) override;
  void AnalyseWholeTrack(CSoundSource& deck) override;
  void ReanalyseTempo(CSoundSource& deck, int hint) override;
  float EstimateWindowBpm(const float* stripes, int count) override;
  void SaveStripes(CSoundSource& deck) override;

  // The last whole-track pass's gain (ZQGainAnalyzer::kNoGain before one) and key.
  double gain() const { return gain_.load(std::memory_order_acquire); }
  ZQKey key() const { return key_; }

 private:
  struct BandFilters {
    ZQCutoffFilter lowPass, highPass;
    void Reset();
    // In place over one second of mono, in the pass's chunks.
    void Run(float* mono, int count);
  };
  // One second of 16-bit stereo to the low band's 441 entries (and, when given, gain and key);
  // mono is that thread's one-second buffer.
  void Second(BandFilters& filters, std::vector<float>& mono, const short* stereo, int frames, float* out441,
              ZQGainAnalyzer* gain, ZQKeyDetector* key, ZQTempoEstimator* tempo = nullptr);
  // The song's record gets the deck's tempo; its other fields stay as they are.
  void StoreTempo(CSoundSource& deck);

  BandFilters feedFilters_;  // loader thread
  BandFilters passFilters_;  // analysis thread
  std::vector<float> mono_;      // loader thread
  std::vector<float> monoPass_;  // analysis thread
  ZQGainAnalyzer gainAnalyzer_;
  ZQBeatDetector passBeats_;
  ZQKeyDetector keyDetector_;
  ZQTempoEstimator tempo_;
  std::atomic<float> bpmConfidence_{0.0f};
  ZQBeatDetector windowBeats_;
  std::vector<float> windowA_, windowB_;
  std::atomic<double> gain_{ZQGainAnalyzer::kNoGain};
  ZQKey key_;
  std::atomic<bool> changed_{false};
  std::atomic<bool> wholePass_{false};  // key and gain of this track were measured here  // analysed here: the stripe and record need writing
};
