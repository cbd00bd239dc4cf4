#pragma once
// The offline back end: pulls the mix as fast as the machine allows, for `lumo render` and for
// tests. Before each block it runs the due work of every manual worker thread (deck loaders)
// for the block's share of audio time, so a render is the same every time.
//
// Call SetThreadsManual(true) before the engine objects are created. The thread that calls
// PullBlock is marked as the audio thread while the mix runs.

#include <cstdint>

class COfflineOutput {
 public:
  explicit COfflineOutput(int blockFrames, int channels = 2);

  // One block of `blockFrames` frames into `out` (`channels` interleaved values per frame).
  // Returns the frames the mix wrote (0 when it gave silence).
  int PullBlock(float* out);
  int blockFrames() const { return blockFrames_; }
  int channels() const { return channels_; }
  uint64_t framesPulled() const { return framesPulled_; }

 private:
  int blockFrames_;
  int channels_;
  uint64_t framesPulled_ = 0;
};
