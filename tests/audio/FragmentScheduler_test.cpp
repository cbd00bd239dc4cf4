#include "audio/FragmentScheduler.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A device playing a ring of 8 fragments: the cursor advances by `step` fragments between
// polls; every fragment the scheduler fills is stamped with the absolute fragment it will be
// played as. The point of the ring: every fragment ahead of the cursor holds the coming mix.
struct SimulatedRing {
  CFragmentScheduler scheduler;
  long long cursor = 0;                   // absolute fragment count
  std::vector<long long> filledFor = std::vector<long long>(kOutputFragments, -1);

  // Returns false if a fill lands on the fragment under the cursor or out of order.
  bool Advance(int step) {
    cursor += step;
    FragmentFill fill;
    scheduler.Poll(static_cast<int>(cursor % kOutputFragments), &fill);
    for (int i = 0; i < fill.count; ++i) {
      const int f = fill.fragments[i];
      if (f == cursor % kOutputFragments) return false;
      if (i > 0 && f != (fill.fragments[i - 1] + 1) % kOutputFragments) return false;
      // The absolute fragment this fill will be played as: the next time the cursor reaches it.
      long long next = cursor - cursor % kOutputFragments + f;
      if (next <= cursor) next += kOutputFragments;
      filledFor[f] = next;
    }
    return true;
  }
};

}  // namespace

// Jumps and wraps are covered by the simulated ring below; these are the polls that fill nothing.
TEST(FragmentScheduler, AStillCursorOrAForeignFragmentFillsNothing) {
  CFragmentScheduler s;
  FragmentFill fill;
  s.Poll(0, &fill);  // the cursor has not left fragment 0
  EXPECT_EQ(fill.count, 0);
  s.Poll(3, &fill);
  EXPECT_GT(fill.count, 0) << "the cursor moved";
  s.Poll(3, &fill);  // same fragment
  EXPECT_EQ(fill.count, 0);
  s.Poll(9, &fill);  // not a fragment of the ring
  EXPECT_EQ(fill.count, 0);
}

TEST(FragmentScheduler, IrregularPollingNeverFillsUnderTheCursor) {
  SimulatedRing ring;
  const int steps[] = {1, 3, 1, 7, 2, 5, 1, 1, 6, 4, 7, 7, 1, 2};
  for (int lap = 0; lap < 20; ++lap)
    for (int step : steps) {
      ASSERT_TRUE(ring.Advance(step)) << "lap " << lap << " step " << step;
      // After the first lap (which plays the fresh ring's silence), every fragment ahead of the
      // cursor up to the one behind it holds the coming lap's mix.
      if (ring.cursor <= 2 * kOutputFragments) continue;
      for (int ahead = 1; ahead < kOutputFragments; ++ahead) {
        const long long absolute = ring.cursor + ahead;
        EXPECT_EQ(ring.filledFor[absolute % kOutputFragments], absolute);
      }
    }
}
