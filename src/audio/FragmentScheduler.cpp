#include "audio/FragmentScheduler.h"

CFragmentScheduler::CFragmentScheduler(int fragments)
    : n_(fragments < 2 ? 2 : (fragments > kOutputFragments ? kOutputFragments : fragments)) {}

void CFragmentScheduler::Reset() noexcept { current_ = lastWritten_ = 0; }

void CFragmentScheduler::Poll(int playFragment, FragmentFill* fill) noexcept {
  fill->count = 0;
  if (playFragment < 0 || playFragment >= n_ || playFragment == current_) return;
  current_ = playFragment;
  // The fragment just behind the cursor is the furthest the mix may run ahead.
  const int target = (playFragment + n_ - 1) % n_;
  int gap = target - lastWritten_;
  if (gap < 0) gap += n_;
  for (int k = 1; k < gap; ++k) fill->fragments[fill->count++] = (lastWritten_ + k) % n_;
  fill->fragments[fill->count++] = target;
  lastWritten_ = target;
}
