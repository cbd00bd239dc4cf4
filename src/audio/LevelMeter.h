#pragma once
// Level sums of one meter point: sum of left squares, sum of right squares, frame count.
// The audio thread adds one block at a time; the main thread reads the mean squares and resets.

#include <atomic>

#include "app/base/Realtime.h"

struct MeanSquares {
  double left = 0;
  double right = 0;
};

class LevelMeter {
 public:
  // Adds the squares of one block (each square already carries the 1e-25 floor).
  LUMO_RT void Accumulate(double sumLeft, double sumRight, int frames) noexcept {
    sumLeft_.fetch_add(sumLeft, std::memory_order_relaxed);
    sumRight_.fetch_add(sumRight, std::memory_order_relaxed);
    count_.fetch_add(frames, std::memory_order_relaxed);
  }
  // Mean squares since the last read; the sums restart at 0 with a count of 1, so a meter that
  // nobody feeds reads silence next time.
  MeanSquares ReadAndReset() noexcept {
    double left = sumLeft_.exchange(0.0, std::memory_order_relaxed);
    double right = sumRight_.exchange(0.0, std::memory_order_relaxed);
    int count = count_.exchange(1, std::memory_order_relaxed);
    if (count <= 0) count = 1;
    return {left / count, right / count};
  }

 private:
  std::atomic<double> sumLeft_{0.0};
  std::atomic<double> sumRight_{0.0};
  std::atomic<int> count_{1};
};
