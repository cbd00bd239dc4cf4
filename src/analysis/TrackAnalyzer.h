#pragma once
// CTrackAnalyzer: one pass over a song yields its stripe (the low band at 441 entries per
// second, with beat marks), its tempo, its perceptual gain and its key. The result goes to the
// stripe file and the song database.
//
// Threads: an analyzer is used by one thread at a time and owns its decoder, filters and
// detectors; several analyzers may run at once (the command-line tool runs one per job).
// Memory: two float arrays of the song's entry count and one second of audio.

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "analysis/BeatDetector.h"
#include "analysis/GainAnalyzer.h"
#include "analysis/KeyDetector.h"
#include "analysis/TempoEstimator.h"
#include "codecs/CodecChain.h"
#include "effects/CutoffFilter.h"

struct TrackAnalysis {
  std::string name;  // bare file name: the key of record and stripe
  int durationMs = 0;
  int entries = 0;
  float bpm = 0.0f;
  float bpmConfidence = 0.0f;  // 0..1: how clearly the music keeps a beat
  int beats = 0;               // beat marks in the stripe
  double gain = ZQGainAnalyzer::kNoGain;
  ZQKey key;
  int pitchKey = 0;
  bool stripeWritten = false;
};

enum class AnalysisOutcome { kDone, kUndecodable, kTooLong, kCancelled };

class CTrackAnalyzer {
 public:
  static constexpr int kAnalysisDeckId = 90;  // decoders of the analysis are no deck's

  CTrackAnalyzer();

  // Decodes and analyses the song, writes its stripe and updates its record. A song longer than
  // 1200 whole seconds is refused before any work.
  AnalysisOutcome Analyze(const std::string& path, TrackAnalysis& result);

  // A flag the pass checks once per decoded second; when it is set the pass ends at once with
  // kCancelled and writes nothing. The flag must outlive the analyzer's passes.
  void SetCancelFlag(const std::atomic<bool>* cancel) { cancel_ = cancel; }
  // Off, the beat walk finds its own phase (see DetectTempoAndGrid); the evaluation compares both.
  void SetFollowEstimatedBeat(bool on) { followEstimatedBeat_ = on; }

  // The stripe arrays of the last pass (tests and the accuracy tool look at the marks).
  const std::vector<float>& stripe() const { return stripe_; }

 private:
  void AnalyseSecond(float* stereo, int frames, float* out441);

  CCodecChain chain_;
  ZQCutoffFilter lowPass_;
  ZQCutoffFilter highPass_;
  ZQGainAnalyzer gain_;
  ZQBeatDetector beats_;
  ZQTempoEstimator tempo_;
  ZQKeyDetector key_;
  std::vector<float> second_;  // one second of stereo float
  std::vector<float> mono_;
  std::vector<float> scaled_;
  std::vector<float> stripe_;
  std::vector<float> onsets_;
  const std::atomic<bool>* cancel_ = nullptr;
  bool followEstimatedBeat_ = true;
};

// The pass for one song with a fresh analyzer of the calling thread. Returns as Analyze.
AnalysisOutcome AnalyzeSongToStripe(const std::string& path, TrackAnalysis* result = nullptr);

// True unless the song's record has a tempo above 10 and its stripe file exists.
bool NeedsAnalysis(const std::string& path);
