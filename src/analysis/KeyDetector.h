#pragma once
// ZQKeyDetector: musical key from audio. A bank of Gaussian-windowed cosines (eight octaves of
// twelve pitch classes, blocks of 8192 samples) gives pitch-class energies; ZQKeyScores keeps a
// running likelihood per root and mode; the best root and mode is the key. A second set of
// scores covers only the second half of the track, so a change of key shows as "Am->C".
//
// Threads: one detector per thread. The kernel banks are shared, built once per rate under a
// lock and then only read. FeedFloats allocates nothing after Start.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analysis/KeyNotation.h"
#include "analysis/KeyScores.h"

struct KeyDetectionResult {
  ZQKey key;        // best over the whole track
  ZQKey secondKey;  // best over its second half (unknown when there is none)
  double accuracy = 0.0;
};

constexpr int kKeyBlock = 8192;

// Adds the twelve pitch-class energies of one block (first channel of interleaved samples) to
// out12 and gives them to scores. work is scratch of kKeyBlock doubles. The kernel bank is built
// for bankRate, by default half the rate, which hears every note an octave up; the stand-alone
// file utility builds it for the true rate.
void AnalyzeSegment(const float* samples, int channels, int rate, double* out12, ZQKeyScores& scores,
                    double* work, int bankRate = 0);

// The key with the highest normalised likelihood (index 0) or the one ranked at index.
KeyDetectionResult BestKey(const ZQKeyScores& scores, int index);

class ZQKeyDetector {
 public:
  ZQKeyDetector();
  // Begins a run for a track of the given length in seconds (used to find its second half).
  // bankRate 0 is half the rate, as the analysis pass uses it.
  void Start(int rate, double trackSeconds, int bankRate = 0);
  void FeedSamples(const short* samples, int frames, int channels);
  void FeedFloats(const float* samples, int frames, int channels);
  // Ends the run. verbose 0 writes the accuracy alone ("%f"); 1 writes
  // "[key: Am->C, accuracy: 0.53]". A run that heard nothing gives no key, accuracy 0.01.
  KeyDetectionResult FinishDetection(std::string* text = nullptr, int verbose = 1);
  bool running() const { return running_; }

 private:
  void RunBlock();

  int rate_ = 44100;
  int bankRate_ = 0;
  double trackSeconds_ = 0.0;
  double elapsed_ = 0.0;
  bool running_ = false;
  bool secondHalf_ = false;
  std::unique_ptr<ZQKeyScores> scores_;
  std::unique_ptr<ZQKeyScores> secondHalfScores_;
  std::vector<float> block_;
  int blockFill_ = 0;
  std::vector<float> converted_;
  std::vector<double> work_;
};

// Analyses a 16-bit stereo WAV file at 44100 Hz (44-byte header). Null, with a trace line,
// when the file cannot be opened.
std::optional<KeyDetectionResult> DetectKey(const char* path);

// "Am->C" style text of a result, for the tool and the logs.
std::string KeyResultText(const KeyDetectionResult& result);
