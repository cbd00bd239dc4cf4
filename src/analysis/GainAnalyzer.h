#pragma once
// ZQGainAnalyzer: the per-song loudness figure (ReplayGain-style). Equal-loudness filtering,
// 50 ms mean-square windows, a histogram at 0.01 dB, and the 95th percentile against the
// pink-noise reference of 64.82 dB. Input is scaled so that full scale is 32768.
//
// Threads: one analyzer belongs to one thread at a time. Nothing allocates after construction.

#include <array>
#include <cstdint>

class ZQGainAnalyzer {
 public:
  static constexpr int kBuckets = 12000;
  // "Not enough samples" (and, here, digital silence): no gain figure.
  static constexpr double kNoGain = -24601.0;

  // 1, or 0 for an unsupported rate. Clears this song's histogram and the filter history.
  int Init(int rate);
  // channels 1 reads left for both; 2 reads both; anything else returns 0. count 0 returns 1.
  int Analyze(const float* left, const float* right, int count, int channels);
  // The gain for this song in dB (kNoGain when no window filled or the song is digitally
  // silent); folds the song into the album histogram and readies the analyzer for the next.
  double GetResult();

  const std::array<uint32_t, kBuckets>& albumHistogram() const { return album_; }

 private:
  struct ChannelFilter {
    // The last ten inputs and outputs, newest first from yuleHead; each is stored twice, at i
    // and i + 10, so the ten read from any head without wrapping and a step moves no memory.
    double yuleIn[20] = {}, yuleOut[20] = {};
    int yuleHead = 0;
    double butterIn[2] = {}, butterOut[2] = {};
    double Step(double x, const double* yule, const double* butter);
  };
  void CloseWindow();
  void ClearFilters();

  int rateIndex_ = -1;
  int windowSamples_ = 0;
  int windowFill_ = 0;
  double leftSum_ = 0, rightSum_ = 0;
  ChannelFilter channels_[2];
  std::array<uint32_t, kBuckets> histogram_{};
  std::array<uint32_t, kBuckets> album_{};
};
